#include "platform/text/uuid.h"
#include "tests/platform/database/database_test.h"

#include <cmath>
#include <limits>
#include <string>
#include <vector>

using namespace std::string_literals;

namespace {

class Query : public Database_Test
{};

INSTANTIATE_TEST_SUITE_P(On, Query, ::testing::Values(Engine::SQLITE, Engine::POSTGRESQL), engine_name);

constexpr const char* sample_uuid = "01234567-89ab-cdef-fedc-ba9876543210";

constexpr auto largest_signed = std::numeric_limits<std::int64_t>::max();
constexpr auto smallest_signed = std::numeric_limits<std::int64_t>::min();
constexpr auto largest_unsigned = std::numeric_limits<std::uint64_t>::max();

// Texts that end a name, a text or a statement in some language, or look as if they did.
const std::vector<std::string> hostile_texts = {
    "a\"b",
    "\"",
    "a'b",
    "'",
    "''",
    "a;b",
    "x\"; DROP TABLE t; --",
    "'; DROP TABLE t; --",
    "--",
    "/*",
    "*/",
    "a b",
    " a",
    "a.b",
    ".",
    "$1",
    ":a",
    "?",
    "\\",
    "\\'",
    "\\\"",
    "a\\",
    "`a`",
    "[a]",
    "%s",
    "%n%n%n",
    "a\nb",
    "\xc3\xa4\xe6\xbc\xa2",
    "\xf0\x9f\x92\xbe",
    "select",
    "1",
    "(",
    ")",
    ",",
    "NULL",
    "\t",
    "{\"a\":1}",
    "\x01\x7f",
};

} // namespace

TEST_P(Query, value_reaches_the_callback_of_its_declared_type)
{
    script(std::string("CREATE TABLE k (t TEXT, ti ") + time_type() + ", i BIGINT, i4 INTEGER, u " + unsigned_type()
           + ", b BOOLEAN, j " + json_type() + ", id " + uuid_type() + ", by " + bytes_type() + ", r " + real_type()
           + ")");
    Insert_SQL insert("k", {"t", "ti", "i", "i4", "u", "b", "j", "id", "by", "r"});
    insert.row({"text", "2024-02-29 23:59:58", -5, 7, 7u, true, "{\"a\": [1]}", *read_uuid(sample_uuid),
                Binding_Value("a\0b", 3), 1.5});
    ASSERT_TRUE(connection().execute(insert)) << connection().last_error().text();
    EXPECT_EQ(rows(Select_SQL().table("k").select("t,ti,i,i4,u,b,j,id,by,r")),
              "{0.t=s:text 1.ti=s:2024-02-29 23:59:58 2.i=i:-5 3.i4=i:7 4.u=u:7 5.b=b:true 6.j=j:{\"a\": [1]} "
              "7.id=s:01234567-89ab-cdef-fedc-ba9876543210 8.by=s:a\0b 9.r=r:1.5}"s);
}

TEST_P(Query, null_reaches_its_callback_whatever_the_type)
{
    script(std::string("CREATE TABLE k (t TEXT, ti ") + time_type() + ", i BIGINT, u " + unsigned_type()
           + ", b BOOLEAN, j " + json_type() + ", id " + uuid_type() + ", by " + bytes_type() + ", r " + real_type()
           + ")");
    ASSERT_TRUE(connection().execute(Insert_SQL("k", {"t", "i"}).row({Binding_Value(), Binding_Value()})));
    EXPECT_EQ(rows(Select_SQL().table("k").select("t,ti,i,u,b,j,id,by,r")),
              "{0.t=null 1.ti=null 2.i=null 3.u=null 4.b=null 5.j=null 6.id=null 7.by=null 8.r=null}");
}

