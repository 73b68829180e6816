// The record of one backup of archived redo logs of a DM database.
#pragma once

#include "backup_set/common/backup_set.h"

class BACKUP_SET_EXPORT DMDB_Log_Backup_Set : public Backup_Set
{
public:
    DMDB_Log_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "dm".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    bool print_bool(int index, const char* key, bool value) override;

    ACE_UINT32 seq = 0;
    ACE_UINT32 backup_version = 0;
    ACE_UINT32 dm_type = 0; ///< kind of database; a number here, a text in logical sets
    std::string compression;
    std::string backup_set;      ///< name of the database's own backup set
    std::string arch_start_time; ///< kept as the text that was given
    std::string arch_end_time;   ///< kept as the text that was given
    ACE_INT64 permanent_db_magic = 0;
    ACE_INT64 db_magic = 0;
    ACE_INT64 timezone_offset = 0;
    ACE_INT64 number = 0; ///< log number
    bool active = false;
};
