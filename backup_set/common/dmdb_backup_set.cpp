#include "backup_set/common/dmdb_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/select_columns.h"
#include "backup_set/common/write_texts.h"

namespace {

using namespace column_intake;
using Set = DMDB_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"object", into<&Set::object>},
    {"compression", into<&Set::compression>},
    {"backup_set", into<&Set::backup_set>},
    {"backup_base", into<&Set::backup_base>},
});

constexpr auto integer_intake = integer_columns<Set>({
    {"seq", into<&Set::seq>},
    {"backup_version", into<&Set::backup_version>},
    {"arch_log_start", into<&Set::arch_log_start>},
    {"arch_log_end", into<&Set::arch_log_end>},
    {"permanent_db_magic", into<&Set::permanent_db_magic>},
    {"db_magic", into<&Set::db_magic>},
    {"case_sensitive", into<&Set::case_sensitive>},
    {"unicode_flag", into<&Set::unicode_flag>},
    {"page_size", into<&Set::page_size>},
    {"extent_size", into<&Set::extent_size>},
});

} // namespace

DMDB_Backup_Set::DMDB_Backup_Set() : Backup_Set("dmdb") {}

void DMDB_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    add_columns(sql, "dm",
                {"seq", "backup_version", "object", "compression", "backup_set", "backup_base", "arch_log_start",
                 "arch_log_end", "permanent_db_magic", "db_magic", "case_sensitive", "unicode_flag", "page_size",
                 "extent_size"});
    sql.join("dmdb_backup_set", "dm", "uuid=dm.set_uuid");
}

bool DMDB_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool DMDB_Backup_Set::print_int(int index, const char* key, ACE_INT64 value)
{
    const auto done = integer_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_int(index, key, value);
}

bool DMDB_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "seq"_key << seq;
    gen << "backup_version"_key << backup_version;
    gen << "object"_key << object;
    gen << "compression"_key << compression;
    gen << "backup_set"_key << backup_set;
    gen << "backup_base"_key << backup_base;
    gen << "arch_log_start"_key << arch_log_start;
    gen << "arch_log_end"_key << arch_log_end;
    gen << "permanent_db_magic"_key << permanent_db_magic;
    gen << "db_magic"_key << db_magic;
    gen << "case_sensitive"_key << case_sensitive;
    gen << "unicode_flag"_key << unicode_flag;
    gen << "page_size"_key << page_size;
    gen << "extent_size"_key << extent_size;
    gen << "backup_files"_key;
    write_texts(gen, files);
    return true;
}
