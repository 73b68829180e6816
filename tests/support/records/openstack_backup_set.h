// OpenStack_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/openstack_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct OpenStack_Set : Set_Description<OpenStack_Set, OpenStack_Backup_Set>
{
    static constexpr const char* stem = "openstack_backup_set";
    static constexpr const char* module = "openstack";

    static void select(Select_SQL& sql) { OpenStack_Backup_Set::init_select_sql(sql, "o", "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "o"."set_uuid" AS "set_uuid", "o"."vm_id" AS "vm_id", "o"."vm_name" AS "vm_name", )"
                 R"("o"."backup_uuid" AS "backup_uuid", "o"."last_backup_uuid" AS "last_backup_uuid", )"
                 R"("o"."last_full_backup_uuid" AS "last_full_backup_uuid", "o"."profile" AS "profile", )"
                 R"("o"."volumes" AS "volumes" FROM "backup_set" AS "b" )"
                 R"(INNER JOIN "openstack_backup_set" AS "o" ON "o"."set_uuid" = "b"."uuid")";
    }

    static constexpr const char* fresh =
        R"(,"vm_id":"","vm_name":"","set_uuid":"","backup_uuid":"","profile":{},"volumes":[])";

    static void fill(OpenStack_Backup_Set& set)
    {
        set.vm_id_ = "the vm id";
        set.vm_name_ = "the vm name";
        set.backup_uuid_ = "the backup";
        set.set_uuid_ = filled_set_uuid; // the type's table holds the same as the common one
        set.last_full_backup_uuid_ = "the last full backup";
        set.last_backup_uuid_ = "the last backup";
        set.profile_ = {{"flavor", "small"}, {"disks", json_spirit::Array{1, json_spirit::Value()}}};
        set.volumes_ = {"volume 1", json_spirit::Object{{"id", 2}}};
    }
    static constexpr const char* filled =
        R"(,"vm_id":"the vm id","vm_name":"the vm name","set_uuid":"0a000000-0000-4000-8000-000000000001",)"
        R"("backup_uuid":"the backup","profile":{"disks":[1,null],"flavor":"small"},"volumes":["volume 1",{"id":2}],)"
        R"("last_backup_uuid":"the last backup","last_full_backup_uuid":"the last full backup")";

    static std::set<std::string> left_out_when_empty() { return {"last_backup_uuid", "last_full_backup_uuid"}; }

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR,
             TO_BASE,
             {{STRING, {"vm_id", "vm_name", "backup_uuid", "set_uuid", "last_full_backup_uuid", "last_backup_uuid"}}}},
            {PRINT_JSON, TO_BASE, {{OBJECT, {"profile"}}, {ARRAY, {"volumes"}}}},
        };
    }
    static Bad_Key on_bad_key(Callback callback) { return {callback == PRINT_JSON, true}; }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"openstack_backup_set",
                 {{"vm_id", TEXT},
                  {"vm_name", TEXT},
                  {"backup_uuid", TEXT},
                  {"last_backup_uuid", TEXT},
                  {"last_full_backup_uuid", TEXT},
                  {"profile", JSON},
                  {"volumes", JSON}}}};
    }
    static OpenStack_Backup_Set loaded_null()
    {
        OpenStack_Backup_Set set;
        set.uuid = filled_set_uuid;
        set.set_uuid_ = filled_set_uuid;
        return set;
    }
};

} // namespace record_test
