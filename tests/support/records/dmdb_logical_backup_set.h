// DMDB_Logical_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/dmdb_logical_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct DMDB_Logical_Set : Set_Description<DMDB_Logical_Set, DMDB_Logical_Backup_Set>
{
    static constexpr const char* stem = "dmdb_logical_backup_set";
    static constexpr const char* module = "dmdb_logical";

    static void select(Select_SQL& sql) { DMDB_Logical_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "dm"."seq" AS "seq", "dm"."backup_version" AS "backup_version", )"
                 R"("dm"."backup_set" AS "backup_set", "dm"."case_sensitive" AS "case_sensitive", )"
                 R"("dm"."dm_type" AS "dm_type", "dm"."exp_mode" AS "exp_mode" FROM "backup_set" AS "b" )"
                 R"(INNER JOIN "dmdb_logical_backup_set" AS "dm" ON "uuid" = "dm"."set_uuid")";
    }

    static constexpr const char* fresh =
        R"(,"seq":0,"backup_version":0,"backup_set":"","case_sensitive":true,"dm_type":"","exp_mode":"",)"
        R"("backup_files":[])";

    static void fill(DMDB_Logical_Backup_Set& set)
    {
        set.seq = 4294967201;
        set.backup_version = 4294967202;
        set.backup_set = "the backup set";
        set.case_sensitive = false;
        set.dm_type = "the dm type";
        set.exp_mode = "the exp mode";
        set.files = {{"DM01", "a.dmp", "SYSDBA", "HR", "STAFF"}, {"", "b.dmp", "", "", ""}};
    }
    static constexpr const char* filled =
        R"(,"seq":4294967201,"backup_version":4294967202,"backup_set":"the backup set","case_sensitive":false,)"
        R"("dm_type":"the dm type","exp_mode":"the exp mode","backup_files":[{"instance":"DM01","file":"a.dmp",)"
        R"("owner":"SYSDBA","schema":"HR","table":"STAFF"},{"instance":"","file":"b.dmp","owner":"","schema":"",)"
        R"("table":""}])";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR, TO_BASE, {{STRING, {"backup_set", "dm_type", "exp_mode"}}}},
            {PRINT_INT, TO_BASE, {{UINT_32, {"seq", "backup_version"}}, {BOOL, {"case_sensitive"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"dmdb_logical_backup_set",
                 {{"seq", INTEGER},
                  {"backup_version", INTEGER},
                  {"backup_set", TEXT},
                  {"case_sensitive", INTEGER, "0"},
                  {"dm_type", TEXT},
                  {"exp_mode", TEXT}}}};
    }
    static void forget(DMDB_Logical_Backup_Set& set) { set.files.clear(); }
};

} // namespace record_test
