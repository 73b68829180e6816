// The record of one backup of a Domino server's data.
#pragma once

#include "backup_set/common/backup_set.h"

#include <vector>

/// One archived transaction log.
struct Domino_Archive_Log
{
    ACE_INT64 logid_file_seg0 = 0; ///< log id, file part
    ACE_INT64 logid_file_seg1 = 0;
    ACE_INT64 logid_note_seg0 = 0; ///< log id, note part
    ACE_INT64 logid_note_seg1 = 0;
    ACE_INT64 log_seq = 0;
    std::string name;
    std::time_t mtime = 0;
};

using domino_archive_logs_t = std::vector<Domino_Archive_Log>;

class BACKUP_SET_EXPORT Domino_Backup_Set : public Backup_Set
{
public:
    Domino_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "do".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    ACE_UINT32 seq = 0;
    std::string source_type;
    std::string data_path;
    std::string compression;
    std::string daos; ///< DAOS setting of the server
    domino_archive_logs_t archive_logs;
};
