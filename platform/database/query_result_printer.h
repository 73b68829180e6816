// Printers: who takes the columns of a query's result, one callback per value.
//
// The connection calls `begin_row`, one callback per column in column order, `end_row`, for each row. A callback's
// `key` is the column's key and lives as long as the query runs; texts end with a NUL beyond their length and live until
// the callback returns. A callback that returns false fails the query. A printer belongs to one thread at a time.
#pragma once

#include "platform/export.h"
#include "platform/json/value.h"

#include <ace/Basic_Types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace database::sql {

class BACKUP_PLATFORM_EXPORT Query_Result_Printer
{
public:
    virtual ~Query_Result_Printer() = default;

    virtual bool print_cstr(int index, const char* key, const char* value, std::size_t length) = 0;
    virtual bool print_int(int index, const char* key, ACE_INT64 value) = 0;
    virtual bool print_uint(int index, const char* key, ACE_UINT64 value) = 0;
    virtual bool print_bool(int index, const char* key, bool value) = 0;
    virtual bool print_json(int index, const char* key, const json_spirit::Value& value) = 0;
    virtual bool print_null(int index, const char* key) = 0;

    /// A floating point number; by default the same as its JSON value.
    virtual bool print_real(int index, const char* key, double value);

    /// A JSON value as text. By default it is parsed and goes to `print_json`; what does not parse goes to `print_cstr`
    /// after an error was logged.
    virtual bool print_json_text(int index, const char* key, const char* text, std::size_t length);

    virtual bool begin_row();
    virtual bool end_row();

    /// A nested array under `key`; its elements follow as rows or as single values.
    virtual bool begin_array(int index, const char* key) = 0;
    virtual bool end_array() = 0;

protected:
    /// What `print_json_text` does with a text that does not parse.
    bool print_malformed_json(int index, const char* key, const char* text, std::size_t length,
                              const std::string& error);
};

/// Opens an array of a printer and closes it at the end of the scope.
class BACKUP_PLATFORM_EXPORT Printer_Array_Guard
{
public:
    Printer_Array_Guard(Query_Result_Printer& printer, int index, const char* key);
    Printer_Array_Guard(const Printer_Array_Guard&) = delete;
    Printer_Array_Guard& operator=(const Printer_Array_Guard&) = delete;
    ~Printer_Array_Guard();

    /// False when the printer refused the array.
    bool is_open() const { return open_; }

private:
    Query_Result_Printer& printer_;
    bool open_;
};

/// A printer that knows the path of the array it is in. Its own callbacks store nothing and return true.
class BACKUP_PLATFORM_EXPORT Query_Result_Token_Printer : public Query_Result_Printer
{
public:
    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;
    bool print_uint(int index, const char* key, ACE_UINT64 value) override;
    bool print_bool(int index, const char* key, bool value) override;
    bool print_json(int index, const char* key, const json_spirit::Value& value) override;
    bool print_null(int index, const char* key) override;

    /// As the base, and what was parsed is this printer's own while `print_json` runs.
    bool print_json_text(int index, const char* key, const char* text, std::size_t length) override;

    bool begin_array(int index, const char* key) override; ///< pushes the key
    bool end_array() override;                             ///< pops it; false when no array is open

    /// The keys of the arrays that are open, outermost first; empty at the top level.
    const std::vector<std::string>& tokens() const { return tokens_; }

    /// The innermost open key, or the empty text.
    const std::string& token() const;

    /// For `print_json`: its value to move from when this printer has parsed it for this call, null when it is somebody
    /// else's. Who moves from it must be the last to look at it.
    json_spirit::Value* own_json(const json_spirit::Value& value) const
    {
        return &value == own_json_.value ? own_json_.value : nullptr;
    }

private:
    /// Of the printer that parsed it: a copy of the printer has none.
    struct Own_JSON
    {
        Own_JSON() = default;
        Own_JSON(const Own_JSON&) noexcept {}
        Own_JSON& operator=(const Own_JSON&) noexcept { return *this; } // NOLINT(bugprone-unhandled-self-assignment)

        json_spirit::Value* value = nullptr;
    };

    std::vector<std::string> tokens_;
    Own_JSON own_json_;
};

} // namespace database::sql
