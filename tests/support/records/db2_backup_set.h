// DB2_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/db2_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct DB2_Set : Set_Description<DB2_Set, DB2_Backup_Set>
{
    static constexpr const char* stem = "db2_backup_set";
    static constexpr const char* module = "";
    static constexpr const char* agent = "db2"; // the module does not say the type

    static void select(Select_SQL& sql) { DB2_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "ds"."database" AS "database", "ds"."base_start_point" AS "base_start_point", )"
                 R"("ds"."meta_file" AS "meta_file", "ds"."archive_dir" AS "archive_dir", )"
                 R"("ds"."archive_first_log" AS "archive_first_log", "ds"."archive_last_log" AS "archive_last_log", )"
                 R"("ds"."archive_start_time" AS "archive_start_time", )"
                 R"("ds"."archive_end_time" AS "archive_end_time", "ds"."is_archive_set" AS "is_archive_set" )"
                 R"(FROM "backup_set" AS "b" INNER JOIN "db2_backup_set" AS "ds" ON "uuid" = "ds"."set_uuid")";
    }

    static constexpr const char* fresh =
        R"(,"database":"","base_start_point":0,"meta_file":"","archive_dir":"","archive_first_log":"",)"
        R"("archive_last_log":"","archive_start_time":"1970-01-01 00:00:00",)"
        R"("archive_end_time":"1970-01-01 00:00:00","is_archive_set":false)";

    static void fill(DB2_Backup_Set& set)
    {
        set.database = "the database";
        set.base_start_point = 9000000000000000002;
        set.meta_file = "the meta file";
        set.archive_dir = "the archive dir";
        set.archive_first_log = "the archive first log";
        set.archive_last_log = "the archive last log";
        set.archive_start_time = 1000000007;
        set.archive_end_time = 1000000008;
        set.is_archive_set = true;
    }
    static constexpr const char* filled =
        R"(,"database":"the database","base_start_point":9000000000000000002,"meta_file":"the meta file",)"
        R"("archive_dir":"the archive dir","archive_first_log":"the archive first log",)"
        R"("archive_last_log":"the archive last log","archive_start_time":"2001-09-09 01:46:47",)"
        R"("archive_end_time":"2001-09-09 01:46:48","is_archive_set":true)";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR,
             TO_BASE,
             {{STRING, {"database", "meta_file", "archive_dir", "archive_first_log", "archive_last_log"}}}},
            {PRINT_INT, TO_BASE, {{INT_64, {"base_start_point"}}}},
            {PRINT_BOOL, TO_NOTHING, {{BOOL, {"is_archive_set"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"db2_backup_set",
                 {{"database", TEXT},
                  {"base_start_point", INTEGER},
                  {"meta_file", TEXT},
                  {"archive_dir", TEXT},
                  {"archive_first_log", TEXT},
                  {"archive_last_log", TEXT},
                  {"archive_start_time", TIME},
                  {"archive_end_time", TIME},
                  {"is_archive_set", BOOLEAN}}}};
    }
    static void forget(DB2_Backup_Set& set)
    {
        // Selected, but taken by no callback.
        set.archive_start_time = 0;
        set.archive_end_time = 0;
    }
};

} // namespace record_test