TEST_P(Query, integers_are_exact_over_their_whole_range)
{
    script(std::string("CREATE TABLE k (i BIGINT, u ") + unsigned_type() + ")");
    Insert_SQL insert("k", {"i", "u"});
    insert.row({smallest_signed, 0u}).row({largest_signed, largest_unsigned}).row({0, std::uint64_t{1} << 63});
    insert.row({-1, 10000u}).row({1, 99990000u}).row({2, 100000000u});
    ASSERT_TRUE(connection().execute(insert)) << connection().last_error().text();
    EXPECT_EQ(rows(Select_SQL().table("k").select("i,u").order_by("i")),
              "{0.i=i:-9223372036854775808 1.u=u:0} {0.i=i:-1 1.u=u:10000} {0.i=i:0 1.u=u:9223372036854775808} "
              "{0.i=i:1 1.u=u:99990000} {0.i=i:2 1.u=u:100000000} "
              "{0.i=i:9223372036854775807 1.u=u:18446744073709551615}");
}

TEST_P(Query, unsigned_value_is_found_by_its_parameter)
{
    script(std::string("CREATE TABLE k (u ") + unsigned_type() + ")");
    ASSERT_TRUE(connection().execute(Insert_SQL("k", {"u"}).row({largest_unsigned}).row({5u})));
    for (const std::uint64_t value : {largest_unsigned, std::uint64_t{5}}) {
        EXPECT_EQ(rows(Select_SQL().table("k").select("u").where("u=:u").bind(":u", value)),
                  "{0.u=u:" + std::to_string(value) + "}");
    }
}

TEST_P(Query, reals_are_exact)
{
    script(std::string("CREATE TABLE k (r ") + real_type() + ")");
    const double third = 1.0 / 3;
    ASSERT_TRUE(connection().execute(Insert_SQL("k", {"r"}).row({third}).row({-0.1}).row({1e300}).row({2.0})));
    class Printer final : public Noting_Printer
    {
    public:
        bool print_real(int, const char*, double value) override
        {
            values.push_back(value);
            return true;
        }
        std::vector<double> values;
    } printer;
    ASSERT_TRUE(connection().query_and_print(Select_SQL().table("k").select("r").order_by("r"), printer, GM_ORM_ROWS));
    EXPECT_EQ(printer.values, (std::vector{-0.1, third, 2.0, 1e300}));
    EXPECT_EQ(rows(Select_SQL().table("k").select("r").where("r=:r").bind(":r", third)), "{0.r=r:0.3333333333333333}");
}

TEST_P(Query, texts_come_back_byte_for_byte)
{
    make_table();
    for (const std::string& text : hostile_texts) {
        ASSERT_TRUE(connection().execute(Insert_SQL("t", {"b"}).row({text}))) << text;
        EXPECT_EQ(rows(Select_SQL().table("t").select("b").where("b=:b").bind(":b", text)), "{0.b=s:" + text + "}");
        ASSERT_TRUE(connection().execute(SQL("DELETE FROM t WHERE b=:b").bind(":b", text))) << text;
    }
    EXPECT_EQ(rows("SELECT count(*) AS n FROM t"), "{0.n=i:0}");
}

TEST_P(Query, long_text_comes_back_whole)
{
    make_table();
    const std::string text(3000000, 'x');
    ASSERT_TRUE(connection().execute(Insert_SQL("t", {"b"}).row({text})));
    EXPECT_EQ(rows(Select_SQL().table("t").select("b")), "{0.b=s:" + text + "}");
}

TEST_P(Query, empty_text_is_not_null)
{
    make_table();
    ASSERT_TRUE(connection().execute(Insert_SQL("t", {"a", "b"}).row({1, ""}).row({2, Binding_Value()})));
    EXPECT_EQ(rows(Select_SQL().table("t").select("b").order_by("a")), "{0.b=s:} {0.b=null}");
}

TEST_P(Query, empty_bytes_are_not_null)
{
    script(std::string("CREATE TABLE k (b ") + bytes_type() + ")");
    ASSERT_TRUE(connection().execute(Insert_SQL("k", {"b"}).row({Binding_Value("", 0)})));
    EXPECT_EQ(rows(Select_SQL().table("k").select("b")), "{0.b=s:}");
}

