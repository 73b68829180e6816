// The record of one backup of a virtual machine on a CloudOS cloud.
//
// Filled by the agent through its fields; it takes no typed columns from queries.
#pragma once

#include "backup_set/common/backup_set.h"

class BACKUP_SET_EXPORT CloudOS_Backup_Set : public Backup_Set
{
public:
    CloudOS_Backup_Set();

    /// Only the type's own table and columns, under `alias`; none of the common ones.
    static void init_select_sql(Select_SQL& sql, const char* alias);

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    std::string host_id;
    std::string host_name;
    std::string vm_id;
    std::string vm_name;
    std::string snapshot_id;
    json_spirit::Object vm_config; ///< this and the disks are kept as they are
    json_spirit::Array vm_disks;
};
