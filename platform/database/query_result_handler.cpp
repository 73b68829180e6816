#include "platform/database/query_result_handler.h"

#include "platform/text/uuid.h"

#include <atomic>
#include <cstring>

namespace database::sql {

namespace {

std::uint64_t next_id()
{
    static std::atomic<std::uint64_t> last = 0;
    return ++last;
}

/// The row of a translation table, or null.
template <class Row>
const Row* find(const Row* row, const char* key, std::size_t length)
{
    if (row == nullptr) {
        return nullptr;
    }
    while (row->key != nullptr && (row->len != length || std::memcmp(row->key, key, length) != 0)) {
        ++row;
    }
    return row->key != nullptr ? row : nullptr;
}

} // namespace

Query_Result_Handler::Query_Result_Handler(const Key_Trans* keys, const Val_Trans* values) :
    keys_(keys), values_(values), id_(next_id())
{}

Query_Result_Handler::~Query_Result_Handler() = default;

Query_Result_Handler::Column Query_Result_Handler::column(const char* key) const
{
    if (key == nullptr) {
        key = "";
    }
    const std::size_t length = std::strlen(key);
    const Val_Trans* const value = find(values_, key, length);
    return {key, find(keys_, key, length), value != nullptr ? value->value : VTT_NONE};
}

template <class Print>
bool Query_Result_Handler::print_keys(const Column& column, Print print)
{
    const Key_Trans* const trans = column.key_trans;
    if (trans == nullptr) {
        return print(column.key);
    }
    if ((trans->flags & KTF_SKIP) != 0) {
        return true;
    }
    if ((trans->flags & KTF_COPY) != 0 && !print(column.key)) {
        return false;
    }
    return print(trans->value != nullptr ? trans->value : column.key);
}

bool Query_Result_Handler::handle_binary(Database_Connection& connection, int index, const Column& column,
                                         const char* value, std::size_t length, Query_Result_Printer& printer)
{
    if (handle_binary_i(connection, index, column.key, value, length, printer)) {
        return true;
    }
    if (column.val_tran == VTT_UUID_STR && length == std::tuple_size_v<UUID_Bytes>) {
        char text[uuid_text_length + 1];
        write_uuid(reinterpret_cast<const unsigned char*>(value), text);
        return print_keys(column,
                          [&](const char* key) { return printer.print_cstr(index, key, text, uuid_text_length); });
    }
    return print_keys(column, [&](const char* key) { return printer.print_cstr(index, key, value, length); });
}

bool Query_Result_Handler::handle_integer(Database_Connection& connection, int index, const Column& column,
                                          ACE_INT64 value, Query_Result_Printer& printer)
{
    if (handle_integer_i(connection, index, column.key, value, printer)) {
        return true;
    }
    if (column.val_tran == VTT_BOOL) {
        return print_keys(column, [&](const char* key) { return printer.print_bool(index, key, value != 0); });
    }
    return print_keys(column, [&](const char* key) { return printer.print_int(index, key, value); });
}

bool Query_Result_Handler::handle_unsigned(Database_Connection& connection, int index, const Column& column,
                                           ACE_UINT64 value, Query_Result_Printer& printer)
{
    if (handle_integer_i(connection, index, column.key, static_cast<ACE_INT64>(value), printer)) {
        return true;
    }
    if (column.val_tran == VTT_BOOL) {
        return print_keys(column, [&](const char* key) { return printer.print_bool(index, key, value != 0); });
    }
    return print_keys(column, [&](const char* key) { return printer.print_uint(index, key, value); });
}

bool Query_Result_Handler::handle_bool(Database_Connection&, int index, const Column& column, bool value,
                                       Query_Result_Printer& printer)
{
    return print_keys(column, [&](const char* key) { return printer.print_bool(index, key, value); });
}

bool Query_Result_Handler::handle_real(Database_Connection&, int index, const Column& column, double value,
                                       Query_Result_Printer& printer)
{
    return print_keys(column, [&](const char* key) { return printer.print_real(index, key, value); });
}

bool Query_Result_Handler::handle_string(Database_Connection& connection, int index, const Column& column,
                                         const char* value, std::size_t length, Query_Result_Printer& printer)
{
    if (handle_string_i(connection, index, column.key, value, length, printer)) {
        return true;
    }
    if (column.val_tran == VTT_JSON_VAL) {
        return print_keys(column, [&](const char* key) { return printer.print_json_text(index, key, value, length); });
    }
    return print_keys(column, [&](const char* key) { return printer.print_cstr(index, key, value, length); });
}

bool Query_Result_Handler::handle_json(Database_Connection&, int index, const Column& column, const char* text,
                                       std::size_t length, Query_Result_Printer& printer)
{
    return print_keys(column, [&](const char* key) { return printer.print_json_text(index, key, text, length); });
}

bool Query_Result_Handler::handle_null(Database_Connection&, int index, const Column& column,
                                       Query_Result_Printer& printer)
{
    return print_keys(column, [&](const char* key) { return printer.print_null(index, key); });
}

bool Query_Result_Handler::handle_binary(Database_Connection& connection, int index, const char* key, const char* value,
                                         std::size_t length, Query_Result_Printer& printer)
{
    return handle_binary(connection, index, column(key), value, length, printer);
}

bool Query_Result_Handler::handle_integer(Database_Connection& connection, int index, const char* key, ACE_INT64 value,
                                          Query_Result_Printer& printer)
{
    return handle_integer(connection, index, column(key), value, printer);
}

bool Query_Result_Handler::handle_unsigned(Database_Connection& connection, int index, const char* key,
                                           ACE_UINT64 value, Query_Result_Printer& printer)
{
    return handle_unsigned(connection, index, column(key), value, printer);
}

bool Query_Result_Handler::handle_bool(Database_Connection& connection, int index, const char* key, bool value,
                                       Query_Result_Printer& printer)
{
    return handle_bool(connection, index, column(key), value, printer);
}

bool Query_Result_Handler::handle_real(Database_Connection& connection, int index, const char* key, double value,
                                       Query_Result_Printer& printer)
{
    return handle_real(connection, index, column(key), value, printer);
}

bool Query_Result_Handler::handle_string(Database_Connection& connection, int index, const char* key, const char* value,
                                         std::size_t length, Query_Result_Printer& printer)
{
    return handle_string(connection, index, column(key), value, length, printer);
}

bool Query_Result_Handler::handle_json(Database_Connection& connection, int index, const char* key, const char* text,
                                       std::size_t length, Query_Result_Printer& printer)
{
    return handle_json(connection, index, column(key), text, length, printer);
}

bool Query_Result_Handler::handle_null(Database_Connection& connection, int index, const char* key,
                                       Query_Result_Printer& printer)
{
    return handle_null(connection, index, column(key), printer);
}

bool Query_Result_Handler::handle_binary_i(Database_Connection&, int, const char*, const char*, std::size_t,
                                           Query_Result_Printer&)
{
    return false;
}

bool Query_Result_Handler::handle_integer_i(Database_Connection&, int, const char*, ACE_INT64, Query_Result_Printer&)
{
    return false;
}

bool Query_Result_Handler::handle_string_i(Database_Connection&, int, const char*, const char*, std::size_t,
                                           Query_Result_Printer&)
{
    return false;
}

} // namespace database::sql