TEST_P(Query, text_with_a_nul_is_kept_or_refused)
{
    make_table();
    const std::string text("a\0b", 3);
    if (keeps_nul_in_text()) {
        ASSERT_TRUE(connection().execute(Insert_SQL("t", {"b"}).row({text})));
        EXPECT_EQ(rows(Select_SQL().table("t").select("b").where("b=:b").bind(":b", text)), "{0.b=s:" + text + "}");
        return;
    }
    const Database_Error error = execute_failure(Insert_SQL("t", {"a", "b"}).row({1, text}));
    EXPECT_EQ(error.kind, Database_Error::CONSTRAINT);
    EXPECT_EQ(error.message, "the text for column \"b\" holds a NUL");
    EXPECT_EQ(execute_failure(SQL("UPDATE t SET b=:b").bind(":b", text)).message, "the text of :b holds a NUL");
    EXPECT_EQ(failure(Select_SQL().table("t").select("b").where("b=:b").bind(":b", text)).message,
              "the text of :b holds a NUL");
    EXPECT_TRUE(is_usable());
}

TEST_P(Query, every_text_serves_as_table_alias_column_and_key)
{
    for (const std::string& text : hostile_texts) {
        std::string name = "\"";
        for (const char c : text) {
            name += c;
            name += c == '"' ? "\"" : "";
        }
        name += '"';
        script("CREATE TABLE " + name + " (" + name + " TEXT, x TEXT)");
        ASSERT_TRUE(connection().execute(Insert_SQL(text, {text, "x"}).row({"value", "y"})))
            << connection().last_error().text();
        EXPECT_EQ(rows(Select_SQL().table(text, text).add_key(text + ".x", text)), "{0." + text + "=s:y}");
        EXPECT_EQ(
            rows(Select_SQL().table(text).add_key(name, text).where(name + "=:v").order_by(name).bind(":v", "value")),
            "{0." + text + "=s:value}");
        script("DROP TABLE " + name);
    }
}

TEST_P(Query, key_may_be_longer_than_the_engine_names_columns)
{
    const std::string key(200, 'k');
    EXPECT_EQ(rows(Select_SQL().add_key("1", key).add_key("2", key + "2")), "{0." + key + "=i:1 1." + key + "2=i:2}");
}

TEST_P(Query, same_key_may_come_twice)
{
    make_table();
    add_rows(1);
    EXPECT_EQ(rows(Select_SQL().table("t").add_key("a", "k").add_key("b", "k")), "{0.k=i:1 1.k=s:1}");
}

TEST_P(Query, reserved_words_serve_as_aliases_columns_and_keys)
{
    script("CREATE TABLE \"order\" (\"select\" BIGINT, \"limit\" TEXT)");
    ASSERT_TRUE(connection().execute(Insert_SQL("order", {"select", "limit"}).row({1, "x"})));
    EXPECT_EQ(rows(Select_SQL().table("order", "do").add_key("do.select", "from").add_key("limit", ".database")),
              "{0.from=i:1 1..database=s:x}");
}

TEST_P(Query, joined_and_crossed_tables_work)
{
    make_table();
    script("CREATE TABLE u (a BIGINT, c TEXT)");
    add_rows(2);
    ASSERT_TRUE(connection().execute(Insert_SQL("u", {"a", "c"}).row({1, "x"}).row({2, "y"})));
    EXPECT_EQ(rows(Select_SQL().table("t", "b").add_key("u.c", "c").join("u", "u", "b.a=u.a").where("b.b='2'")),
              "{0.c=s:y}");
    EXPECT_EQ(rows(Select_SQL()
                       .table("t", "b")
                       .table("u", "f")
                       .add_key("b.b", "b")
                       .add_key("f.c", "c")
                       .where("b.a=f.a")
                       .order_by("b.a")),
              "{0.b=s:1 1.c=s:x} {0.b=s:2 1.c=s:y}");
}

