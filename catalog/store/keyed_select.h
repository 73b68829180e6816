// Looking up many rows by their keys with one statement.
#pragma once

#include "platform/database/database_connection.h"
#include "platform/database/query_result_printer.h"
#include "platform/sql/select_sql.h"
#include "platform/text/uuid.h"

#include <array>
#include <span>

namespace catalog {

/// A select that takes the rows whose `column` is one of the given UUIDs. Constant once it is made, and then thread-safe:
/// meant to be made once for all.
class Keyed_Select
{
public:
    Keyed_Select(const Select_SQL& select, const char* column);

    /// Runs it; no key, no query. Many keys may take several queries on SQLite: the rows of one key come by one of them.
    bool run(Database_Connection& connection, std::span<const UUID_Bytes> keys,
             database::sql::Query_Result_Printer& printer) const;

private:
    static constexpr std::size_t sizes = 7; ///< 1, 2, 4, … keys at once

    std::array<Select_SQL, sizes> lists_; ///< a parameter for each key
    Select_SQL array_;                    ///< one parameter for all keys, which only PostgreSQL knows
};

} // namespace catalog
