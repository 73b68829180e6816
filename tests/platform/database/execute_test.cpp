#include "tests/platform/database/database_test.h"

#include <string>
#include <vector>

namespace {

using Statements = std::vector<Database_Connection::Statement>;

class Execute : public Database_Test
{
protected:
    std::string all() const { return rows(Select_SQL().table("t").select("a,b").order_by("a")); }
    std::string count() const { return rows("SELECT count(*) AS n FROM t"); }
    std::string count_and_sum() const { return rows("SELECT count(*) AS n, sum(a) AS s FROM t"); }
};

INSTANTIATE_TEST_SUITE_P(On, Execute, ::testing::Values(Engine::SQLITE, Engine::POSTGRESQL), engine_name);

} // namespace

TEST_P(Execute, statements_run_in_their_order)
{
    make_table();
    std::int64_t changed = 0;
    const Statements statements = {
        Insert_SQL("t", {"a", "b"}).row({1, "x"}).row({2, "y"}),
        SQL("UPDATE t SET b=:b WHERE a=:a").bind(":a", 1).bind(":b", "z"),
        Insert_SQL("t", {"b", "a"}).row({"w", 3}),
        SQL("DELETE FROM t WHERE a=2"),
    };
    ASSERT_TRUE(connection().execute(statements, &changed)) << connection().last_error().text();
    EXPECT_EQ(all(), "{0.a=i:1 1.b=s:z} {0.a=i:3 1.b=s:w}");
    EXPECT_EQ(changed, 5);
}

TEST_P(Execute, changed_counts_rows_of_its_own_statements_only)
{
    make_table();
    add_rows(3);
    std::int64_t changed = 0;
    EXPECT_TRUE(connection().execute(SQL("UPDATE t SET b='x' WHERE a>1"), &changed));
    EXPECT_EQ(changed, 2);
    EXPECT_TRUE(connection().execute(SQL("UPDATE t SET b='x' WHERE a>9"), &changed));
    EXPECT_EQ(changed, 0);
    EXPECT_TRUE(connection().execute(SQL("SELECT a FROM t"), &changed));
    EXPECT_EQ(changed, 0);
    EXPECT_TRUE(connection().execute(SQL("DELETE FROM t"), &changed));
    EXPECT_EQ(changed, 3);
}

TEST_P(Execute, nothing_to_do_succeeds)
{
    make_table();
    std::int64_t changed = 5;
    EXPECT_TRUE(connection().execute(Statements{}, &changed));
    EXPECT_EQ(changed, 0);
    EXPECT_TRUE(connection().execute(Insert_SQL("t", {"a"}), &changed));
    EXPECT_EQ(changed, 0);
}

TEST_P(Execute, any_number_of_rows_is_inserted_whole)
{
    make_table();
    int total = 0;
    for (const int count : {1, 2, 3, 63, 64, 65, 127, 128, 129, 255, 256, 257, 1000, 3001}) {
        add_rows(count, total + 1);
        total += count;
        EXPECT_EQ(count_and_sum(), "{0.n=i:" + std::to_string(total)
                                       + " 1.s=i:" + std::to_string(std::int64_t{total} * (total + 1) / 2) + "}")
            << count;
    }
}

TEST_P(Execute, wide_rows_are_inserted)
{
    std::string columns;
    std::vector<std::string> names;
    for (int i = 0; i < 900; ++i) {
        names.push_back("c" + std::to_string(i));
        columns += (i > 0 ? ", " : "") + names.back() + " BIGINT";
    }
    script("CREATE TABLE wide (" + columns + ")");
    Insert_SQL insert("wide", names);
    for (int row = 0; row < 200; ++row) {
        insert.row(std::vector<Binding_Value>(900, Binding_Value(row)));
    }
    std::int64_t changed = 0;
    ASSERT_TRUE(connection().execute(insert, &changed)) << connection().last_error().text();
    EXPECT_EQ(changed, 200);
    EXPECT_EQ(rows("SELECT sum(c0) AS a, sum(c899) AS b FROM wide"), "{0.a=i:19900 1.b=i:19900}");
}

