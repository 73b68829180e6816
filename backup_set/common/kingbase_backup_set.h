// The record of one backup of a Kingbase database.
#pragma once

#include "backup_set/common/backup_set.h"

#include <map>

class BACKUP_SET_EXPORT Kingbase_Backup_Set : public Backup_Set
{
public:
    using backup_files_t = std::map<std::string, std::string>;

    Kingbase_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "kb".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    ACE_UINT32 seq = 0;
    backup_files_t files; ///< file name to value
};
