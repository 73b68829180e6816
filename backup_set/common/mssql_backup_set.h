// The record of one SQL Server backup.
//
// It takes no typed columns: rows of SQL Server sets go to JSON through `MSSQL_Sets_Result_Handler`.
#pragma once

#include "backup_set/common/backup_set.h"

class BACKUP_SET_EXPORT MSSQL_Backup_Set : public Backup_Set
{
public:
    MSSQL_Backup_Set();

    /// The handler for rows of SQL Server sets; made on first use, lives as long as the process.
    static database::sql::Query_Result_Handler* result_handler();

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    std::string username;
    std::string resource_name; ///< the instance
    std::string database;
    std::string database_type;
    json_spirit::Array file_list;
    std::string backup_set_uuid; ///< the server's own
    std::string first_lsn;
    std::string last_lsn;
    std::string checkpoint_lsn;
    std::string database_backup_lsn; ///< of the last full database backup
    ACE_INT32 recovery_model = 0;
    bool has_bulk_logged_data = false;
    std::string first_recovery_fork_guid;
    std::string last_recovery_fork_guid;
    std::string fork_point_lsn;
    std::string database_guid;
    std::string differential_base_lsn;
    std::string differential_base_guid;
    std::string backup_type;
    std::string compression;
    bool merged = false;
    std::string vss_backupstamp; ///< shadow-copy backup stamp
    std::string stage_id;
    std::string snapshot_id;
    ACE_INT32 vss_group = 0;
    ACE_INT32 channels = 1;
    std::string piece_name;
    ACE_INT32 pool_retention = 0;
    std::string pool_url;
};
