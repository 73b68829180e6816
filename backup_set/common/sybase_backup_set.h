// The record of one Sybase database dump. Its typed fields are written only: no column carries them.
#pragma once

#include "backup_set/common/backup_set.h"

class BACKUP_SET_EXPORT Sybase_Backup_Set : public Backup_Set
{
public:
    Sybase_Backup_Set();

    /// The pattern for a dump by several channels: "_%d" before the last point of `uri`, or at its end.
    std::string multi_channels_uri_format(std::string uri);

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    std::string resource_name;
    std::string database;
    std::string dbtype;
    std::string last_dumptrdate;    ///< as text
    std::string current_dumptrdate; ///< as text
    std::string fork_point_uuid;
    std::string recovery_fork_guid;
    std::string compression;
    std::string piece_name;
    ACE_INT64 dev_size = 0; ///< size of the dump device
};
