// Tests of the catalog that run on every engine, each with a fresh database.
#pragma once

#include "catalog/store/catalog_store.h"
#include "tests/support/log_capture.h"
#include "tests/support/postgresql_database.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

enum class Engine
{
    SQLITE,
    POSTGRESQL
};

inline std::string engine_name(const ::testing::TestParamInfo<Engine>& info)
{
    return info.param == Engine::SQLITE ? "sqlite" : "postgresql";
}

/// The rows of a query as texts.
class Text_Rows : public database::sql::Query_Result_Token_Printer
{
public:
    bool begin_row() override
    {
        rows.emplace_back();
        return true;
    }
    bool print_cstr(int, const char*, const char* value, std::size_t length) override
    {
        return add(std::string(value, length));
    }
    bool print_int(int, const char*, ACE_INT64 value) override { return add(std::to_string(value)); }
    bool print_uint(int, const char*, ACE_UINT64 value) override { return add(std::to_string(value)); }
    bool print_bool(int, const char*, bool value) override { return add(value ? "true" : "false"); }
    bool print_json_text(int, const char*, const char* text, std::size_t length) override
    {
        return add(std::string(text, length));
    }
    bool print_null(int, const char*) override { return add("NULL"); }

    std::vector<std::vector<std::string>> rows;

private:
    bool add(std::string text)
    {
        rows.back().push_back(std::move(text));
        return true;
    }
};

class Catalog_Test : public ::testing::TestWithParam<Engine>
{
protected:
    void SetUp() override
    {
        if (on_postgresql()) {
            Postgresql_Database::require();
        }
    }

    bool on_postgresql() const { return GetParam() == Engine::POSTGRESQL; }

    /// The URL of the test's database, made at the first call.
    const std::string& url()
    {
        if (url_.empty()) {
            url_ = on_postgresql() ? server_.emplace().url() : "sqlite:" + files_.emplace().file("catalog.db");
        }
        return url_;
    }

    std::unique_ptr<Database_Connection> connect()
    {
        auto connection = Database_Connection::open(url());
        if (connection == nullptr) {
            throw std::runtime_error("cannot open " + url());
        }
        return connection;
    }

    std::unique_ptr<catalog::Catalog_Store> open()
    {
        catalog::Error error;
        auto store = catalog::Catalog_Store::open(url(), catalog::Catalog_Store::Schema_Policy::CREATE, error);
        if (store == nullptr) {
            throw std::runtime_error("cannot open " + url() + ": " + error.message);
        }
        return store;
    }

    /// The store of the test.
    catalog::Catalog_Store& store()
    {
        if (store_ == nullptr) {
            store_ = open();
        }
        return *store_;
    }

    void run(const std::string& script)
    {
        if (!store().connection().execute_script(script)) {
            throw std::runtime_error(store().connection().last_error().text());
        }
    }

    std::vector<std::vector<std::string>> query(const std::string& sql) { return query(store().connection(), sql); }

    static std::vector<std::vector<std::string>> query(Database_Connection& connection, const std::string& sql)
    {
        Text_Rows printer;
        if (!connection.query_and_print(SQL(sql), printer, GM_ORM_ROWS)) {
            throw std::runtime_error(connection.last_error().text());
        }
        return std::move(printer.rows);
    }

    std::int64_t count(const std::string& table)
    {
        return std::stoll(query("SELECT count(*) FROM " + table).at(0).at(0));
    }

    /// Records a document that must be new and valid.
    std::string record(const std::string& document)
    {
        const catalog::Record_Result result = store().record(document);
        if (result.error || result.outcome != catalog::Record_Outcome::RECORDED) {
            throw std::runtime_error("not recorded: " + result.error.message);
        }
        return result.uuid;
    }

    std::string document(const std::string& uuid)
    {
        std::string document;
        catalog::Error error;
        if (!store().document(uuid, document, error)) {
            throw std::runtime_error(error.message);
        }
        return document;
    }

    /// The refusal of a document; the catalog must be untouched.
    catalog::Error refusal(const std::string& document)
    {
        const std::int64_t before = count("backup_set");
        const catalog::Record_Result result = store().record(document);
        EXPECT_EQ(result.error.kind, catalog::Error::REFUSED) << document;
        EXPECT_EQ(result.uuid, "");
        EXPECT_EQ(count("backup_set"), before);
        return result.error;
    }

    /// A uuid with a number in it.
    static std::string uuid(unsigned number)
    {
        char text[37];
        std::snprintf(text, sizeof text, "%08x-aaaa-4bbb-8ccc-0123456789ab", number);
        return text;
    }

    /// A small valid document, with further members.
    static std::string small(const std::string& uuid, const std::string& members = {})
    {
        return R"({"catalog_module":"oracle_exp","uuid":")" + uuid + "\"" + (members.empty() ? "" : ",") + members
               + "}";
    }

private:
    std::optional<Temp_Dir> files_;
    std::optional<Postgresql_Database> server_;
    std::string url_;
    std::unique_ptr<catalog::Catalog_Store> store_; // goes before its database
};

#define CATALOG_TEST_ENGINES(fixture)                                                                                  \
    INSTANTIATE_TEST_SUITE_P(engines, fixture, ::testing::Values(Engine::SQLITE, Engine::POSTGRESQL), engine_name)