TEST_P(Query, two_tables_under_one_alias_keep_their_declared_types)
{
    script(std::string("CREATE TABLE base (uuid ") + uuid_type() + ", name TEXT, extra " + json_type() + ")");
    script(std::string("CREATE TABLE hive (set_uuid ") + uuid_type() + ", seq " + unsigned_type() + ", multi BOOLEAN)");
    const auto uuid = *read_uuid(sample_uuid);
    ASSERT_TRUE(connection().execute(Insert_SQL("base", {"uuid", "name", "extra"}).row({uuid, "n", "{}"})));
    ASSERT_TRUE(connection().execute(Insert_SQL("hive", {"set_uuid", "seq", "multi"}).row({uuid, 7u, false})));
    Select_SQL sql;
    sql.table("base", "a").add_key("a.uuid", "uuid").add_key("a.extra", "extra").table("hive", "a");
    sql.add_key("a.seq", "seq").add_key("a.multi", "multi").where("a.uuid=:uuid AND name='n'").bind(":uuid", uuid);
    EXPECT_EQ(rows(sql), std::string("{0.uuid=s:") + sample_uuid + " 1.extra=j:{} 2.seq=u:7 3.multi=b:false}");
}

TEST_P(Query, expression_follows_the_type_of_its_value)
{
    EXPECT_EQ(rows("SELECT 1 AS i, 'x' AS s, NULL AS n, 5 * 2 AS p, -7 AS m"),
              "{0.i=i:1 1.s=s:x 2.n=null 3.p=i:10 4.m=i:-7}");
    make_table();
    add_rows(3);
    EXPECT_EQ(rows("SELECT count(*) AS c, sum(a) AS s, min(b) AS m, sum(-a) AS n, max(a) AS x FROM t"),
              "{0.c=i:3 1.s=i:6 2.m=s:1 3.n=i:-6 4.x=i:3}");
}

TEST_P(Query, parameters_of_every_kind_are_compared_by_value)
{
    script(std::string("CREATE TABLE k (t TEXT, ti ") + time_type() + ", i BIGINT, i4 INTEGER, b BOOLEAN, id "
           + uuid_type() + ", by " + bytes_type() + ")");
    const auto uuid = *read_uuid(sample_uuid);
    Insert_SQL insert("k", {"t", "ti", "i", "i4", "b", "id", "by"});
    insert.row({"x", "2024-01-02 03:04:05", 5, 6, true, uuid, Binding_Value("a\0b", 3)});
    insert.row({"", "2023-01-01 00:00:00", -5, -6, false, *read_uuid("00000000-0000-0000-0000-000000000001"),
                Binding_Value("", 0)});
    ASSERT_TRUE(connection().execute(insert)) << connection().last_error().text();
    const auto count = [this](const char* condition, const Binding_Value& value) {
        return rows(Select_SQL().table("k").add_key("count(*)", "n").where(condition).bind(":v", value));
    };
    EXPECT_EQ(count("t=:v", "x"), "{0.n=i:1}");
    EXPECT_EQ(count("ti>=:v", "2024-01-01 00:00:00"), "{0.n=i:1}");
    EXPECT_EQ(count("i=:v", 5), "{0.n=i:1}");
    EXPECT_EQ(count("i4<:v", 0), "{0.n=i:1}");
    EXPECT_EQ(count("i4=:v", 6u), "{0.n=i:1}");
    EXPECT_EQ(count("b=:v", true), "{0.n=i:1}");
    EXPECT_EQ(count("id=:v", uuid), "{0.n=i:1}");
    EXPECT_EQ(count("id=:v", Binding_Value(uuid.data(), uuid.size())), "{0.n=i:1}");
    EXPECT_EQ(count("by=:v", Binding_Value("a\0b", 3)), "{0.n=i:1}");
    EXPECT_EQ(count("i=:v", Binding_Value()), "{0.n=i:0}");
    EXPECT_EQ(count("i>:v OR i<:v", 0), "{0.n=i:2}");
}

