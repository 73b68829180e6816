#include "backup_set/common/sharepoint_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/select_columns.h"

namespace {

using namespace column_intake;
using Set = SharePoint_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"device_uuid", into<&Set::device_uuid>},
    {"database", into<&Set::database>},
    {"domain", into<&Set::domain>},
    {"backup_method", into<&Set::backup_method>},
});

constexpr auto integer_intake = integer_columns<Set>({
    {"rev", into<&Set::rev>},
});

} // namespace

SharePoint_Backup_Set::SharePoint_Backup_Set() : Backup_Set("sharepoint") {}

void SharePoint_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    sql.add_key("s.device_uuid", "device_uuid");
    sql.add_key("s.database",
                ".database"); // meant: under this key nothing takes it, it stays empty on records read back
    add_columns(sql, "s", {"domain", "backup_method", "rev"});
    sql.join("sharepoint_backup_set", "s", "uuid=s.set_uuid");
}

bool SharePoint_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool SharePoint_Backup_Set::print_int(int index, const char* key, ACE_INT64 value)
{
    const auto done = integer_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_int(index, key, value);
}

bool SharePoint_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "device_uuid"_key << device_uuid;
    gen << "database"_key << database;
    gen << "domain"_key << domain;
    gen << "backup_method"_key << backup_method;
    gen << "rev"_key << rev;
    return true;
}
