// A row of the Oracle select as a hand-written reader keeps it: the same columns as the record, in a plain struct.
#pragma once

#include "backup_set/common/oracle_backup_set.h"

#include <cstdint>
#include <ctime>
#include <string>

struct Plain_Row
{
    std::string uuid;
    std::string name;
    std::string job_instance_uuid;
    std::string definition_uuid;
    std::string uid;
    std::string host_uuid;
    std::string resource_uuid;
    std::string minor_resource_id;
    std::string minor_resource_name;
    std::string agent;
    std::string incarnation;
    std::string type;
    std::time_t first_time = 0;
    std::time_t last_time = 0;
    std::time_t backup_start_time = 0;
    std::time_t backup_end_time = 0;
    std::int64_t source_size = 0;
    std::int64_t size = 0;
    std::string uri;
    std::string host;
    std::string instance;
    std::string instance_version;
    std::int64_t first_scn = 0;
    std::int64_t last_scn = 0;
    bool archivelog = false;
    bool cluster = false;
    bool standby = false;
    bool cdb = false;
    std::time_t reset_time = 0;
    std::time_t controlfile_time = 0;
    std::time_t checkpoint_time = 0;
    std::int64_t timezone_offset = 0;
    std::uint64_t dbid = 0;
    std::uint64_t db_incarnation = 0;
    std::uint64_t reset_scn = 0;
    std::uint64_t controlfile_scn = 0;
    std::uint64_t checkpoint_scn = 0;
    std::string backup_type;
    std::string database;
    std::string compatible;
    std::string scsipool_id;
    std::string stage_id;
    std::string snapshot_id;
    std::string merge_tag;

    friend bool operator==(const Plain_Row&, const Plain_Row&) = default;
};

/// The same with the JSON columns as texts.
struct Text_Row : Plain_Row
{
    std::string resource_tree;
    std::string extended_attrs;
    std::string uname;
    std::string lsb;
    std::string special_files;
};

/// Where the columns stand in the Oracle select.
namespace column {
enum : int
{
    RESOURCE_TREE = 24,
    EXTENDED_ATTRS,
    UNAME,
    LSB,
    SPECIAL_FILES = 48,
    COUNT
};
}

/// What a record holds, as a plain row.
Plain_Row plain_row(const Oracle_Backup_Set& set);
