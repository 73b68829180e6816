// Oracle_Arch_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/oracle_arch_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct Oracle_Arch_Set : Set_Description<Oracle_Arch_Set, Oracle_Arch_Backup_Set>
{
    static constexpr const char* stem = "oracle_arch_backup_set";
    static constexpr const char* module = "oracle_arch";

    static void select(Select_SQL& sql) { Oracle_Arch_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "o"."thread" AS "thread", "o"."sequence" AS "sequence", "o"."reset_scn" AS "reset_scn", )"
                 R"("o"."reset_time" AS "reset_time", "o"."next_scn" AS "next_scn", "o"."next_time" AS "next_time", )"
                 R"("o"."archived" AS "archived", "o"."timezone_offset" AS "timezone_offset" )"
                 R"(FROM "backup_set" AS "b" INNER JOIN "oracle_arch_backup_set" AS "o" ON "uuid" = "o"."set_uuid")";
    }

    static constexpr const char* fresh =
        R"(,"thread":1,"sequence":0,"reset_scn":0,"reset_time":"1970-01-01 00:00:00","next_scn":0,)"
        R"("next_time":"1970-01-01 00:00:00","timezone_offset":0,"archived":false)";

    static void fill(Oracle_Arch_Backup_Set& set)
    {
        set.timezone_offset = -28800;
        set.thread = 18446744073709551601U;
        set.sequence = 18446744073709551602U;
        set.reset_scn = 18446744073709551603U;
        set.next_scn = 18446744073709551604U;
        set.reset_time = 1000000001;
        set.next_time = 1000000002;
        set.archived = true;
    }
    static constexpr const char* filled =
        R"(,"thread":18446744073709551601,"sequence":18446744073709551602,"reset_scn":18446744073709551603,)"
        R"("reset_time":"2001-09-09 01:46:41","next_scn":18446744073709551604,"next_time":"2001-09-09 01:46:42",)"
        R"("timezone_offset":-28800,"archived":true)";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR, TO_BASE, {{POSIX_TIME, {"reset_time", "next_time"}}}},
            {PRINT_INT, TO_BASE, {{INT_64, {"timezone_offset"}}}},
            {PRINT_UINT, TO_NOTHING, {{UINT_64, {"thread", "sequence", "reset_scn", "next_scn"}}}},
            {PRINT_BOOL, TO_NOTHING, {{BOOL, {"archived"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"oracle_arch_backup_set",
                 {{"thread", UNSIGNED},
                  {"sequence", UNSIGNED},
                  {"reset_scn", UNSIGNED},
                  {"reset_time", TIME},
                  {"next_scn", UNSIGNED},
                  {"next_time", TIME},
                  {"archived", BOOLEAN},
                  {"timezone_offset", INTEGER}}}};
    }
};

} // namespace record_test
