#include "backup_set/common/postgres_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/optional_keys.h"
#include "backup_set/common/select_columns.h"

namespace {

using namespace column_intake;
using Set = Postgres_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"log_branch", into<&Set::log_branch>},
    {"checkpoint_location", into<&Set::checkpoint_location>},
    {"timeline", into<&Set::timeline>},
    {"start_wal_file", into<&Set::start_wal_file>},
    {"start_wal_location", into<&Set::start_wal_location>},
    {"stop_wal_file", into<&Set::stop_wal_file>},
    {"stop_wal_location", into<&Set::stop_wal_location>},
    {"data_dir", into<&Set::data_dir>},
    {"archivelog_dir", into<&Set::archivelog_dir>},
    {"os_user", into<&Set::os_user>},
    {"suffix", into<&Set::suffix>},
    {"from_wal_location", into<&Set::from_wal_location>},
    {"grade", into<&Set::grade>},
    {"format", into<&Set::format>},
    {"flavor", into<&Set::flavor>},
    {"cluster_name", into<&Set::cluster_name>},
    {"meta_path", into<&Set::meta_path>},
    {"backup_label_time", into<&Set::backup_label_time>},
    {"mnt", into<&Set::mnt>},
});

constexpr auto integer_intake = integer_columns<Set>({
    {"seq", into<&Set::seq>},
    {"mtf", into<&Set::mtf>},
    {"channels", into<&Set::channels>},
    {"has_meta", into<&Set::has_meta>},
    {"contain_log", into<&Set::contain_log>},
    {"multi_init", into<&Set::multi_init>},
});

constexpr auto json_intake = json_columns<Set>({
    {"db_info", into<&Set::db_info>},
    {"db_size", into<&Set::db_size>},
    {"tablespace_path", into<&Set::tablespace_path>},
});

} // namespace

Postgres_Backup_Set::Postgres_Backup_Set() : Backup_Set("postgres") {}

void Postgres_Backup_Set::init_select_sql(Select_SQL& sql, const char* p, const char* ph, const char* b)
{
    Backup_Set::init_select_sql(sql, b);
    String_Template column = column_template();
    column("b", b)("p", p)("ph", ph);
    add_columns(sql, column, "{{p}}", {"seq", "db_info", "db_size", "mtf", "flavor", "grade", "format"});
    sql.join("postgres_backup_set", p, column("{{p}}.set_uuid={{b}}.uuid").str());
    add_columns(sql, column, "{{ph}}",
                {
                    "log_branch",
                    "checkpoint_location",
                    "timeline",
                    "start_wal_file",
                    "start_wal_location",
                    "stop_wal_file",
                    "stop_wal_location",
                    "data_dir",
                    "archivelog_dir",
                    "os_user",
                    "suffix",
                    "tablespace_path",
                    "from_wal_location",
                    "channels",
                    "contain_log",
                });
    sql.join("postgres_physical_set", ph, column("{{ph}}.set_uuid={{b}}.uuid").str());
}

bool Postgres_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool Postgres_Backup_Set::print_int(int index, const char* key, ACE_INT64 value)
{
    const auto done = integer_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_int(index, key, value);
}

bool Postgres_Backup_Set::print_json(int index, const char* key, const json_spirit::Value& value)
{
    const auto done = json_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_json(index, key, value);
}

bool Postgres_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "seq"_key << seq;
    gen << "mtf"_key << mtf;
    gen << "channels"_key << channels;
    gen << "has_meta"_key << has_meta;
    gen << "contain_log"_key << contain_log;
    gen << "multi_init"_key << multi_init;
    write_filled(gen, "db_info"_key, db_info);
    write_filled(gen, "db_size"_key, db_size);
    write_set_text(gen, "log_branch"_key, log_branch);
    write_set_text(gen, "checkpoint_location"_key, checkpoint_location);
    write_set_text(gen, "timeline"_key, timeline);
    write_set_text(gen, "start_wal_file"_key, start_wal_file);
    write_set_text(gen, "start_wal_location"_key, start_wal_location);
    write_set_text(gen, "stop_wal_file"_key, stop_wal_file);
    write_set_text(gen, "stop_wal_location"_key, stop_wal_location);
    write_set_text(gen, "data_dir"_key, data_dir);
    write_set_text(gen, "archivelog_dir"_key, archivelog_dir);
    write_set_text(gen, "os_user"_key, os_user);
    write_set_text(gen, "suffix"_key, suffix);
    write_set_text(gen, "from_wal_location"_key, from_wal_location);
    write_set_text(gen, "flavor"_key, flavor);
    write_set_text(gen, "grade"_key, grade);
    write_set_text(gen, "format"_key, format);
    write_set_text(gen, "cluster_name"_key, cluster_name);
    write_set_text(gen, "meta_path"_key, meta_path);
    write_set_text(gen, "mnt"_key, mnt);
    write_set_time(gen, "backup_label_time"_key, backup_label_time);
    gen << "tablespace_path"_key << tablespace_path;
    if (!files.empty()) {
        gen << "backup_files"_key;
        const YAJL_Array_Guard array(gen);
        for (const Postgres_Backup_File& file : files) {
            const YAJL_Map_Guard map(gen);
            gen << "database"_key << file.database;
            gen << "file"_key << file.file;
            gen << "schema"_key << file.schema;
            gen << "table"_key << file.table;
        }
    }
    if (!archive_logs.empty()) {
        gen << "archive_log"_key; // meant: the singular, and an object around each name
        const YAJL_Array_Guard array(gen);
        for (const std::string& name : archive_logs) {
            const YAJL_Map_Guard map(gen);
            gen << "file"_key << name;
        }
    }
    return true;
}