TEST_P(Execute, nulls_and_values_may_alternate_in_a_column)
{
    script(std::string("CREATE TABLE k (n BIGINT, i BIGINT, t TEXT, ti ") + time_type() + ", id " + uuid_type()
           + ", by " + bytes_type() + ", b BOOLEAN, u " + unsigned_type() + ", j " + json_type() + ")");
    Insert_SQL insert("k", {"n", "i", "t", "ti", "id", "by", "b", "u", "j"});
    const Binding_Value null;
    insert.row({1, null, null, null, null, null, null, null, null});
    insert.row({2, 5, "x", "2024-01-01 00:00:00", Binding_Value("0123456789abcdef", 16), Binding_Value("b", 1), false,
                9u, "[]"});
    insert.row({3, null, "y", null, null, Binding_Value("c", 1), null, 8u, null});
    ASSERT_TRUE(connection().execute(insert)) << connection().last_error().text();
    EXPECT_EQ(rows(Select_SQL().table("k").select("i,t,ti,id,by,b,u,j").order_by("n")),
              "{0.i=null 1.t=null 2.ti=null 3.id=null 4.by=null 5.b=null 6.u=null 7.j=null} "
              "{0.i=i:5 1.t=s:x 2.ti=s:2024-01-01 00:00:00 3.id=s:30313233-3435-3637-3839-616263646566 4.by=s:b "
              "5.b=b:false 6.u=u:9 7.j=j:[]} "
              "{0.i=null 1.t=s:y 2.ti=null 3.id=null 4.by=s:c 5.b=null 6.u=u:8 7.j=null}");
}

TEST_P(Execute, failure_undoes_all_statements)
{
    script("CREATE TABLE t (a BIGINT PRIMARY KEY, b TEXT)");
    add_rows(1);
    const Statements statements = {
        Insert_SQL("t", {"a", "b"}).row({2, "y"}),
        SQL("UPDATE t SET b='changed'"),
        Insert_SQL("t", {"a", "b"}).row({3, "z"}).row({1, "again"}),
        SQL("DELETE FROM t"),
    };
    const Database_Error error = execute_failure(statements);
    EXPECT_EQ(error.kind, Database_Error::CONSTRAINT);
    EXPECT_TRUE(error.statement.starts_with(R"(INSERT INTO "t" ("a", "b") VALUES)")) << error.statement;
    EXPECT_EQ(all(), "{0.a=i:1 1.b=s:1}");
    EXPECT_TRUE(connection().execute(Insert_SQL("t", {"a"}).row({2})));
}

TEST_P(Execute, failure_inside_a_transaction_undoes_its_own_statements_only)
{
    script("CREATE TABLE t (a BIGINT PRIMARY KEY, b TEXT)");
    ASSERT_TRUE(connection().begin_write());
    add_rows(2);
    for (int turn = 0; turn < 2; ++turn) {
        const Statements statements = {Insert_SQL("t", {"a"}).row({3}), Insert_SQL("t", {"a"}).row({1})};
        EXPECT_EQ(execute_failure(statements).kind, Database_Error::CONSTRAINT);
        EXPECT_EQ(count(), "{0.n=i:2}");
    }
    add_rows(1, 3);
    ASSERT_TRUE(connection().commit());
    EXPECT_EQ(count(), "{0.n=i:3}");
}

TEST_P(Execute, statement_that_cannot_be_rendered_undoes_all)
{
    make_table();
    for (const bool in_transaction : {false, true}) {
        ASSERT_TRUE(!in_transaction || connection().begin_write());
        const Statements statements = {Insert_SQL("t", {"a"}).row({3}), SQL("DELETE FROM t; DELETE FROM t")};
        EXPECT_EQ(execute_failure(statements).kind, Database_Error::STATEMENT);
        EXPECT_EQ(execute_failure(Insert_SQL("t", {""}).row({1})).kind, Database_Error::STATEMENT);
        EXPECT_EQ(execute_failure(SQL("DELETE FROM t WHERE a=:a")).message, "the parameter :a has no value");
        EXPECT_EQ(count(), "{0.n=i:0}");
        ASSERT_TRUE(!in_transaction || connection().commit());
    }
}

