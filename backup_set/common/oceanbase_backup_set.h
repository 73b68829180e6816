// The record of one backup of an OceanBase cluster. Its typed fields are written only: no column carries them.
#pragma once

#include "backup_set/common/backup_set.h"

#include <vector>

class BACKUP_SET_EXPORT OceanBase_Backup_Set : public Backup_Set
{
public:
    struct OceanBase_Tenant
    {
        ACE_UINT64 tenant_id = 0;
        std::string tenant_name;
        std::string data_start_time;   ///< as text
        std::string log_max_next_time; ///< as text
        std::string zone_list;
        std::string primary_zone;
        std::string locality;
        std::vector<std::string> resource_pools;
    };

    OceanBase_Backup_Set();

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    std::string archive_dest;
    std::string version;
    std::string cluster_name;
    ACE_UINT64 log_archive_round = 0;
    ACE_UINT64 cluster_id = 0;
    std::vector<OceanBase_Tenant> tenants;
};
