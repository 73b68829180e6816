// Domino_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/domino_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct Domino_Set : Set_Description<Domino_Set, Domino_Backup_Set>
{
    static constexpr const char* stem = "domino_backup_set";
    static constexpr const char* module = "";
    static constexpr const char* agent = "domino"; // the module does not say the type

    static void select(Select_SQL& sql) { Domino_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "do"."seq" AS "seq", "do"."source_type" AS "source_type", "do"."data_path" AS "data_path", )"
                 R"("do"."compression" AS "compression", "do"."daos" AS "daos" FROM "backup_set" AS "b" )"
                 R"(INNER JOIN "domino_backup_set" AS "do" ON "uuid" = "do"."set_uuid")";
    }

    static constexpr const char* fresh =
        R"(,"seq":0,"source_type":"","data_path":"","compression":"","daos":"","archive_logs":[])";

    static void fill(Domino_Backup_Set& set)
    {
        set.seq = 4294967201;
        set.source_type = "the source type";
        set.data_path = "the data path";
        set.compression = "the compression";
        set.daos = "the daos";
        set.archive_logs = {{5000000001, 5000000002, 5000000003, 5000000004, -5000000005, "S0000001.TXN", 1000000099},
                            {}};
    }
    static constexpr const char* filled =
        R"(,"seq":4294967201,"source_type":"the source type","data_path":"the data path",)"
        R"("compression":"the compression","daos":"the daos","archive_logs":[{"logid_file_seg0":5000000001,)"
        R"("logid_file_seg1":5000000002,"logid_note_seg0":5000000003,"logid_note_seg1":5000000004,)"
        R"("log_seq":-5000000005,"name":"S0000001.TXN","mtime":"2001-09-09 01:48:19"},{"logid_file_seg0":0,)"
        R"("logid_file_seg1":0,"logid_note_seg0":0,"logid_note_seg1":0,"log_seq":0,"name":"",)"
        R"("mtime":"1970-01-01 00:00:00"}])";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR, TO_BASE, {{STRING, {"source_type", "data_path", "compression", "daos"}}}},
            {PRINT_INT, TO_BASE, {{UINT_32, {"seq"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {
            {"domino_backup_set",
             {{"seq", INTEGER}, {"source_type", TEXT}, {"data_path", TEXT}, {"compression", TEXT}, {"daos", TEXT}}}};
    }
    static void forget(Domino_Backup_Set& set) { set.archive_logs.clear(); }
};

} // namespace record_test
