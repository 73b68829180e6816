// Looking up many rows by their keys with one statement, and several such look-ups in one trip to the server.
#pragma once

#include "platform/database/database_connection.h"
#include "platform/database/query_result_printer.h"
#include "platform/sql/select_sql.h"
#include "platform/text/uuid.h"

#include <array>
#include <memory>
#include <span>
#include <vector>

namespace catalog {

/// A select that takes the rows whose `column` is one of the given UUIDs. Constant once it is made, and then thread-safe:
/// meant to be made once for all.
class Keyed_Select
{
public:
    Keyed_Select(const Select_SQL& select, const char* column);

private:
    friend class Look_Ups;

    static constexpr std::size_t sizes = 7; ///< 1, 2, 4, … keys at once

    std::array<Select_SQL, sizes> lists_; ///< a parameter for each key
    Select_SQL array_;                    ///< one parameter for all keys, which only PostgreSQL knows
};

/// Queries that are run together inside an open transaction. Serves one run; belongs to one thread.
class Look_Ups
{
public:
    explicit Look_Ups(Database_Connection& connection) : connection_(connection) {}

    /// No key, no query. Many keys may take several queries on SQLite: the rows of one key come by one of them.
    void add(const Keyed_Select& select, std::span<const UUID_Bytes> keys,
             std::unique_ptr<database::sql::Query_Result_Printer> printer);
    void add(SQL sql, std::unique_ptr<database::sql::Query_Result_Printer> printer);

    /// Runs all of them, in the order in which they were added.
    bool run() { return queries_.empty() || connection_.query_and_print(queries_); }

private:
    Database_Connection& connection_;
    std::vector<Database_Connection::Query> queries_;
    std::vector<std::unique_ptr<database::sql::Query_Result_Printer>> printers_;
};

} // namespace catalog
