// The record of one backup of a VMware virtual machine.
#pragma once

#include "backup_set/common/backup_set.h"

class BACKUP_SET_EXPORT VMware_Backup_Set : public Backup_Set
{
public:
    VMware_Backup_Set();

    /// The common columns under `alias`, and the type's own under the fixed alias "g".
    static void init_select_sql(Select_SQL& sql, const char* alias);

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_json(int index, const char* key, const json_spirit::Value& value) override;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    bool print_uint(int index, const char* key, ACE_UINT64 value) override;
    bool print_bool(int index, const char* key, bool value) override;

    std::string vm_uuid;
    std::string instance_uuid;
    std::string parent_uuid; ///< of the object that the machine belongs to
    std::string vm_name;
    std::string esxi_name;
    std::string esxi_uuid;
    std::string esxi_moid;
    std::string vcenter_name;
    std::string firmware;
    std::string guestos_id;
    std::string version; ///< of the virtual hardware
    std::string resource_pool_name;
    std::string resource_pool_moid;
    std::string folder_moid;
    std::string datastore;
    std::string snapshot_id;     ///< the snapshot that the backup was read from
    std::string merge_backup_id; ///< the backup that this one was merged with
    ACE_UINT64 memory_size = 0;
    ACE_UINT64 cpu_num = 0;
    ACE_UINT64 cpu_cores_per_socket = 0;
    json_spirit::Array controllers; ///< this and the next three: kept and written as they are
    json_spirit::Array network_adapters;
    json_spirit::Array cd_roms;
    json_spirit::Array tags;
    bool is_template = false;
};
