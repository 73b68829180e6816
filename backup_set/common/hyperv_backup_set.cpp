#include "backup_set/common/hyperv_backup_set.h"

#include "backup_set/common/select_columns.h"

#include <algorithm>

Hyper_V_Backup_Set::Hyper_V_Backup_Set() : Backup_Set("hyperv") {}

void Hyper_V_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    sql.table("hyperv_backup_set", alias);
    add_keys(sql, alias);
}

bool Hyper_V_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "vm_name"_key << vm_name;
    gen << "vm_guid"_key << vm_guid;
    gen << "vm_setting_id"_key << vm_setting_id;
    gen << "vm_prev_setting_id"_key << vm_prev_setting_id;
    gen << "vm_config_version"_key << vm_config_version;
    gen << "memory_mbytes"_key << memory_mbytes;
    gen << "cpu_count"_key << cpu_count;
    gen << "vm_generation"_key << vm_generation;
    gen << "vhd_chains"_key;
    {
        const YAJL_Map_Guard map(gen);
        for (const auto& [name, chain] : vhd_chains) {
            gen << name;
            gen_vhd_chain(gen, chain);
        }
    }
    gen << "network_adapters"_key;
    {
        const YAJL_Array_Guard array(gen);
        for (const Network_Adapter& adapter : network_adapters) {
            const YAJL_Map_Guard map(gen);
            gen << "mac"_key << adapter.mac;
            gen << "name"_key << adapter.name;
            gen << "virtual_switch"_key << adapter.virtual_switch;
            gen << "is_static_mac"_key << adapter.is_static_mac;
        }
    }
    gen << "controllers"_key;
    {
        const YAJL_Array_Guard array(gen);
        for (const Controller& controller : controllers) {
            const YAJL_Map_Guard map(gen);
            gen << "address"_key << controller.address;
            gen << "type"_key << controller.type;
        }
    }
    gen << "drives"_key;
    const YAJL_Array_Guard array(gen);
    for (const Drive& drive : drives) {
        const YAJL_Map_Guard map(gen);
        gen << "address"_key << drive.address;
        gen << "controller_type"_key << drive.controller_type;
        gen << "controller_address"_key << drive.controller_address;
    }
    return true;
}

Select_SQL& Hyper_V_Backup_Set::add_keys(Select_SQL& sql, const char* alias)
{
    String_Template column = column_template();
    column("h", alias);
    add_columns(sql, column, "{{h}}",
                {"set_uuid", "vm_name", "vm_guid", "vm_setting_id", "vm_prev_setting_id", "vm_config_version",
                 "vm_generation", "memory_mbytes", "cpu_count", "network_adapters", "controllers", "drives",
                 "vhd_chains"});
    return sql;
}

bool Hyper_V_Backup_Set::get_pool_uuid(std::string& pool_uuid) const
{
    if (storages.empty()) {
        return false;
    }
    pool_uuid = storages.front().pool_uuid;
    return !pool_uuid.empty();
}

bool Hyper_V_Backup_Set::get_piece(const std::string& local_path, Backup_Piece& piece) const
{
    const auto found = std::find_if(pieces.begin(), pieces.end(),
                                    [&](const Backup_Piece& candidate) { return candidate.object == local_path; });
    if (found == pieces.end()) {
        return false;
    }
    piece = *found;
    return true;
}

void gen_vhd_chain(YAJL_Gen& gen, const Hyper_V_Backup_Set::VHD_Chain& chain)
{
    const YAJL_Map_Guard map(gen);
    gen << "address_0"_key << chain.address_0;
    gen << "address_1"_key << chain.address_1;
    gen << "controller_type"_key << chain.controller_type;
    gen << "total_size"_key << chain.total_size;
    gen << "id"_key << chain.id;
    gen << "rct_id"_key << chain.rct_id;
    gen << "vhds"_key;
    const YAJL_Array_Guard array(gen);
    for (const Hyper_V_Backup_Set::VHD& vhd : chain.vhds) {
        const YAJL_Map_Guard file(gen);
        gen << "path"_key << vhd.path;
        gen << "parent_path"_key << vhd.parent_path;
        gen << "file_size"_key << vhd.file_size;
    }
}
