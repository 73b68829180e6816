#include "backup_set/common/hive_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/select_columns.h"

namespace {

using namespace column_intake;
using Set = Hive_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"last_repl_id", into<&Set::last_repl_id>},
    {"hash_algorithm", into<&Set::hash_algorithm>},
    {"encryption", into<&Set::encryption>},
    {"pool_type", into<&Set::pool_type>},
});

constexpr auto integer_intake = integer_columns<Set>({
    {"seq", into<&Set::seq>},
    {"channels", into<&Set::channels>},
});

constexpr auto boolean_intake = boolean_columns<Set>({
    {"multidevice", into<&Set::multidevice>},
});

} // namespace

Hive_Backup_Set::Hive_Backup_Set() : Backup_Set("hive") {}

void Hive_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    String_Template column = column_template();
    column("f", alias);
    sql.table("hive_backup_set", alias); // meant: a second table under the same alias, not a join
    add_columns(sql, column, "{{f}}",
                {"last_repl_id", "seq", "channels", "hash_algorithm", "pool_type", "multidevice", "encryption"});
}

bool Hive_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool Hive_Backup_Set::print_int(int index, const char* key, ACE_INT64 value)
{
    const auto done = integer_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_int(index, key, value);
}

bool Hive_Backup_Set::print_bool(int index, const char* key, bool value)
{
    const auto done = boolean_intake.take(*this, key, value);
    return done ? *done : Query_Result_Token_Printer::print_bool(index, key, value);
}

bool Hive_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "last_repl_id"_key << last_repl_id;
    gen << "seq"_key << seq;
    gen << "channels"_key << channels;
    gen << "hash_algorithm"_key << hash_algorithm;
    gen << "pool_type"_key << pool_type;
    gen << "multidevice"_key << multidevice;
    gen << "encryption"_key << encryption;
    gen << "backup_files"_key;
    {
        const YAJL_Array_Guard array(gen);
        for (const Hive_Backup_File& file : backup_files) {
            const YAJL_Map_Guard map(gen);
            gen << "database"_key << file.database;
            gen << "dump_dir_path"_key << file.dump_dir_path;
            gen << "origin_location_path"_key << file.origin_location_path;
        }
    }
    gen << "backup_tables"_key;
    const YAJL_Array_Guard array(gen);
    for (const Hive_Backup_Table& table : backup_tables) {
        const YAJL_Map_Guard map(gen);
        gen << "database"_key << table.database;
        gen << "tablename"_key << table.tablename;
    }
    return true;
}

void Hive_Backup_Set::add_file(const std::string& database, const std::string& dump_dir_path,
                               const std::string& origin_location_path)
{
    backup_files.push_back({database, dump_dir_path, origin_location_path});
}

void Hive_Backup_Set::add_table(const std::string& database, const std::string& tablename)
{
    backup_tables.push_back({database, tablename});
}