TEST_P(Query, one_statement_takes_values_of_different_kinds)
{
    make_table();
    add_rows(2);
    const Select_SQL sql = Select_SQL().table("t").select("a").where("a=:v");
    const auto with = [&sql](const Binding_Value& value) { return Select_SQL(sql).bind(":v", value); };
    EXPECT_EQ(rows(with(1)), "{0.a=i:1}");
    EXPECT_EQ(rows(with(2u)), "{0.a=i:2}");
    EXPECT_EQ(rows(with(1.0)), "{0.a=i:1}");
    EXPECT_EQ(rows(with(Binding_Value())), "");
    EXPECT_EQ(rows(with(2)), "{0.a=i:2}");
}

TEST_P(Query, parameter_serves_as_limit_and_as_column)
{
    make_table();
    add_rows(5);
    EXPECT_EQ(rows(SQL("SELECT a FROM t ORDER BY a LIMIT :n OFFSET :m").bind(":n", 2).bind(":m", 1)),
              "{0.a=i:2} {0.a=i:3}");
    EXPECT_EQ(rows(SQL("SELECT a + :n AS k FROM t WHERE a = :n").bind(":n", 2)), "{0.k=i:4}");
}

TEST_P(Query, no_rows_print_nothing)
{
    make_table();
    EXPECT_EQ(rows(Select_SQL().table("t").select("a,b")), "");
    EXPECT_EQ(rows(Select_SQL().table("t").select("a,b"), GM_ORM_FIRST_ROW), "");
    EXPECT_EQ(rows(Select_SQL().table("t").select("a,b"), GM_FIRST_COL), "");
}

TEST_P(Query, first_row_is_printed_alone)
{
    make_table();
    add_rows(5);
    EXPECT_EQ(rows(Select_SQL().table("t").select("a,b").order_by("a DESC"), GM_ORM_FIRST_ROW), "{0.a=i:5 1.b=s:5}");
    EXPECT_EQ(rows(Select_SQL().table("t").select("a").order_by("a").limit(3), GM_ORM_FIRST_ROW), "{0.a=i:1}");
    EXPECT_EQ(rows(Select_SQL().table("t").select("a").order_by("a").limit(3000), GM_ORM_FIRST_ROW), "{0.a=i:1}");
    EXPECT_EQ(rows(SQL("SELECT a FROM t ORDER BY a"), GM_ORM_FIRST_ROW), "{0.a=i:1}");
    EXPECT_TRUE(is_usable());
}

TEST_P(Query, first_column_is_printed_without_rows)
{
    make_table();
    add_rows(3);
    EXPECT_EQ(rows(Select_SQL().table("t").select("b,a").order_by("a"), GM_FIRST_COL), "0.b=s:1 0.b=s:2 0.b=s:3");
}

TEST_P(Query, any_number_of_rows_comes_whole_and_in_order)
{
    make_table();
    int present = 0;
    for (const int count : {0, 1, 99, 100, 101, 199, 200, 201, 499, 500, 501, 600, 601, 1100, 2500}) {
        add_rows(count - present, present + 1);
        present = count;
        std::string expected;
        for (int i = 1; i <= count; ++i) {
            expected += (i > 1 ? " {0.a=i:" : "{0.a=i:") + std::to_string(i) + "}";
        }
        EXPECT_EQ(rows(Select_SQL().table("t").select("a").order_by("a")), expected) << count;
        EXPECT_EQ(rows(Select_SQL().table("t").select("a").order_by("a")), expected) << count << ", once more";
        EXPECT_EQ(rows(Select_SQL().table("t").select("a").order_by("a").limit(5000)), expected) << count;
        EXPECT_EQ(rows(SQL("SELECT a FROM t ORDER BY a")), expected) << count << ", as text";
    }
}

TEST_P(Query, limit_is_kept)
{
    make_table();
    add_rows(1000);
    for (const int limit : {1, 100, 200, 201, 700, 999}) {
        const std::string text =
            rows(Select_SQL().table("t").select("a").order_by("a").limit(static_cast<std::size_t>(limit)));
        EXPECT_EQ(std::count(text.begin(), text.end(), '{'), limit);
    }
}

