// The record of one backup of a virtual machine on a FusionCompute platform.
//
// Filled by the agent through its fields; it takes no typed columns from queries.
#pragma once

#include "backup_set/common/backup_set.h"

#include <vector>

class BACKUP_SET_EXPORT FusionCompute_Backup_Set : public Backup_Set
{
public:
    struct Network_Adapter
    {
        std::string name;
        std::string ip;
        std::string mac;
        std::string port_group_urn;
        ACE_INT32 sequence_num = 0;
    };

    using Network_Adapters = std::vector<Network_Adapter>;

    struct Volume
    {
        /// The snapshot that the volume was read from.
        struct Snapshot
        {
            std::string uuid;
            std::string snap_name_on_dev; ///< its name on the storage device
            std::string chg_id;           ///< change identifier
        };

        std::string name;
        std::string urn;
        std::string uuid;
        std::string pci_type;
        std::string storage_type;
        std::string datastore_urn;
        bool thin = false; ///< thin provisioned
        ACE_INT32 quantity = 0;
        ACE_INT32 sequence_num = 0;
        ACE_UINT64 block_size = 0;
        Snapshot snapshot;
    };

    using Volumes = std::vector<Volume>;

    FusionCompute_Backup_Set();

    /// Only the type's own table and columns, under `alias`; none of the common ones.
    static void init_select_sql(Select_SQL& sql, const char* alias);

    // The first match, or null; valid until the list changes.
    const Volume* get_volume(const std::string& vol_uuid) const;
    const Volume* get_volume(int sequence) const;
    const Network_Adapter* get_network_adapter(const std::string& name) const;
    const Network_Adapter* get_network_adapter(int sequence) const;

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    std::string vm_name;
    std::string vm_uuid;
    std::string vm_uri;
    std::string location_urn;
    std::string os_type;
    std::string snapshot_urn; ///< the snapshot that the backup was read from
    ACE_INT32 os_version = 0;
    ACE_INT32 cpu_count = 0;
    ACE_INT32 memory_mbytes = 0;
    Network_Adapters network_adapters;
    Volumes volumes;
};

// Lists and snapshots as JSON; the generator is returned for chaining.
BACKUP_SET_EXPORT const YAJL_Gen& operator<<(const YAJL_Gen& gen,
                                             const FusionCompute_Backup_Set::Network_Adapters& adapters);
BACKUP_SET_EXPORT const YAJL_Gen& operator<<(const YAJL_Gen& gen, const FusionCompute_Backup_Set::Volumes& volumes);
BACKUP_SET_EXPORT const YAJL_Gen& operator<<(const YAJL_Gen& gen,
                                             const FusionCompute_Backup_Set::Volume::Snapshot& snapshot);
