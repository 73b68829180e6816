// Oracle_Exp_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/oracle_exp_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct Oracle_Exp_Set : Set_Description<Oracle_Exp_Set, Oracle_Exp_Backup_Set>
{
    static constexpr const char* stem = "oracle_exp_backup_set";
    static constexpr const char* module = "oracle_exp";

    static void select(Select_SQL& sql) { Oracle_Exp_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "o"."exp_type" AS "exp_type", "o"."exp_mode" AS "exp_mode", "o"."object_name" AS "object_name", )"
                 R"("o"."database" AS "database" )"
                 R"(FROM "backup_set" AS "b" INNER JOIN "oracle_exp_backup_set" AS "o" ON "uuid" = "o"."set_uuid")";
    }

    static constexpr const char* fresh = R"(,"exp_type":"","exp_mode":"","object_name":"","database":"")";

    static void fill(Oracle_Exp_Backup_Set& set)
    {
        set.exp_type = "export type";
        set.exp_mode = "export mode";
        set.object_name = "object name";
        set.database = "database name";
    }
    static constexpr const char* filled =
        R"(,"exp_type":"export type","exp_mode":"export mode","object_name":"object name","database":"database name")";

    static std::vector<Intake> intake()
    {
        return {{PRINT_CSTR, TO_BASE, {{STRING, {"exp_type", "exp_mode", "object_name", "database"}}}}};
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"oracle_exp_backup_set",
                 {{"exp_type", TEXT}, {"exp_mode", TEXT}, {"object_name", TEXT}, {"database", TEXT}}}};
    }
};

} // namespace record_test
