// Hive_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/hive_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct Hive_Set : Set_Description<Hive_Set, Hive_Backup_Set>
{
    static constexpr const char* stem = "hive_backup_set";
    static constexpr const char* module = "hive";

    static void select(Select_SQL& sql) { Hive_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "b"."last_repl_id" AS "last_repl_id", "b"."seq" AS "seq", "b"."channels" AS "channels", )"
                 R"("b"."hash_algorithm" AS "hash_algorithm", "b"."pool_type" AS "pool_type", )"
                 R"("b"."multidevice" AS "multidevice", "b"."encryption" AS "encryption" FROM (SELECT * )"
                 R"(FROM "backup_set" INNER JOIN "hive_backup_set" )"
                 R"(ON "backup_set"."uuid" = "hive_backup_set"."set_uuid") AS "b")";
    }

    static constexpr const char* fresh =
        R"(,"last_repl_id":"","seq":0,"channels":0,"hash_algorithm":"","pool_type":"","multidevice":false,)"
        R"("encryption":"","backup_files":[],"backup_tables":[])";

    static void fill(Hive_Backup_Set& set)
    {
        set.last_repl_id = "the last repl id";
        set.seq = 4294967202;
        set.channels = 4294967203;
        set.hash_algorithm = "the hash algorithm";
        set.pool_type = "the pool type";
        set.multidevice = true;
        set.encryption = "the encryption";
        set.backup_files = {{"first db", "/dump/1", "/origin/1"}, {"second db", "", ""}};
        set.backup_tables = {{"first db", "first table"}, {"second db", ""}};
    }
    static constexpr const char* filled =
        R"(,"last_repl_id":"the last repl id","seq":4294967202,"channels":4294967203,)"
        R"("hash_algorithm":"the hash algorithm","pool_type":"the pool type","multidevice":true,)"
        R"("encryption":"the encryption","backup_files":[{"database":"first db","dump_dir_path":"/dump/1",)"
        R"("origin_location_path":"/origin/1"},{"database":"second db","dump_dir_path":"",)"
        R"("origin_location_path":""}],"backup_tables":[{"database":"first db","tablename":"first table"},)"
        R"({"database":"second db","tablename":""}])";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR, TO_BASE, {{STRING, {"last_repl_id", "hash_algorithm", "encryption", "pool_type"}}}},
            {PRINT_INT, TO_BASE, {{UINT_32, {"seq", "channels"}}}},
            {PRINT_BOOL, TO_NOTHING, {{BOOL, {"multidevice"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"hive_backup_set",
                 {{"last_repl_id", TEXT},
                  {"seq", INTEGER},
                  {"channels", INTEGER},
                  {"hash_algorithm", TEXT},
                  {"pool_type", TEXT},
                  {"multidevice", BOOLEAN},
                  {"encryption", TEXT}}}};
    }
    static void forget(Hive_Backup_Set& set)
    {
        set.backup_files.clear();
        set.backup_tables.clear();
    }
};

} // namespace record_test