TEST_P(Query, common_table_expression_is_read)
{
    EXPECT_EQ(rows("WITH RECURSIVE r AS (SELECT 1 AS n UNION ALL SELECT n+1 FROM r WHERE n<3) SELECT n FROM r"),
              "{0.n=i:1} {0.n=i:2} {0.n=i:3}");
}

TEST_P(Query, insert_may_return_rows)
{
    make_table();
    EXPECT_EQ(rows("INSERT INTO t (a, b) VALUES (1, 'x'), (2, 'y') RETURNING a, b"),
              "{0.a=i:1 1.b=s:x} {0.a=i:2 1.b=s:y}");
    disconnect();
    const auto other = open();
    Noting_Printer printer;
    EXPECT_TRUE(other->query_and_print(SQL("SELECT count(*) AS n FROM t"), printer, GM_ORM_ROWS));
    EXPECT_EQ(printer.text(), "{0.n=i:2}");
}

TEST_P(Query, star_takes_the_engines_keys)
{
    make_table();
    add_rows(1);
    EXPECT_EQ(rows(Select_SQL().table("t").select("*")), "{0.a=i:1 1.b=s:1}");
}

TEST_P(Query, changed_table_is_seen)
{
    make_table();
    add_rows(1);
    const Select_SQL sql = Select_SQL().table("t").select("*");
    EXPECT_EQ(rows(sql), "{0.a=i:1 1.b=s:1}");
    script("ALTER TABLE t ADD COLUMN c BOOLEAN DEFAULT TRUE");
    EXPECT_EQ(rows(sql), "{0.a=i:1 1.b=s:1 2.c=b:true}");
    script(std::string("DROP TABLE t; CREATE TABLE t (a ") + unsigned_type() + ")");
    ASSERT_TRUE(connection().execute(Insert_SQL("t", {"a"}).row({1u})));
    EXPECT_EQ(rows(sql), "{0.a=u:1}");
}

TEST_P(Query, many_different_statements_are_run)
{
    for (int i = 0; i < 400; ++i) {
        const std::string number = std::to_string(i);
        EXPECT_EQ(rows(Select_SQL().add_key(number, "n").limit(1)), "{0.n=i:" + number + "}");
    }
    EXPECT_EQ(rows(Select_SQL().add_key("0", "n").limit(1)), "{0.n=i:0}");
}

TEST_P(Query, parameter_without_a_value_fails)
{
    make_table();
    const Database_Error error = failure(Select_SQL().table("t").select("a").where("a=:a AND b=:b").bind(":b", 1));
    EXPECT_EQ(error.kind, Database_Error::STATEMENT);
    EXPECT_EQ(error.message, "the parameter :a has no value");
    EXPECT_TRUE(is_usable());
}

TEST_P(Query, statement_that_cannot_be_rendered_fails)
{
    const Database_Error error = failure(SQL("SELECT 1; DROP TABLE t"));
    EXPECT_EQ(error.kind, Database_Error::STATEMENT);
    EXPECT_EQ(error.message, "a statement separator at byte 8 of: SELECT 1; DROP TABLE t");
    EXPECT_EQ(failure(Select_SQL()).kind, Database_Error::STATEMENT);
    EXPECT_EQ(failure(Select_SQL().table("t")).kind, Database_Error::STATEMENT);
    EXPECT_EQ(failure(SQL()).kind, Database_Error::STATEMENT);
    EXPECT_TRUE(is_usable());
}

TEST_P(Query, error_of_the_engine_names_the_statement_and_the_place)
{
    const Database_Error error = failure(Select_SQL().table("nowhere").select("a"));
    EXPECT_EQ(error.kind, Database_Error::STATEMENT);
    EXPECT_NE(error.message.find("nowhere"), std::string::npos);
    EXPECT_EQ(error.statement, R"(SELECT "a" AS "a" FROM "nowhere")");
    EXPECT_EQ(error.code, is_sqlite() ? "1" : "42P01");
    EXPECT_NE(error.where.find("_connection.cpp:"), std::string::npos) << error.where;
    EXPECT_FALSE(error.retryable());
    EXPECT_TRUE(is_usable());
}

