// GaussDB_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/gaussdb_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct GaussDB_Set : Set_Description<GaussDB_Set, GaussDB_Backup_Set>
{
    static constexpr const char* stem = "gaussdb_backup_set";
    static constexpr const char* module = "gaussdb";

    static void select(Select_SQL& sql) { GaussDB_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "g"."meta_destination" AS "meta_destination", "g"."backup_key" AS "backup_key", )"
                 R"("g"."prior_backup_key" AS "prior_backup_key", "g"."nodes_count" AS "nodes_count", )"
                 R"("g"."series" AS "series", "g"."timeline" AS "timeline", "g"."compression" AS "compression", )"
                 R"("g"."seq" AS "seq", "g"."granularity" AS "granularity", "g"."database" AS "database" )"
                 R"(FROM "backup_set" AS "b" INNER JOIN "gaussdb_backup_set" AS "g" ON "uuid" = "g"."set_uuid")";
    }

    static constexpr const char* fresh =
        R"(,"meta_destination":"","backup_key":"","prior_backup_key":"","nodes_count":0,"series":0,"seq":0,)"
        R"("timeline":"","compression":"","granularity":"","database":"","tables":[])";

    static void fill(GaussDB_Backup_Set& set)
    {
        set.meta_destination = "the meta destination";
        set.backup_key = "the backup key";
        set.prior_backup_key = "the prior backup key";
        set.nodes_count = -2147483596;
        set.series = -2147483595;
        set.seq = 9000000000000000006;
        set.timeline = "the timeline";
        set.compression = "the compression";
        set.granularity = "the granularity";
        set.database = "the database";
        set.tables = {"tables", json_spirit::Object{{"n", 11}}};
    }
    static constexpr const char* filled =
        R"(,"meta_destination":"the meta destination","backup_key":"the backup key",)"
        R"("prior_backup_key":"the prior backup key","nodes_count":-2147483596,"series":-2147483595,)"
        R"("seq":9000000000000000006,"timeline":"the timeline","compression":"the compression",)"
        R"("granularity":"the granularity","database":"the database","tables":["tables",{"n":11}])";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR,
             TO_BASE,
             {{STRING,
               {"meta_destination", "backup_key", "prior_backup_key", "timeline", "compression", "granularity",
                "database"}}}},
            {PRINT_INT, TO_BASE, {{INT_32, {"nodes_count", "series"}}, {INT_64, {"seq"}}}},
            {PRINT_JSON, TO_BASE, {{ARRAY, {"tables"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"gaussdb_backup_set",
                 {{"meta_destination", TEXT},
                  {"backup_key", TEXT},
                  {"prior_backup_key", TEXT},
                  {"nodes_count", INTEGER},
                  {"series", INTEGER},
                  {"timeline", TEXT},
                  {"compression", TEXT},
                  {"seq", INTEGER},
                  {"granularity", TEXT},
                  {"database", TEXT}}}};
    }
    static void forget(GaussDB_Backup_Set& set) { set.tables.clear(); }
};

} // namespace record_test
