#include "tests/platform/database/database_test.h"

#include <string>

namespace {

class Transaction : public Database_Test
{
protected:
    std::string count() const { return rows("SELECT count(*) AS n FROM t"); }
    static std::string count(Database_Connection& other)
    {
        Noting_Printer printer;
        EXPECT_TRUE(other.query_and_print(SQL("SELECT count(*) AS n FROM t"), printer, GM_ORM_ROWS));
        return printer.take();
    }
    /// An operation that must fail, and what it reports.
    template <class Operation>
    Database_Error refused(Operation operation) const
    {
        const Log_Capture log;
        EXPECT_FALSE(operation());
        EXPECT_EQ(log.count(LM_ERROR), 1u) << log.text();
        return connection().last_error();
    }
};

INSTANTIATE_TEST_SUITE_P(On, Transaction, ::testing::Values(Engine::SQLITE, Engine::POSTGRESQL), engine_name);

} // namespace

TEST_P(Transaction, committed_changes_stay)
{
    make_table();
    const auto other = open();
    ASSERT_TRUE(connection().begin_write());
    add_rows(2);
    add_rows(1, 3);
    EXPECT_EQ(count(), "{0.n=i:3}");
    EXPECT_EQ(count(*other), "{0.n=i:0}") << "others see nothing yet";
    ASSERT_TRUE(connection().commit());
    EXPECT_EQ(count(*other), "{0.n=i:3}");
}

TEST_P(Transaction, changes_that_are_rolled_back_are_gone)
{
    make_table();
    add_rows(1);
    ASSERT_TRUE(connection().begin_write());
    add_rows(2, 2);
    ASSERT_TRUE(connection().rollback());
    EXPECT_EQ(count(), "{0.n=i:1}");
    add_rows(1, 2);
    EXPECT_EQ(count(), "{0.n=i:2}");
}

TEST_P(Transaction, empty_one_can_be_ended_both_ways)
{
    EXPECT_TRUE(connection().begin_write());
    EXPECT_TRUE(connection().commit());
    EXPECT_TRUE(connection().begin_write());
    EXPECT_TRUE(connection().rollback());
    EXPECT_TRUE(connection().begin_read());
    EXPECT_TRUE(connection().commit());
    EXPECT_TRUE(connection().begin_read());
    EXPECT_TRUE(connection().rollback());
    EXPECT_TRUE(is_usable());
}

TEST_P(Transaction, only_one_is_open_at_a_time)
{
    ASSERT_TRUE(connection().begin_write());
    EXPECT_EQ(refused([&] { return connection().begin_write(); }).message, "a transaction is open already");
    EXPECT_EQ(refused([&] { return connection().begin_read(); }).kind, Database_Error::STATEMENT);
    EXPECT_TRUE(connection().commit());
    EXPECT_EQ(refused([&] { return connection().commit(); }).message, "no transaction is open");
    EXPECT_EQ(refused([&] { return connection().rollback(); }).message, "no transaction is open");
}

TEST_P(Transaction, reading_sees_one_snapshot)
{
    make_table();
    add_rows(1);
    const auto other = open();
    ASSERT_TRUE(connection().begin_read());
    EXPECT_EQ(count(), "{0.n=i:1}");
    ASSERT_TRUE(other->execute(Insert_SQL("t", {"a"}).row({2})));
    EXPECT_EQ(count(), "{0.n=i:1}");
    ASSERT_TRUE(connection().commit());
    EXPECT_EQ(count(), "{0.n=i:2}");
}

TEST_P(Transaction, reading_refuses_to_write)
{
    make_table();
    ASSERT_TRUE(connection().begin_read());
    EXPECT_EQ(execute_failure(SQL("DELETE FROM t")).kind, Database_Error::READ_ONLY);
    EXPECT_EQ(refused([&] { return connection().execute_script("DELETE FROM t"); }).kind, Database_Error::READ_ONLY);
    EXPECT_EQ(failure(SQL("INSERT INTO t (a) VALUES (1) RETURNING a")).kind, Database_Error::READ_ONLY);
    EXPECT_TRUE(connection().rollback());
    EXPECT_EQ(count(), "{0.n=i:0}");
}

TEST_P(Transaction, failed_query_inside_leaves_it_to_be_rolled_back)
{
    make_table();
    ASSERT_TRUE(connection().begin_write());
    add_rows(1);
    EXPECT_EQ(failure(SQL("SELECT nowhere")).kind, Database_Error::STATEMENT);
    if (error_spoils_transaction()) {
        const std::string message = "the open transaction has come to its end by a failure and must be rolled back";
        EXPECT_EQ(failure(SQL("SELECT 1")).message, message);
        EXPECT_EQ(execute_failure(SQL("DELETE FROM t")).message, message);
        EXPECT_EQ(refused([&] { return connection().commit(); }).message, message) << "nothing of it may stay";
        EXPECT_EQ(count(), "{0.n=i:0}");
    } else {
        EXPECT_EQ(count(), "{0.n=i:1}");
        EXPECT_TRUE(connection().commit());
    }
    ASSERT_TRUE(connection().begin_write());
    failure(SQL("SELECT nowhere"));
    EXPECT_TRUE(connection().rollback());
    EXPECT_TRUE(is_usable());
}

