// CacheDB_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/cachedb_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct CacheDB_Set : Set_Description<CacheDB_Set, CacheDB_Backup_Set>
{
    static constexpr const char* stem = "cachedb_backup_set";
    static constexpr const char* module = "cachedb";

    static void select(Select_SQL& sql) { CacheDB_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "c"."start_log" AS "start_log", "c"."end_log" AS "end_log", )"
                 R"("c"."current_log" AS "current_log", "c"."journal_dir" AS "journal_dir" FROM "backup_set" AS "b" )"
                 R"(INNER JOIN "cachedb_backup_set" AS "c" ON "uuid" = "c"."set_uuid")";
    }

    static constexpr const char* fresh =
        R"(,"start_log":"","end_log":"","current_log":"","journal_dir":"","backup_files":[])";

    static void fill(CacheDB_Backup_Set& set)
    {
        set.start_log = "the start log";
        set.end_log = "the end log";
        set.current_log = "the current log";
        set.journal_dir = "the journal dir";
        set.backup_files = {json_spirit::Object{{"size", "5"}, {"file", "CACHE.DAT"}}, json_spirit::Object()};
        set.files = {{"never", "written"}};
    }
    static constexpr const char* filled =
        R"(,"start_log":"the start log","end_log":"the end log","current_log":"the current log",)"
        R"("journal_dir":"the journal dir","backup_files":[{"file":"CACHE.DAT","size":"5"},{}])";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR, TO_BASE, {{STRING, {"start_log", "end_log", "current_log", "journal_dir"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"cachedb_backup_set",
                 {{"start_log", TEXT}, {"end_log", TEXT}, {"current_log", TEXT}, {"journal_dir", TEXT}}}};
    }
    static void forget(CacheDB_Backup_Set& set)
    {
        set.backup_files.clear();
        set.files.clear();
    }
};

} // namespace record_test
