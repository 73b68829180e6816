// From a decoded column value to the printer or the handler.
#pragma once

#include "platform/database/query_result_handler.h"
#include "platform/database/query_result_printer.h"
#include "platform/text/uuid.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace database_detail {

using Column = database::sql::Query_Result_Handler::Column;

/// What a column's declared type makes of its values.
enum class Kind : std::uint8_t
{
    TEXT, ///< times too
    INTEGER,
    UNSIGNED,
    BOOLEAN,
    JSON,
    UUID,
    BYTES,
    REAL,
    BY_VALUE ///< no type is known: as the value is
};

/// How the columns of a result set are treated: settled once for a statement and a handler.
template <class Column_Type>
struct Result_Plan
{
    struct Entry
    {
        Column_Type type;
        Column column;
    };

    bool is_made = false;
    std::uint64_t handler_id = 0;
    std::vector<std::string> keys; ///< the engine's, where the statement does not give them
    std::vector<Entry> columns;
};

class Column_Sink
{
public:
    Column_Sink(Database_Connection& connection, database::sql::Query_Result_Printer& printer,
                database::sql::Query_Result_Handler* handler) :
        connection_(connection),
        printer_(printer), handler_(handler)
    {}

    bool has_handler() const { return handler_ != nullptr; }
    database::sql::Query_Result_Printer& printer() const { return printer_; }

    /// The translation of a column of this kind under a key.
    Column column(Kind kind, const char* key) const
    {
        using namespace database::sql;
        if (handler_ == nullptr) {
            return {key, nullptr, VTT_NONE};
        }
        Column column = handler_->column(key);
        if (kind == Kind::UUID && column.val_tran == VTT_NONE) {
            column.val_tran = VTT_UUID_STR; // no hook takes it: as text
        }
        return column;
    }

    bool text(int index, const Column& column, const char* value, std::size_t length) const
    {
        return handler_ != nullptr ? handler_->handle_string(connection_, index, column, value, length, printer_)
                                   : printer_.print_cstr(index, column.key, value, length);
    }
    bool integer(int index, const Column& column, std::int64_t value) const
    {
        return handler_ != nullptr ? handler_->handle_integer(connection_, index, column, value, printer_)
                                   : printer_.print_int(index, column.key, value);
    }
    bool unsigned_integer(int index, const Column& column, std::uint64_t value) const
    {
        return handler_ != nullptr ? handler_->handle_unsigned(connection_, index, column, value, printer_)
                                   : printer_.print_uint(index, column.key, value);
    }
    bool boolean(int index, const Column& column, bool value) const
    {
        return handler_ != nullptr ? handler_->handle_bool(connection_, index, column, value, printer_)
                                   : printer_.print_bool(index, column.key, value);
    }
    bool real(int index, const Column& column, double value) const
    {
        return handler_ != nullptr ? handler_->handle_real(connection_, index, column, value, printer_)
                                   : printer_.print_real(index, column.key, value);
    }
    bool json(int index, const Column& column, const char* text, std::size_t length) const
    {
        return handler_ != nullptr ? handler_->handle_json(connection_, index, column, text, length, printer_)
                                   : printer_.print_json_text(index, column.key, text, length);
    }
    bool uuid(int index, const Column& column, const unsigned char* bytes) const
    {
        if (handler_ != nullptr) {
            return handler_->handle_binary(connection_, index, column, reinterpret_cast<const char*>(bytes),
                                           std::tuple_size_v<UUID_Bytes>, printer_);
        }
        char text[uuid_text_length + 1];
        write_uuid(bytes, text);
        return printer_.print_cstr(index, column.key, text, uuid_text_length);
    }
    /// Like a text the bytes must end with a NUL beyond their length.
    bool bytes(int index, const Column& column, const char* value, std::size_t length) const
    {
        return handler_ != nullptr ? handler_->handle_binary(connection_, index, column, value, length, printer_)
                                   : printer_.print_cstr(index, column.key, value, length);
    }
    bool null(int index, const Column& column) const
    {
        return handler_ != nullptr ? handler_->handle_null(connection_, index, column, printer_)
                                   : printer_.print_null(index, column.key);
    }

private:
    Database_Connection& connection_;
    database::sql::Query_Result_Printer& printer_;
    database::sql::Query_Result_Handler* handler_;
};

} // namespace database_detail
