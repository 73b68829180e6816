// The record of one MySQL backup: a copy of the data files, or a range of binary logs. MySQL-compatible cluster databases
// use it too.
#pragma once

#include "backup_set/common/backup_set.h"

#include <vector>

class BACKUP_SET_EXPORT MySQL_Backup_Set : public Backup_Set
{
public:
    /// One backed-up file.
    struct MySQL_Backup_File
    {
        std::string database;
        std::string file;
        std::string vc_name; ///< name of the file within its container; may be empty
    };

    MySQL_Backup_Set();

    /// Does nothing: MySQL sets have no table of their own, and the statement stays as it is.
    static void init_select_sql(Select_SQL& sql, const char* alias);

    /// Appends a file; `vc_name` may be null.
    void add_file(const std::string& database, const std::string& file, const std::string* vc_name);
    void add_file(const std::string& file);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;
    bool print_json(int index, const char* key, const json_spirit::Value& value) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    std::time_t backup_time = 0;
    ACE_INT32 cycle = -1; ///< backup cycle; -1 here and below: unset
    ACE_INT32 point = -1; ///< backup point within the cycle
    ACE_INT32 level = -1;
    ACE_UINT32 seq = 0;
    int timezone_offset = -1;
    std::string log_branch;
    bool mtf = false;
    std::string start_log; ///< first binary log of the range
    std::string next_log;  ///< binary log that follows the range
    std::string object;
    std::string gbase_cluster_uuid;
    ACE_INT64 start_log_pos = -1; ///< position in `start_log`
    ACE_INT64 next_log_pos = -1;  ///< position in `next_log`
    int channels = 0;
    std::string stage_id;
    std::string snapshot_id;
    std::string server_uuid;
    std::string charset;
    std::string data_type;
    std::time_t binlog_create_time = 0;
    bool gtid_type = false; ///< positions are GTID based
    int group_id = 0;       ///< replication group
    std::vector<MySQL_Backup_File> files;
    json_spirit::Array start_gtids;
    json_spirit::Array end_gtids;
};
