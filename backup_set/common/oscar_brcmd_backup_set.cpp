#include "backup_set/common/oscar_brcmd_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/select_columns.h"

namespace {

using namespace column_intake;
using Set = Oscar_Brcmd_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"backup_id", into<&Set::backup_id>},
    {"last_backup_id", into<&Set::last_backup_id>},
    {"last_full_backup_id", into<&Set::last_full_backup_id>},
    {"backup_file", into<&Set::backup_file>},
});

constexpr auto integer_intake = integer_columns<Set>({
    {"backup_lsn", into<&Set::backup_lsn>},
    {"backup_scn", into<&Set::backup_scn>},
    {"last_backup_lsn", into<&Set::last_backup_lsn>},
    {"last_backup_scn", into<&Set::last_backup_scn>},
    {"last_full_backup_lsn", into<&Set::last_full_backup_lsn>},
    {"last_full_backup_scn", into<&Set::last_full_backup_scn>},
});

} // namespace

Oscar_Brcmd_Backup_Set::Oscar_Brcmd_Backup_Set() : Backup_Set("oscar_brcmd") {}

void Oscar_Brcmd_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    add_columns(sql, "brcmd",
                {"backup_id", "last_backup_id", "last_full_backup_id", "backup_file", "backup_lsn", "backup_scn",
                 "last_backup_lsn", "last_backup_scn", "last_full_backup_lsn", "last_full_backup_scn"});
    sql.join("oscar_brcmd_backup_set", "brcmd", "uuid=brcmd.set_uuid");
}

bool Oscar_Brcmd_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool Oscar_Brcmd_Backup_Set::print_int(int index, const char* key, ACE_INT64 value)
{
    const auto done = integer_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_int(index, key, value);
}

bool Oscar_Brcmd_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "backup_id"_key << backup_id;
    gen << "last_backup_id"_key << last_backup_id;
    gen << "last_full_backup_id"_key << last_full_backup_id;
    gen << "backup_file"_key << backup_file;
    gen << "backup_lsn"_key << backup_lsn;
    gen << "backup_scn"_key << backup_scn;
    gen << "last_backup_lsn"_key << last_backup_lsn;
    gen << "last_backup_scn"_key << last_backup_scn;
    gen << "last_full_backup_lsn"_key << last_full_backup_lsn;
    gen << "last_full_backup_scn"_key << last_full_backup_scn;
    return true;
}
