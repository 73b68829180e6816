// MongoDB_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/mongodb_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct MongoDB_Set : Set_Description<MongoDB_Set, MongoDB_Backup_Set>
{
    static constexpr const char* stem = "mongodb_backup_set";
    static constexpr const char* module = "";
    static constexpr const char* agent = "mongodb"; // the module does not say the type

    static void select(Select_SQL& sql) { MongoDB_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "m"."seq" AS "seq", "m"."arch_log_start" AS "arch_log_start", )"
                 R"("m"."arch_log_end" AS "arch_log_end", "m"."arch_log_start_i" AS "arch_log_start_i", )"
                 R"("m"."arch_log_end_i" AS "arch_log_end_i", "m"."archive" AS "archive" FROM "backup_set" AS "b" )"
                 R"(INNER JOIN "mongodb_backup_set" AS "m" ON "uuid" = "m"."set_uuid")";
    }

    static constexpr const char* fresh = R"(,"seq":0,"archive":false,"backup_files":[])";

    static void fill(MongoDB_Backup_Set& set)
    {
        set.seq = 4294967201;
        set.arch_log_start = 9000000000000000002;
        set.arch_log_start_i = 9000000000000000003;
        set.arch_log_end = 9000000000000000004;
        set.arch_log_end_i = 9000000000000000005;
        set.archive = true;
        set.files = {{"first db", "first file", 5000000001, "0b000000-0000-4000-8000-000000000001", -5000000002},
                     {"", "second file", -1, "", 0}};
    }
    static constexpr const char* filled =
        R"(,"seq":4294967201,"arch_log_start":9000000000000000002,"arch_log_start_i":9000000000000000003,)"
        R"("arch_log_end":9000000000000000004,"arch_log_end_i":9000000000000000005,"archive":true,)"
        R"("backup_files":[{"database":"first db","file":"first file","original_size":5000000001,)"
        R"("backup_host_uuid":"0b000000-0000-4000-8000-000000000001","seq":-5000000002},{"database":"",)"
        R"("file":"second file","original_size":-1,"backup_host_uuid":"","seq":0}])";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_INT,
             TO_BASE,
             {{UINT_32, {"seq"}},
              {INT_64, {"arch_log_start", "arch_log_start_i", "arch_log_end", "arch_log_end_i"}},
              {BOOL, {"archive"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"mongodb_backup_set",
                 {{"seq", INTEGER},
                  {"arch_log_start", INTEGER},
                  {"arch_log_end", INTEGER},
                  {"arch_log_start_i", INTEGER},
                  {"arch_log_end_i", INTEGER},
                  {"archive", INTEGER, "1"}}}};
    }
    static void forget(MongoDB_Backup_Set& set) { set.files.clear(); }

    /// The end of the range is shown only beside a start.
    static std::string unwritten(const MongoDB_Backup_Set& set)
    {
        return set.arch_log_start == -1 ? ",\"arch_log_end\":" + std::to_string(set.arch_log_end) : std::string();
    }
};

} // namespace record_test
