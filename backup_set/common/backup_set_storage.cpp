#include "backup_set/common/backup_set_storage.h"

#include "backup_set/common/backup_set_storage_result_handler.h"
#include "backup_set/common/column_intake.h"
#include "backup_set/common/select_columns.h"
#include "platform/json/yajl_gen.h"
#include "platform/text/log.h"

namespace {

using namespace column_intake;

constexpr auto text_intake = text_columns<Backup_Set_Storage>({
    {"set_uuid", into<&Backup_Set_Storage::set_uuid>},
    {"pool_uuid", into<&Backup_Set_Storage::pool_uuid>},
    {"upstream_pool_uuid", into<&Backup_Set_Storage::upstream_pool_uuid>},
});

bool into_state(Backup_Set_Storage& storage, ACE_INT64 bits)
{
    storage.state.value = static_cast<ACE_UINT64>(bits);
    return true;
}

constexpr auto integer_intake = integer_columns<Backup_Set_Storage>({
    {"size", into<&Backup_Set_Storage::size>},
    {"state", into_state},
});

constexpr auto json_intake = json_columns<Backup_Set_Storage>({
    {"extended_attrs", into<&Backup_Set_Storage::extended_attrs>},
});

} // namespace

Backup_Set_Storage_Result_Handler Backup_Set_Storage::result_handler_;

database::sql::Query_Result_Handler* Backup_Set_Storage::result_handler()
{
    return &result_handler_;
}

void Backup_Set_Storage::init_select_sql(Select_SQL& sql, const char* alias)
{
    String_Template column = column_template();
    column("b", alias);
    sql.table("backup_set_storage", alias);
    // "id" is selected for those who read rows; a placement does not store it.
    add_columns(sql, column, "{{b}}",
                {"id", "set_uuid", "pool_uuid", "size", "state", "upstream_pool_uuid", "extended_attrs"});
}

bool Backup_Set_Storage::print_cstr(int, const char* key, const char* value, std::size_t length)
{
    return text_intake.take(*this, key, value, length).value_or(true);
}

bool Backup_Set_Storage::print_int(int, const char* key, ACE_INT64 value)
{
    return integer_intake.take(*this, key, value).value_or(true);
}

bool Backup_Set_Storage::print_json(int, const char* key, const json_spirit::Value& value)
{
    return json_intake.take(*this, key, value).value_or(true);
}

bool Backup_Set_Storage::generate(yajl_gen_t* handle)
{
    if (handle == nullptr) {
        return log_null("gen");
    }
    const YAJL_Gen gen(handle);
    const YAJL_Map_Guard map(gen);
    gen << "pool_uuid"_key << pool_uuid;
    gen << "size"_key << size;
    gen << "state"_key << state.states();
    if (!upstream_pool_uuid.empty()) {
        gen << "upstream_pool_uuid"_key << upstream_pool_uuid;
    }
    gen << "extended_attrs"_key << extended_attrs;
    return true;
}
