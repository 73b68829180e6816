// What the tests of databases have in common: a fixture that runs each test on every engine, and printers that note what
// they get.
#pragma once

#include "platform/database/database_connection.h"
#include "platform/database/query_result_printer.h"
#include "platform/json/json_dump.h"
#include "tests/support/log_capture.h"
#include "tests/support/postgresql_database.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

/// Notes each callback as text: rows as "{a=s:x b=i:5}", arrays as "[...]".
class Noting_Printer : public database::sql::Query_Result_Printer
{
public:
    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override
    {
        EXPECT_EQ(value[length], '\0') << "the text under " << key << " does not end with a NUL";
        return note(index, key, "s:" + std::string(value, length));
    }
    bool print_int(int index, const char* key, ACE_INT64 value) override
    {
        return note(index, key, "i:" + std::to_string(value));
    }
    bool print_uint(int index, const char* key, ACE_UINT64 value) override
    {
        return note(index, key, "u:" + std::to_string(value));
    }
    bool print_bool(int index, const char* key, bool value) override
    {
        return note(index, key, value ? "b:true" : "b:false");
    }
    bool print_json(int index, const char* key, const json_spirit::Value& value) override
    {
        return note(index, key, "v:" + JSON_Dump(value).str());
    }
    bool print_json_text(int index, const char* key, const char* text, std::size_t length) override
    {
        EXPECT_EQ(text[length], '\0') << "the JSON under " << key << " does not end with a NUL";
        return note(index, key, "j:" + std::string(text, length));
    }
    bool print_real(int index, const char* key, double value) override
    {
        return note(index, key, "r:" + JSON_Dump(value).str());
    }
    bool print_null(int index, const char* key) override { return note(index, key, "null"); }
    bool begin_row() override
    {
        open("{");
        return true;
    }
    bool end_row() override
    {
        close("}");
        return true;
    }
    bool begin_array(int index, const char* key) override
    {
        separate();
        text_ += std::to_string(index) + '.' + key + '=';
        needs_blank_ = false;
        open("[");
        return true;
    }
    bool end_array() override
    {
        close("]");
        return true;
    }

    const std::string& text() const { return text_; }
    std::string take()
    {
        needs_blank_ = false;
        return std::move(text_);
    }

protected:
    virtual bool note(int index, const char* key, const std::string& value)
    {
        separate();
        text_ += std::to_string(index) + '.' + key + '=' + value;
        return true;
    }

private:
    void separate()
    {
        text_ += needs_blank_ ? " " : "";
        needs_blank_ = true;
    }
    void open(const char* bracket)
    {
        separate();
        text_ += bracket;
        needs_blank_ = false;
    }
    void close(const char* bracket)
    {
        text_ += bracket;
        needs_blank_ = true;
    }

    std::string text_;
    bool needs_blank_ = false;
};

enum class Engine
{
    SQLITE,
    POSTGRESQL
};

/// An empty database of the engine.
class Test_Database
{
public:
    explicit Test_Database(Engine engine)
    {
        if (engine == Engine::POSTGRESQL) {
            postgresql_.emplace();
        } else {
            dir_.emplace();
        }
    }

    std::string url() const { return postgresql_ ? postgresql_->url() : "sqlite:" + dir_->file("catalog.db"); }

private:
    std::optional<Temp_Dir> dir_;
    std::optional<Postgresql_Database> postgresql_;
};

/// Gives each test a fresh database of the engine and a connection to it.
class One_Engine_Test : public ::testing::Test
{
protected:
    explicit One_Engine_Test(Engine engine) : engine_(engine) {}

    void SetUp() override
    {
        if (engine_ == Engine::SQLITE || Postgresql_Database::available()) {
            database_.emplace(engine_);
            connection_ = open();
        } else {
            Postgresql_Database::require();
        }
    }

    // In which ways the engines differ.
    bool is_sqlite() const { return engine_ == Engine::SQLITE; }
    /// A column takes any value, whatever its declared type.
    bool has_dynamic_types() const { return is_sqlite(); }
    /// A text may hold a NUL.
    bool keeps_nul_in_text() const { return is_sqlite(); }
    /// After an error inside a transaction only its rollback is possible.
    bool error_spoils_transaction() const { return !is_sqlite(); }

