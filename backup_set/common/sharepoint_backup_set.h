// The record of one backup of a SharePoint content database.
#pragma once

#include "backup_set/common/backup_set.h"

class BACKUP_SET_EXPORT SharePoint_Backup_Set : public Backup_Set
{
public:
    SharePoint_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "s".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    std::string device_uuid;
    std::string database;
    std::string domain;
    std::string backup_method;
    ACE_INT64 rev = 0;
};
