// FusionCompute_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/fusioncompute_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct FusionCompute_Set : Set_Description<FusionCompute_Set, FusionCompute_Backup_Set>
{
    static constexpr const char* stem = "fusioncompute_backup_set";
    static constexpr const char* module = "fusioncompute";
    static constexpr bool selects_common = false;

    static void select(Select_SQL& sql) { FusionCompute_Backup_Set::init_select_sql(sql, "t"); }
    static std::string selected()
    {
        return R"(SELECT "t"."vm_name" AS "vm_name", "t"."vm_uuid" AS "vm_uuid", "t"."vm_uri" AS "vm_uri", )"
               R"("t"."location_urn" AS "location_urn", "t"."os_type" AS "os_type", "t"."os_version" AS "os_version", )"
               R"("t"."cpu_count" AS "cpu_count", "t"."memory_mbytes" AS "memory_mbytes", )"
               R"("t"."network_adapters" AS "network_adapters", "t"."volumes" AS "volumes", )"
               R"("t"."snapshot_urn" AS "snapshot_urn" FROM "fusioncompute_backup_set" AS "t")";
    }

    static constexpr const char* fresh =
        R"(,"vm_uuid":"","vm_name":"","vm_uri":"","location_urn":"","os_type":"","os_version":0,"cpu_count":0,)"
        R"("memory_mbytes":0,"snapshot_urn":"","network_adapters":[],"volumes":[])";

    static void fill(FusionCompute_Backup_Set& set)
    {
        set.vm_name = "the vm name";
        set.vm_uuid = "the vm uuid";
        set.vm_uri = "the vm uri";
        set.location_urn = "the location";
        set.os_type = "the os type";
        set.snapshot_urn = "the snapshot";
        set.os_version = -2147483601;
        set.cpu_count = -2147483602;
        set.memory_mbytes = -2147483603;
        set.network_adapters = {{"adapter 1", "ip 1", "mac 1", "port group 1", -2147483604},
                                {"adapter 2", "ip 2", "mac 2", "port group 2", 2}};
        set.volumes = {{"volume 1",
                        "urn 1",
                        "uuid 1",
                        "pci type 1",
                        "storage type 1",
                        "datastore 1",
                        true,
                        -2147483605,
                        -2147483606,
                        18446744073709551601U,
                        {"snapshot 1", "name on device 1", "change 1"}},
                       {"volume 2", "", "", "", "", "", false, 3, 4, 5, {}}};
    }
    static constexpr const char* filled =
        R"(,"vm_uuid":"the vm uuid","vm_name":"the vm name","vm_uri":"the vm uri","location_urn":"the location",)"
        R"("os_type":"the os type","os_version":-2147483601,"cpu_count":-2147483602,"memory_mbytes":-2147483603,)"
        R"("snapshot_urn":"the snapshot","network_adapters":[{"name":"adapter 1","ip":"ip 1","mac":"mac 1",)"
        R"("port_group_urn":"port group 1","sequence_num":-2147483604},{"name":"adapter 2","ip":"ip 2","mac":"mac 2",)"
        R"("port_group_urn":"port group 2","sequence_num":2}],"volumes":[{"name":"volume 1","urn":"urn 1",)"
        R"("uuid":"uuid 1","pci_type":"pci type 1","storage_type":"storage type 1","datastore_urn":"datastore 1",)"
        R"("thin":true,"quantity":-2147483605,"sequence_num":-2147483606,"block_size":18446744073709551601,)"
        R"("snapshot":{"uuid":"snapshot 1","snap_name_on_dev":"name on device 1","chg_id":"change 1"}},)"
        R"({"name":"volume 2","urn":"","uuid":"","pci_type":"","storage_type":"","datastore_urn":"","thin":false,)"
        R"("quantity":3,"sequence_num":4,"block_size":5,"snapshot":{"uuid":"","snap_name_on_dev":"","chg_id":""}}])";

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"fusioncompute_backup_set",
                 {{"vm_name", TEXT},
                  {"vm_uuid", TEXT},
                  {"vm_uri", TEXT},
                  {"location_urn", TEXT},
                  {"os_type", TEXT},
                  {"os_version", INTEGER},
                  {"cpu_count", INTEGER},
                  {"memory_mbytes", INTEGER},
                  {"network_adapters", JSON},
                  {"volumes", JSON},
                  {"snapshot_urn", TEXT}}}};
    }
};

} // namespace record_test
