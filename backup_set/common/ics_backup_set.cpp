#include "backup_set/common/ics_backup_set.h"

#include "backup_set/common/select_columns.h"
#include "platform/json/object_get.h"
#include "platform/text/log.h"

#include <exception>
#include <tuple>

namespace {

using Base = ICS_Backup_Set::VM_Base;
using CPU = ICS_Backup_Set::CPU_Info;
using Memory = ICS_Backup_Set::Mem_Info;
using Aggregate = ICS_Backup_Set::Aggregate_Info;

template <class Block, class Member>
struct Field
{
    constexpr Field(const YAJL_Gen::Str& name, Member Block::*pointer) : key(name), member(pointer) {}

    YAJL_Gen::Str key;
    Member Block::*member;
};

// One table per block, in the order in which its keys are read and written.

constexpr std::tuple base_fields{
    Field{"boot_mode"_key, &Base::boot_mode},
    Field{"guest_os_type"_key, &Base::guest_os_type},
    Field{"guest_os_label"_key, &Base::guest_os_label},
    Field{"panick_policy"_key, &Base::panick_policy},
    Field{"start_priority"_key, &Base::start_priority},
    Field{"vnc_password"_key, &Base::vnc_password},
    Field{"vnc_shared_policy"_key, &Base::vnc_shared_policy},
    Field{"vm_description"_key, &Base::vm_description},
    Field{"splash_time"_key, &Base::splash_time},
};

constexpr std::tuple cpu_fields{
    Field{"cpu_arch"_key, &CPU::cpu_arch},
    Field{"cpu_shares"_key, &CPU::cpu_shares},
    Field{"cpu_count"_key, &CPU::cpu_count},
    Field{"cpu_cores"_key, &CPU::cpu_cores},
    Field{"cpu_socket"_key, &CPU::cpu_socket},
    Field{"cpu_core_num_per_socket"_key, &CPU::cpu_core_num_per_socket},
    Field{"cpu_reservation"_key, &CPU::cpu_reservation},
    Field{"cpu_limit"_key, &CPU::cpu_limit},
    Field{"cpu_model"_key, &CPU::cpu_model},
    Field{"cpu_hot_plug_enabled"_key, &CPU::cpu_hot_plug_enabled},
    Field{"cpu_model_enabled"_key, &CPU::cpu_model_enabled},
};

constexpr std::tuple memory_fields{
    Field{"mem_mbytes"_key, &Memory::mem_mbytes},
    Field{"mem_reservation"_key, &Memory::mem_reservation},
    Field{"enable_huge_page"_key, &Memory::enable_huge_page},
    Field{"mem_balloon_enabled"_key, &Memory::mem_balloon_enabled},
    Field{"mem_hot_add_enabled"_key, &Memory::mem_hot_add_enabled},
    Field{"mem_hot_plug_enabled"_key, &Memory::mem_hot_plug_enabled},
};

constexpr std::tuple aggregate_fields{
    Field{"id"_key, &Aggregate::id},
    Field{"type"_key, &Aggregate::type},
};

template <class Fields, class Action>
void for_each_field(const Fields& fields, Action action)
{
    std::apply([&](const auto&... field) { (action(field), ...); }, fields);
}

using Extractor = json_spirit::Const_Object_Throw_Extractor;

void extract(const Extractor& from, std::string_view key, std::string& member)
{
    member = from.object_get_str_or_throw(key);
}

void extract(const Extractor& from, std::string_view key, ACE_UINT64& member)
{
    member = from.object_get_uint64_or_throw(key);
}

void extract(const Extractor& from, std::string_view key, bool& member)
{
    member = from.object_get_bool_or_throw(key);
}

void extract(const Extractor& from, std::string_view key, ICS_Backup_Set::Aggregate_Type& member)
{
    member = static_cast<ICS_Backup_Set::Aggregate_Type>(from.object_get_uint64_or_throw(key));
}

template <class Block, class Fields>
bool load_block(Block& block, const Fields& fields, const json_spirit::Value& value, const char* name)
{
    try {
        const Extractor from(value.get_obj());
        for_each_field(fields, [&](const auto& field) {
            extract(from, {field.key.text, field.key.length}, block.*field.member);
        });
        return true;
    } catch (const std::exception& error) {
        log_at(LM_ERROR, "Failed to load ICS_Backup_Set::%s from JSON: %s\n", name, error.what());
        return false;
    }
}

/// A member as documents carry it: the aggregate's type as a number.
template <class Member>
const Member& document_value(const Member& member)
{
    return member;
}

int document_value(const ICS_Backup_Set::Aggregate_Type& type)
{
    return type;
}

template <class Block, class Fields>
json_spirit::Object dump_block(const Block& block, const Fields& fields)
{
    json_spirit::Object object;
    for_each_field(fields, [&](const auto& field) {
        object.emplace(std::string(field.key.text, field.key.length), document_value(block.*field.member));
    });
    return object;
}

template <class Block, class Fields>
const YAJL_Gen& write_block(const YAJL_Gen& gen, const Block& block, const Fields& fields)
{
    const YAJL_Map_Guard map(gen);
    for_each_field(fields, [&](const auto& field) { gen << field.key << document_value(block.*field.member); });
    return gen;
}

} // namespace

