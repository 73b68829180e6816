// Oscar_Brcmd_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/oscar_brcmd_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct Oscar_Brcmd_Set : Set_Description<Oscar_Brcmd_Set, Oscar_Brcmd_Backup_Set>
{
    static constexpr const char* stem = "oscar_brcmd_backup_set";
    static constexpr const char* module = "oscar_brcmd";

    static void select(Select_SQL& sql) { Oscar_Brcmd_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "brcmd"."backup_id" AS "backup_id", "brcmd"."last_backup_id" AS "last_backup_id", )"
                 R"("brcmd"."last_full_backup_id" AS "last_full_backup_id", "brcmd"."backup_file" AS "backup_file", )"
                 R"("brcmd"."backup_lsn" AS "backup_lsn", "brcmd"."backup_scn" AS "backup_scn", )"
                 R"("brcmd"."last_backup_lsn" AS "last_backup_lsn", "brcmd"."last_backup_scn" AS "last_backup_scn", )"
                 R"("brcmd"."last_full_backup_lsn" AS "last_full_backup_lsn", )"
                 R"("brcmd"."last_full_backup_scn" AS "last_full_backup_scn" FROM "backup_set" AS "b" )"
                 R"(INNER JOIN "oscar_brcmd_backup_set" AS "brcmd" ON "uuid" = "brcmd"."set_uuid")";
    }

    static constexpr const char* fresh =
        R"(,"backup_id":"","last_backup_id":"","last_full_backup_id":"","backup_file":"","backup_lsn":0,)"
        R"("backup_scn":0,"last_backup_lsn":0,"last_backup_scn":0,"last_full_backup_lsn":0,"last_full_backup_scn":0)";

    static void fill(Oscar_Brcmd_Backup_Set& set)
    {
        set.backup_id = "the backup id";
        set.last_backup_id = "the last backup id";
        set.last_full_backup_id = "the last full backup id";
        set.backup_file = "the backup file";
        set.backup_lsn = 9000000000000000005;
        set.backup_scn = 9000000000000000006;
        set.last_backup_lsn = 9000000000000000007;
        set.last_backup_scn = 9000000000000000008;
        set.last_full_backup_lsn = 9000000000000000009;
        set.last_full_backup_scn = 9000000000000000010;
    }
    static constexpr const char* filled =
        R"(,"backup_id":"the backup id","last_backup_id":"the last backup id",)"
        R"("last_full_backup_id":"the last full backup id","backup_file":"the backup file",)"
        R"("backup_lsn":9000000000000000005,"backup_scn":9000000000000000006,"last_backup_lsn":9000000000000000007,)"
        R"("last_backup_scn":9000000000000000008,"last_full_backup_lsn":9000000000000000009,)"
        R"("last_full_backup_scn":9000000000000000010)";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR, TO_BASE, {{STRING, {"backup_id", "last_backup_id", "last_full_backup_id", "backup_file"}}}},
            {PRINT_INT,
             TO_BASE,
             {{INT_64,
               {"backup_lsn", "backup_scn", "last_backup_lsn", "last_backup_scn", "last_full_backup_lsn",
                "last_full_backup_scn"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"oscar_brcmd_backup_set",
                 {{"backup_id", TEXT},
                  {"last_backup_id", TEXT},
                  {"last_full_backup_id", TEXT},
                  {"backup_file", TEXT},
                  {"backup_lsn", INTEGER},
                  {"backup_scn", INTEGER},
                  {"last_backup_lsn", INTEGER},
                  {"last_backup_scn", INTEGER},
                  {"last_full_backup_lsn", INTEGER},
                  {"last_full_backup_scn", INTEGER}}}};
    }
};

} // namespace record_test
