#include "backup_set/common/fusioncompute_backup_set.h"

#include "backup_set/common/select_columns.h"

#include <algorithm>

namespace {

template <class T, class Member, class Wanted>
const T* find_by(const std::vector<T>& list, Member T::*member, const Wanted& wanted)
{
    const auto found = std::find_if(list.begin(), list.end(), [&](const T& entry) { return entry.*member == wanted; });
    return found != list.end() ? &*found : nullptr;
}

} // namespace

FusionCompute_Backup_Set::FusionCompute_Backup_Set() : Backup_Set("fusioncompute") {}

void FusionCompute_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    String_Template column = column_template();
    column("f", alias);
    sql.table("fusioncompute_backup_set", alias);
    add_columns(sql, column, "{{f}}",
                {"vm_name", "vm_uuid", "vm_uri", "location_urn", "os_type", "os_version", "cpu_count", "memory_mbytes",
                 "network_adapters", "volumes", "snapshot_urn"});
}

bool FusionCompute_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "vm_uuid"_key << vm_uuid;
    gen << "vm_name"_key << vm_name;
    gen << "vm_uri"_key << vm_uri;
    gen << "location_urn"_key << location_urn;
    gen << "os_type"_key << os_type;
    gen << "os_version"_key << os_version;
    gen << "cpu_count"_key << cpu_count;
    gen << "memory_mbytes"_key << memory_mbytes;
    gen << "snapshot_urn"_key << snapshot_urn;
    gen << "network_adapters"_key << network_adapters;
    gen << "volumes"_key << volumes;
    return true;
}

const FusionCompute_Backup_Set::Volume* FusionCompute_Backup_Set::get_volume(const std::string& vol_uuid) const
{
    return find_by(volumes, &Volume::uuid, vol_uuid);
}

const FusionCompute_Backup_Set::Volume* FusionCompute_Backup_Set::get_volume(int sequence) const
{
    return find_by(volumes, &Volume::sequence_num, sequence);
}

const FusionCompute_Backup_Set::Network_Adapter*
FusionCompute_Backup_Set::get_network_adapter(const std::string& adapter_name) const
{
    return find_by(network_adapters, &Network_Adapter::name, adapter_name);
}

const FusionCompute_Backup_Set::Network_Adapter* FusionCompute_Backup_Set::get_network_adapter(int sequence) const
{
    return find_by(network_adapters, &Network_Adapter::sequence_num, sequence);
}

const YAJL_Gen& operator<<(const YAJL_Gen& gen, const FusionCompute_Backup_Set::Network_Adapters& adapters)
{
    const YAJL_Array_Guard array(gen);
    for (const FusionCompute_Backup_Set::Network_Adapter& adapter : adapters) {
        const YAJL_Map_Guard map(gen);
        gen << "name"_key << adapter.name;
        gen << "ip"_key << adapter.ip;
        gen << "mac"_key << adapter.mac;
        gen << "port_group_urn"_key << adapter.port_group_urn;
        gen << "sequence_num"_key << adapter.sequence_num;
    }
    return gen;
}

const YAJL_Gen& operator<<(const YAJL_Gen& gen, const FusionCompute_Backup_Set::Volumes& volumes)
{
    const YAJL_Array_Guard array(gen);
    for (const FusionCompute_Backup_Set::Volume& volume : volumes) {
        const YAJL_Map_Guard map(gen);
        gen << "name"_key << volume.name;
        gen << "urn"_key << volume.urn;
        gen << "uuid"_key << volume.uuid;
        gen << "pci_type"_key << volume.pci_type;
        gen << "storage_type"_key << volume.storage_type;
        gen << "datastore_urn"_key << volume.datastore_urn;
        gen << "thin"_key << volume.thin;
        gen << "quantity"_key << volume.quantity;
        gen << "sequence_num"_key << volume.sequence_num;
        gen << "block_size"_key << volume.block_size;
        gen << "snapshot"_key << volume.snapshot;
    }
    return gen;
}

const YAJL_Gen& operator<<(const YAJL_Gen& gen, const FusionCompute_Backup_Set::Volume::Snapshot& snapshot)
{
    const YAJL_Map_Guard map(gen);
    gen << "uuid"_key << snapshot.uuid;
    gen << "snap_name_on_dev"_key << snapshot.snap_name_on_dev;
    gen << "chg_id"_key << snapshot.chg_id;
    return gen;
}