TEST_P(Query, name_that_is_no_column_is_no_text)
{
    make_table();
    add_rows(1);
    EXPECT_EQ(failure(Select_SQL().table("t").select("nowhere")).kind, Database_Error::STATEMENT);
    EXPECT_EQ(failure(Select_SQL().table("t").select("a").where("nowhere='nowhere'")).kind, Database_Error::STATEMENT);
    EXPECT_TRUE(is_usable());
}

TEST_P(Query, success_forgets_the_last_error)
{
    failure(SQL("SELECT nowhere"));
    EXPECT_TRUE(connection().last_error());
    EXPECT_TRUE(is_usable());
    EXPECT_FALSE(connection().last_error());
}

TEST_P(Query, printer_that_refuses_a_value_cancels)
{
    class Printer final : public Noting_Printer
    {
    protected:
        bool note(int index, const char* key, const std::string& value) override
        {
            return Noting_Printer::note(index, key, value) && value != "s:3";
        }
    };
    make_table();
    add_rows(1000);
    for (int turn = 0; turn < 2; ++turn) {
        Printer printer;
        const Database_Error error = failure(Select_SQL().table("t").select("a,b").order_by("a"), printer);
        EXPECT_EQ(error.kind, Database_Error::CANCELLED);
        EXPECT_EQ(error.message, "the printer refused column \"b\"");
        EXPECT_EQ(printer.text(), "{0.a=i:1 1.b=s:1} {0.a=i:2 1.b=s:2} {0.a=i:3 1.b=s:3");
        EXPECT_TRUE(is_usable());
    }
}

TEST_P(Query, printer_that_refuses_a_row_cancels)
{
    class Printer final : public Noting_Printer
    {
    public:
        bool begin_row() override { return begins_; }
        bool end_row() override { return false; }
        bool begins_ = false;
    };
    make_table();
    add_rows(2);
    const Select_SQL sql = Select_SQL().table("t").select("a").order_by("a");
    Printer printer;
    EXPECT_EQ(failure(sql, printer).message, "the printer refused a row");
    printer.begins_ = true;
    EXPECT_EQ(failure(sql, printer).message, "the printer refused the end of a row");
    EXPECT_EQ(failure(sql, printer).kind, Database_Error::CANCELLED);
    EXPECT_TRUE(is_usable());
}

TEST_P(Query, exception_of_a_printer_passes_through)
{
    class Printer final : public Noting_Printer
    {
    protected:
        bool note(int index, const char* key, const std::string& value) override
        {
            if (value == "i:150") {
                throw std::runtime_error("thrown by the printer");
            }
            return Noting_Printer::note(index, key, value);
        }
    };
    make_table();
    add_rows(1000);
    for (int turn = 0; turn < 3; ++turn) {
        Printer printer;
        EXPECT_THROW(
            connection().query_and_print(Select_SQL().table("t").select("a").order_by("a"), printer, GM_ORM_ROWS),
            std::runtime_error);
        EXPECT_TRUE(is_usable());
        EXPECT_TRUE(connection().begin_write()) << "no transaction may be left open";
        EXPECT_TRUE(connection().execute(SQL("DELETE FROM t WHERE a=1000")));
        EXPECT_TRUE(connection().rollback());
    }
}

