// H3C_CAS_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/h3c_cas_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct H3C_CAS_Set : Set_Description<H3C_CAS_Set, H3C_CAS_Backup_Set>
{
    static constexpr const char* stem = "h3c_cas_backup_set";
    static constexpr const char* module = "h3ccas";
    static constexpr bool selects_common = false;

    static void select(Select_SQL& sql) { H3C_CAS_Backup_Set::init_select_sql(sql, "t"); }
    static std::string selected()
    {
        return R"(SELECT "t"."set_uuid" AS "set_uuid", "t"."cvk_host_id" AS "cvk_host_id", )"
               R"("t"."cvk_host_name" AS "cvk_host_name", "t"."cvk_host_ip" AS "cvk_host_ip", "t"."vm_id" AS "vm_id", )"
               R"("t"."vm_title" AS "vm_title", "t"."vm_name" AS "vm_name", )"
               R"("t"."vm_config_path" AS "vm_config_path", "t"."cbt_name" AS "cbt_name", )"
               R"("t"."vm_disks" AS "vm_disks", "t"."cpu_count" AS "cpu_count", "t"."cpu_cores" AS "cpu_cores", )"
               R"("t"."memory_mbytes" AS "memory_mbytes" FROM "h3ccas_backup_set" AS "t")";
    }

    static constexpr const char* fresh =
        R"(,"cvk_host_id":"","cvk_host_name":"","cvk_host_ip":"","vm_id":"","vm_title":"","vm_name":"",)"
        R"("vm_config_path":"","cbt_name":"","cpu_count":1,"cpu_cores":1,"memory_mbytes":1024,"vm_disks":[])";

    static void fill(H3C_CAS_Backup_Set& set)
    {
        set.cvk_host_id = "the host id";
        set.cvk_host_name = "the host name";
        set.cvk_host_ip = "the host ip";
        set.vm_id = "the vm id";
        set.vm_title = "the vm title";
        set.vm_name = "the vm name";
        set.vm_config_path = "the config path";
        set.cbt_name = "the cbt name";
        set.vm_disks = {"disk", json_spirit::Object{{"n", 1}}};
        set.cpu_count = -2147483601;
        set.cpu_cores = -2147483602;
        set.memory_mbytes = 4294967291;
    }
    static constexpr const char* filled =
        R"(,"cvk_host_id":"the host id","cvk_host_name":"the host name","cvk_host_ip":"the host ip",)"
        R"("vm_id":"the vm id","vm_title":"the vm title","vm_name":"the vm name","vm_config_path":"the config path",)"
        R"("cbt_name":"the cbt name","cpu_count":-2147483601,"cpu_cores":-2147483602,"memory_mbytes":4294967291,)"
        R"("vm_disks":["disk",{"n":1}])";

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"h3ccas_backup_set",
                 {{"cvk_host_id", TEXT},
                  {"cvk_host_name", TEXT},
                  {"cvk_host_ip", TEXT},
                  {"vm_id", TEXT},
                  {"vm_title", TEXT},
                  {"vm_name", TEXT},
                  {"vm_config_path", TEXT},
                  {"cbt_name", TEXT},
                  {"vm_disks", JSON},
                  {"cpu_count", INTEGER},
                  {"cpu_cores", INTEGER},
                  {"memory_mbytes", INTEGER}}}};
    }
};

} // namespace record_test
