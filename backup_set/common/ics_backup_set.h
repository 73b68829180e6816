// The record of one backup of a virtual machine on an ICS platform.
//
// Filled by the agent through its fields; it takes no typed columns from queries. Each configuration block can be loaded
// from a JSON value, dumped to a JSON object and written to a generator.
#pragma once

#include "backup_set/common/backup_set.h"

#include <string>
#include <vector>

class BACKUP_SET_EXPORT ICS_Backup_Set : public Backup_Set
{
public:
    enum Aggregate_Type : ACE_INT32
    {
        VAPP = 0,
        TAG = 1
    };

    // `load` takes an object that holds every key of the block; false, after one log line, at the first that is missing or
    // of the wrong type: what was read before that stays. `dump` gives an object with every key.

    struct BACKUP_SET_EXPORT VM_Base
    {
        bool load(const json_spirit::Value& value);
        json_spirit::Object dump() const;

        std::string boot_mode;
        std::string guest_os_type;
        std::string guest_os_label;
        std::string panick_policy; // the platform's own spelling
        std::string start_priority;
        std::string vnc_password;
        std::string vnc_shared_policy;
        std::string vm_description;
        ACE_UINT64 splash_time = 0;
    };

    struct BACKUP_SET_EXPORT CPU_Info
    {
        bool load(const json_spirit::Value& value);
        json_spirit::Object dump() const;

        std::string cpu_arch;
        ACE_UINT64 cpu_shares = 0;
        ACE_UINT64 cpu_count = 0;
        ACE_UINT64 cpu_cores = 0;
        ACE_UINT64 cpu_socket = 0;
        ACE_UINT64 cpu_core_num_per_socket = 0;
        ACE_UINT64 cpu_reservation = 0;
        ACE_UINT64 cpu_limit = 0;
        std::string cpu_model;
        bool cpu_hot_plug_enabled = false;
        bool cpu_model_enabled = false;
    };

    struct BACKUP_SET_EXPORT Mem_Info
    {
        bool load(const json_spirit::Value& value);
        json_spirit::Object dump() const;

        ACE_UINT64 mem_mbytes = 0;
        ACE_UINT64 mem_reservation = 0;
        bool enable_huge_page = false;
        bool mem_balloon_enabled = false;
        bool mem_hot_add_enabled = false;
        bool mem_hot_plug_enabled = false;
    };

    /// A vApp or tag that the machine belongs to.
    struct BACKUP_SET_EXPORT Aggregate_Info
    {
        Aggregate_Info() = default;
        Aggregate_Info(const std::string& aggregate_id, Aggregate_Type aggregate_type);

        bool load(const json_spirit::Value& value);
        json_spirit::Object dump() const;

        std::string id;
        Aggregate_Type type = VAPP;
    };

    using Aggregate_Infos = std::vector<Aggregate_Info>;

    ICS_Backup_Set();

    /// Only the type's own table and columns, under `alias`; none of the common ones.
    static void init_select_sql(Select_SQL& sql, const char* alias);

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    std::string vm_id;
    std::string vm_uuid;
    std::string vm_name;
    std::string vm_version;
    std::string datacenter_id;
    std::string owner_host_id;
    std::string owner_host_ip;
    std::string owner_host_name;
    VM_Base base_info;
    CPU_Info cpu_info;
    Mem_Info mem_info;
    Aggregate_Infos aggregates;
    json_spirit::Array boot_devices; ///< this and the next five: kept and written as they are
    json_spirit::Array floppys;      // the platform's own spelling
    json_spirit::Array cdroms;
    json_spirit::Array nics;
    json_spirit::Array gpus;
    json_spirit::Array usbs;
    json_spirit::Object vm_extended_attrs; ///< kept and written as they are
};

// The blocks as JSON; the generator is returned for chaining.
BACKUP_SET_EXPORT const YAJL_Gen& operator<<(const YAJL_Gen& gen, const ICS_Backup_Set::VM_Base& base);
BACKUP_SET_EXPORT const YAJL_Gen& operator<<(const YAJL_Gen& gen, const ICS_Backup_Set::CPU_Info& cpu);
BACKUP_SET_EXPORT const YAJL_Gen& operator<<(const YAJL_Gen& gen, const ICS_Backup_Set::Mem_Info& memory);
BACKUP_SET_EXPORT const YAJL_Gen& operator<<(const YAJL_Gen& gen, const ICS_Backup_Set::Aggregate_Infos& aggregates);
