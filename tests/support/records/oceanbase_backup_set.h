// OceanBase_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/oceanbase_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct OceanBase_Set : Set_Description<OceanBase_Set, OceanBase_Backup_Set>
{
    static constexpr const char* stem = "oceanbase_backup_set";
    static constexpr const char* module = "oceanbase";

    static void select(Select_SQL& sql) { OceanBase_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected() { return common_columns("b") + R"( FROM "backup_set" AS "b")"; }

    static constexpr const char* fresh =
        R"(,"archive_dest":"","version":"","cluster_name":"","log_archive_round":0,"cluster_id":0,"tenants":[])";

    static void fill(OceanBase_Backup_Set& set)
    {
        set.archive_dest = "the archive dest";
        set.version = "the version";
        set.cluster_name = "the cluster name";
        set.log_archive_round = 18446744073709551504U;
        set.cluster_id = 18446744073709551505U;
        set.tenants = {{18446744073709551615U, "t1", "start", "next", "z1;z2", "z1", "FULL@z1", {"pool b", "pool a"}},
                       {}};
    }
    static constexpr const char* filled =
        R"(,"archive_dest":"the archive dest","version":"the version","cluster_name":"the cluster name",)"
        R"("log_archive_round":18446744073709551504,"cluster_id":18446744073709551505,)"
        R"("tenants":[{"tenant_id":18446744073709551615,"tenant_name":"t1","data_start_time":"start",)"
        R"("log_max_next_time":"next","zone_list":"z1;z2","primary_zone":"z1","locality":"FULL@z1",)"
        R"("resource_pools":["pool b","pool a"]},{"tenant_id":0,"tenant_name":"","data_start_time":"",)"
        R"("log_max_next_time":"","zone_list":"","primary_zone":"","locality":"","resource_pools":[]}])";
    static void forget(OceanBase_Backup_Set& set)
    {
        set.archive_dest.clear();
        set.version.clear();
        set.cluster_name.clear();
        set.log_archive_round = 0;
        set.cluster_id = 0;
        set.tenants.clear();
    }
};

} // namespace record_test
