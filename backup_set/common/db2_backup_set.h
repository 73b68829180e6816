// The record of one backup of a DB2 database: an image, or a set of archived logs.
#pragma once

#include "backup_set/common/backup_set.h"

class BACKUP_SET_EXPORT DB2_Backup_Set : public Backup_Set
{
public:
    DB2_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "ds".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    bool print_bool(int index, const char* key, bool value) override;

    ACE_INT64 base_start_point = 0; ///< start point of the base backup
    std::string database;
    std::string meta_file;
    std::string archive_dir;
    std::string archive_first_log;
    std::string archive_last_log;
    std::time_t archive_start_time = 0; ///< of the first archived log
    std::time_t archive_end_time = 0;   ///< of the last archived log
    bool is_archive_set = false;
};