TEST_P(Execute, unknown_names_fail)
{
    make_table();
    EXPECT_EQ(execute_failure(SQL("DELETE FROM nowhere")).kind, Database_Error::STATEMENT);
    EXPECT_EQ(execute_failure(Insert_SQL("t", {"nowhere"}).row({1})).kind, Database_Error::STATEMENT);
    EXPECT_EQ(execute_failure(Insert_SQL("nowhere", {"a"}).row({1})).kind, Database_Error::STATEMENT);
    EXPECT_TRUE(is_usable());
}

TEST_P(Execute, rules_of_the_schema_are_kept)
{
    script("CREATE TABLE parent (id BIGINT PRIMARY KEY); "
           "CREATE TABLE child (id BIGINT NOT NULL REFERENCES parent (id) ON DELETE CASCADE, n BIGINT CHECK (n > 0))");
    EXPECT_EQ(execute_failure(Insert_SQL("child", {"id", "n"}).row({1, 1})).kind, Database_Error::CONSTRAINT);
    ASSERT_TRUE(connection().execute(Insert_SQL("parent", {"id"}).row({1})));
    EXPECT_EQ(execute_failure(Insert_SQL("child", {"id", "n"}).row({1, 0})).kind, Database_Error::CONSTRAINT);
    EXPECT_EQ(execute_failure(Insert_SQL("child", {"id", "n"}).row({Binding_Value(), 1})).kind,
              Database_Error::CONSTRAINT);
    ASSERT_TRUE(connection().execute(Insert_SQL("child", {"id", "n"}).row({1, 1}).row({1, 2})));
    std::int64_t changed = 0;
    ASSERT_TRUE(connection().execute(SQL("DELETE FROM parent"), &changed));
    EXPECT_EQ(changed, 1) << "what goes with it does not count";
    EXPECT_EQ(rows("SELECT count(*) AS n FROM child"), "{0.n=i:0}");
}

TEST_P(Execute, conflict_clause_works)
{
    script("CREATE TABLE t (a BIGINT PRIMARY KEY, b TEXT)");
    add_rows(1);
    std::int64_t changed = 0;
    EXPECT_TRUE(connection().execute(SQL("INSERT INTO t (a, b) VALUES (1, 'x') ON CONFLICT (a) DO NOTHING"), &changed));
    EXPECT_EQ(changed, 0);
    EXPECT_TRUE(connection().execute(
        SQL("INSERT INTO t (a, b) VALUES (1, :b) ON CONFLICT (a) DO UPDATE SET b=excluded.b").bind(":b", "z"),
        &changed));
    EXPECT_EQ(changed, 1);
    EXPECT_EQ(all(), "{0.a=i:1 1.b=s:z}");
}

TEST_P(Execute, many_different_statements_are_run)
{
    make_table();
    Statements statements;
    for (int i = 0; i < 400; ++i) {
        statements.emplace_back(SQL("INSERT INTO t (a) VALUES (" + std::to_string(i) + ")"));
    }
    ASSERT_TRUE(connection().execute(statements)) << connection().last_error().text();
    ASSERT_TRUE(connection().execute(statements)) << connection().last_error().text();
    EXPECT_EQ(count_and_sum(), "{0.n=i:800 1.s=i:159600}");
}

TEST_P(Execute, what_was_executed_is_there_for_others)
{
    make_table();
    add_rows(2);
    const auto other = open();
    Noting_Printer printer;
    ASSERT_TRUE(other->query_and_print(Select_SQL().table("t").select("a").order_by("a"), printer, GM_ORM_ROWS));
    EXPECT_EQ(printer.text(), "{0.a=i:1} {0.a=i:2}");
}

