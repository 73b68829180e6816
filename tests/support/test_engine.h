// The engines that database tests run on, each with a fresh database.
//
// SQL of a test that goes around the library (its tables, its rows) is written by these functions, with the types and
// literals that the engine calls its own.
#pragma once

#include "platform/database/database_connection.h"
#include "platform/json/value.h"
#include "tests/support/postgresql_database.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

/// What a column holds.
enum class Kind
{
    TEXT,
    TIME,
    INTEGER,
    UNSIGNED,
    BOOLEAN,
    JSON,
    UUID
};

/// The declared type of such a column.
inline std::string declared_type(Kind kind, SQL_Dialect dialect)
{
    const bool on_sqlite = dialect == SQL_Dialect::SQLITE;
    switch (kind) {
    case Kind::TEXT:
        return on_sqlite ? "TEXT" : "text";
    case Kind::TIME:
        return on_sqlite ? "TIME_TEXT" : "timestamp(0)";
    case Kind::INTEGER:
        return on_sqlite ? "BIGINT" : "bigint";
    case Kind::UNSIGNED:
        return on_sqlite ? "UNSIGNED_BIGINT" : "numeric(20,0)";
    case Kind::BOOLEAN:
        return on_sqlite ? "BOOLEAN" : "boolean";
    case Kind::JSON:
        return on_sqlite ? "JSON_TEXT" : "json";
    case Kind::UUID:
        return on_sqlite ? "UUID_BLOB" : "uuid";
    }
    return {};
}

/// A value of such a column in a statement. It is given as JSON (UUIDs and times as strings); "null" is NULL.
inline std::string sql_literal(Kind kind, const std::string& json, SQL_Dialect dialect)
{
    const bool on_sqlite = dialect == SQL_Dialect::SQLITE;
    const auto quoted = [](const std::string& text) {
        std::string literal = "'";
        for (const char c : text) {
            literal += c;
            if (c == '\'') {
                literal += c;
            }
        }
        return literal + '\'';
    };
    if (json == "null") {
        return "NULL";
    }
    if (kind == Kind::JSON) {
        return quoted(json);
    }
    json_spirit::Value value;
    if (!json_spirit::read(json, value)) {
        throw std::invalid_argument("not JSON: " + json);
    }
    switch (kind) {
    case Kind::TEXT:
    case Kind::TIME:
        return quoted(value.get_str());
    case Kind::UUID: {
        if (!on_sqlite) {
            return quoted(value.get_str());
        }
        std::string digits;
        for (const char c : value.get_str()) {
            if (c != '-') {
                digits += c;
            }
        }
        return "x'" + digits + '\'';
    }
    case Kind::INTEGER:
        return std::to_string(value.get_int64());
    case Kind::UNSIGNED: // two's complement on SQLite
        return on_sqlite ? std::to_string(static_cast<std::int64_t>(value.get_uint64()))
                         : std::to_string(value.get_uint64());
    case Kind::BOOLEAN:
        return on_sqlite ? (value.get_bool() ? "1" : "0") : (value.get_bool() ? "true" : "false");
    default:
        throw std::invalid_argument("no literal of " + json);
    }
}

/// A fresh database on an engine, with a connection to it.
class Test_Engine
{
public:
    /// Throws std::runtime_error when there is none.
    explicit Test_Engine(SQL_Dialect dialect) : dialect_(dialect)
    {
        std::string url = "sqlite::memory:";
        if (dialect == SQL_Dialect::POSTGRESQL) {
            url = server_database_.emplace().url();
        }
        connection_ = Database_Connection::open(url);
        if (connection_ == nullptr) {
            throw std::runtime_error("cannot open " + url);
        }
    }

    SQL_Dialect dialect() const { return dialect_; }
    Database_Connection& connection() { return *connection_; }

    /// Runs statements as they stand. Throws std::runtime_error when one fails.
    void run(const std::string& statements)
    {
        if (!connection_->execute_script(statements)) {
            throw std::runtime_error(connection_->last_error().text());
        }
    }

    std::string type(Kind kind) const { return declared_type(kind, dialect_); }
    std::string literal(Kind kind, const std::string& json) const { return sql_literal(kind, json, dialect_); }

private:
    SQL_Dialect dialect_;
    std::optional<Postgresql_Database> server_database_; // outlives the connection
    std::unique_ptr<Database_Connection> connection_;
};

/// For tests with the engine as their parameter:
///
///     INSTANTIATE_TEST_SUITE_P(Engines, My_Test, ::testing::ValuesIn(engines), name_of_engine);
inline constexpr SQL_Dialect engines[] = {SQL_Dialect::SQLITE, SQL_Dialect::POSTGRESQL};

inline std::string engine_name(SQL_Dialect dialect)
{
    return dialect == SQL_Dialect::SQLITE ? "sqlite" : "postgresql";
}

inline std::string name_of_engine(const ::testing::TestParamInfo<SQL_Dialect>& info)
{
    return engine_name(info.param);
}

/// A test that runs on each engine. Its `SetUp` opens the database; PostgreSQL is skipped where there is none.
class Engine_Test : public ::testing::TestWithParam<SQL_Dialect>
{
protected:
    void SetUp() override
    {
        if (GetParam() == SQL_Dialect::SQLITE || Postgresql_Database::available()) {
            engine_ = std::make_unique<Test_Engine>(GetParam());
            make_tables();
        } else {
            Postgresql_Database::require();
        }
    }

    /// Makes what the tests need in the fresh database.
    virtual void make_tables() {}

    Test_Engine& engine() { return *engine_; }
    Database_Connection& connection() { return engine_->connection(); }

private:
    std::unique_ptr<Test_Engine> engine_;
};
