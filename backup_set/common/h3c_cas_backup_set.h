// The record of one backup of a virtual machine on an H3C CAS host.
//
// Filled by the agent through its fields; it takes no typed columns from queries.
#pragma once

#include "backup_set/common/backup_set.h"

class BACKUP_SET_EXPORT H3C_CAS_Backup_Set : public Backup_Set
{
public:
    H3C_CAS_Backup_Set();

    /// Only the type's own table and columns, under `alias`; none of the common ones.
    static void init_select_sql(Select_SQL& sql, const char* alias);

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    std::string cvk_host_id; ///< the host that runs the machine
    std::string cvk_host_name;
    std::string cvk_host_ip;
    std::string vm_id;
    std::string vm_title;
    std::string vm_name;
    std::string vm_config_path;
    std::string cbt_name;
    json_spirit::Array vm_disks; ///< kept as they are
    ACE_INT32 cpu_count = 1;
    ACE_INT32 cpu_cores = 1;
    ACE_UINT32 memory_mbytes = 1024;
};
