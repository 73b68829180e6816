// The record of one backup of a CacheDB database, with its journal range.
#pragma once

#include "backup_set/common/backup_set.h"

#include <map>

class BACKUP_SET_EXPORT CacheDB_Backup_Set : public Backup_Set
{
public:
    using backup_files_t = std::map<std::string, std::string>;

    CacheDB_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "c".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    std::string start_log;   ///< first journal file of the backup
    std::string end_log;     ///< last journal file of the backup
    std::string current_log; ///< journal file that was current when the backup was taken
    std::string journal_dir;
    json_spirit::Array backup_files; ///< every element is an object whose members are strings
    backup_files_t files;            ///< kept in the record only: neither read nor written
};
