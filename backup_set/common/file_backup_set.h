// The record of one file-system backup.
#pragma once

#include "backup_set/common/backup_set.h"

class BACKUP_SET_EXPORT File_Backup_Set : public Backup_Set
{
public:
    File_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "file".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    bool print_bool(int index, const char* key, bool value) override;

    ACE_UINT32 seq = 0;
    ACE_UINT32 channels = 0; ///< number of parallel channels
    std::string hash_algorithm;
    std::string pool_type;
    bool multidevice = false; ///< the backup spans several devices
    std::string encryption;
};
