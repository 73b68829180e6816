#include "backup_set/common/sybase_backup_set.h"

#include <algorithm>

Sybase_Backup_Set::Sybase_Backup_Set() : Backup_Set("sybase") {}

bool Sybase_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "resource_name"_key << resource_name;
    gen << "database"_key << database;
    gen << "dbtype"_key << dbtype;
    gen << "last_dumptrdate"_key << last_dumptrdate;
    gen << "current_dumptrdate"_key << current_dumptrdate;
    gen << "fork_point_uuid"_key << fork_point_uuid;
    gen << "recovery_fork_guid"_key << recovery_fork_guid;
    gen << "compression"_key << compression;
    gen << "piece_name"_key << piece_name;
    gen << "dev_size"_key << dev_size;
    return true;
}

std::string Sybase_Backup_Set::multi_channels_uri_format(std::string uri)
{
    uri.insert(std::min(uri.rfind('.'), uri.size()), "_%d");
    return uri;
}
