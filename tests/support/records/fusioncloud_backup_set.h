// FusionCloud_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/fusioncloud_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct FusionCloud_Set : Set_Description<FusionCloud_Set, FusionCloud_Backup_Set>
{
    static constexpr const char* stem = "fusioncloud_backup_set";
    static constexpr const char* module = "fusioncloud";

    static void select(Select_SQL& sql) { FusionCloud_Backup_Set::init_select_sql(sql, "f"); }
    static std::string columns()
    {
        return common_columns("b")
               + R"(, "f"."set_uuid" AS "set_uuid", "f"."vm_id" AS "vm_id", "f"."vm_name" AS "vm_name", )"
                 R"("f"."project_id" AS "project_id", "f"."project_name" AS "project_name", )"
                 R"("f"."vm_profile" AS "vm_profile", "f"."flavor_profile" AS "flavor_profile", )"
                 R"("f"."interfaces_profile" AS "interfaces_profile", "f"."image_profile" AS "image_profile", )"
                 R"("f"."volumes_profile" AS "volumes_profile" )";
    }
    static std::string selected()
    {
        return columns() + R"(FROM "backup_set" AS "b" CROSS JOIN "fusioncloud_backup_set" AS "f")";
    }
    static std::string selected_otherwise(SQL_Dialect dialect)
    {
        return dialect != SQL_Dialect::SQLITE
                   ? ""
                   : columns() + R"(FROM "backup_set" AS "b" INNER JOIN "fusioncloud_backup_set" AS "f" ON TRUE)";
    }

    static constexpr const char* fresh =
        R"(,"vm_id":"","vm_name":"","project_id":"","project_name":"","vm_profile":{},"flavor_profile":{},)"
        R"("interfaces_profile":[],"image_profile":{},"volumes_profile":[])";

    static void fill(FusionCloud_Backup_Set& set)
    {
        set.vm_id_ = "the vm id";
        set.vm_name_ = "the vm name";
        set.project_id_ = "the project id";
        set.project_name_ = "the project name";
        set.vm_profile_ = {{"of", "vm"}};
        set.flavor_profile_ = {{"of", "flavor"}};
        set.interfaces_profile_ = {"interface", 1};
        set.image_profile_ = {{"of", "image"}};
        set.volumes_profile_ = {"volume", 2};
    }
    static constexpr const char* filled =
        R"(,"vm_id":"the vm id","vm_name":"the vm name","project_id":"the project id",)"
        R"("project_name":"the project name","vm_profile":{"of":"vm"},"flavor_profile":{"of":"flavor"},)"
        R"("interfaces_profile":["interface",1],"image_profile":{"of":"image"},"volumes_profile":["volume",2])";

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"fusioncloud_backup_set",
                 {{"vm_id", TEXT},
                  {"vm_name", TEXT},
                  {"project_id", TEXT},
                  {"project_name", TEXT},
                  {"vm_profile", JSON},
                  {"flavor_profile", JSON},
                  {"interfaces_profile", JSON},
                  {"image_profile", JSON},
                  {"volumes_profile", JSON}}}};
    }
    static void forget(FusionCloud_Backup_Set& set)
    {
        set.vm_id_.clear();
        set.vm_name_.clear();
        set.project_id_.clear();
        set.project_name_.clear();
        set.vm_profile_.clear();
        set.flavor_profile_.clear();
        set.interfaces_profile_.clear();
        set.image_profile_.clear();
        set.volumes_profile_.clear();
    }
};

} // namespace record_test
