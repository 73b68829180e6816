#include "backup_set/common/file_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/select_columns.h"

namespace {

using namespace column_intake;
using Set = File_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"host", into<&Set::host>}, // taken here, before the base sees it
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

File_Backup_Set::File_Backup_Set() : Backup_Set("file") {}

void File_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    String_Template column = column_template();
    column("f", "file");
    add_columns(sql, column, "{{f}}", {"seq", "channels", "hash_algorithm", "pool_type", "multidevice", "encryption"});
    // Meant: file sets share the table of another family.
    sql.join("dmdb_backup_set", "file", column("uuid={{f}}.set_uuid").str());
}

bool File_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool File_Backup_Set::print_int(int index, const char* key, ACE_INT64 value)
{
    const auto done = integer_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_int(index, key, value);
}

bool File_Backup_Set::print_bool(int index, const char* key, bool value)
{
    const auto done = boolean_intake.take(*this, key, value);
    return done ? *done : Query_Result_Token_Printer::print_bool(index, key, value);
}

bool File_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "seq"_key << seq;
    gen << "channels"_key << channels;
    gen << "hash_algorithm"_key << hash_algorithm;
    gen << "pool_type"_key << pool_type;
    gen << "multidevice"_key << multidevice;
    gen << "encryption"_key << encryption;
    return true;
}
