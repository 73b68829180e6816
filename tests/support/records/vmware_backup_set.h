// VMware_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/vmware_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct VMware_Set : Set_Description<VMware_Set, VMware_Backup_Set>
{
    static constexpr const char* stem = "vmware_backup_set";
    static constexpr const char* module = "vmware";

    static void select(Select_SQL& sql) { VMware_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "g"."vm_uuid" AS "vm_uuid", "g"."instance_uuid" AS "instance_uuid", )"
                 R"("g"."parent_uuid" AS "parent_uuid", "g"."vm_name" AS "vm_name", "g"."esxi_name" AS "esxi_name", )"
                 R"("g"."esxi_uuid" AS "esxi_uuid", "g"."esxi_moid" AS "esxi_moid", )"
                 R"("g"."vcenter_name" AS "vcenter_name", "g"."firmware" AS "firmware", )"
                 R"("g"."guestos_id" AS "guestos_id", "g"."version" AS "version", )"
                 R"("g"."memory_size" AS "memory_size", "g"."cpu_num" AS "cpu_num", )"
                 R"("g"."cpu_cores_per_socket" AS "cpu_cores_per_socket", "g"."controllers" AS "controllers", )"
                 R"("g"."network_adapters" AS "network_adapters", "g"."cd_roms" AS "cd_roms", "g"."tags" AS "tags", )"
                 R"("g"."resource_pool_name" AS "resource_pool_name", )"
                 R"("g"."resource_pool_moid" AS "resource_pool_moid", "g"."folder_moid" AS "folder_moid", )"
                 R"("g"."datastore" AS "datastore", "g"."snapshot_id" AS "snapshot_id", )"
                 R"("g"."merge_backup_id" AS "merge_backup_id", "g"."is_template" AS "template" )"
                 R"(FROM "backup_set" AS "b" INNER JOIN "vmware_backup_set" AS "g" ON "uuid" = "g"."set_uuid")";
    }

    static constexpr const char* fresh =
        R"(,"vm_uuid":"","instance_uuid":"","parent_uuid":"","vm_name":"","esxi_name":"","esxi_uuid":"",)"
        R"("esxi_moid":"","vcenter_name":"","firmware":"","guestos_id":"","version":"","memory_size":0,"cpu_num":0,)"
        R"("cpu_cores_per_socket":0,"resource_pool_name":"","resource_pool_moid":"","folder_moid":"","datastore":"",)"
        R"("snapshot_id":"","merge_backup_id":"","is_template":false,"controllers":[],"network_adapters":[],)"
        R"("cd_roms":[],"tags":[])";

    static void fill(VMware_Backup_Set& set)
    {
        set.vm_uuid = "the vm";
        set.instance_uuid = "the instance uuid";
        set.parent_uuid = "the parent";
        set.vm_name = "the vm name";
        set.esxi_name = "the esxi name";
        set.esxi_uuid = "the esxi uuid";
        set.esxi_moid = "the esxi moid";
        set.vcenter_name = "the vcenter";
        set.firmware = "the firmware";
        set.guestos_id = "the guest";
        set.version = "the hardware version";
        set.resource_pool_name = "the pool name";
        set.resource_pool_moid = "the pool moid";
        set.folder_moid = "the folder";
        set.datastore = "the datastore";
        set.snapshot_id = "the snapshot";
        set.merge_backup_id = "the merged backup";
        set.memory_size = 18446744073709551601U;
        set.cpu_num = 18446744073709551602U;
        set.cpu_cores_per_socket = 18446744073709551603U;
        set.controllers = {"controller", json_spirit::Object{{"n", 1}}};
        set.network_adapters = {"adapter", json_spirit::Object{{"n", 2}}};
        set.cd_roms = {"cd rom", json_spirit::Object{{"n", 3}}};
        set.tags = {"tag", json_spirit::Object{{"n", 4}}};
        set.is_template = true;
    }
    static constexpr const char* filled =
        R"(,"vm_uuid":"the vm","instance_uuid":"the instance uuid","parent_uuid":"the parent",)"
        R"("vm_name":"the vm name","esxi_name":"the esxi name","esxi_uuid":"the esxi uuid",)"
        R"("esxi_moid":"the esxi moid","vcenter_name":"the vcenter","firmware":"the firmware",)"
        R"("guestos_id":"the guest","version":"the hardware version","memory_size":18446744073709551601,)"
        R"("cpu_num":18446744073709551602,"cpu_cores_per_socket":18446744073709551603,)"
        R"("resource_pool_name":"the pool name","resource_pool_moid":"the pool moid","folder_moid":"the folder",)"
        R"("datastore":"the datastore","snapshot_id":"the snapshot","merge_backup_id":"the merged backup",)"
        R"("is_template":true,"controllers":["controller",{"n":1}],"network_adapters":["adapter",{"n":2}],)"
        R"("cd_roms":["cd rom",{"n":3}],"tags":["tag",{"n":4}])";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR,
             TO_BASE,
             {{STRING,
               {"vm_uuid", "instance_uuid", "parent_uuid", "vm_name", "esxi_name", "esxi_uuid", "esxi_moid",
                "vcenter_name", "firmware", "guestos_id", "version", "resource_pool_name", "resource_pool_moid",
                "folder_moid", "datastore", "snapshot_id", "merge_backup_id"}}}},
            {PRINT_JSON, TO_BASE, {{ARRAY, {"controllers", "network_adapters", "cd_roms", "tags"}}}},
            {PRINT_UINT, TO_NOTHING, {{UINT_64, {"memory_size", "cpu_num", "cpu_cores_per_socket"}}}},
            {PRINT_BOOL, TO_NOTHING, {{BOOL, {"is_template"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"vmware_backup_set",
                 {{"vm_uuid", TEXT},
                  {"instance_uuid", TEXT},
                  {"parent_uuid", TEXT},
                  {"vm_name", TEXT},
                  {"esxi_name", TEXT},
                  {"esxi_uuid", TEXT},
                  {"esxi_moid", TEXT},
                  {"vcenter_name", TEXT},
                  {"firmware", TEXT},
                  {"guestos_id", TEXT},
                  {"version", TEXT},
                  {"memory_size", UNSIGNED},
                  {"cpu_num", UNSIGNED},
                  {"cpu_cores_per_socket", UNSIGNED},
                  {"controllers", JSON},
                  {"network_adapters", JSON},
                  {"cd_roms", JSON},
                  {"tags", JSON},
                  {"resource_pool_name", TEXT},
                  {"resource_pool_moid", TEXT},
                  {"folder_moid", TEXT},
                  {"datastore", TEXT},
                  {"snapshot_id", TEXT},
                  {"merge_backup_id", TEXT},
                  {"is_template", BOOLEAN}}}};
    }
    static void forget(VMware_Backup_Set& set)
    {
        set.is_template = false; // comes under a key that nothing takes
    }
};

} // namespace record_test
