// NDMP_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/ndmp_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct NDMP_Set : Set_Description<NDMP_Set, NDMP_Backup_Set>
{
    static constexpr const char* stem = "ndmp_backup_set";
    static constexpr const char* module = "";
    static constexpr const char* agent = "ndmp"; // the module does not say the type

    static void select(Select_SQL& sql) { NDMP_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "ndmp"."backup_type" AS "backup_type", "ndmp"."seq" AS "seq", "ndmp"."level" AS "level", )"
                 R"("ndmp"."compression" AS "compression", "ndmp"."vols" AS "vols" FROM "backup_set" AS "b" )"
                 R"(INNER JOIN "ndmp_backup_set" AS "ndmp" ON "uuid" = "ndmp"."set_uuid")";
    }

    static constexpr const char* fresh = R"(,"backup_type":"","seq":0,"level":0,"compression":"","vols":"")";

    static void fill(NDMP_Backup_Set& set)
    {
        set.backup_type = "the backup type";
        set.seq = 18446744073709551502U;
        set.level = 18446744073709551503U;
        set.compression = "the compression";
        set.vols = "the vols";
    }
    static constexpr const char* filled =
        R"(,"backup_type":"the backup type","seq":18446744073709551502,"level":18446744073709551503,)"
        R"("compression":"the compression","vols":"the vols")";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR, TO_BASE, {{C_STRING, {"backup_type", "compression", "vols"}}}},
            {PRINT_UINT, TO_NOTHING, {{UINT_64, {"seq", "level"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {
            {"ndmp_backup_set",
             {{"backup_type", TEXT}, {"seq", UNSIGNED}, {"level", UNSIGNED}, {"compression", TEXT}, {"vols", TEXT}}}};
    }
};

} // namespace record_test
