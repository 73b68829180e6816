#include "backup_set/common/oceanbase_backup_set.h"

OceanBase_Backup_Set::OceanBase_Backup_Set() : Backup_Set("oceanbase") {}

bool OceanBase_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "archive_dest"_key << archive_dest;
    gen << "version"_key << version;
    gen << "cluster_name"_key << cluster_name;
    gen << "log_archive_round"_key << log_archive_round;
    gen << "cluster_id"_key << cluster_id;
    gen << "tenants"_key;
    const YAJL_Array_Guard array(gen);
    for (const OceanBase_Tenant& tenant : tenants) {
        const YAJL_Map_Guard map(gen);
        gen << "tenant_id"_key << tenant.tenant_id;
        gen << "tenant_name"_key << tenant.tenant_name;
        gen << "data_start_time"_key << tenant.data_start_time;
        gen << "log_max_next_time"_key << tenant.log_max_next_time;
        gen << "zone_list"_key << tenant.zone_list;
        gen << "primary_zone"_key << tenant.primary_zone;
        gen << "locality"_key << tenant.locality;
        gen << "resource_pools"_key;
        const YAJL_Array_Guard pools(gen);
        for (const std::string& pool : tenant.resource_pools) {
            gen << pool;
        }
    }
    return true;
}
