// HANA_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/hana_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct HANA_Set : Set_Description<HANA_Set, HANA_Backup_Set>
{
    static constexpr const char* stem = "hana_backup_set";
    static constexpr const char* module = "hana";

    static void select(Select_SQL& sql) { HANA_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "h"."lifeline" AS "lifeline", "h"."sid" AS "sid", "h"."system_version" AS "system_version", )"
                 R"("h"."instance_num" AS "instance_num", "h"."instance_name" AS "instance_name", )"
                 R"("h"."extended_attrs" AS "extended_attrs", "h"."database" AS "database", )"
                 R"("h"."database_backup_id" AS "database_backup_id" FROM "backup_set" AS "b" )"
                 R"(INNER JOIN "hana_backup_set" AS "h" ON "uuid" = "h"."set_uuid")";
    }

    static constexpr const char* fresh =
        R"(,"lifeline":"","sid":"","system_version":"","instance_num":0,"instance_name":"","extended_attrs":"",)"
        R"("database":"","database_backup_id":0,"files":[])";

    static void fill(HANA_Backup_Set& set)
    {
        set.lifeline = "the lifeline";
        set.sid = "the sid";
        set.system_version = "the system version";
        set.instance_num = 18446744073709551504U;
        set.instance_name = "the instance name";
        set.extended_attrs = "the extended attrs";
        set.database = "the database";
        set.database_backup_id = 18446744073709551508U;
        set.files = {{"ebid 1", "/origin/1", "name 1", 18446744073709551615U, "volume", "/storage/1"},
                     {"", "", "name 2", 0, "", ""}};
    }
    static constexpr const char* filled =
        R"(,"lifeline":"the lifeline","sid":"the sid","system_version":"the system version",)"
        R"("instance_num":18446744073709551504,"instance_name":"the instance name",)"
        R"("extended_attrs":"the extended attrs","database":"the database",)"
        R"("database_backup_id":18446744073709551508,"files":[{"extern_backup_id":"ebid 1",)"
        R"("origin_path":"/origin/1","filename":"name 1","size":18446744073709551615,"source_type":"volume",)"
        R"("storage_path":"/storage/1"},{"extern_backup_id":"","origin_path":"","filename":"name 2","size":0,)"
        R"("source_type":"","storage_path":""}])";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR,
             TO_BASE,
             {{C_STRING, {"lifeline", "sid", "system_version", "instance_name", "extended_attrs", "database"}}}},
            {PRINT_UINT, TO_NOTHING, {{UINT_64, {"instance_num", "database_backup_id"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"hana_backup_set",
                 {{"lifeline", TEXT},
                  {"sid", TEXT},
                  {"system_version", TEXT},
                  {"instance_num", UNSIGNED},
                  {"instance_name", TEXT},
                  {"extended_attrs", TEXT},
                  {"database", TEXT},
                  {"database_backup_id", UNSIGNED}}}};
    }
    static void forget(HANA_Backup_Set& set) { set.files.clear(); }

    /// The common handler would read the text of "extended_attrs" as JSON.
    static database::sql::Query_Result_Handler* handler() { return nullptr; }
};

} // namespace record_test
