// The record of one backup of a database of a HANA system.
#pragma once

#include "backup_set/common/backup_set.h"

#include <vector>

class BACKUP_SET_EXPORT HANA_Backup_Set : public Backup_Set
{
public:
    struct Backup_File
    {
        std::string extern_backup_id;
        std::string origin_path;
        std::string filename;
        ACE_UINT64 size = 0; ///< bytes
        std::string source_type;
        std::string storage_path;
    };

    using Backup_Files = std::vector<Backup_File>;

    HANA_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "h".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    /// Writes a list of files as a JSON array.
    void generate_files(YAJL_Gen& gen, Backup_Files list);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    bool print_uint(int index, const char* key, ACE_UINT64 value) override;

    std::string lifeline;
    std::string sid; ///< system id
    std::string system_version;
    ACE_UINT64 instance_num = 0;
    std::string instance_name;
    std::string extended_attrs; ///< a text of this type; the common record has an object of the same name beside it
    std::string database;
    ACE_UINT64 database_backup_id = 0;
    Backup_Files files;
};
