// File_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/file_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct File_Set : Set_Description<File_Set, File_Backup_Set>
{
    static constexpr const char* stem = "file_backup_set";
    static constexpr const char* module = "file";

    static void select(Select_SQL& sql) { File_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "file"."seq" AS "seq", "file"."channels" AS "channels", )"
                 R"("file"."hash_algorithm" AS "hash_algorithm", "file"."pool_type" AS "pool_type", )"
                 R"("file"."multidevice" AS "multidevice", "file"."encryption" AS "encryption" )"
                 R"(FROM "backup_set" AS "b" INNER JOIN "dmdb_backup_set" AS "file" ON "uuid" = "file"."set_uuid")";
    }

    static constexpr const char* fresh =
        R"(,"seq":0,"channels":0,"hash_algorithm":"","pool_type":"","multidevice":false,"encryption":"")";

    static void fill(File_Backup_Set& set)
    {
        set.seq = 4294967291;
        set.channels = 4294967292;
        set.hash_algorithm = "sha-256";
        set.pool_type = "pool type";
        set.multidevice = true;
        set.encryption = "aes";
    }
    static constexpr const char* filled =
        R"(,"seq":4294967291,"channels":4294967292,"hash_algorithm":"sha-256","pool_type":"pool type",)"
        R"("multidevice":true,"encryption":"aes")";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR, TO_BASE, {{STRING, {"host", "hash_algorithm", "encryption", "pool_type"}}}},
            {PRINT_INT, TO_BASE, {{UINT_32, {"seq", "channels"}}}},
            {PRINT_BOOL, TO_NOTHING, {{BOOL, {"multidevice"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"dmdb_backup_set",
                 {{"seq", INTEGER},
                  {"channels", INTEGER},
                  {"hash_algorithm", TEXT},
                  {"pool_type", TEXT},
                  {"multidevice", BOOLEAN},
                  {"encryption", TEXT}}}};
    }
};

} // namespace record_test
