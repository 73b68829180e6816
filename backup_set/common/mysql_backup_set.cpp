#include "backup_set/common/mysql_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/optional_keys.h"

namespace {

using namespace column_intake;
using Set = MySQL_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"log_branch", into<&Set::log_branch>},
    {"start_log", into<&Set::start_log>},
    {"next_log", into<&Set::next_log>},
    {"stage_id", into<&Set::stage_id>},
    {"snapshot_id", into<&Set::snapshot_id>},
    {"server_uuid", into<&Set::server_uuid>},
    {"charset", into<&Set::charset>},
    {"binlog_create_time", into<&Set::binlog_create_time>},
    {"backup_time", into<&Set::backup_time>},
    {"object", into<&Set::object>},
    {"gbase_cluster_uuid", into<&Set::gbase_cluster_uuid>},
    {"data_type", into<&Set::data_type>},
});

constexpr auto integer_intake = integer_columns<Set>({
    {"seq", into<&Set::seq>},
    {"timezone_offset", into<&Set::timezone_offset>},
    {"mtf", into<&Set::mtf>},
    {"start_log_pos", into<&Set::start_log_pos>},
    {"next_log_pos", into<&Set::next_log_pos>},
    {"channels", into<&Set::channels>},
    {"gtid_type", into<&Set::gtid_type>},
    {"cycle", into<&Set::cycle>},
    {"point", into<&Set::point>},
    {"level", into<&Set::level>},
    {"group_id", into<&Set::group_id>},
});

constexpr auto json_intake = json_columns<Set>({
    {"start_gtids", into<&Set::start_gtids>},
    {"end_gtids", into<&Set::end_gtids>},
});

} // namespace

MySQL_Backup_Set::MySQL_Backup_Set() :
    Backup_Set("") {} // meant: the type is empty until the agent or the catalog says it

void MySQL_Backup_Set::init_select_sql(Select_SQL&, const char*)
{
    // Nothing, on purpose: neither columns nor a table.
}

bool MySQL_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool MySQL_Backup_Set::print_int(int index, const char* key, ACE_INT64 value)
{
    const auto done = integer_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_int(index, key, value);
}

bool MySQL_Backup_Set::print_json(int index, const char* key, const json_spirit::Value& value)
{
    const auto done = json_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_json(index, key, value);
}

bool MySQL_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "seq"_key << seq;
    gen << "mtf"_key << mtf;
    gen << "channels"_key << channels;
    gen << "gtid_type"_key << gtid_type;
    gen << "group_id"_key << group_id;
    write_set_number(gen, "timezone_offset"_key, timezone_offset);
    write_set_number(gen, "start_log_pos"_key, start_log_pos);
    write_set_number(gen, "next_log_pos"_key, next_log_pos);
    write_set_number(gen, "cycle"_key, cycle);
    write_set_number(gen, "point"_key, point);
    write_set_number(gen, "level"_key, level);
    write_set_text(gen, "log_branch"_key, log_branch);
    write_set_text(gen, "start_log"_key, start_log);
    write_set_text(gen, "next_log"_key, next_log);
    write_set_text(gen, "stage_id"_key, stage_id);
    write_set_text(gen, "snapshot_id"_key, snapshot_id);
    write_set_text(gen, "server_uuid"_key, server_uuid);
    write_set_text(gen, "charset"_key, charset);
    write_set_text(gen, "object"_key, object);
    write_set_text(gen, "gbase_cluster_uuid"_key, gbase_cluster_uuid);
    write_set_text(gen, "data_type"_key, data_type);
    write_set_time(gen, "binlog_create_time"_key, binlog_create_time);
    write_set_time(gen, "backup_time"_key, backup_time);
    if (!files.empty()) {
        gen << "backup_files"_key; // meant: not the member's name
        const YAJL_Array_Guard array(gen);
        for (const MySQL_Backup_File& file : files) {
            const YAJL_Map_Guard map(gen);
            gen << "database"_key << file.database;
            gen << "vc_name"_key << file.vc_name;
            gen << "file"_key << file.file;
        }
    }
    write_filled(gen, "start_gtids"_key, start_gtids);
    write_filled(gen, "end_gtids"_key, end_gtids);
    return true;
}

void MySQL_Backup_Set::add_file(const std::string& database, const std::string& file, const std::string* vc_name)
{
    files.push_back({database, file, vc_name != nullptr ? *vc_name : std::string()});
}

void MySQL_Backup_Set::add_file(const std::string& file)
{
    files.push_back({{}, file, {}});
}
