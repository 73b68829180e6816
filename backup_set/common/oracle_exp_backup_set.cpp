#include "backup_set/common/oracle_exp_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/select_columns.h"

namespace {

using namespace column_intake;
using Set = Oracle_Exp_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"exp_type", into<&Set::exp_type>},
    {"exp_mode", into<&Set::exp_mode>},
    {"object_name", into<&Set::object_name>},
    {"database", into<&Set::database>},
});

} // namespace

Oracle_Exp_Backup_Set::Oracle_Exp_Backup_Set() : Backup_Set("oracle_exp") {}

void Oracle_Exp_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    add_columns(sql, "o", {"exp_type", "exp_mode", "object_name", "database"});
    sql.join("oracle_exp_backup_set", "o", "uuid=o.set_uuid");
}

bool Oracle_Exp_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool Oracle_Exp_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "exp_type"_key << exp_type;
    gen << "exp_mode"_key << exp_mode;
    gen << "object_name"_key << object_name;
    gen << "database"_key << database;
    return true;
}
