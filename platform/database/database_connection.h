// Connections to a catalog database: SQLite and PostgreSQL behind one interface.
//
// A connection belongs to one thread at a time. Operations return false on failure: the reason has been logged once, at
// LM_ERROR (but see `Expected_Constraint`), and is kept in `last_error` until the next operation; values are never part of
// it. While a query runs, its handler and its printer may only start further queries. An exception that they throw passes
// through and leaves the connection usable.
//
// A connection to a server that is lost (CONNECTION_LOST) is made anew by the next operation outside of a transaction; an
// open transaction has to be rolled back first. A SQLite file that was removed or replaced must be opened anew. On
// PostgreSQL a failed query inside a transaction leaves nothing but its rollback, while a failed `execute` undoes only
// itself, as on SQLite.
//
// How a column's value reaches the printer follows the column's declared type:
//   text -> print_cstr; time -> print_cstr ("YYYY-MM-DD HH:MM:SS", UTC); integer -> print_int; unsigned -> print_uint;
//   boolean -> print_bool; JSON -> print_json_text; UUID -> with a handler `handle_binary` with its 16 bytes, without one
//   (and after an untreated hook) print_cstr with the lower-case text; other bytes -> print_cstr with the bytes;
//   real -> print_real; NULL -> print_null.
// An expression that is not a column follows the type of its value, and so does a value in a SQLite column that its
// declared type does not fit (a text in an integer column).
#pragma once

#include "platform/database/database_error.h"
#include "platform/database/query_result_handler.h"
#include "platform/database/query_result_printer.h"
#include "platform/export.h"
#include "platform/sql/insert_sql.h"
#include "platform/sql/select_sql.h"
#include "platform/sql/sql.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <variant>

/// What a query makes of its rows.
enum Generate_Mode
{
    GM_ORM_ROWS,      ///< each row between begin_row and end_row, all columns
    GM_ORM_FIRST_ROW, ///< the same, the first row only
    GM_FIRST_COL      ///< the first column of each row, as single values without begin_row and end_row
};

namespace database::sql {
using ::Generate_Mode;
using enum ::Generate_Mode;
} // namespace database::sql

class BACKUP_PLATFORM_EXPORT Database_Connection
{
public:
    /// A statement of a batch.
    using Statement = std::variant<SQL, Insert_SQL>;

    /// "sqlite:PATH" (made when missing; PATH is taken as it stands), "sqlite::memory:", or "postgresql://…" /
    /// "postgres://…" as libpq reads it. A SQLite connection waits 5 s for a lock; "sqlite:PATH?busy_timeout=MS" says
    /// how long otherwise.
    /// On failure the result is null and `error`, when given, says why; it has been logged.
    static std::unique_ptr<Database_Connection> open(const std::string& url, Database_Error* error = nullptr);

    virtual ~Database_Connection() = default;

    virtual SQL_Dialect dialect() const = 0;

    /// Runs a SELECT and prints its rows. May be called from a handler's hook while another query of this connection
    /// runs. Memory stays bounded whatever the number of rows.
    virtual bool query_and_print(const Select_SQL& sql, database::sql::Query_Result_Printer& printer,
                                 Generate_Mode mode, database::sql::Query_Result_Handler* handler = nullptr) = 0;

    /// The same for a SELECT given as a whole statement.
    virtual bool query_and_print(const SQL& sql, database::sql::Query_Result_Printer& printer, Generate_Mode mode,
                                 database::sql::Query_Result_Handler* handler = nullptr) = 0;

    /// One of several queries.
    struct Query
    {
        SQL sql; ///< a SELECT: a Select_SQL or a whole statement
        database::sql::Query_Result_Printer* printer;
        Generate_Mode mode = GM_ORM_ROWS;
    };

    /// Runs queries inside the open transaction, in order, until one fails; what was printed before stays printed. On
    /// PostgreSQL those that are composed (Select_SQL) travel in one trip.
    virtual bool query_and_print(std::span<const Query> queries) = 0;

    /// Runs statements that give no rows, in order, all or none: inside the open transaction, or in one of its own.
    /// On PostgreSQL they travel in one trip. On success `changed` gets the number of rows inserted, updated and deleted.
    virtual bool execute(std::span<const Statement> statements, std::int64_t* changed = nullptr) = 0;
    bool execute(const Statement& statement, std::int64_t* changed = nullptr);

    /// Runs a script of several statements (DDL) as it stands, without parameters. Inside a transaction it is part of
    /// it; alone, what precedes a failed statement may stay.
    virtual bool execute_script(const std::string& script) = 0;

    // One transaction at a time. `begin_write` takes the write lock at once on SQLite, so that a later write cannot fail
    // for being late. A failed `commit` has rolled back.
    virtual bool begin_write() = 0;
    virtual bool begin_read() = 0; ///< one snapshot for several queries
    bool commit() { return commit({}); }
    virtual bool rollback() = 0;

    /// Runs the last statements of the open transaction, in order, and commits it; on PostgreSQL all in one trip. Nothing
    /// of the transaction is left when one of them fails.
    virtual bool commit(std::span<const Statement> statements) = 0;

    /// From the next operation on, a query, an `execute` or a script that takes longer is ended: CANCELLED. 0, as at
    /// first: no limit. Where the rows of a query come in portions the limit may hold for each of these.
    void time_limit(std::chrono::milliseconds limit) { time_limit_ = limit; }

    const Database_Error& last_error() const { return last_error_; }

protected:
    std::chrono::milliseconds time_limit_{0};
    /// True inside of an `Expected_Constraint`.
    bool is_constraint_expected() const { return constraint_expected_ > 0; }

    Database_Error last_error_;

private:
    friend class Expected_Constraint;

    int constraint_expected_ = 0;
};

/// For a scope, a CONSTRAINT failure is an outcome that the caller treats: `last_error` keeps it as ever, but it is logged
/// at LM_DEBUG.
class BACKUP_PLATFORM_EXPORT Expected_Constraint
{
public:
    explicit Expected_Constraint(Database_Connection& connection) : connection_(connection)
    {
        ++connection_.constraint_expected_;
    }
    Expected_Constraint(const Expected_Constraint&) = delete;
    Expected_Constraint& operator=(const Expected_Constraint&) = delete;
    ~Expected_Constraint() { --connection_.constraint_expected_; }

private:
    Database_Connection& connection_;
};

/// A transaction for a scope: rolled back at its end unless committed.
class BACKUP_PLATFORM_EXPORT Database_Transaction
{
public:
    enum Mode
    {
        WRITE,
        READ
    };

    Database_Transaction(Database_Connection& connection, Mode mode);
    Database_Transaction(const Database_Transaction&) = delete;
    Database_Transaction& operator=(const Database_Transaction&) = delete;
    ~Database_Transaction();

    bool begun() const { return open_; } ///< false: it could not begin, see last_error
    bool commit(std::span<const Database_Connection::Statement> statements = {}); ///< the last ones

private:
    Database_Connection& connection_;
    bool open_;
};