TEST_P(Execute, script_runs_several_statements)
{
    script("CREATE TABLE t (a BIGINT, b TEXT); -- a comment\n"
           "INSERT INTO t VALUES (1, 'x; y');\n/* another; */ INSERT INTO t VALUES (2, 'z')");
    EXPECT_EQ(all(), "{0.a=i:1 1.b=s:x; y} {0.a=i:2 1.b=s:z}");
}

TEST_P(Execute, failed_script_says_so)
{
    make_table();
    const Log_Capture log;
    EXPECT_FALSE(connection().execute_script("INSERT INTO t VALUES (1, 'x'); INSERT INTO nowhere VALUES (1)"));
    EXPECT_EQ(connection().last_error().kind, Database_Error::STATEMENT);
    EXPECT_EQ(log.count(LM_ERROR), 1u) << log.text();
    EXPECT_FALSE(connection().execute_script("gibberish"));
    EXPECT_FALSE(connection().execute_script(std::string("SELECT 1\0; DELETE FROM t", 24)));
    EXPECT_EQ(connection().last_error().message, "a script holds a NUL");
    EXPECT_TRUE(is_usable());
}

TEST_P(Execute, failed_script_inside_a_transaction_is_rolled_back_with_it)
{
    make_table();
    ASSERT_TRUE(connection().begin_write());
    add_rows(1);
    {
        const Log_Capture log;
        EXPECT_FALSE(connection().execute_script("INSERT INTO t VALUES (2, 'x'); INSERT INTO nowhere VALUES (1)"));
    }
    ASSERT_TRUE(connection().rollback());
    EXPECT_EQ(count(), "{0.n=i:0}");
}

TEST_P(Execute, script_that_leaves_a_transaction_open_fails)
{
    make_table();
    {
        const Log_Capture log;
        EXPECT_FALSE(connection().execute_script("BEGIN; INSERT INTO t VALUES (1, 'x')"));
        EXPECT_EQ(connection().last_error().message, "the script left a transaction open");
    }
    EXPECT_EQ(count(), "{0.n=i:0}");
    EXPECT_TRUE(connection().begin_write());
    EXPECT_TRUE(connection().rollback());
}

TEST_P(Execute, script_that_ends_the_open_transaction_ends_it_for_all)
{
    make_table();
    ASSERT_TRUE(connection().begin_write());
    EXPECT_TRUE(connection().execute_script("INSERT INTO t VALUES (1, 'x'); COMMIT"));
    {
        const Log_Capture log;
        EXPECT_FALSE(connection().execute(SQL("DELETE FROM t"))) << "it would not be part of the transaction";
        EXPECT_FALSE(connection().commit());
    }
    EXPECT_EQ(count(), "{0.n=i:1}");
}

TEST_P(Execute, constraint_that_the_caller_expects_is_no_logged_error)
{
    make_table();
    script("CREATE UNIQUE INDEX only_once ON t (b)");
    const Insert_SQL twice = Insert_SQL("t", {"a", "b"}).row({1, "x"}).row({2, "x"});
    {
        const Log_Capture log;
        const Expected_Constraint expected(connection());
        {
            const Expected_Constraint inner(connection());
        }
        EXPECT_FALSE(connection().execute(twice));
        EXPECT_EQ(connection().last_error().kind, Database_Error::CONSTRAINT);
        EXPECT_FALSE(connection().last_error().message.empty());
        EXPECT_EQ(log.count(LM_ERROR, ""), 0u) << log.text();
        EXPECT_FALSE(connection().execute(SQL("INSERT INTO nowhere VALUES (1)")));
        EXPECT_EQ(log.count(LM_ERROR, ""), 1u) << "any other failure is one: " << log.text();
    }
    const Log_Capture log;
    EXPECT_FALSE(connection().execute(twice));
    EXPECT_EQ(log.count(LM_ERROR, ""), 1u) << log.text();
}