TEST_P(Transaction, cancelled_query_inside_leaves_it_open)
{
    class Printer final : public Noting_Printer
    {
    protected:
        bool note(int, const char*, const std::string& value) override { return value != "i:150"; }
    } printer;
    make_table();
    ASSERT_TRUE(connection().begin_write());
    add_rows(1000);
    for (int turn = 0; turn < 3; ++turn) {
        const Database_Error error = failure(SQL("SELECT a FROM t ORDER BY a"), printer);
        EXPECT_EQ(error.kind, Database_Error::CANCELLED);
        EXPECT_EQ(count(), "{0.n=i:1000}");
    }
    EXPECT_TRUE(connection().commit());
    EXPECT_EQ(count(), "{0.n=i:1000}");
}

TEST_P(Transaction, deferred_rule_fails_the_commit_and_rolls_back)
{
    script("CREATE TABLE p (id BIGINT PRIMARY KEY); "
           "CREATE TABLE t (a BIGINT REFERENCES p (id) DEFERRABLE INITIALLY DEFERRED)");
    ASSERT_TRUE(connection().begin_write());
    ASSERT_TRUE(connection().execute(Insert_SQL("t", {"a"}).row({1})));
    EXPECT_EQ(refused([&] { return connection().commit(); }).kind, Database_Error::CONSTRAINT);
    EXPECT_EQ(count(), "{0.n=i:0}");
    EXPECT_EQ(execute_failure(Insert_SQL("t", {"a"}).row({1})).kind, Database_Error::CONSTRAINT);
    EXPECT_EQ(count(), "{0.n=i:0}");
    EXPECT_TRUE(connection().begin_write());
    EXPECT_TRUE(connection().commit());
}

TEST_P(Transaction, connection_that_goes_rolls_back)
{
    make_table();
    ASSERT_TRUE(connection().begin_write());
    add_rows(1);
    disconnect();
    const auto other = open();
    EXPECT_EQ(count(*other), "{0.n=i:0}");
}

TEST_P(Transaction, scope_rolls_back_unless_committed)
{
    make_table();
    {
        const Database_Transaction transaction(connection(), Database_Transaction::WRITE);
        EXPECT_TRUE(transaction.begun());
        add_rows(1);
    }
    EXPECT_EQ(count(), "{0.n=i:0}");
    {
        Database_Transaction transaction(connection(), Database_Transaction::WRITE);
        add_rows(1);
        EXPECT_TRUE(transaction.commit());
        EXPECT_FALSE(transaction.begun());
        EXPECT_FALSE(transaction.commit()) << "only once";
    }
    EXPECT_EQ(count(), "{0.n=i:1}");
    {
        const Database_Transaction transaction(connection(), Database_Transaction::READ);
        EXPECT_TRUE(transaction.begun());
        EXPECT_EQ(count(), "{0.n=i:1}");
    }
    EXPECT_TRUE(connection().begin_write());
    EXPECT_TRUE(connection().rollback());
}

TEST_P(Transaction, scope_that_could_not_begin_ends_nothing)
{
    ASSERT_TRUE(connection().begin_write());
    {
        const Log_Capture log;
        Database_Transaction transaction(connection(), Database_Transaction::WRITE);
        EXPECT_FALSE(transaction.begun());
        EXPECT_FALSE(transaction.commit());
    }
    EXPECT_TRUE(connection().commit()) << "the outer one is untouched";
}

TEST_P(Transaction, last_statements_are_committed)
{
    using Statement = Database_Connection::Statement;
    make_table();
    const auto other = open();
    ASSERT_TRUE(connection().begin_write());
    add_rows(1);
    ASSERT_TRUE(connection().commit(std::vector<Statement>{Insert_SQL("t", {"a"}).row({2}).row({3}),
                                                           SQL("DELETE FROM t WHERE a = :a").bind(":a", 1)}));
    EXPECT_EQ(rows("SELECT a FROM t ORDER BY a"), "{0.a=i:2} {0.a=i:3}");
    EXPECT_EQ(count(*other), "{0.n=i:2}");
    EXPECT_EQ(refused([&] { return connection().rollback(); }).message, "no transaction is open");
}

