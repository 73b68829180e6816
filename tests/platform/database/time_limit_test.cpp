#include "tests/platform/database/database_test.h"

#include <chrono>
#include <thread>

namespace {

using namespace std::chrono_literals;

class Time_Limit : public Database_Test
{
protected:
    /// A query that would run for a very long time.
    static SQL endless()
    {
        return SQL("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1000000000000) "
                   "SELECT count(*) FROM n");
    }

    class Nothing : public database::sql::Query_Result_Token_Printer
    {
    public:
        bool print_int(int, const char*, ACE_INT64) override { return true; }
    };

    bool run(const SQL& sql)
    {
        Nothing printer;
        return connection().query_and_print(sql, printer, GM_ORM_ROWS);
    }
};

INSTANTIATE_TEST_SUITE_P(On, Time_Limit, ::testing::Values(Engine::SQLITE, Engine::POSTGRESQL), engine_name);

TEST_P(Time_Limit, ends_a_query_that_takes_longer)
{
    const Log_Capture log;
    connection().time_limit(200ms);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(run(endless()));
    const auto time = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(connection().last_error().kind, Database_Error::CANCELLED) << connection().last_error().text();
    EXPECT_GE(time, 190ms);
    EXPECT_LT(time, 20s);
}

TEST_P(Time_Limit, leaves_the_connection_usable_and_holds_for_each_operation_anew)
{
    const Log_Capture log;
    connection().time_limit(100ms);
    EXPECT_FALSE(run(endless()));
    EXPECT_TRUE(run(SQL("SELECT 1"))) << connection().last_error().text();
    EXPECT_FALSE(run(endless()));
    EXPECT_TRUE(connection().begin_read());
    EXPECT_TRUE(run(SQL("SELECT 1"))) << connection().last_error().text();
    EXPECT_TRUE(connection().commit());
}

TEST_P(Time_Limit, can_be_lifted)
{
    const Log_Capture log;
    const SQL some("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 300000) "
                   "SELECT count(*) FROM n");
    connection().time_limit(1ms);
    EXPECT_FALSE(run(some));
    connection().time_limit(0ms);
    EXPECT_TRUE(run(some)) << connection().last_error().text();
}

TEST_P(Time_Limit, undoes_what_a_late_statement_has_written)
{
    script("CREATE TABLE numbers (i BIGINT)");
    const Log_Capture log;
    connection().time_limit(200ms);
    const SQL late("INSERT INTO numbers WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n "
                   "WHERE i < 1000000000000) SELECT i FROM n");
    EXPECT_FALSE(connection().execute(late));
    EXPECT_EQ(connection().last_error().kind, Database_Error::CANCELLED) << connection().last_error().text();
    connection().time_limit(0ms);
    std::int64_t changed = -1;
    ASSERT_TRUE(connection().execute(SQL("DELETE FROM numbers"), &changed));
    EXPECT_EQ(changed, 0);
}

TEST_P(Time_Limit, holds_for_the_last_statements_of_a_transaction)
{
    script("CREATE TABLE numbers (i BIGINT)");
    const Log_Capture log;
    const auto insert = [](std::int64_t count) -> Database_Connection::Statement {
        return SQL("INSERT INTO numbers WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n "
                   "WHERE i < :count) SELECT i FROM n")
            .bind(":count", count);
    };
    const Database_Connection::Statement quick = insert(5000);
    const Database_Connection::Statement late = insert(1000000000000);
    connection().time_limit(1s);
    ASSERT_TRUE(connection().begin_write());
    EXPECT_TRUE(run(SQL("SELECT 1")));
    std::this_thread::sleep_for(1100ms); // the time of the query before does not count
    EXPECT_TRUE(connection().commit(std::span(&quick, 1))) << connection().last_error().text();
    ASSERT_TRUE(connection().begin_write());
    EXPECT_FALSE(connection().commit(std::span(&late, 1)));
    EXPECT_EQ(connection().last_error().kind, Database_Error::CANCELLED) << connection().last_error().text();
    EXPECT_EQ(rows("SELECT count(*) AS n FROM numbers"), "{0.n=i:5000}");
}

} // namespace
