// The record of one backup of an Oracle database.
#pragma once

#include "backup_set/common/backup_set.h"

class BACKUP_SET_EXPORT Oracle_Backup_Set : public Backup_Set
{
public:
    Oracle_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "o".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;
    bool print_json(int index, const char* key, const json_spirit::Value& value) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    bool print_uint(int index, const char* key, ACE_UINT64 value) override;
    bool print_bool(int index, const char* key, bool value) override;

    bool archivelog = false;    ///< the database runs in archive-log mode
    bool cluster = false;       ///< it is a cluster database
    bool standby = false;       ///< the backup was taken from a standby
    bool cdb = false;           ///< it is a container database
    std::time_t reset_time = 0; ///< of the last resetlogs
    std::time_t controlfile_time = 0;
    std::time_t checkpoint_time = 0;
    ACE_INT64 timezone_offset = 0;
    ACE_UINT64 dbid = 0;
    ACE_UINT64 db_incarnation = 0;
    ACE_UINT64 reset_scn = 0; ///< of the last resetlogs
    ACE_UINT64 controlfile_scn = 0;
    ACE_UINT64 checkpoint_scn = 0;
    ACE_UINT64 merge_size = 0; ///< bytes of a merged copy
    std::string backup_type;
    std::string database;
    std::string compatible;            ///< compatibility level
    std::string scsipool_id;           ///< block-device pool used by the backup
    std::string stage_id;              ///< staging area
    std::string snapshot_id;           ///< storage snapshot
    std::string merge_tag;             ///< tag of the merged copy
    json_spirit::Object special_files; ///< extra files by name
    json_spirit::Array pdbs;           ///< pluggable databases of a container database
};
