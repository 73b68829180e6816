#include "catalog/store/migration.h"

#include "catalog/schema/schema.h"
#include "tests/catalog/store/catalog_test.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <span>
#include <thread>

namespace {

using namespace catalog;

class Migration_Test : public Catalog_Test
{
protected:
    static constexpr const char* first = "CREATE TABLE catalog_schema (version BIGINT PRIMARY KEY);"
                                         "CREATE TABLE thing (a BIGINT);"
                                         "INSERT INTO catalog_schema VALUES (1);"
                                         "INSERT INTO thing VALUES (7);";
    static constexpr Migration steps[] = {
        {2, "ALTER TABLE thing ADD COLUMN b BIGINT;", "ALTER TABLE thing ADD COLUMN b bigint;"},
        {3, "UPDATE thing SET b = a * 2;", "UPDATE thing SET b = a * 3;"},
        {4, "CREATE TABLE late (c BIGINT);", "CREATE TABLE late (c bigint);"},
    };

    /// A database as version 1 of the steps above left it.
    std::unique_ptr<Database_Connection> old_database()
    {
        auto connection = connect();
        if (!connection->execute_script(first)) {
            throw std::runtime_error(connection->last_error().text());
        }
        return connection;
    }

    int version(Database_Connection& connection)
    {
        int version = -1;
        Error error;
        EXPECT_TRUE(read_schema_version(connection, version, error)) << error.message;
        return version;
    }

    Error open_error()
    {
        Error error;
        EXPECT_EQ(Catalog_Store::open(url(), Catalog_Store::Schema_Policy::CREATE, error), nullptr);
        return error;
    }
};

/// What only an engine with several schemas in a database has.
class Server_Migration_Test : public Migration_Test
{};

} // namespace

CATALOG_TEST_ENGINES(Migration_Test);
INSTANTIATE_TEST_SUITE_P(engines, Server_Migration_Test, ::testing::Values(Engine::POSTGRESQL), engine_name);

TEST_P(Migration_Test, an_empty_database_gets_the_schema)
{
    const auto connection = connect();
    EXPECT_EQ(version(*connection), 0);
    EXPECT_EQ(version(store().connection()), schema_version);
    for (const Table* table : tables()) {
        EXPECT_EQ(count(table->name), std::string_view(table->name) == "catalog_schema" ? 1 : 0) << table->name;
    }
}

TEST_P(Migration_Test, a_catalog_is_opened_again_as_it_is)
{
    record(small(uuid(1)));
    EXPECT_EQ(query(open()->connection(), "SELECT count(*) FROM backup_set").at(0).at(0), "1");
}

TEST_P(Migration_Test, a_database_of_something_else_is_refused)
{
    ASSERT_TRUE(connect()->execute_script("CREATE TABLE other (a BIGINT);"));
    const Error error = open_error();
    EXPECT_EQ(error.kind, Error::SCHEMA);
    EXPECT_EQ(error.message, "the database holds tables, and none of a catalog: give the catalog an empty one");
}

TEST_P(Migration_Test, leaving_alone_neither_makes_nor_checks)
{
    Error error;
    const auto store = Catalog_Store::open(url(), Catalog_Store::Schema_Policy::LEAVE_ALONE, error);
    ASSERT_NE(store, nullptr);
    int version = -1;
    EXPECT_TRUE(store->schema_version(version, error));
    EXPECT_EQ(version, 0);
    int to = -1;
    EXPECT_TRUE(store->migrate(version, to, error)) << error.message;
    EXPECT_EQ(version, 0);
    EXPECT_EQ(to, schema_version);
    EXPECT_TRUE(store->migrate(version, to, error));
    EXPECT_EQ(version, schema_version);
    EXPECT_TRUE(store->schema_version(version, error));
    EXPECT_EQ(version, schema_version);
}

TEST_P(Migration_Test, a_newer_schema_is_refused)
{
    run("UPDATE catalog_schema SET version = 99");
    Error error = open_error();
    EXPECT_EQ(error.kind, Error::SCHEMA);
    EXPECT_EQ(error.message, "the catalog has schema version 99, this program knows up to "
                                 + std::to_string(schema_version) + ": use a newer program");
    int from = 0;
    int to = 0;
    EXPECT_FALSE(store().migrate(from, to, error));
    EXPECT_EQ(error.kind, Error::SCHEMA);
    EXPECT_EQ(version(store().connection()), 99);
}

TEST_P(Migration_Test, an_older_schema_is_refused_with_the_advice_to_migrate)
{
    Error error;
    EXPECT_FALSE(check_schema_version(0, error));
    EXPECT_EQ(error.kind, Error::SCHEMA);
    EXPECT_EQ(error.message, "the database has no catalog yet: make the schema first");
    EXPECT_FALSE(check_schema_version(schema_version - 1, error));
    EXPECT_EQ(error.message, "the catalog has schema version " + std::to_string(schema_version - 1)
                                 + ", this program works with " + std::to_string(schema_version)
                                 + ": migrate it first");
    error = {};
    EXPECT_TRUE(check_schema_version(schema_version, error));
    EXPECT_FALSE(error);
}

