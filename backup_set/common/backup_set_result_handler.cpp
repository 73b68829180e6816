#include "backup_set/common/backup_set_result_handler.h"

#include "backup_set/common/backup_piece.h"
#include "backup_set/common/backup_set_state.h"
#include "backup_set/common/backup_set_storage.h"
#include "backup_set/common/translation_tables.h"
#include "platform/database/database_connection.h"
#include "platform/sql/filter_sql.h"
#include "platform/sql/select_sql.h"
#include "platform/text/log.h"
#include "platform/text/string_checker.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace database::sql;

constexpr Val_Trans value_tb[] = {
    translate("uuid", VTT_UUID_STR),
    translate("job_instance_uuid", VTT_UUID_STR),
    translate("definition_uuid", VTT_UUID_STR),
    translate("uid", VTT_UUID_STR),
    translate("host_uuid", VTT_UUID_STR),
    translate("resource_uuid", VTT_UUID_STR),
    translate("set_uuid", VTT_UUID_STR),
    translate("pool_uuid", VTT_UUID_STR),
    translate("upstream_pool_uuid", VTT_UUID_STR),
    translate("incarnation", VTT_UUID_STR),
    translate("resource_tree", VTT_JSON_VAL),
    translate("extended_attrs", VTT_JSON_VAL),
    translate("backup_server_uuid", VTT_UUID_STR),
    translate("tablespaces", VTT_JSON_VAL),
    val_trans_end,
};

bool is_bad(const char* name)
{
    return name == nullptr || *name == '\0';
}

// Composed once; each row copies the statement (which is shared) and binds its own value.
const Select_SQL& storages_of_set()
{
    static const Select_SQL sql = Select_SQL()
                                      .table("backup_set_storage")
                                      .select("pool_uuid,state,size,upstream_pool_uuid")
                                      .where("set_uuid=:set_uuid");
    return sql;
}

const Select_SQL& pieces_of_set()
{
    static const Select_SQL sql =
        Select_SQL().table("backup_piece").select("object,size,path").where("set_uuid=:set_uuid");
    return sql;
}

const Select_SQL& media_tags_of_storage()
{
    static const Select_SQL sql =
        Select_SQL().table("backup_set_media").select("media_tag").where("set_storage_id=:set_storage_id");
    return sql;
}

std::vector<std::string> texts(const json_spirit::Array& values)
{
    std::vector<std::string> result;
    for (const json_spirit::Value& value : values) {
        if (const std::string* text = value.if_str()) {
            result.push_back(*text);
        }
    }
    return result;
}

} // namespace

Backup_Set_Result_Handler::Backup_Set_Result_Handler(const Key_Trans* keys, const Val_Trans* values,
                                                     const json_spirit::Array* pool_uuids, ACE_INT64 flags) :
    Query_Result_Handler(keys != nullptr ? keys : no_key_trans, values != nullptr ? values : value_tb),
    pool_uuids_(pool_uuids), flags_(flags)
{}

bool Backup_Set_Result_Handler::handle_binary_i(Database_Connection& connection, int index, const char* name,
                                                const char* value, std::size_t length, Query_Result_Printer& printer)
{
    if (is_bad(name)) {
        return log_null_or_empty("name");
    }
    const std::string_view key(name);
    if (key == "storages") {
        const Printer_Array_Guard array(printer, index, name);
        Select_SQL sql = storages_of_set();
        sql.bind(":set_uuid", Binding_Value(value, length));
        if (pool_uuids_ != nullptr) {
            Where_SQL in_pools;
            Filter_SQL::add_in_uuid_item(in_pools, "pool_uuid", texts(*pool_uuids_));
            sql.where(in_pools);
        }
        return connection.query_and_print(sql, printer, GM_ORM_ROWS, Backup_Set_Storage::result_handler());
    }
    if (key == "pieces") {
        const Printer_Array_Guard array(printer, index, name);
        Select_SQL sql = pieces_of_set();
        sql.bind(":set_uuid", Binding_Value(value, length));
        return connection.query_and_print(sql, printer, GM_ORM_ROWS, Backup_Piece::result_handler());
    }
    return false;
}

bool Backup_Set_Result_Handler::handle_integer_i(Database_Connection& connection, int index, const char* name,
                                                 ACE_INT64 value, Query_Result_Printer& printer)
{
    if (is_bad(name)) {
        return log_null_or_empty("name");
    }
    const std::string_view key(name);
    if (key == "state") {
        return printer.print_json(index, "state", Backup_Set_State(static_cast<ACE_UINT64>(value)).states());
    }
    if (key == "media_tags") {
        const Printer_Array_Guard array(printer, index, name);
        Select_SQL sql = media_tags_of_storage();
        sql.bind(":set_storage_id", value);
        connection.query_and_print(sql, printer, GM_FIRST_COL);
        return true; // meant: a failed look-up of the tags leaves the array empty (the connection has logged it)
    }
    return false;
}

bool Backup_Set_Result_Handler::handle_string_i(Database_Connection&, int index, const char* name, const char* value,
                                                std::size_t length, Query_Result_Printer& printer)
{
    if ((flags_ & VF_WEBSVC) == 0) {
        return false;
    }
    const std::string_view key(name == nullptr ? "" : name);
    if (key != "name" && key != "minor_resource_name") {
        return false;
    }
    std::string text(value, length);
    if (String_Checker::check(text, String_Checker::SAFE_NAME)) {
        return false;
    }
    const auto is_unsafe = [](char c) {
        return String_Checker::unsafe_name_characters.find(c) != std::string_view::npos;
    };
    std::replace_if(text.begin(), text.end(), is_unsafe, ' ');
    return printer.print_cstr(index, name, text.c_str(), text.size());
}
