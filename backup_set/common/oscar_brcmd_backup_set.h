// The record of one backup of an Oscar database by its backup command.
#pragma once

#include "backup_set/common/backup_set.h"

class BACKUP_SET_EXPORT Oscar_Brcmd_Backup_Set : public Backup_Set
{
public:
    Oscar_Brcmd_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "brcmd".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    std::string backup_id;
    std::string last_backup_id;      ///< of the previous backup
    std::string last_full_backup_id; ///< of the last full backup
    std::string backup_file;
    ACE_INT64 backup_lsn = 0;
    ACE_INT64 backup_scn = 0;
    ACE_INT64 last_backup_lsn = 0;
    ACE_INT64 last_backup_scn = 0;
    ACE_INT64 last_full_backup_lsn = 0;
    ACE_INT64 last_full_backup_scn = 0;
};