TEST_P(Query, bound_values_are_not_in_errors)
{
    script("CREATE TABLE k (i BIGINT, n TEXT NOT NULL UNIQUE, id " + std::string(uuid_type()) + ", CHECK (i < 100))");
    ASSERT_TRUE(connection().execute(Insert_SQL("k", {"i", "n"}).row({1, "secret"})));
    const auto check = [](const Database_Error& error) {
        EXPECT_EQ(error.kind, Database_Error::CONSTRAINT) << error.text();
        EXPECT_EQ(error.text().find("secret"), std::string::npos) << error.text();
        EXPECT_EQ(error.text().find("4711"), std::string::npos) << error.text();
    };
    check(execute_failure(Insert_SQL("k", {"i", "n"}).row({2, "secret"})));
    check(execute_failure(SQL("INSERT INTO k (i, n) VALUES (:i, :n)").bind(":i", 2).bind(":n", "secret")));
    check(execute_failure(Insert_SQL("k", {"i", "n"}).row({4711, "other"})));
    if (!has_dynamic_types()) {
        check(execute_failure(Insert_SQL("k", {"i", "n"}).row({"secret", "other"})));
        check(execute_failure(Insert_SQL("k", {"i", "n"}).row({"4711471147114711471147114711", "other"})));
        check(execute_failure(Insert_SQL("k", {"n", "id"}).row({"other", "secret\"and \" more"})));
        check(failure(Select_SQL().table("k").select("n").where("id=:id").bind(":id", "secret")));
        check(execute_failure(Insert_SQL("k", {"i", "n"}).row({1, "secret\xff\xfe"})));
    }
    EXPECT_TRUE(is_usable());
}

TEST_P(Query, other_types_of_the_engine_are_read_or_refused)
{
    if (is_sqlite()) {
        script("CREATE TABLE k (v VARCHAR(20), d DATETIME, n NUMERIC, x)");
        script("INSERT INTO k VALUES ('v', '2024-01-01 00:00:00', 1.5, 5)");
        EXPECT_EQ(rows(Select_SQL().table("k").select("v,d,n,x")),
                  "{0.v=s:v 1.d=s:2024-01-01 00:00:00 2.n=r:1.5 3.x=i:5}");
        return;
    }
    EXPECT_EQ(rows("SELECT CAST('v' AS varchar(20)) AS v, CAST('c' AS char(3)) AS c, CAST('n' AS name) AS n, "
                   "CAST(5 AS smallint) AS s, CAST(6 AS oid) AS o, CAST(0.5 AS real) AS r, CAST('{}' AS jsonb) AS j"),
              "{0.v=s:v 1.c=s:c   2.n=s:n 3.s=i:5 4.o=i:6 5.r=r:0.5 6.j=j:{}}");
    EXPECT_EQ(rows("SELECT CAST('2024-01-02 03:04:05.999+02' AS timestamptz) AS z, CAST('1969-12-31 23:59:59.5' AS "
                   "timestamp) AS t, CAST('2024-02-29' AS date) AS d, CAST('infinity' AS timestamp) AS i, "
                   "CAST('-infinity' AS date) AS m"),
              "{0.z=s:2024-01-02 01:04:05 1.t=s:1969-12-31 23:59:59 2.d=s:2024-02-29 3.i=s:infinity 4.m=s:-infinity}");
    EXPECT_EQ(
        rows("SELECT CAST(1.50 AS numeric(5,2)) AS a, CAST(-0.00012 AS numeric) AS b, CAST('NaN' AS numeric) AS c, "
             "CAST(-7 AS numeric(20,0)) AS d, CAST('123456789012345678901234567890.5' AS numeric) AS e, "
             "CAST('Infinity' AS numeric) AS f, CAST(10000.0001 AS numeric) AS g, CAST(2.00 AS numeric(5,2)) AS h, "
             "CAST(-9223372036854775808 AS numeric) AS i, CAST(-9223372036854775809 AS numeric) AS j"),
        "{0.a=s:1.50 1.b=s:-0.00012 2.c=s:NaN 3.d=i:-7 4.e=s:123456789012345678901234567890.5 5.f=s:Infinity "
        "6.g=s:10000.0001 7.h=i:2 8.i=i:-9223372036854775808 9.j=s:-9223372036854775809}");
    const Database_Error error = failure(SQL("SELECT CAST('1 day' AS interval) AS span"));
    EXPECT_EQ(error.kind, Database_Error::STATEMENT);
    EXPECT_EQ(error.message, "column \"span\" has a type that is not read, it must be cast to text");
    EXPECT_TRUE(is_usable());
}
