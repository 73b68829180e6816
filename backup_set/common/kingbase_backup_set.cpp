#include "backup_set/common/kingbase_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/select_columns.h"
#include "backup_set/common/write_texts.h"

namespace {

using namespace column_intake;
using Set = Kingbase_Backup_Set;

constexpr auto integer_intake = integer_columns<Set>({
    {"seq", into<&Set::seq>},
});

} // namespace

Kingbase_Backup_Set::Kingbase_Backup_Set() : Backup_Set("kingbase") {}

void Kingbase_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    add_columns(sql, "kb", {"seq"});
    sql.join("kingbase_backup_set", "kb", "uuid=kb.set_uuid");
}

bool Kingbase_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = check_key(*this, key); // no text columns of its own
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool Kingbase_Backup_Set::print_int(int index, const char* key, ACE_INT64 value)
{
    const auto done = integer_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_int(index, key, value);
}

bool Kingbase_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "seq"_key << seq;
    gen << "backup_files"_key;
    write_texts(gen, files);
    return true;
}