ICS_Backup_Set::ICS_Backup_Set() : Backup_Set("incloud") {}

void ICS_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    String_Template column = column_template();
    column("f", alias);
    sql.table("ics_backup_set", alias);
    add_columns(sql, column, "{{f}}",
                {
                    "vm_name",           "vm_id",           "vm_uuid",   "vm_version", "datacenter_id", "owner_host_id",
                    "owner_host_ip",     "owner_host_name", "base_info", "cpu_info",   "mem_info",      "aggregates",
                    "boot_devices",      "floppys",         "cdroms",    "nics",       "gpus",          "usbs",
                    "vm_extended_attrs",
                });
}

bool ICS_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "vm_name"_key << vm_name;
    gen << "vm_id"_key << vm_id;
    gen << "vm_uuid"_key << vm_uuid;
    gen << "vm_version"_key << vm_version;
    gen << "datacenter_id"_key << datacenter_id;
    gen << "owner_host_id"_key << owner_host_id;
    gen << "owner_host_ip"_key << owner_host_ip;
    gen << "owner_host_name"_key << owner_host_name;
    gen << "base_info"_key << base_info;
    gen << "cpu_info"_key << cpu_info;
    gen << "mem_info"_key << mem_info;
    gen << "aggregates"_key << aggregates;
    gen << "boot_devices"_key << boot_devices;
    gen << "floppys"_key << floppys;
    gen << "cdroms"_key << cdroms;
    gen << "nics"_key << nics;
    gen << "gpus"_key << gpus;
    gen << "usbs"_key << usbs;
    gen << "vm_extended_attrs"_key << vm_extended_attrs;
    return true;
}

bool ICS_Backup_Set::VM_Base::load(const json_spirit::Value& value)
{
    return load_block(*this, base_fields, value, "VM_Base");
}

json_spirit::Object ICS_Backup_Set::VM_Base::dump() const
{
    return dump_block(*this, base_fields);
}

bool ICS_Backup_Set::CPU_Info::load(const json_spirit::Value& value)
{
    return load_block(*this, cpu_fields, value, "CPU_Info");
}

json_spirit::Object ICS_Backup_Set::CPU_Info::dump() const
{
    return dump_block(*this, cpu_fields);
}

bool ICS_Backup_Set::Mem_Info::load(const json_spirit::Value& value)
{
    return load_block(*this, memory_fields, value, "Mem_Info");
}

json_spirit::Object ICS_Backup_Set::Mem_Info::dump() const
{
    return dump_block(*this, memory_fields);
}

ICS_Backup_Set::Aggregate_Info::Aggregate_Info(const std::string& aggregate_id, Aggregate_Type aggregate_type) :
    id(aggregate_id), type(aggregate_type)
{}

bool ICS_Backup_Set::Aggregate_Info::load(const json_spirit::Value& value)
{
    return load_block(*this, aggregate_fields, value, "Aggregate_Info");
}

json_spirit::Object ICS_Backup_Set::Aggregate_Info::dump() const
{
    return dump_block(*this, aggregate_fields);
}

const YAJL_Gen& operator<<(const YAJL_Gen& gen, const ICS_Backup_Set::VM_Base& base)
{
    return write_block(gen, base, base_fields);
}

const YAJL_Gen& operator<<(const YAJL_Gen& gen, const ICS_Backup_Set::CPU_Info& cpu)
{
    return write_block(gen, cpu, cpu_fields);
}

const YAJL_Gen& operator<<(const YAJL_Gen& gen, const ICS_Backup_Set::Mem_Info& memory)
{
    return write_block(gen, memory, memory_fields);
}

const YAJL_Gen& operator<<(const YAJL_Gen& gen, const ICS_Backup_Set::Aggregate_Infos& aggregates)
{
    const YAJL_Array_Guard array(gen);
    for (const ICS_Backup_Set::Aggregate_Info& aggregate : aggregates) {
        write_block(gen, aggregate, aggregate_fields);
    }
    return gen;
}
