#include "backup_set/common/mongodb_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/optional_keys.h"
#include "backup_set/common/select_columns.h"

namespace {

using namespace column_intake;
using Set = MongoDB_Backup_Set;

constexpr auto integer_intake = integer_columns<Set>({
    {"seq", into<&Set::seq>},
    {"arch_log_start", into<&Set::arch_log_start>},
    {"arch_log_start_i", into<&Set::arch_log_start_i>},
    {"arch_log_end", into<&Set::arch_log_end>},
    {"arch_log_end_i", into<&Set::arch_log_end_i>},
    {"archive", into<&Set::archive>},
});

} // namespace

MongoDB_Backup_Set::MongoDB_Backup_Set() :
    Backup_Set("") {} // meant: the type is empty until the agent or the catalog says it

void MongoDB_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    add_columns(sql, "m", {"seq", "arch_log_start", "arch_log_end", "arch_log_start_i", "arch_log_end_i", "archive"});
    sql.join("mongodb_backup_set", "m", "uuid=m.set_uuid");
}

bool MongoDB_Backup_Set::print_int(int index, const char* key, ACE_INT64 value)
{
    const auto done = integer_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_int(index, key, value);
}

bool MongoDB_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "seq"_key << seq;
    write_set_number(gen, "arch_log_start"_key, arch_log_start);
    write_set_number(gen, "arch_log_start_i"_key, arch_log_start_i);
    if (arch_log_start != -1) // meant: the start decides, not the end
    {
        gen << "arch_log_end"_key << arch_log_end;
    }
    write_set_number(gen, "arch_log_end_i"_key, arch_log_end_i);
    gen << "archive"_key << archive;
    gen << "backup_files"_key;
    const YAJL_Array_Guard array(gen);
    for (const MongoDB_Backup_File& file : files) {
        const YAJL_Map_Guard map(gen);
        gen << "database"_key << file.database;
        gen << "file"_key << file.file;
        gen << "original_size"_key << file.original_size;
        gen << "backup_host_uuid"_key << file.backup_host_uuid;
        gen << "seq"_key << file.seq;
    }
    return true;
}
