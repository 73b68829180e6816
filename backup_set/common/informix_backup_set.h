// The record of one Informix backup.
#pragma once

#include "backup_set/common/backup_set.h"

#include <algorithm>
#include <limits>

class BACKUP_SET_EXPORT Informix_Backup_Set : public Backup_Set
{
public:
    Informix_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "ifx".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    /// 9999-12-31 15:59:59 UTC at first: the end of that day at UTC+8. Taken in, never written.
    std::time_t pre_seal_time = std::min<std::time_t>(253402271999, std::numeric_limits<std::time_t>::max());
};
