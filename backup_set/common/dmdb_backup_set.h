// The record of one physical backup of a DM database.
#pragma once

#include "backup_set/common/backup_set.h"

#include <map>

class BACKUP_SET_EXPORT DMDB_Backup_Set : public Backup_Set
{
public:
    using backup_files_t = std::map<std::string, std::string>;

    DMDB_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "dm".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    ACE_UINT32 seq = 0;
    ACE_UINT32 backup_version = 0;
    std::string object;
    std::string compression;
    std::string backup_set;  ///< name of the database's own backup set
    std::string backup_base; ///< name of the backup that this one builds on
    ACE_INT64 arch_log_start = 0;
    ACE_INT64 arch_log_end = 0;
    ACE_INT64 permanent_db_magic = 0;
    ACE_INT64 db_magic = 0;
    ACE_INT32 case_sensitive = 0; ///< a number here, a flag in logical sets
    ACE_INT32 unicode_flag = 0;
    ACE_INT32 page_size = 0;
    ACE_INT32 extent_size = 0;
    backup_files_t files; ///< file name to value
};
