#include "backup_set/common/oracle_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/document_time.h"
#include "backup_set/common/select_columns.h"

namespace {

using namespace column_intake;
using Set = Oracle_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"reset_time", into<&Set::reset_time>},
    {"controlfile_time", into<&Set::controlfile_time>},
    {"checkpoint_time", into<&Set::checkpoint_time>},
    {"backup_type", into<&Set::backup_type>},
    {"database", into<&Set::database>},
    {"compatible", into<&Set::compatible>},
    {"scsipool_id", into<&Set::scsipool_id>},
    {"stage_id", into<&Set::stage_id>},
    {"snapshot_id", into<&Set::snapshot_id>},
    {"merge_tag", into<&Set::merge_tag>},
});

constexpr auto integer_intake = integer_columns<Set>({
    {"timezone_offset", into<&Set::timezone_offset>},
});

constexpr auto unsigned_intake = unsigned_columns<Set>({
    {"dbid", into<&Set::dbid>},
    {"db_incarnation", into<&Set::db_incarnation>},
    {"reset_scn", into<&Set::reset_scn>},
    {"controlfile_scn", into<&Set::controlfile_scn>},
    {"checkpoint_scn", into<&Set::checkpoint_scn>},
});

constexpr auto boolean_intake = boolean_columns<Set>({
    {"archivelog", into<&Set::archivelog>},
    {"cluster", into<&Set::cluster>},
    {"standby", into<&Set::standby>},
    {"cdb", into<&Set::cdb>},
    {"merge_size", into<&Set::merge_size>}, // meant: the size is taken as a flag, 0 or 1, and only here
});

constexpr auto json_intake = json_columns<Set>({
    {"special_files", into<&Set::special_files>},
});

} // namespace

Oracle_Backup_Set::Oracle_Backup_Set() : Backup_Set("oracle") {}

void Oracle_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    // Meant: "merge_size" and "pdbs" have no column here and are never read back.
    add_columns(sql, "o",
                {
                    "archivelog",       "cluster",         "standby",         "cdb",         "reset_time",
                    "controlfile_time", "checkpoint_time", "timezone_offset", "dbid",        "db_incarnation",
                    "reset_scn",        "controlfile_scn", "checkpoint_scn",  "backup_type", "database",
                    "compatible",       "scsipool_id",     "stage_id",        "snapshot_id", "merge_tag",
                    "special_files",
                });
    sql.join("oracle_backup_set", "o", "uuid=o.set_uuid");
}

bool Oracle_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool Oracle_Backup_Set::print_int(int index, const char* key, ACE_INT64 value)
{
    const auto done = integer_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_int(index, key, value);
}

bool Oracle_Backup_Set::print_uint(int index, const char* key, ACE_UINT64 value)
{
    const auto done = unsigned_intake.take(*this, key, value);
    return done ? *done
                : Backup_Set::print_int(index, key, static_cast<ACE_INT64>(value)); // meant: the base's integer intake
}

bool Oracle_Backup_Set::print_bool(int index, const char* key, bool value)
{
    const auto done = boolean_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_int(index, key, value ? 1 : 0); // meant: the base's integer intake
}

bool Oracle_Backup_Set::print_json(int, const char* key, const json_spirit::Value& value)
{
    // Meant: every other key is dropped, the base's JSON columns included.
    return json_intake.take(*this, key, value).value_or(true);
}

bool Oracle_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "archivelog"_key << archivelog;
    gen << "cluster"_key << cluster;
    gen << "standby"_key << standby;
    gen << "cdb"_key << cdb;
    gen << "reset_time"_key << document_time(reset_time);
    gen << "controlfile_time"_key << document_time(controlfile_time);
    gen << "checkpoint_time"_key << document_time(checkpoint_time);
    gen << "dbid"_key << dbid;
    gen << "db_incarnation"_key << db_incarnation;
    gen << "reset_scn"_key << reset_scn;
    gen << "controlfile_scn"_key << controlfile_scn;
    gen << "checkpoint_scn"_key << checkpoint_scn;
    gen << "backup_type"_key << backup_type;
    gen << "database"_key << database;
    gen << "compatible"_key << compatible;
    gen << "scsipool_id"_key << scsipool_id;
    gen << "stage_id"_key << stage_id;
    gen << "snapshot_id"_key << snapshot_id;
    gen << "merge_tag"_key << merge_tag;
    gen << "merge_size"_key << merge_size;
    gen << "timezone_offset"_key << timezone_offset;
    gen << "special_files"_key << special_files;
    gen << "pdbs"_key << pdbs;
    return true;
}
