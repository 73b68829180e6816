// ICS_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/ics_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct ICS_Set : Set_Description<ICS_Set, ICS_Backup_Set>
{
    static constexpr const char* stem = "ics_backup_set";
    static constexpr const char* module = "incloud";
    static constexpr bool selects_common = false;

    static void select(Select_SQL& sql) { ICS_Backup_Set::init_select_sql(sql, "i"); }
    static std::string selected()
    {
        return R"(SELECT "i"."vm_name" AS "vm_name", "i"."vm_id" AS "vm_id", "i"."vm_uuid" AS "vm_uuid", )"
               R"("i"."vm_version" AS "vm_version", "i"."datacenter_id" AS "datacenter_id", )"
               R"("i"."owner_host_id" AS "owner_host_id", "i"."owner_host_ip" AS "owner_host_ip", )"
               R"("i"."owner_host_name" AS "owner_host_name", "i"."base_info" AS "base_info", )"
               R"("i"."cpu_info" AS "cpu_info", "i"."mem_info" AS "mem_info", "i"."aggregates" AS "aggregates", )"
               R"("i"."boot_devices" AS "boot_devices", "i"."floppys" AS "floppys", "i"."cdroms" AS "cdroms", )"
               R"("i"."nics" AS "nics", "i"."gpus" AS "gpus", "i"."usbs" AS "usbs", )"
               R"("i"."vm_extended_attrs" AS "vm_extended_attrs" FROM "ics_backup_set" AS "i")";
    }

    static constexpr const char* fresh =
        R"(,"vm_name":"","vm_id":"","vm_uuid":"","vm_version":"","datacenter_id":"","owner_host_id":"",)"
        R"("owner_host_ip":"","owner_host_name":"","base_info":{"boot_mode":"","guest_os_type":"",)"
        R"("guest_os_label":"","panick_policy":"","start_priority":"","vnc_password":"","vnc_shared_policy":"",)"
        R"("vm_description":"","splash_time":0},"cpu_info":{"cpu_arch":"","cpu_shares":0,"cpu_count":0,)"
        R"("cpu_cores":0,"cpu_socket":0,"cpu_core_num_per_socket":0,"cpu_reservation":0,"cpu_limit":0,)"
        R"("cpu_model":"","cpu_hot_plug_enabled":false,"cpu_model_enabled":false},"mem_info":{"mem_mbytes":0,)"
        R"("mem_reservation":0,"enable_huge_page":false,"mem_balloon_enabled":false,"mem_hot_add_enabled":false,)"
        R"("mem_hot_plug_enabled":false},"aggregates":[],"boot_devices":[],"floppys":[],"cdroms":[],"nics":[],)"
        R"("gpus":[],"usbs":[],"vm_extended_attrs":{})";

    static void fill(ICS_Backup_Set& set)
    {
        set.vm_id = "the vm id";
        set.vm_uuid = "the vm uuid";
        set.vm_name = "the vm name";
        set.vm_version = "the vm version";
        set.datacenter_id = "the datacenter id";
        set.owner_host_id = "the owner host id";
        set.owner_host_ip = "the owner host ip";
        set.owner_host_name = "the owner host name";
        set.base_info.boot_mode = "the boot mode";
        set.base_info.guest_os_type = "the guest os type";
        set.base_info.guest_os_label = "the guest os label";
        set.base_info.panick_policy = "the panick policy";
        set.base_info.start_priority = "the start priority";
        set.base_info.vnc_password = "the vnc password";
        set.base_info.vnc_shared_policy = "the vnc shared policy";
        set.base_info.vm_description = "the vm description";
        set.base_info.splash_time = 18446744073709551601U;
        set.cpu_info.cpu_arch = "the cpu arch";
        set.cpu_info.cpu_shares = 18446744073709551602U;
        set.cpu_info.cpu_count = 18446744073709551603U;
        set.cpu_info.cpu_cores = 18446744073709551604U;
        set.cpu_info.cpu_socket = 18446744073709551605U;
        set.cpu_info.cpu_core_num_per_socket = 18446744073709551606U;
        set.cpu_info.cpu_reservation = 18446744073709551607U;
        set.cpu_info.cpu_limit = 18446744073709551608U;
        set.cpu_info.cpu_model = "the cpu model";
        set.cpu_info.cpu_hot_plug_enabled = true;
        set.cpu_info.cpu_model_enabled = true;
        set.mem_info.mem_mbytes = 18446744073709551609U;
        set.mem_info.mem_reservation = 18446744073709551610U;
        set.mem_info.enable_huge_page = true;
        set.mem_info.mem_balloon_enabled = true;
        set.mem_info.mem_hot_add_enabled = true;
        set.mem_info.mem_hot_plug_enabled = true;
        set.aggregates = {{"second aggregate", ICS_Backup_Set::TAG}, {"first aggregate", ICS_Backup_Set::VAPP}};
        set.boot_devices = {"boot device", 1};
        set.floppys = {"floppy", 2};
        set.cdroms = {"cdrom", 3};
        set.nics = {"nic", 4};
        set.gpus = {"gpu", 5};
        set.usbs = {"usb", 6};
        set.vm_extended_attrs = {{"b", json_spirit::Array{true}}, {"a", json_spirit::Object()}};
    }
    static constexpr const char* filled =
        R"(,"vm_name":"the vm name","vm_id":"the vm id","vm_uuid":"the vm uuid","vm_version":"the vm version",)"
        R"("datacenter_id":"the datacenter id","owner_host_id":"the owner host id",)"
        R"("owner_host_ip":"the owner host ip","owner_host_name":"the owner host name",)"
        R"("base_info":{"boot_mode":"the boot mode","guest_os_type":"the guest os type",)"
        R"("guest_os_label":"the guest os label","panick_policy":"the panick policy",)"
        R"("start_priority":"the start priority","vnc_password":"the vnc password",)"
        R"("vnc_shared_policy":"the vnc shared policy","vm_description":"the vm description",)"
        R"("splash_time":18446744073709551601},"cpu_info":{"cpu_arch":"the cpu arch",)"
        R"("cpu_shares":18446744073709551602,"cpu_count":18446744073709551603,"cpu_cores":18446744073709551604,)"
        R"("cpu_socket":18446744073709551605,"cpu_core_num_per_socket":18446744073709551606,)"
        R"("cpu_reservation":18446744073709551607,"cpu_limit":18446744073709551608,"cpu_model":"the cpu model",)"
        R"("cpu_hot_plug_enabled":true,"cpu_model_enabled":true},"mem_info":{"mem_mbytes":18446744073709551609,)"
        R"("mem_reservation":18446744073709551610,"enable_huge_page":true,"mem_balloon_enabled":true,)"
        R"("mem_hot_add_enabled":true,"mem_hot_plug_enabled":true},"aggregates":[{"id":"second aggregate","type":1},)"
        R"({"id":"first aggregate","type":0}],"boot_devices":["boot device",1],"floppys":["floppy",2],)"
        R"("cdroms":["cdrom",3],"nics":["nic",4],"gpus":["gpu",5],"usbs":["usb",6],)"
        R"("vm_extended_attrs":{"a":{},"b":[true]})";

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"ics_backup_set",
                 {{"vm_name", TEXT},
                  {"vm_id", TEXT},
                  {"vm_uuid", TEXT},
                  {"vm_version", TEXT},
                  {"datacenter_id", TEXT},
                  {"owner_host_id", TEXT},
                  {"owner_host_ip", TEXT},
                  {"owner_host_name", TEXT},
                  {"base_info", JSON},
                  {"cpu_info", JSON},
                  {"mem_info", JSON},
                  {"aggregates", JSON},
                  {"boot_devices", JSON},
                  {"floppys", JSON},
                  {"cdroms", JSON},
                  {"nics", JSON},
                  {"gpus", JSON},
                  {"usbs", JSON},
                  {"vm_extended_attrs", JSON}}}};
    }
};

} // namespace record_test
