// SharePoint_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/sharepoint_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct SharePoint_Set : Set_Description<SharePoint_Set, SharePoint_Backup_Set>
{
    static constexpr const char* stem = "sharepoint_backup_set";
    static constexpr const char* module = "sharepoint";

    static void select(Select_SQL& sql) { SharePoint_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "s"."device_uuid" AS "device_uuid", "s"."database" AS ".database", "s"."domain" AS "domain", )"
                 R"("s"."backup_method" AS "backup_method", "s"."rev" AS "rev" FROM "backup_set" AS "b" )"
                 R"(INNER JOIN "sharepoint_backup_set" AS "s" ON "uuid" = "s"."set_uuid")";
    }

    static constexpr const char* fresh = R"(,"device_uuid":"","database":"","domain":"","backup_method":"","rev":0)";

    static void fill(SharePoint_Backup_Set& set)
    {
        set.device_uuid = "the device uuid";
        set.database = "the database";
        set.domain = "the domain";
        set.backup_method = "the backup method";
        set.rev = 9000000000000000005;
    }
    static constexpr const char* filled =
        R"(,"device_uuid":"the device uuid","database":"the database","domain":"the domain",)"
        R"("backup_method":"the backup method","rev":9000000000000000005)";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR, TO_BASE, {{STRING, {"device_uuid", "database", "domain", "backup_method"}}}},
            {PRINT_INT, TO_BASE, {{INT_64, {"rev"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {
            {"sharepoint_backup_set",
             {{"device_uuid", TEXT}, {"database", TEXT}, {"domain", TEXT}, {"backup_method", TEXT}, {"rev", INTEGER}}}};
    }
    static void forget(SharePoint_Backup_Set& set)
    {
        set.database.clear(); // it comes under a key that nothing takes
    }
};

} // namespace record_test
