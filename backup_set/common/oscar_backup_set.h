// The record of one table-level backup of an Oscar database.
#pragma once

#include "backup_set/common/backup_set.h"

#include <vector>

/// The export of one table.
struct Oscar_Backup_File
{
    std::string database;
    std::string schema;
    std::string table;
    std::string file;
};

class BACKUP_SET_EXPORT Oscar_Backup_Set : public Backup_Set
{
public:
    Oscar_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "oscar".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;
    bool print_json(int index, const char* key, const json_spirit::Value& value) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    ACE_UINT32 seq = 0;
    std::string grade;
    std::vector<Oscar_Backup_File> files;
    json_spirit::Array tablespaces; ///< every element is a string
};
