// Hyper_V_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/hyperv_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct Hyper_V_Set : Set_Description<Hyper_V_Set, Hyper_V_Backup_Set>
{
    static constexpr const char* stem = "hyperv_backup_set";
    static constexpr const char* module = "hyperv";
    static constexpr bool selects_common = false;

    static void select(Select_SQL& sql) { Hyper_V_Backup_Set::init_select_sql(sql, "t"); }
    static std::string selected()
    {
        return R"(SELECT "t"."set_uuid" AS "set_uuid", "t"."vm_name" AS "vm_name", "t"."vm_guid" AS "vm_guid", )"
               R"("t"."vm_setting_id" AS "vm_setting_id", "t"."vm_prev_setting_id" AS "vm_prev_setting_id", )"
               R"("t"."vm_config_version" AS "vm_config_version", "t"."vm_generation" AS "vm_generation", )"
               R"("t"."memory_mbytes" AS "memory_mbytes", "t"."cpu_count" AS "cpu_count", )"
               R"("t"."network_adapters" AS "network_adapters", "t"."controllers" AS "controllers", )"
               R"("t"."drives" AS "drives", "t"."vhd_chains" AS "vhd_chains" FROM "hyperv_backup_set" AS "t")";
    }

    static constexpr const char* fresh =
        R"(,"vm_name":"","vm_guid":"","vm_setting_id":"","vm_prev_setting_id":"","vm_config_version":"",)"
        R"("memory_mbytes":0,"cpu_count":1,"vm_generation":1,"vhd_chains":{},"network_adapters":[],"controllers":[],)"
        R"("drives":[])";

    static void fill(Hyper_V_Backup_Set& set)
    {
        set.vm_name = "the vm name";
        set.vm_guid = "the vm guid";
        set.vm_setting_id = "the setting";
        set.vm_prev_setting_id = "the previous setting";
        set.vm_config_version = "the config version";
        set.memory_mbytes = -2147483601;
        set.cpu_count = -2147483602;
        set.vm_generation = -2147483603;
        set.vhd_chains["chain"] = {
            .vhds = {{"base.vhdx", "top.vhdx", 18446744073709551601U, 5}, {"", "base.vhdx", 18446744073709551602U, 6}},
            .id = "the id",
            .rct_id = "the rct id",
            .controller_type = "the controller",
            .total_size = 18446744073709551603U,
            .address_0 = -2147483604,
            .address_1 = -2147483605};
        set.network_adapters = {{"mac 1", "adapter 1", "switch 1", true}, {"mac 2", "adapter 2", "switch 2", false}};
        set.controllers = {{"SCSI", -2147483606, 7}, {"IDE", 1, 8}};
        set.drives = {{-2147483607, -2147483608, -2147483609}, {1, 2, 3}};
    }
    static constexpr const char* filled =
        R"(,"vm_name":"the vm name","vm_guid":"the vm guid","vm_setting_id":"the setting",)"
        R"("vm_prev_setting_id":"the previous setting","vm_config_version":"the config version",)"
        R"("memory_mbytes":-2147483601,"cpu_count":-2147483602,"vm_generation":-2147483603,)"
        R"("vhd_chains":{"chain":{"address_0":-2147483604,"address_1":-2147483605,)"
        R"("controller_type":"the controller","total_size":18446744073709551603,"id":"the id","rct_id":"the rct id",)"
        R"("vhds":[{"path":"top.vhdx","parent_path":"base.vhdx","file_size":18446744073709551601},)"
        R"({"path":"base.vhdx","parent_path":"","file_size":18446744073709551602}]}},)"
        R"("network_adapters":[{"mac":"mac 1","name":"adapter 1","virtual_switch":"switch 1","is_static_mac":true},)"
        R"({"mac":"mac 2","name":"adapter 2","virtual_switch":"switch 2","is_static_mac":false}],)"
        R"("controllers":[{"address":-2147483606,"type":"SCSI"},{"address":1,"type":"IDE"}],)"
        R"("drives":[{"address":-2147483609,"controller_type":-2147483608,"controller_address":-2147483607},)"
        R"({"address":3,"controller_type":2,"controller_address":1}])";

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"hyperv_backup_set",
                 {{"vm_name", TEXT},
                  {"vm_guid", TEXT},
                  {"vm_setting_id", TEXT},
                  {"vm_prev_setting_id", TEXT},
                  {"vm_config_version", TEXT},
                  {"vm_generation", INTEGER},
                  {"memory_mbytes", INTEGER},
                  {"cpu_count", INTEGER},
                  {"network_adapters", JSON},
                  {"controllers", JSON},
                  {"drives", JSON},
                  {"vhd_chains", JSON}}}};
    }
};

} // namespace record_test
