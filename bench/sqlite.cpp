#include "bench/sqlite.h"

#include "bench/sides.h"

#include <type_traits>
#include <variant>

Sqlite_Database::Sqlite_Database(const std::string& path)
{
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    require(sqlite3_open_v2(path.c_str(), &database_, flags, nullptr) == SQLITE_OK, "SQLite cannot open a database");
    execute("PRAGMA foreign_keys = ON");
}

Sqlite_Database::~Sqlite_Database()
{
    sqlite3_close_v2(database_);
}

void Sqlite_Database::execute(const std::string& statements) const
{
    require(sqlite3_exec(database_, statements.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK,
            sqlite3_errmsg(database_));
}

Sqlite_Statement::Sqlite_Statement(const Sqlite_Database& database, const std::string& text) : database_(database.get())
{
    const int result = sqlite3_prepare_v3(database_, text.c_str(), static_cast<int>(text.size()),
                                          SQLITE_PREPARE_PERSISTENT, &statement_, nullptr);
    require(result == SQLITE_OK, sqlite3_errmsg(database_));
}

Sqlite_Statement::~Sqlite_Statement()
{
    sqlite3_finalize(statement_);
}

bool Sqlite_Statement::step()
{
    const int result = sqlite3_step(statement_);
    require(result == SQLITE_ROW || result == SQLITE_DONE, sqlite3_errmsg(database_));
    return result == SQLITE_ROW;
}

void Sqlite_Statement::run()
{
    step();
    sqlite3_reset(statement_);
    parameter_ = 0;
}

void Sqlite_Statement::bind(const Binding_Value& value)
{
    const auto bind = [this, at = ++parameter_](const auto& held) {
        using Held = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, std::monostate>) {
            return sqlite3_bind_null(statement_, at);
        } else if constexpr (std::is_same_v<Held, double>) {
            return sqlite3_bind_double(statement_, at, held);
        } else if constexpr (std::is_integral_v<Held>) {
            return sqlite3_bind_int64(statement_, at, static_cast<std::int64_t>(held));
        } else if constexpr (std::is_same_v<Held, std::string>) {
            return sqlite3_bind_text(statement_, at, held.data(), static_cast<int>(held.size()), SQLITE_STATIC);
        } else if constexpr (std::is_same_v<Held, Binding_Value::UUID>) {
            return sqlite3_bind_blob(statement_, at, held.data(), static_cast<int>(held.size()), SQLITE_STATIC);
        } else {
            return sqlite3_bind_blob(statement_, at, held.bytes.data(), static_cast<int>(held.bytes.size()),
                                     SQLITE_STATIC);
        }
    };
    require(std::visit(bind, value.held()) == SQLITE_OK, sqlite3_errmsg(database_));
}
