// CloudOS_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/cloudos_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct CloudOS_Set : Set_Description<CloudOS_Set, CloudOS_Backup_Set>
{
    static constexpr const char* stem = "cloudos_backup_set";
    static constexpr const char* module = "cloudos";
    static constexpr bool selects_common = false;

    static void select(Select_SQL& sql) { CloudOS_Backup_Set::init_select_sql(sql, "t"); }
    static std::string selected()
    {
        return R"(SELECT "t"."set_uuid" AS "set_uuid", "t"."host_id" AS "host_id", "t"."host_name" AS "host_name", )"
               R"("t"."vm_id" AS "vm_id", "t"."vm_name" AS "vm_name", "t"."vm_disks" AS "vm_disks", )"
               R"("t"."vm_config" AS "vm_config", "t"."snapshot_id" AS "snapshot_id" FROM "cloudos_backup_set" AS "t")";
    }

    static constexpr const char* fresh =
        R"(,"host_id":"","host_name":"","vm_id":"","vm_name":"","snapshot_id":"","vm_disks":[],"vm_config":{})";

    static void fill(CloudOS_Backup_Set& set)
    {
        set.host_id = "the host id";
        set.host_name = "the host name";
        set.vm_id = "the vm id";
        set.vm_name = "the vm name";
        set.snapshot_id = "the snapshot id";
        set.vm_config = {{"config", 1}};
        set.vm_disks = {"disk", 2};
    }
    static constexpr const char* filled =
        R"(,"host_id":"the host id","host_name":"the host name","vm_id":"the vm id","vm_name":"the vm name",)"
        R"("snapshot_id":"the snapshot id","vm_disks":["disk",2],"vm_config":{"config":1})";

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"cloudos_backup_set",
                 {{"host_id", TEXT},
                  {"host_name", TEXT},
                  {"vm_id", TEXT},
                  {"vm_name", TEXT},
                  {"vm_disks", JSON},
                  {"vm_config", JSON},
                  {"snapshot_id", TEXT}}}};
    }
};

} // namespace record_test
