// Oracle_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/oracle_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct Oracle_Set : Set_Description<Oracle_Set, Oracle_Backup_Set>
{
    static constexpr const char* stem = "oracle_backup_set";
    static constexpr const char* module = "oracle";

    static void select(Select_SQL& sql) { Oracle_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected()
    {
        return common_columns("b")
               + R"(, "o"."archivelog" AS "archivelog", "o"."cluster" AS "cluster", "o"."standby" AS "standby", )"
                 R"("o"."cdb" AS "cdb", "o"."reset_time" AS "reset_time", "o"."controlfile_time" AS "controlfile_time", )"
                 R"("o"."checkpoint_time" AS "checkpoint_time", "o"."timezone_offset" AS "timezone_offset", )"
                 R"("o"."dbid" AS "dbid", "o"."db_incarnation" AS "db_incarnation", "o"."reset_scn" AS "reset_scn", )"
                 R"("o"."controlfile_scn" AS "controlfile_scn", "o"."checkpoint_scn" AS "checkpoint_scn", )"
                 R"("o"."backup_type" AS "backup_type", "o"."database" AS "database", "o"."compatible" AS "compatible", )"
                 R"("o"."scsipool_id" AS "scsipool_id", "o"."stage_id" AS "stage_id", "o"."snapshot_id" AS "snapshot_id", )"
                 R"("o"."merge_tag" AS "merge_tag", "o"."special_files" AS "special_files" )"
                 R"(FROM "backup_set" AS "b" INNER JOIN "oracle_backup_set" AS "o" ON "uuid" = "o"."set_uuid")";
    }

    static constexpr const char* fresh =
        R"(,"archivelog":false,"cluster":false,"standby":false,"cdb":false,"reset_time":"1970-01-01 00:00:00",)"
        R"("controlfile_time":"1970-01-01 00:00:00","checkpoint_time":"1970-01-01 00:00:00","dbid":0,)"
        R"("db_incarnation":0,"reset_scn":0,"controlfile_scn":0,"checkpoint_scn":0,"backup_type":"","database":"",)"
        R"("compatible":"","scsipool_id":"","stage_id":"","snapshot_id":"","merge_tag":"","merge_size":0,)"
        R"("timezone_offset":0,"special_files":{},"pdbs":[])";

    static void fill(Oracle_Backup_Set& set)
    {
        set.archivelog = true;
        set.cluster = true;
        set.standby = true;
        set.cdb = true;
        set.reset_time = 1000000001;
        set.controlfile_time = 1000000002;
        set.checkpoint_time = 1000000003;
        set.timezone_offset = -28800;
        set.dbid = 18446744073709551601U;
        set.db_incarnation = 18446744073709551602U;
        set.reset_scn = 18446744073709551603U;
        set.controlfile_scn = 18446744073709551604U;
        set.checkpoint_scn = 18446744073709551605U;
        set.merge_size = 18446744073709551606U;
        set.backup_type = "backup type";
        set.database = "database name";
        set.compatible = "19.0.0";
        set.scsipool_id = "scsi pool";
        set.stage_id = "stage";
        set.snapshot_id = "snapshot";
        set.merge_tag = "merge tag";
        set.special_files = {{"spfile", "/dbs/spfile.ora"}};
        set.pdbs = {"PDB1", json_spirit::Object{{"name", "PDB2"}}};
    }
    static constexpr const char* filled =
        R"(,"archivelog":true,"cluster":true,"standby":true,"cdb":true,"reset_time":"2001-09-09 01:46:41",)"
        R"("controlfile_time":"2001-09-09 01:46:42","checkpoint_time":"2001-09-09 01:46:43",)"
        R"("dbid":18446744073709551601,"db_incarnation":18446744073709551602,"reset_scn":18446744073709551603,)"
        R"("controlfile_scn":18446744073709551604,"checkpoint_scn":18446744073709551605,"backup_type":"backup type",)"
        R"("database":"database name","compatible":"19.0.0","scsipool_id":"scsi pool","stage_id":"stage",)"
        R"("snapshot_id":"snapshot","merge_tag":"merge tag","merge_size":18446744073709551606,)"
        R"("timezone_offset":-28800,"special_files":{"spfile":"/dbs/spfile.ora"},"pdbs":["PDB1",{"name":"PDB2"}])";

    static std::vector<Intake> intake()
    {
        return {
            {PRINT_CSTR,
             TO_BASE,
             {{POSIX_TIME, {"reset_time", "controlfile_time", "checkpoint_time"}},
              {STRING,
               {"backup_type", "database", "compatible", "scsipool_id", "stage_id", "snapshot_id", "merge_tag"}}}},
            {PRINT_INT, TO_BASE, {{INT_64, {"timezone_offset"}}}},
            {PRINT_JSON, TO_NOTHING, {{OBJECT, {"special_files"}}}},
            {PRINT_UINT,
             TO_BASE_INTEGER,
             {{UINT_64, {"dbid", "db_incarnation", "reset_scn", "controlfile_scn", "checkpoint_scn"}}}},
            {PRINT_BOOL,
             TO_BASE_INTEGER,
             {{BOOL, {"archivelog", "cluster", "standby", "cdb"}}, {UINT_64, {"merge_size"}}}},
        };
    }

    static std::vector<Table> tables()
    {
        using enum Kind;
        return {{"oracle_backup_set", {{"archivelog", BOOLEAN},      {"cluster", BOOLEAN},
                                       {"standby", BOOLEAN},         {"cdb", BOOLEAN},
                                       {"reset_time", TIME},         {"controlfile_time", TIME},
                                       {"checkpoint_time", TIME},    {"timezone_offset", INTEGER},
                                       {"dbid", UNSIGNED},           {"db_incarnation", UNSIGNED},
                                       {"reset_scn", UNSIGNED},      {"controlfile_scn", UNSIGNED},
                                       {"checkpoint_scn", UNSIGNED}, {"backup_type", TEXT},
                                       {"database", TEXT},           {"compatible", TEXT},
                                       {"scsipool_id", TEXT},        {"stage_id", TEXT},
                                       {"snapshot_id", TEXT},        {"merge_tag", TEXT},
                                       {"special_files", JSON}}}};
    }
    static void forget(Oracle_Backup_Set& set)
    {
        set.merge_size = 0;
        set.pdbs.clear();
        // The common JSON columns are dropped on the way in.
        set.resource_tree.clear();
        set.extended_attrs.clear();
        set.uname.clear();
        set.lsb.clear();
    }
};

} // namespace record_test
