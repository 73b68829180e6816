#include "catalog/store/migration.h"

#include "catalog/schema/schema.h"
#include "tests/catalog/store/catalog_test.h"

#include <algorithm>
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
    EXPECT_FALSE(check_schema_version(schema_version - 1, error));
    EXPECT_EQ(error.kind, Error::SCHEMA);
    EXPECT_EQ(error.message, "the database has no catalog yet: make the schema first");
    EXPECT_FALSE(check_schema_version(-3, error));
    EXPECT_EQ(error.message, "the catalog has schema version -3, this program works with "
                                 + std::to_string(schema_version) + ": migrate it first");
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