    // Declared types.
    const char* time_type() const { return is_sqlite() ? "TIME_TEXT" : "timestamp(0)"; }
    const char* unsigned_type() const { return is_sqlite() ? "UNSIGNED_BIGINT" : "numeric(20,0)"; }
    const char* json_type() const { return is_sqlite() ? "JSON_TEXT" : "json"; }
    const char* uuid_type() const { return is_sqlite() ? "UUID_BLOB" : "uuid"; }
    const char* bytes_type() const { return is_sqlite() ? "BLOB" : "bytea"; }
    const char* real_type() const { return is_sqlite() ? "REAL" : "double precision"; }

    std::string url() const { return database_->url(); }
    std::unique_ptr<Database_Connection> open() const
    {
        Database_Error error;
        auto connection = Database_Connection::open(url(), &error);
        EXPECT_NE(connection, nullptr) << error.text();
        return connection;
    }
    Database_Connection& connection() const { return *connection_; }
    void disconnect() { connection_.reset(); }

    void script(const std::string& text) const
    {
        ASSERT_TRUE(connection().execute_script(text)) << connection().last_error().text();
    }

    /// A table `t` with the columns `a` (integer) and `b` (text).
    void make_table() const { script("CREATE TABLE t (a BIGINT, b TEXT)"); }

    /// Adds rows to `t`: `a` from `first` on, `b` as the decimal text of `a`.
    void add_rows(int count, int first = 1) const
    {
        Insert_SQL insert("t", {"a", "b"});
        for (int i = first; i < first + count; ++i) {
            insert.row({i, std::to_string(i)});
        }
        ASSERT_TRUE(connection().execute(insert)) << connection().last_error().text();
    }

    /// What a query prints. A failed one fails the test.
    std::string rows(const Select_SQL& sql, Generate_Mode mode = GM_ORM_ROWS,
                     database::sql::Query_Result_Handler* handler = nullptr) const
    {
        Noting_Printer printer;
        EXPECT_TRUE(connection().query_and_print(sql, printer, mode, handler)) << connection().last_error().text();
        return printer.take();
    }
    std::string rows(const SQL& sql, Generate_Mode mode = GM_ORM_ROWS,
                     database::sql::Query_Result_Handler* handler = nullptr) const
    {
        Noting_Printer printer;
        EXPECT_TRUE(connection().query_and_print(sql, printer, mode, handler)) << connection().last_error().text();
        return printer.take();
    }
    std::string rows(std::string_view sql) const { return rows(SQL(sql)); }

    /// Whether the connection still does its work.
    bool is_usable() const { return rows("SELECT 1 AS one") == "{0.one=i:1}"; }

    /// Runs a query that must fail, and gives the error. It must have been logged once.
    template <class Statement>
    Database_Error failure(const Statement& sql, database::sql::Query_Result_Printer& printer,
                           Generate_Mode mode = GM_ORM_ROWS,
                           database::sql::Query_Result_Handler* handler = nullptr) const
    {
        const Log_Capture log;
        EXPECT_FALSE(connection().query_and_print(sql, printer, mode, handler));
        EXPECT_EQ(log.count(LM_ERROR), 1u) << log.text();
        EXPECT_EQ(log.count(connection().last_error().message), 1u) << log.text();
        return connection().last_error();
    }
    template <class Statement>
    Database_Error failure(const Statement& sql) const
    {
        Noting_Printer printer;
        return failure(sql, printer);
    }

    /// The same for statements that change.
    Database_Error execute_failure(std::span<const Database_Connection::Statement> statements) const
    {
        const Log_Capture log;
        std::int64_t changed = -7;
        EXPECT_FALSE(connection().execute(statements, &changed));
        EXPECT_EQ(changed, -7) << "a failure must not count";
        EXPECT_EQ(log.count(LM_ERROR), 1u) << log.text();
        return connection().last_error();
    }
    Database_Error execute_failure(const Database_Connection::Statement& statement) const
    {
        return execute_failure(std::span(&statement, 1));
    }

private:
    Engine engine_;
    std::optional<Test_Database> database_;
    std::unique_ptr<Database_Connection> connection_;
};

/// Each test of it runs on both engines: TEST_P(…), then EVERY_ENGINE(suite).
class Database_Test : public One_Engine_Test, public ::testing::WithParamInterface<Engine>
{
protected:
    Database_Test() : One_Engine_Test(GetParam()) {}
};

inline std::string engine_name(const ::testing::TestParamInfo<Engine>& info)
{
    return info.param == Engine::SQLITE ? "sqlite" : "postgresql";
}
