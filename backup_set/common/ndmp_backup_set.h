// The record of one backup of a file server taken over NDMP.
#pragma once

#include "backup_set/common/backup_set.h"

class BACKUP_SET_EXPORT NDMP_Backup_Set : public Backup_Set
{
public:
    NDMP_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "ndmp".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    bool print_uint(int index, const char* key, ACE_UINT64 value) override;

    std::string backup_type;
    ACE_UINT64 seq = 0;
    ACE_UINT64 level = 0;
    std::string compression;
    std::string vols; ///< volumes written
};
