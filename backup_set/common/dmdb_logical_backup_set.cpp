#include "backup_set/common/dmdb_logical_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/select_columns.h"

namespace {

using namespace column_intake;
using Set = DMDB_Logical_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"backup_set", into<&Set::backup_set>},
    {"dm_type", into<&Set::dm_type>},
    {"exp_mode", into<&Set::exp_mode>},
});

constexpr auto integer_intake = integer_columns<Set>({
    {"seq", into<&Set::seq>},
    {"backup_version", into<&Set::backup_version>},
    {"case_sensitive", into<&Set::case_sensitive>},
});

} // namespace

DMDB_Logical_Backup_Set::DMDB_Logical_Backup_Set() : Backup_Set("dmdb_logical") {}

void DMDB_Logical_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    add_columns(sql, "dm", {"seq", "backup_version", "backup_set", "case_sensitive", "dm_type", "exp_mode"});
    sql.join("dmdb_logical_backup_set", "dm", "uuid=dm.set_uuid");
}

bool DMDB_Logical_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool DMDB_Logical_Backup_Set::print_int(int index, const char* key, ACE_INT64 value)
{
    const auto done = integer_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_int(index, key, value);
}

bool DMDB_Logical_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "seq"_key << seq;
    gen << "backup_version"_key << backup_version;
    gen << "backup_set"_key << backup_set;
    gen << "case_sensitive"_key << case_sensitive;
    gen << "dm_type"_key << dm_type;
    gen << "exp_mode"_key << exp_mode;
    gen << "backup_files"_key;
    const YAJL_Array_Guard array(gen);
    for (const DMDB_Backup_File& file : files) {
        const YAJL_Map_Guard map(gen);
        gen << "instance"_key << file.instance;
        gen << "file"_key << file.file;
        gen << "owner"_key << file.owner;
        gen << "schema"_key << file.schema;
        gen << "table"_key << file.table;
    }
    return true;
}
