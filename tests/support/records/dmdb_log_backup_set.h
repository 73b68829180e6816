// DMDB_Log_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/dmdb_log_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct DMDB_Log_Set : Set_Description<DMDB_Log_Set, DMDB_Log_Backup_Set>
{
    static constexpr const char* stem = "dmdb_log_backup_set";
    static constexpr const char* module = "dmdb_log";

    static void select(Select_SQL& sql) { DMDB_Log_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "dm"."seq" AS "seq", "dm"."backup_version" AS "backup_version", "dm"."dm_type" AS "dm_type", )"
                 R"("dm"."compression" AS "compression", "dm"."backup_set" AS "backup_set", )"
                 R"("dm"."arch_start_time" AS "arch_start_time", "dm"."arch_end_time" AS "arch_end_time", )"
                 R"("dm"."permanent_db_magic" AS "permanent_db_magic", "dm"."db_magic" AS "db_magic", )"
                 R"("dm"."timezone_offset" AS "timezone_offset", "dm"."number" AS "number", )"
                 R"("dm"."active" AS "active" FROM "backup_set" AS "b" INNER JOIN "dmdb_log_backup_set" AS "dm" )"
                 R"(ON "uuid" = "dm"."set_uuid")";
    }

    static constexpr const char* fresh =
        R"(,"seq":0,"backup_version":0,"dm_type":0,"compression":"","backup_set":"","arch_start_time":"",)"
        R"("arch_end_time":"","permanent_db_magic":0,"db_magic":0,"timezone_offset":0,"number":0,"active":false)";

    static void fill(DMDB_Log_Backup_Set& set)
    {
        set.seq = 4294967201;
        set.backup_version = 4294967202;
        set.dm_type = 4294967203;
        set.compression = "the compression";
        set.backup_set = "the backup set";
        set.arch_start_time = "the arch start time";
        set.arch_end_time = "the arch end time";
        set.permanent_db_magic = 9000000000000000008;
        set.db_magic = 9000000000000000009;
        set.timezone_offset = 9000000000000000010;
        set.number = 9000000000000000011;
        set.active = true;
    }
    static constexpr const char* filled =
        R"(,"seq":4294967201,"backup_version":4294967202,"dm_type":4294967203,"compression":"the compression",)"
        R"("backup_set":"the backup set","arch_start_time":"the arch start time",)"
        R"("arch_end_time":"the arch end time","permanent_db_magic":9000000000000000008,)"
        R"("db_magic":9000000000000000009,"timezone_offset":9000000000000000010,"number":9000000000000000011,)"
        R"("active":true)";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR, TO_BASE, {{STRING, {"compression", "backup_set", "arch_start_time", "arch_end_time"}}}},
            {PRINT_INT,
             TO_BASE,
             {{UINT_32, {"seq", "backup_version", "dm_type"}},
              {INT_64, {"permanent_db_magic", "db_magic", "timezone_offset", "number"}}}},
            {PRINT_BOOL, TO_NOTHING, {{BOOL, {"active"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"dmdb_log_backup_set",
                 {{"seq", INTEGER},
                  {"backup_version", INTEGER},
                  {"dm_type", INTEGER},
                  {"compression", TEXT},
                  {"backup_set", TEXT},
                  {"arch_start_time", TEXT},
                  {"arch_end_time", TEXT},
                  {"permanent_db_magic", INTEGER},
                  {"db_magic", INTEGER},
                  {"timezone_offset", INTEGER},
                  {"number", INTEGER},
                  {"active", BOOLEAN}}}};
    }
};

} // namespace record_test
