#include "backup_set/common/mssql_backup_set.h"

#include "backup_set/common/mssql_sets_result_handler.h"

MSSQL_Backup_Set::MSSQL_Backup_Set() :
    Backup_Set("") {} // meant: the type is empty until the agent or the catalog says it

bool MSSQL_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "username"_key << username;
    gen << "resource_name"_key << resource_name;
    gen << "database"_key << database;
    gen << "database_type"_key << database_type;
    gen << "backup_set_uuid"_key << backup_set_uuid;
    gen << "first_lsn"_key << first_lsn;
    gen << "last_lsn"_key << last_lsn;
    gen << "checkpoint_lsn"_key << checkpoint_lsn;
    gen << "database_backup_lsn"_key << database_backup_lsn;
    gen << "recovery_model"_key << recovery_model;
    gen << "has_bulk_logged_data"_key << has_bulk_logged_data;
    gen << "first_recovery_fork_guid"_key << first_recovery_fork_guid;
    gen << "last_recovery_fork_guid"_key << last_recovery_fork_guid;
    gen << "fork_point_lsn"_key << fork_point_lsn;
    gen << "database_guid"_key << database_guid;
    gen << "differential_base_lsn"_key << differential_base_lsn;
    gen << "differential_base_guid"_key << differential_base_guid;
    gen << "backup_type"_key << backup_type;
    gen << "compression"_key << compression;
    gen << "merged"_key << merged;
    gen << "vss_backupstamp"_key << vss_backupstamp;
    gen << "stage_id"_key << stage_id;
    gen << "snapshot_id"_key << snapshot_id;
    gen << "vss_group"_key << vss_group;
    gen << "channels"_key << channels;
    gen << "piece_name"_key << piece_name;
    gen << "pool_retention"_key << pool_retention;
    gen << "pool_url"_key << pool_url;
    gen << "file_list"_key << file_list;
    return true;
}

database::sql::Query_Result_Handler* MSSQL_Backup_Set::result_handler()
{
    static MSSQL_Sets_Result_Handler handler;
    return &handler;
}
