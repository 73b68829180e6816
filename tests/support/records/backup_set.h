// The common record, described for tests.
#pragma once

#include "backup_set/common/backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

/// The common record under a type name of its own.
class Plain_Backup_Set : public Backup_Set
{
public:
    Plain_Backup_Set() : Backup_Set("plain") {}
};

struct Plain_Set : Set_Description<Plain_Set, Plain_Backup_Set>
{
    static constexpr const char* stem = "backup_set";
    static constexpr const char* module = "plain";

    static void select(Select_SQL& sql) { Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return R"(SELECT "b"."uuid" AS "uuid", "b"."name" AS "name", "b"."job_instance_uuid" AS "job_instance_uuid", )"
               R"("b"."definition_uuid" AS "definition_uuid", "b"."uid" AS "uid", "b"."host_uuid" AS "host_uuid", )"
               R"("b"."resource_uuid" AS "resource_uuid", "b"."minor_resource_id" AS "minor_resource_id", )"
               R"("b"."minor_resource_name" AS "minor_resource_name", "b"."agent" AS "agent", )"
               R"("b"."incarnation" AS "incarnation", "b"."type" AS "type", "b"."first_time" AS "first_time", )"
               R"("b"."last_time" AS "last_time", "b"."backup_start_time" AS "backup_start_time", )"
               R"("b"."backup_end_time" AS "backup_end_time", "b"."source_size" AS "source_size", )"
               R"("b"."size" AS "size", "b"."uri" AS "uri", "b"."host" AS "host", "b"."instance" AS "instance", )"
               R"("b"."instance_version" AS "instance_version", "b"."first_scn" AS "first_scn", )"
               R"("b"."last_scn" AS "last_scn", "b"."resource_tree" AS "resource_tree", )"
               R"("b"."extended_attrs" AS "extended_attrs", "b"."uname" AS "uname", "b"."lsb" AS "lsb" )"
               R"(FROM "backup_set" AS "b")";
    }

    static constexpr const char* fresh = "";
    static void fill(Plain_Backup_Set&) {}
    static constexpr const char* filled = "";
};

} // namespace record_test
