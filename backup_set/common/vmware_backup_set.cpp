#include "backup_set/common/vmware_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/select_columns.h"

namespace {

using namespace column_intake;
using Set = VMware_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"vm_uuid", into<&Set::vm_uuid>},
    {"instance_uuid", into<&Set::instance_uuid>},
    {"parent_uuid", into<&Set::parent_uuid>},
    {"vm_name", into<&Set::vm_name>},
    {"esxi_name", into<&Set::esxi_name>},
    {"esxi_uuid", into<&Set::esxi_uuid>},
    {"esxi_moid", into<&Set::esxi_moid>},
    {"vcenter_name", into<&Set::vcenter_name>},
    {"firmware", into<&Set::firmware>},
    {"guestos_id", into<&Set::guestos_id>},
    {"version", into<&Set::version>},
    {"resource_pool_name", into<&Set::resource_pool_name>},
    {"resource_pool_moid", into<&Set::resource_pool_moid>},
    {"folder_moid", into<&Set::folder_moid>},
    {"datastore", into<&Set::datastore>},
    {"snapshot_id", into<&Set::snapshot_id>},
    {"merge_backup_id", into<&Set::merge_backup_id>},
});

constexpr auto unsigned_intake = unsigned_columns<Set>({
    {"memory_size", into<&Set::memory_size>},
    {"cpu_num", into<&Set::cpu_num>},
    {"cpu_cores_per_socket", into<&Set::cpu_cores_per_socket>},
});

constexpr auto boolean_intake = boolean_columns<Set>({
    {"is_template", into<&Set::is_template>},
});

constexpr auto json_intake = json_columns<Set>({
    {"controllers", into<&Set::controllers>},
    {"network_adapters", into<&Set::network_adapters>},
    {"cd_roms", into<&Set::cd_roms>},
    {"tags", into<&Set::tags>},
});

} // namespace

VMware_Backup_Set::VMware_Backup_Set() : Backup_Set("vmware") {}

void VMware_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    add_columns(sql, "g",
                {"vm_uuid",
                 "instance_uuid",
                 "parent_uuid",
                 "vm_name",
                 "esxi_name",
                 "esxi_uuid",
                 "esxi_moid",
                 "vcenter_name",
                 "firmware",
                 "guestos_id",
                 "version",
                 "memory_size",
                 "cpu_num",
                 "cpu_cores_per_socket",
                 "controllers",
                 "network_adapters",
                 "cd_roms",
                 "tags",
                 "resource_pool_name",
                 "resource_pool_moid",
                 "folder_moid",
                 "datastore",
                 "snapshot_id",
                 "merge_backup_id"});
    sql.add_key("g.is_template", "template"); // meant: nothing takes the flag under this key
    sql.join("vmware_backup_set", "g", "uuid=g.set_uuid");
}

bool VMware_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool VMware_Backup_Set::print_json(int index, const char* key, const json_spirit::Value& value)
{
    const auto done = json_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_json(index, key, value);
}

bool VMware_Backup_Set::print_uint(int index, const char* key, ACE_UINT64 value)
{
    const auto done = unsigned_intake.take(*this, key, value);
    return done ? *done : Query_Result_Token_Printer::print_uint(index, key, value);
}

bool VMware_Backup_Set::print_bool(int index, const char* key, bool value)
{
    const auto done = boolean_intake.take(*this, key, value);
    return done ? *done : Query_Result_Token_Printer::print_bool(index, key, value);
}

bool VMware_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "vm_uuid"_key << vm_uuid;
    gen << "instance_uuid"_key << instance_uuid;
    gen << "parent_uuid"_key << parent_uuid;
    gen << "vm_name"_key << vm_name;
    gen << "esxi_name"_key << esxi_name;
    gen << "esxi_uuid"_key << esxi_uuid;
    gen << "esxi_moid"_key << esxi_moid;
    gen << "vcenter_name"_key << vcenter_name;
    gen << "firmware"_key << firmware;
    gen << "guestos_id"_key << guestos_id;
    gen << "version"_key << version;
    gen << "memory_size"_key << memory_size;
    gen << "cpu_num"_key << cpu_num;
    gen << "cpu_cores_per_socket"_key << cpu_cores_per_socket;
    gen << "resource_pool_name"_key << resource_pool_name;
    gen << "resource_pool_moid"_key << resource_pool_moid;
    gen << "folder_moid"_key << folder_moid;
    gen << "datastore"_key << datastore;
    gen << "snapshot_id"_key << snapshot_id;
    gen << "merge_backup_id"_key << merge_backup_id;
    gen << "is_template"_key << is_template;
    gen << "controllers"_key << controllers;
    gen << "network_adapters"_key << network_adapters;
    gen << "cd_roms"_key << cd_roms;
    gen << "tags"_key << tags;
    return true;
}
