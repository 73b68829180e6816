#include "backup_set/common/dmdb_log_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/select_columns.h"

namespace {

using namespace column_intake;
using Set = DMDB_Log_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"compression", into<&Set::compression>},
    {"backup_set", into<&Set::backup_set>},
    {"arch_start_time", into<&Set::arch_start_time>},
    {"arch_end_time", into<&Set::arch_end_time>},
});

constexpr auto integer_intake = integer_columns<Set>({
    {"seq", into<&Set::seq>},
    {"backup_version", into<&Set::backup_version>},
    {"dm_type", into<&Set::dm_type>},
    {"permanent_db_magic", into<&Set::permanent_db_magic>},
    {"db_magic", into<&Set::db_magic>},
    {"timezone_offset", into<&Set::timezone_offset>},
    {"number", into<&Set::number>},
});

constexpr auto boolean_intake = boolean_columns<Set>({
    {"active", into<&Set::active>},
});

} // namespace

DMDB_Log_Backup_Set::DMDB_Log_Backup_Set() : Backup_Set("dmdb_log") {}

void DMDB_Log_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    add_columns(sql, "dm",
                {"seq", "backup_version", "dm_type", "compression", "backup_set", "arch_start_time", "arch_end_time",
                 "permanent_db_magic", "db_magic", "timezone_offset", "number", "active"});
    sql.join("dmdb_log_backup_set", "dm", "uuid=dm.set_uuid");
}

bool DMDB_Log_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool DMDB_Log_Backup_Set::print_int(int index, const char* key, ACE_INT64 value)
{
    const auto done = integer_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_int(index, key, value);
}

bool DMDB_Log_Backup_Set::print_bool(int, const char* key, bool value)
{
    // Meant: every other flag is swallowed here.
    return boolean_intake.take(*this, key, value).value_or(true);
}

bool DMDB_Log_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "seq"_key << seq;
    gen << "backup_version"_key << backup_version;
    gen << "dm_type"_key << dm_type;
    gen << "compression"_key << compression;
    gen << "backup_set"_key << backup_set;
    gen << "arch_start_time"_key << arch_start_time;
    gen << "arch_end_time"_key << arch_end_time;
    gen << "permanent_db_magic"_key << permanent_db_magic;
    gen << "db_magic"_key << db_magic;
    gen << "timezone_offset"_key << timezone_offset;
    gen << "number"_key << number;
    gen << "active"_key << active;
    return true;
}
