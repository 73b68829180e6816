#include "platform/database/database_connection.h"

#include "platform/database/detail/postgresql_connection.h"
#include "platform/database/detail/sqlite_connection.h"
#include "platform/text/log.h"

#include <string_view>

namespace {

constexpr std::string_view sqlite_scheme = "sqlite:";

std::unique_ptr<Database_Connection> open_any(const std::string& url, Database_Error& error)
{
    if (url.starts_with(sqlite_scheme)) {
        return database_detail::open_sqlite(url.substr(sqlite_scheme.size()), error);
    }
    if (url.starts_with("postgresql://") || url.starts_with("postgres://")) {
        return database_detail::open_postgresql(url, error);
    }
    // The URL is not shown: it may hold a password.
    error = Database_Error{
        Database_Error::OTHER, {}, "the database URL begins with none of sqlite:, postgresql://", {}, {}};
    log_at(LM_ERROR, "Database: %C\n", error.text().c_str());
    return nullptr;
}

} // namespace

std::unique_ptr<Database_Connection> Database_Connection::open(const std::string& url, Database_Error* error)
{
    Database_Error reason;
    auto connection = open_any(url, reason);
    if (error != nullptr) {
        *error = std::move(reason);
    }
    return connection;
}

bool Database_Connection::execute(const Statement& statement, std::int64_t* changed)
{
    return execute(std::span(&statement, 1), changed);
}

Database_Transaction::Database_Transaction(Database_Connection& connection, Mode mode) :
    connection_(connection), open_(mode == WRITE ? connection.begin_write() : connection.begin_read())
{}

Database_Transaction::~Database_Transaction()
{
    if (open_) {
        connection_.rollback();
    }
}

bool Database_Transaction::commit(std::span<const Database_Connection::Statement> statements)
{
    if (!open_) {
        return false;
    }
    open_ = false;
    return connection_.commit(statements);
}
