// The record of one backup of a Hyper-V virtual machine.
//
// Filled by the agent through its fields; it takes no typed columns from queries.
#pragma once

#include "backup_set/common/backup_set.h"

#include <map>
#include <vector>

class BACKUP_SET_EXPORT Hyper_V_Backup_Set : public Backup_Set
{
public:
    /// One virtual disk file of a chain.
    struct VHD
    {
        std::string parent_path; ///< of the parent file in the chain
        std::string path;
        ACE_UINT64 file_size = 0;    ///< bytes
        ACE_UINT64 virtual_size = 0; ///< bytes; held, not written
    };

    /// One virtual disk with its chain of files.
    struct VHD_Chain
    {
        std::vector<VHD> vhds;
        std::string id;
        std::string rct_id; ///< of the disk's change tracking
        std::string controller_type;
        ACE_UINT64 total_size = 0; ///< bytes
        ACE_INT32 address_0 = 0;   ///< attachment address
        ACE_INT32 address_1 = 0;
    };

    using VHD_Chain_Map = std::map<std::string, VHD_Chain>;

    struct Network_Adapter
    {
        std::string mac;
        std::string name;
        std::string virtual_switch;
        bool is_static_mac = false;
    };

    struct Controller
    {
        std::string type;
        ACE_INT32 address = 0;
        ACE_INT32 drives_count = 0; ///< held, not written
    };

    struct Drive
    {
        ACE_INT32 controller_address = 0;
        ACE_INT32 controller_type = 0; ///< a number here, a text in a chain
        ACE_INT32 address = 0;
    };

    Hyper_V_Backup_Set();

    /// Only the type's own table and columns, under `alias`; none of the common ones.
    static void init_select_sql(Select_SQL& sql, const char* alias);

    /// Adds the type's columns to a statement in which its table stands under `alias`.
    static Select_SQL& add_keys(Select_SQL& sql, const char* alias);

    /// The pool of the first storage. False when there is no storage (then `pool_uuid` is left alone) or when its pool is
    /// empty.
    bool get_pool_uuid(std::string& pool_uuid) const;

    /// Copies the first piece whose object is `local_path`. False, and `piece` is left alone, when there is none.
    bool get_piece(const std::string& local_path, Backup_Piece& piece) const;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    std::string vm_name;
    std::string vm_guid;
    std::string vm_setting_id;      ///< of the machine's current settings object
    std::string vm_prev_setting_id; ///< the same as of the previous backup
    std::string vm_config_version;
    VHD_Chain_Map vhd_chains; ///< virtual disks by name
    std::vector<Network_Adapter> network_adapters;
    std::vector<Controller> controllers;
    std::vector<Drive> drives;
    ACE_INT32 memory_mbytes = 0;
    ACE_INT32 cpu_count = 1;
    ACE_INT32 vm_generation = 1;
};

/// Writes one chain as a JSON object.
BACKUP_SET_EXPORT void gen_vhd_chain(YAJL_Gen& gen, const Hyper_V_Backup_Set::VHD_Chain& chain);
