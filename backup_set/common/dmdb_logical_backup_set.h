// The record of one logical export of a DM database.
#pragma once

#include "backup_set/common/backup_set.h"

#include <vector>

/// One exported file.
struct DMDB_Backup_File
{
    std::string instance; ///< the database instance
    std::string file;
    std::string owner;
    std::string schema;
    std::string table;
};

using DMDB_Backup_Files = std::vector<DMDB_Backup_File>;

class BACKUP_SET_EXPORT DMDB_Logical_Backup_Set : public Backup_Set
{
public:
    DMDB_Logical_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "dm".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    ACE_UINT32 seq = 0;
    ACE_UINT32 backup_version = 0;
    bool case_sensitive = true;
    std::string backup_set; ///< name of the export
    std::string dm_type;    ///< kind of database; a text here, a number in log sets
    std::string exp_mode;
    DMDB_Backup_Files files;
};
