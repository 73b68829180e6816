// Informix_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/informix_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct Informix_Set : Set_Description<Informix_Set, Informix_Backup_Set>
{
    static constexpr const char* stem = "informix_backup_set";
    static constexpr const char* module = "informix";

    static void select(Select_SQL& sql) { Informix_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "ifx"."pre_seal_time" AS "pre_seal_time" FROM "backup_set" AS "b" )"
                 R"(INNER JOIN "informix_backup_set" AS "ifx" ON "uuid" = "ifx"."set_uuid")";
    }

    static constexpr const char* fresh = R"(,"pre_seal_time":"1970-01-01 00:00:00")";

    static void fill(Informix_Backup_Set& set)
    {
        set.pre_seal_time = 1000000001; // taken in, never written
    }
    static constexpr const char* filled = R"(,"pre_seal_time":"2024-01-01 00:00:01")";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR, TO_BASE, {}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"informix_backup_set", {{"pre_seal_time", TIME, R"("2001-02-03 04:05:06")"}}}};
    }
    static void forget(Informix_Backup_Set& set)
    {
        // Of a text as long as a time the last character is lost on the way in; what is left is no time.
        set.pre_seal_time = 253402271999;
    }

    static std::set<std::pair<Callback, std::string>> taken_apart() { return {{PRINT_CSTR, "pre_seal_time"}}; }

    /// The common first time stands under two keys.
    static std::vector<std::string> shown_under(const std::string& column)
    {
        return column == "first_time" ? std::vector<std::string>{"first_time", "pre_seal_time"} : std::vector{column};
    }

    static std::string unwritten(const Informix_Backup_Set& set)
    {
        return ",\"taken pre_seal_time\":" + std::to_string(set.pre_seal_time);
    }
};

} // namespace record_test
