#include "backup_set/common/ndmp_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/select_columns.h"

namespace {

using namespace column_intake;
using Set = NDMP_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"backup_type", into_c_string<&Set::backup_type>},
    {"compression", into_c_string<&Set::compression>},
    {"vols", into_c_string<&Set::vols>},
});

constexpr auto unsigned_intake = unsigned_columns<Set>({
    {"seq", into<&Set::seq>},
    {"level", into<&Set::level>},
});

} // namespace

NDMP_Backup_Set::NDMP_Backup_Set() :
    Backup_Set("") {} // meant: the type is empty until the agent or the catalog says it

void NDMP_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    String_Template column = column_template();
    column("n", "ndmp");
    add_columns(sql, column, "{{n}}", {"backup_type", "seq", "level", "compression", "vols"});
    sql.join("ndmp_backup_set", "ndmp", column("uuid={{n}}.set_uuid").str());
}

bool NDMP_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool NDMP_Backup_Set::print_uint(int index, const char* key, ACE_UINT64 value)
{
    const auto done = unsigned_intake.take(*this, key, value);
    return done ? *done : Query_Result_Token_Printer::print_uint(index, key, value);
}

bool NDMP_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "backup_type"_key << backup_type;
    gen << "seq"_key << seq;
    gen << "level"_key << level;
    gen << "compression"_key << compression;
    gen << "vols"_key << vols;
    return true;
}
