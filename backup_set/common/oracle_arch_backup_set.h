// The record of one backup of the archived redo logs of one redo thread of an Oracle database.
#pragma once

#include "backup_set/common/backup_set.h"

class BACKUP_SET_EXPORT Oracle_Arch_Backup_Set : public Backup_Set
{
public:
    Oracle_Arch_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "o".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    bool print_uint(int index, const char* key, ACE_UINT64 value) override;
    bool print_bool(int index, const char* key, bool value) override;

    ACE_INT64 timezone_offset = 0;
    ACE_UINT64 thread = 1; ///< redo thread number
    ACE_UINT64 sequence = 0;
    ACE_UINT64 reset_scn = 0;
    ACE_UINT64 next_scn = 0; ///< behind the archived range
    std::time_t reset_time = 0;
    std::time_t next_time = 0; ///< of `next_scn`
    bool archived = false;
};
