// The record of one PostgreSQL backup, logical or physical.
#pragma once

#include "backup_set/common/backup_set.h"

#include <set>
#include <vector>

/// One backed-up file.
struct Postgres_Backup_File
{
    std::string database;
    std::string file;
    std::string schema;
    std::string table;
};

class BACKUP_SET_EXPORT Postgres_Backup_Set : public Backup_Set
{
public:
    Postgres_Backup_Set();

    /// The common columns under `b`, those of every PostgreSQL backup under `p`, those of physical ones under `ph`.
    static void init_select_sql(Select_SQL& sql, const char* p, const char* ph, const char* b);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;
    bool print_json(int index, const char* key, const json_spirit::Value& value) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    ACE_UINT32 seq = 0;
    ACE_UINT32 channels = 0;
    json_spirit::Object db_info; ///< the databases backed up
    json_spirit::Object db_size; ///< their sizes
    bool mtf = false;
    bool contain_log = false; ///< the backup contains WAL
    bool multi_init = false;
    std::time_t backup_label_time = 0;
    std::string log_branch;
    std::string checkpoint_location;
    std::string timeline;
    std::string start_wal_file;
    std::string start_wal_location;
    std::string stop_wal_file;
    std::string stop_wal_location;
    std::string data_dir;
    std::string archivelog_dir; ///< WAL archive directory
    std::string os_user;
    json_spirit::Object tablespace_path;
    std::string suffix;
    std::string from_wal_location;
    std::string flavor;
    std::string grade;
    std::string format;
    std::string cluster_name;
    std::string meta_path;
    std::string mnt;
    bool has_meta = false;
    std::vector<Postgres_Backup_File> files;
    std::set<std::string> archive_logs; ///< names of archived WAL files
};
