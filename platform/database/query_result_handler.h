// Handlers: what happens to a column's value between the database and the printer.
//
// A handler translates by two constant tables: keys (rename, copy, skip) and values (UUID bytes to text, text to JSON,
// integer to boolean). A derived handler treats columns of its own in the `_i` hooks, which are asked first. Handlers are
// constant once made and may serve several threads. The tables are not owned and must outlive the handler. The hooks get
// the column's own key, also where it is skipped or renamed. A query that fails inside a hook fails the outer query,
// whatever the hook returns. A hook may be called once more for a row that lies ahead, with a printer that drops everything, so that its sub-queries can be sent
// early: hooks must have no effect but what they print and query.
#pragma once

#include "platform/database/query_result_printer.h"
#include "platform/export.h"
#include "platform/text/key2_value.h"

#include <ace/Basic_Types.h>

#include <cstddef>
#include <cstdint>

class Database_Connection;

namespace database::sql {

enum Val_Tran_Type
{
    VTT_NONE,
    VTT_UUID_STR, ///< 16 bytes come as lower-case text; a text stays as it is
    VTT_JSON_VAL, ///< a text is JSON: it goes to `print_json_text`
    VTT_BOOL      ///< an integer goes to `print_bool`: true when not 0
};

enum Key_Trans_Flag
{
    KTF_NONE = 0,
    KTF_SKIP = 1, ///< the column is not printed
    KTF_COPY = 2  ///< the column is printed under its own key and under the other
};

/// Key translation: `value` is the other key. A row with a null key ends the table.
struct Key_Trans
{
    const char* key;
    std::size_t len;
    const char* value;
    ACE_UINT64 flags;
};

/// Value translation. A row with a null key ends the table.
struct Val_Trans
{
    const char* key;
    std::size_t len;
    Val_Tran_Type value;
    ACE_UINT64 flags;
};

class BACKUP_PLATFORM_EXPORT Query_Result_Handler
{
public:
    /// A null table translates nothing.
    explicit Query_Result_Handler(const Key_Trans* keys = nullptr, const Val_Trans* values = nullptr);
    virtual ~Query_Result_Handler();

    // One value of a column: the hook first (integers and unsigned integers have one in common); when it returns false,
    // the translation by the tables and the printer. The result is the printer's.
    bool handle_binary(Database_Connection& connection, int index, const char* key, const char* value,
                       std::size_t length, Query_Result_Printer& printer);
    bool handle_integer(Database_Connection& connection, int index, const char* key, ACE_INT64 value,
                        Query_Result_Printer& printer);
    bool handle_unsigned(Database_Connection& connection, int index, const char* key, ACE_UINT64 value,
                         Query_Result_Printer& printer);
    bool handle_bool(Database_Connection& connection, int index, const char* key, bool value,
                     Query_Result_Printer& printer);
    bool handle_real(Database_Connection& connection, int index, const char* key, double value,
                     Query_Result_Printer& printer);
    bool handle_string(Database_Connection& connection, int index, const char* key, const char* value,
                       std::size_t length, Query_Result_Printer& printer);
    bool handle_json(Database_Connection& connection, int index, const char* key, const char* text, std::size_t length,
                     Query_Result_Printer& printer);
    bool handle_null(Database_Connection& connection, int index, const char* key, Query_Result_Printer& printer);

    /// How the columns of one key are translated: settled once per result set.
    struct Column
    {
        const char* key;            ///< as selected; what the hooks get
        const Key_Trans* key_trans; ///< null: printed under `key`
        Val_Tran_Type val_tran;
    };
    Column column(const char* key) const;

    /// The same for two handlers only if they translate alike (one is a copy of the other).
    std::uint64_t id() const { return id_; }

    // The same as above with the translation settled.
    bool handle_binary(Database_Connection& connection, int index, const Column& column, const char* value,
                       std::size_t length, Query_Result_Printer& printer);
    bool handle_integer(Database_Connection& connection, int index, const Column& column, ACE_INT64 value,
                        Query_Result_Printer& printer);
    bool handle_unsigned(Database_Connection& connection, int index, const Column& column, ACE_UINT64 value,
                         Query_Result_Printer& printer);
    bool handle_bool(Database_Connection& connection, int index, const Column& column, bool value,
                     Query_Result_Printer& printer);
    bool handle_real(Database_Connection& connection, int index, const Column& column, double value,
                     Query_Result_Printer& printer);
    bool handle_string(Database_Connection& connection, int index, const Column& column, const char* value,
                       std::size_t length, Query_Result_Printer& printer);
    bool handle_json(Database_Connection& connection, int index, const Column& column, const char* text,
                     std::size_t length, Query_Result_Printer& printer);
    bool handle_null(Database_Connection& connection, int index, const Column& column, Query_Result_Printer& printer);

protected:
    // Hooks: false when the column is not treated here. The base treats none.
    virtual bool handle_binary_i(Database_Connection& connection, int index, const char* key, const char* value,
                                 std::size_t length, Query_Result_Printer& printer);
    virtual bool handle_integer_i(Database_Connection& connection, int index, const char* key, ACE_INT64 value,
                                  Query_Result_Printer& printer);
    virtual bool handle_string_i(Database_Connection& connection, int index, const char* key, const char* value,
                                 std::size_t length, Query_Result_Printer& printer);

private:
    /// Hands the value to `print` under each key that it goes out under; none when the column is skipped.
    template <class Print>
    static bool print_keys(const Column& column, Print print);

    const Key_Trans* keys_;
    const Val_Trans* values_;
    std::uint64_t id_;
};

} // namespace database::sql
