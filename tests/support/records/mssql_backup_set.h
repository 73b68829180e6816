// MSSQL_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/mssql_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct MSSQL_Set : Set_Description<MSSQL_Set, MSSQL_Backup_Set>
{
    static constexpr const char* stem = "mssql_backup_set";
    static constexpr const char* module = "";
    static constexpr const char* agent = "mssql"; // the module does not say the type

    static void select(Select_SQL& sql) { MSSQL_Backup_Set::init_select_sql(sql, "b"); }
    static std::string selected() { return common_columns("b") + R"( FROM "backup_set" AS "b")"; }

    static constexpr const char* fresh =
        R"(,"username":"","resource_name":"","database":"","database_type":"","backup_set_uuid":"","first_lsn":"",)"
        R"("last_lsn":"","checkpoint_lsn":"","database_backup_lsn":"","recovery_model":0,)"
        R"("has_bulk_logged_data":false,"first_recovery_fork_guid":"","last_recovery_fork_guid":"",)"
        R"("fork_point_lsn":"","database_guid":"","differential_base_lsn":"","differential_base_guid":"",)"
        R"("backup_type":"","compression":"","merged":false,"vss_backupstamp":"","stage_id":"","snapshot_id":"",)"
        R"("vss_group":0,"channels":1,"piece_name":"","pool_retention":0,"pool_url":"","file_list":[])";

    static void fill(MSSQL_Backup_Set& set)
    {
        set.username = "the username";
        set.resource_name = "the resource name";
        set.database = "the database";
        set.database_type = "the database type";
        set.backup_set_uuid = "the backup set uuid";
        set.first_lsn = "the first lsn";
        set.last_lsn = "the last lsn";
        set.checkpoint_lsn = "the checkpoint lsn";
        set.database_backup_lsn = "the database backup lsn";
        set.recovery_model = -2147483590;
        set.has_bulk_logged_data = true;
        set.first_recovery_fork_guid = "the first recovery fork guid";
        set.last_recovery_fork_guid = "the last recovery fork guid";
        set.fork_point_lsn = "the fork point lsn";
        set.database_guid = "the database guid";
        set.differential_base_lsn = "the differential base lsn";
        set.differential_base_guid = "the differential base guid";
        set.backup_type = "the backup type";
        set.compression = "the compression";
        set.merged = true;
        set.vss_backupstamp = "the vss backupstamp";
        set.stage_id = "the stage id";
        set.snapshot_id = "the snapshot id";
        set.vss_group = -2147483576;
        set.channels = -2147483575;
        set.piece_name = "the piece name";
        set.pool_retention = -2147483573;
        set.pool_url = "the pool url";
        set.file_list = {"file_list", json_spirit::Object{{"n", 29}}};
    }
    static constexpr const char* filled =
        R"(,"username":"the username","resource_name":"the resource name","database":"the database",)"
        R"("database_type":"the database type","backup_set_uuid":"the backup set uuid","first_lsn":"the first lsn",)"
        R"("last_lsn":"the last lsn","checkpoint_lsn":"the checkpoint lsn",)"
        R"("database_backup_lsn":"the database backup lsn","recovery_model":-2147483590,"has_bulk_logged_data":true,)"
        R"("first_recovery_fork_guid":"the first recovery fork guid",)"
        R"("last_recovery_fork_guid":"the last recovery fork guid","fork_point_lsn":"the fork point lsn",)"
        R"("database_guid":"the database guid","differential_base_lsn":"the differential base lsn",)"
        R"("differential_base_guid":"the differential base guid","backup_type":"the backup type",)"
        R"("compression":"the compression","merged":true,"vss_backupstamp":"the vss backupstamp",)"
        R"("stage_id":"the stage id","snapshot_id":"the snapshot id","vss_group":-2147483576,"channels":-2147483575,)"
        R"("piece_name":"the piece name","pool_retention":-2147483573,"pool_url":"the pool url",)"
        R"("file_list":["file_list",{"n":29}])";
    static void forget(MSSQL_Backup_Set& set)
    {
        set.username.clear();
        set.resource_name.clear();
        set.database.clear();
        set.database_type.clear();
        set.backup_set_uuid.clear();
        set.first_lsn.clear();
        set.last_lsn.clear();
        set.checkpoint_lsn.clear();
        set.database_backup_lsn.clear();
        set.first_recovery_fork_guid.clear();
        set.last_recovery_fork_guid.clear();
        set.fork_point_lsn.clear();
        set.database_guid.clear();
        set.differential_base_lsn.clear();
        set.differential_base_guid.clear();
        set.backup_type.clear();
        set.compression.clear();
        set.vss_backupstamp.clear();
        set.stage_id.clear();
        set.snapshot_id.clear();
        set.piece_name.clear();
        set.pool_url.clear();
        set.file_list.clear();
        set.recovery_model = 0;
        set.has_bulk_logged_data = false;
        set.merged = false;
        set.vss_group = 0;
        set.channels = 1;
        set.pool_retention = 0;
    }
};

} // namespace record_test
