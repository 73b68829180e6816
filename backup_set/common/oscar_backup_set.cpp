#include "backup_set/common/oscar_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/select_columns.h"

namespace {

using namespace column_intake;
using Set = Oscar_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"grade", into<&Set::grade>},
});

constexpr auto integer_intake = integer_columns<Set>({
    {"seq", into<&Set::seq>},
});

constexpr auto json_intake = json_columns<Set>({
    {"tablespaces", into<&Set::tablespaces>},
});

} // namespace

Oscar_Backup_Set::Oscar_Backup_Set() : Backup_Set("oscar") {}

void Oscar_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    // Meant: no column carries the grade.
    add_columns(sql, "oscar", {"seq", "tablespaces"});
    sql.join("oscar_backup_set", "oscar", "uuid=oscar.set_uuid");
}

bool Oscar_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool Oscar_Backup_Set::print_int(int index, const char* key, ACE_INT64 value)
{
    const auto done = integer_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_int(index, key, value);
}

bool Oscar_Backup_Set::print_json(int index, const char* key, const json_spirit::Value& value)
{
    const auto done = json_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_json(index, key, value);
}

bool Oscar_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "seq"_key << seq;
    gen << "grade"_key << grade;
    gen << "backup_files"_key;
    {
        const YAJL_Array_Guard array(gen);
        for (const Oscar_Backup_File& file : files) {
            const YAJL_Map_Guard map(gen);
            gen << "database"_key << file.database;
            gen << "file"_key << file.file;
            gen << "schema"_key << file.schema;
            gen << "tablename"_key << file.table;
        }
    }
    gen << "tablespaces"_key;
    const YAJL_Array_Guard array(gen);
    for (const json_spirit::Value& tablespace : tablespaces) {
        gen << tablespace.get_str(); // throws when it is no string; the array is closed all the same
    }
    return true;
}