TEST_P(Migration_Test, a_schema_table_that_says_nothing_is_refused)
{
    run("DELETE FROM catalog_schema");
    EXPECT_EQ(open_error().message, "the table catalog_schema does not say which version the schema has");
}

TEST_P(Migration_Test, steps_are_taken_one_after_the_other)
{
    const auto connection = old_database();
    int from = -1;
    Error error;
    ASSERT_TRUE(bring_forward(*connection, steps, "no script", 3, from, error)) << error.message;
    EXPECT_EQ(from, 1);
    EXPECT_EQ(version(*connection), 3);
    EXPECT_EQ(query(*connection, "SELECT a, b FROM thing").at(0),
              (std::vector<std::string>{"7", on_postgresql() ? "21" : "14"}));
    ASSERT_TRUE(bring_forward(*connection, steps, "no script", 4, from, error)) << error.message;
    EXPECT_EQ(from, 3);
    EXPECT_EQ(version(*connection), 4);
    EXPECT_EQ(query(*connection, "SELECT count(*) FROM late").at(0).at(0), "0");
}

TEST_P(Migration_Test, steps_already_taken_are_not_taken_again)
{
    const auto connection = old_database();
    int from = -1;
    Error error;
    ASSERT_TRUE(bring_forward(*connection, steps, "no script", 4, from, error)) << error.message;
    ASSERT_TRUE(bring_forward(*connection, steps, "no script", 4, from, error)) << error.message;
    EXPECT_EQ(from, 4);
}

TEST_P(Migration_Test, a_step_that_fails_leaves_everything_as_it_was)
{
    const auto connection = old_database();
    constexpr Migration bad[] = {
        steps[0],
        {3, "UPDATE nowhere SET b = 1;", "UPDATE nowhere SET b = 1;"},
    };
    Log_Capture log;
    int from = -1;
    Error error;
    EXPECT_FALSE(bring_forward(*connection, bad, "no script", 3, from, error));
    EXPECT_EQ(error.kind, Error::DATABASE);
    EXPECT_EQ(version(*connection), 1);
    EXPECT_THROW(query(*connection, "SELECT b FROM thing"), std::runtime_error);
    EXPECT_TRUE(bring_forward(*connection, steps, "no script", 4, from, error)) << error.message;
}

TEST_P(Migration_Test, the_steps_lead_without_a_gap_to_the_present_version)
{
    int version = 1;
    for (const Migration& step : migrations()) {
        EXPECT_EQ(step.version, ++version);
    }
    EXPECT_EQ(version, schema_version);
}

TEST_P(Migration_Test, many_programs_may_start_on_an_empty_database_at_once)
{
    static_cast<void>(url());
    std::vector<std::string> failures(8);
    {
        std::vector<std::jthread> programs;
        for (std::string& failure : failures) {
            programs.emplace_back([this, &failure] {
                Error error;
                if (Catalog_Store::open(url(), Catalog_Store::Schema_Policy::CREATE, error) == nullptr) {
                    failure = error.message;
                }
            });
        }
    }
    EXPECT_EQ(failures, std::vector<std::string>(8));
    EXPECT_EQ(count("catalog_schema"), 1);
}

TEST_P(Migration_Test, many_programs_may_migrate_at_once)
{
    old_database();
    std::vector<std::string> failures(4);
    std::vector<int> versions(4);
    {
        std::vector<std::jthread> programs;
        for (std::size_t i = 0; i < failures.size(); ++i) {
            programs.emplace_back([this, &failures, &versions, i] {
                const auto connection = connect();
                Error error;
                if (!bring_forward(*connection, steps, "no script", 4, versions[i], error)) {
                    failures[i] = error.message;
                }
            });
        }
    }
    EXPECT_EQ(failures, std::vector<std::string>(4));
    std::ranges::sort(versions);
    EXPECT_EQ(versions, (std::vector<int>{1, 4, 4, 4}));
}

TEST_P(Server_Migration_Test, the_catalog_lives_in_the_first_schema_of_the_search_path)
{
    ASSERT_TRUE(connect()->execute_script("CREATE SCHEMA backups; CREATE TABLE public.other (a bigint);"));
    Error error;
    const auto store = Catalog_Store::open(url() + "&options=-c%20search_path%3Dbackups%2Cpublic",
                                           Catalog_Store::Schema_Policy::CREATE, error);
    ASSERT_NE(store, nullptr) << error.message;
    EXPECT_FALSE(store->record(small(uuid(1))).error);
    EXPECT_EQ(query(*connect(), "SELECT count(*) FROM backups.backup_set").at(0).at(0), "1");
    EXPECT_EQ(query(*connect(), "SELECT count(*) FROM pg_tables WHERE schemaname = 'public'").at(0).at(0), "1");
}

