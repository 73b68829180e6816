// Kingbase_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/kingbase_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct Kingbase_Set : Set_Description<Kingbase_Set, Kingbase_Backup_Set>
{
    static constexpr const char* stem = "kingbase_backup_set";
    static constexpr const char* module = "kingbase";

    static void select(Select_SQL& sql) { Kingbase_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "kb"."seq" AS "seq" FROM "backup_set" AS "b" INNER JOIN "kingbase_backup_set" AS "kb" )"
                 R"(ON "uuid" = "kb"."set_uuid")";
    }

    static constexpr const char* fresh = R"(,"seq":0,"backup_files":{})";

    static void fill(Kingbase_Backup_Set& set)
    {
        set.seq = 4294967201;
        set.files = {{"b", "second"}, {"a", "first"}};
    }
    static constexpr const char* filled = R"(,"seq":4294967201,"backup_files":{"a":"first","b":"second"})";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR, TO_BASE, {}},
            {PRINT_INT, TO_BASE, {{UINT_32, {"seq"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"kingbase_backup_set", {{"seq", INTEGER}}}};
    }
    static void forget(Kingbase_Backup_Set& set) { set.files.clear(); }
};

} // namespace record_test
