// The record of one backup of a GaussDB database.
#pragma once

#include "backup_set/common/backup_set.h"

class BACKUP_SET_EXPORT GaussDB_Backup_Set : public Backup_Set
{
public:
    GaussDB_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "g".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;
    bool print_json(int index, const char* key, const json_spirit::Value& value) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    ACE_INT64 seq = 0;
    std::string meta_destination; ///< where the backup's metadata was stored
    std::string backup_key;
    std::string prior_backup_key; ///< of the backup that this one follows
    std::string timeline;
    std::string compression;
    std::string granularity;
    std::string database;
    ACE_INT32 nodes_count = 0; ///< of the cluster
    ACE_INT32 series = 0;
    json_spirit::Array tables;
};