TEST_P(Transaction, failed_last_statement_rolls_all_back)
{
    using Statement = Database_Connection::Statement;
    script("CREATE TABLE t (a BIGINT PRIMARY KEY)");
    const std::vector<Statement> conflicting{Insert_SQL("t", {"a"}).row({2}), Insert_SQL("t", {"a"}).row({1})};
    for (int turn = 0; turn < 2; ++turn) { // the second time the statements are prepared
        ASSERT_TRUE(connection().begin_write());
        ASSERT_TRUE(connection().execute(Insert_SQL("t", {"a"}).row({1})));
        EXPECT_EQ(refused([&] { return connection().commit(conflicting); }).kind, Database_Error::CONSTRAINT);
        EXPECT_EQ(count(), "{0.n=i:0}");
        EXPECT_EQ(refused([&] { return connection().rollback(); }).message, "no transaction is open");
    }
    const std::vector<Statement> without_value{Insert_SQL("t", {"a"}).row({2}), SQL("DELETE FROM t WHERE a = :a")};
    ASSERT_TRUE(connection().begin_write());
    EXPECT_EQ(refused([&] { return connection().commit(without_value); }).kind, Database_Error::STATEMENT);
    EXPECT_EQ(count(), "{0.n=i:0}");
    EXPECT_TRUE(connection().execute(Insert_SQL("t", {"a"}).row({1})));
}

TEST_P(Transaction, reading_refuses_last_statements)
{
    make_table();
    const Database_Connection::Statement insert = Insert_SQL("t", {"a"}).row({1});
    ASSERT_TRUE(connection().begin_read());
    EXPECT_EQ(refused([&] { return connection().commit(std::span(&insert, 1)); }).kind, Database_Error::READ_ONLY);
    EXPECT_EQ(refused([&] { return connection().commit(); }).message, "no transaction is open");
    EXPECT_EQ(count(), "{0.n=i:0}");
}

TEST_P(Transaction, several_queries_print_one_after_the_other)
{
    make_table();
    add_rows(300); // more than come in one trip
    Noting_Printer few;
    Noting_Printer many;
    Noting_Printer first;
    Noting_Printer text;
    Noting_Printer bound;
    const Select_SQL all = Select_SQL().table("t").select("a").order_by("a");
    const std::vector<Database_Connection::Query> queries{
        {Select_SQL(all).where("a < 3"), &few},
        {all, &many},
        {Select_SQL(all).where("a > 7"), &first, GM_ORM_FIRST_ROW},
        {SQL("SELECT count(*) AS n FROM t"), &text},
        {Select_SQL(all).where("a = :a").bind(":a", 42), &bound},
    };
    ASSERT_TRUE(connection().begin_write());
    for (int turn = 0; turn < 2; ++turn) { // the second time it is known which one has many rows
        ASSERT_TRUE(connection().query_and_print(queries));
        EXPECT_EQ(few.take(), "{0.a=i:1} {0.a=i:2}");
        EXPECT_TRUE(many.take().ends_with("{0.a=i:299} {0.a=i:300}"));
        EXPECT_EQ(first.take(), "{0.a=i:8}");
        EXPECT_EQ(text.take(), "{0.n=i:300}");
        EXPECT_EQ(bound.take(), "{0.a=i:42}");
    }
    add_rows(1, 301);
    EXPECT_TRUE(connection().query_and_print(std::span<const Database_Connection::Query>()));
    EXPECT_TRUE(connection().commit());
    EXPECT_EQ(count(), "{0.n=i:301}");
}

TEST_P(Transaction, failed_one_of_several_queries_ends_them)
{
    make_table();
    add_rows(1);
    Noting_Printer before;
    Noting_Printer failing;
    Noting_Printer behind;
    const Select_SQL good = Select_SQL().table("t").select("a");
    const std::vector<Database_Connection::Query> queries{
        {good, &before}, {Select_SQL().table("t").select("nowhere"), &failing}, {good, &behind}};
    ASSERT_TRUE(connection().begin_write());
    add_rows(1, 2);
    const Database_Error error = refused([&] { return connection().query_and_print(queries); });
    EXPECT_EQ(error.kind, Database_Error::STATEMENT);
    EXPECT_NE(error.statement.find("nowhere"), std::string::npos) << error.statement;
    EXPECT_EQ(before.take(), "{0.a=i:1} {0.a=i:2}");
    EXPECT_EQ(behind.take(), "");
    EXPECT_TRUE(connection().rollback());
    EXPECT_EQ(count(), "{0.n=i:1}");
}

TEST_P(Transaction, several_queries_need_one)
{
    make_table();
    Noting_Printer printer;
    const Database_Connection::Query query{Select_SQL().table("t").select("a"), &printer};
    EXPECT_EQ(refused([&] { return connection().query_and_print(std::span(&query, 1)); }).message,
              "several queries need an open transaction");
    EXPECT_TRUE(is_usable());
}
