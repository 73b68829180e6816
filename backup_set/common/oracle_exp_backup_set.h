// The record of one logical export of an Oracle database.
#pragma once

#include "backup_set/common/backup_set.h"

class BACKUP_SET_EXPORT Oracle_Exp_Backup_Set : public Backup_Set
{
public:
    Oracle_Exp_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "o".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    std::string exp_type;
    std::string exp_mode;
    std::string object_name; ///< exported object
    std::string database;
};
