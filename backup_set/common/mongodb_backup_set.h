// The record of one backup of a MongoDB deployment.
#pragma once

#include "backup_set/common/backup_set.h"

#include <vector>

/// One backed-up file.
struct MongoDB_Backup_File
{
    std::string database;
    std::string file;
    ACE_INT64 original_size = 0;  ///< bytes
    std::string backup_host_uuid; ///< the host that backed the file up
    ACE_INT64 seq = 0;
};

class BACKUP_SET_EXPORT MongoDB_Backup_Set : public Backup_Set
{
public:
    MongoDB_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "m".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    bool print_int(int index, const char* key, ACE_INT64 value) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    ACE_UINT32 seq = 0;
    ACE_INT64 arch_log_start = -1; ///< start of the log range; -1 here and below: unset
    ACE_INT64 arch_log_start_i = -1;
    ACE_INT64 arch_log_end = -1;
    ACE_INT64 arch_log_end_i = -1;
    bool archive = false; ///< a log backup
    std::vector<MongoDB_Backup_File> files;
};