namespace {

/// A catalog as version 1 made it.
class First_Version_Test : public Migration_Test
{
protected:
    void make_first_version()
    {
        std::ifstream file(std::string(BACKUP_SET_SOURCE_DIR "/tests/catalog/store/version_1_")
                           + (on_postgresql() ? "postgresql.sql" : "sqlite.sql"));
        const std::string script{std::istreambuf_iterator<char>(file), {}};
        ASSERT_NE(script, "");
        ASSERT_TRUE(connect()->execute_script(script));
    }

    static std::unique_ptr<Catalog_Store> open_as_it_is(const std::string& url)
    {
        Error error;
        auto store = Catalog_Store::open(url, Catalog_Store::Schema_Policy::LEAVE_ALONE, error);
        EXPECT_NE(store, nullptr) << error.message;
        return store;
    }

    /// All that a schema consists of, as texts.
    static std::vector<std::vector<std::string>> whole_schema(Database_Connection& connection)
    {
        if (connection.dialect() == SQL_Dialect::SQLITE) {
            return query(connection, "SELECT type, name, tbl_name, sql FROM sqlite_master ORDER BY type, name");
        }
        std::vector<std::vector<std::string>> all;
        for (const char* question :
             {"SELECT table_name::text, ordinal_position::bigint, column_name::text, data_type::text, "
              "datetime_precision::bigint, numeric_precision::bigint, is_nullable::text, is_identity::text, "
              "column_default::text FROM information_schema.columns WHERE table_schema = 'public' ORDER BY 1, 2",
              "SELECT indexname::text, indexdef::text FROM pg_indexes WHERE schemaname = 'public' ORDER BY 1",
              "SELECT t.relname::text, c.conname::text, pg_get_constraintdef(c.oid)::text FROM pg_constraint c JOIN "
              "pg_class t ON t.oid = c.conrelid JOIN pg_namespace n ON n.oid = t.relnamespace WHERE n.nspname = "
              "'public' ORDER BY 1, 2"})
        {
            for (auto& row : query(connection, question)) {
                all.push_back(std::move(row));
            }
        }
        return all;
    }
};

} // namespace

CATALOG_TEST_ENGINES(First_Version_Test);

TEST_P(First_Version_Test, sets_of_version_1_read_as_before_after_the_migration)
{
    make_first_version();
    const std::string text =
        small(uuid(1), R"("backup_start_time":"2024-05-01 22:00:00","host":"h","parents":[")" + uuid(2)
                           + R"("],"pieces":[{"path":"p"},{"path":"q"}],"storage":{"state":["online"]})");
    {
        const auto old = open_as_it_is(url());
        ASSERT_FALSE(old->record(text).error);
        ASSERT_FALSE(old->record(small(uuid(3))).error);
    }
    EXPECT_EQ(open_error().message, "the catalog has schema version 1, this program works with "
                                        + std::to_string(schema_version) + ": migrate it first");
    int from = 0;
    int to = 0;
    Error error;
    ASSERT_TRUE(open_as_it_is(url())->migrate(from, to, error)) << error.message;
    EXPECT_EQ(from, 1);
    EXPECT_EQ(to, schema_version);
    EXPECT_EQ(document(uuid(1)), text);
    EXPECT_EQ(document(uuid(3)), small(uuid(3)));
    Set_Page page;
    ASSERT_TRUE(store().list({.host = "h", .state = "online"}, 10, {}, page, error)) << error.message;
    ASSERT_EQ(page.sets.size(), 1U);
    EXPECT_EQ(page.sets[0].piece_count, 2);
    EXPECT_EQ(store().record(text).outcome, Record_Outcome::ALREADY_THERE);
    const Write_Request commit{.operation = Write_Operation::COMMIT, .params = small(uuid(4)), .id = "1"};
    EXPECT_FALSE(store().apply(std::span(&commit, 1)).at(0).error);
}

TEST_P(First_Version_Test, a_migrated_schema_is_the_one_that_a_new_catalog_gets)
{
    make_first_version();
    int from = 0;
    int to = 0;
    Error error;
    ASSERT_TRUE(open_as_it_is(url())->migrate(from, to, error)) << error.message;
    std::optional<Temp_Dir> files;
    std::optional<Postgresql_Database> server;
    const std::string fresh_url = on_postgresql() ? server.emplace().url() : "sqlite:" + files.emplace().file("new.db");
    const auto fresh = Catalog_Store::open(fresh_url, Catalog_Store::Schema_Policy::CREATE, error);
    ASSERT_NE(fresh, nullptr) << error.message;
    const auto migrated = whole_schema(store().connection());
    EXPECT_GT(migrated.size(), 50U);
    EXPECT_EQ(migrated, whole_schema(fresh->connection()));
}
