// DMDB_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/dmdb_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct DMDB_Set : Set_Description<DMDB_Set, DMDB_Backup_Set>
{
    static constexpr const char* stem = "dmdb_backup_set";
    static constexpr const char* module = "dmdb";

    static void select(Select_SQL& sql) { DMDB_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "dm"."seq" AS "seq", "dm"."backup_version" AS "backup_version", "dm"."object" AS "object", )"
                 R"("dm"."compression" AS "compression", "dm"."backup_set" AS "backup_set", )"
                 R"("dm"."backup_base" AS "backup_base", "dm"."arch_log_start" AS "arch_log_start", )"
                 R"("dm"."arch_log_end" AS "arch_log_end", "dm"."permanent_db_magic" AS "permanent_db_magic", )"
                 R"("dm"."db_magic" AS "db_magic", "dm"."case_sensitive" AS "case_sensitive", )"
                 R"("dm"."unicode_flag" AS "unicode_flag", "dm"."page_size" AS "page_size", )"
                 R"("dm"."extent_size" AS "extent_size" FROM "backup_set" AS "b" )"
                 R"(INNER JOIN "dmdb_backup_set" AS "dm" ON "uuid" = "dm"."set_uuid")";
    }

    static constexpr const char* fresh =
        R"(,"seq":0,"backup_version":0,"object":"","compression":"","backup_set":"","backup_base":"",)"
        R"("arch_log_start":0,"arch_log_end":0,"permanent_db_magic":0,"db_magic":0,"case_sensitive":0,)"
        R"("unicode_flag":0,"page_size":0,"extent_size":0,"backup_files":{})";

    static void fill(DMDB_Backup_Set& set)
    {
        set.seq = 4294967201;
        set.backup_version = 4294967202;
        set.object = "the object";
        set.compression = "the compression";
        set.backup_set = "the backup set";
        set.backup_base = "the backup base";
        set.arch_log_start = 9000000000000000007;
        set.arch_log_end = 9000000000000000008;
        set.permanent_db_magic = 9000000000000000009;
        set.db_magic = 9000000000000000010;
        set.case_sensitive = -2147483589;
        set.unicode_flag = -2147483588;
        set.page_size = -2147483587;
        set.extent_size = -2147483586;
        set.files = {{"b.bak", "second"}, {"a.bak", "first"}};
    }
    static constexpr const char* filled =
        R"(,"seq":4294967201,"backup_version":4294967202,"object":"the object","compression":"the compression",)"
        R"("backup_set":"the backup set","backup_base":"the backup base","arch_log_start":9000000000000000007,)"
        R"("arch_log_end":9000000000000000008,"permanent_db_magic":9000000000000000009,)"
        R"("db_magic":9000000000000000010,"case_sensitive":-2147483589,"unicode_flag":-2147483588,)"
        R"("page_size":-2147483587,"extent_size":-2147483586,"backup_files":{"a.bak":"first","b.bak":"second"})";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR, TO_BASE, {{STRING, {"object", "compression", "backup_set", "backup_base"}}}},
            {PRINT_INT,
             TO_BASE,
             {{UINT_32, {"seq", "backup_version"}},
              {INT_64, {"arch_log_start", "arch_log_end", "permanent_db_magic", "db_magic"}},
              {INT_32, {"case_sensitive", "unicode_flag", "page_size", "extent_size"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"dmdb_backup_set",
                 {{"seq", INTEGER},
                  {"backup_version", INTEGER},
                  {"object", TEXT},
                  {"compression", TEXT},
                  {"backup_set", TEXT},
                  {"backup_base", TEXT},
                  {"arch_log_start", INTEGER},
                  {"arch_log_end", INTEGER},
                  {"permanent_db_magic", INTEGER},
                  {"db_magic", INTEGER},
                  {"case_sensitive", INTEGER},
                  {"unicode_flag", INTEGER},
                  {"page_size", INTEGER},
                  {"extent_size", INTEGER}}}};
    }
    static void forget(DMDB_Backup_Set& set) { set.files.clear(); }
};

} // namespace record_test
