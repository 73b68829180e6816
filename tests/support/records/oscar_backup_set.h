// Oscar_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/oscar_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct Oscar_Set : Set_Description<Oscar_Set, Oscar_Backup_Set>
{
    static constexpr const char* stem = "oscar_backup_set";
    static constexpr const char* module = "oscar";

    static void select(Select_SQL& sql) { Oscar_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "oscar"."seq" AS "seq", "oscar"."tablespaces" AS "tablespaces" FROM "backup_set" AS "b" )"
                 R"(INNER JOIN "oscar_backup_set" AS "oscar" ON "uuid" = "oscar"."set_uuid")";
    }

    static constexpr const char* fresh = R"(,"seq":0,"grade":"","backup_files":[],"tablespaces":[])";

    static void fill(Oscar_Backup_Set& set)
    {
        set.seq = 4294967201;
        set.grade = "the grade";
        set.files = {{"first db", "first schema", "first table", "first file"}, {"", "", "", "second file"}};
        set.tablespaces = {"first of tablespaces", "second"};
    }
    static constexpr const char* filled =
        R"(,"seq":4294967201,"grade":"the grade","backup_files":[{"database":"first db","file":"first file",)"
        R"("schema":"first schema","tablename":"first table"},{"database":"","file":"second file","schema":"",)"
        R"("tablename":""}],"tablespaces":["first of tablespaces","second"])";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR, TO_BASE, {{STRING, {"grade"}}}},
            {PRINT_INT, TO_BASE, {{UINT_32, {"seq"}}}},
            {PRINT_JSON, TO_BASE, {{TEXTS, {"tablespaces"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"oscar_backup_set", {{"seq", INTEGER}, {"tablespaces", JSON}}}};
    }
    static void forget(Oscar_Backup_Set& set)
    {
        set.grade.clear(); // no column carries it
        set.files.clear();
    }
};

} // namespace record_test
