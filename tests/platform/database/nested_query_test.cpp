#include "tests/platform/database/database_test.h"

#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace database::sql;

/// Its hook for integers is given by the test.
class Hook final : public Query_Result_Handler
{
public:
    using Function = std::function<bool(Database_Connection&, int, const char*, ACE_INT64, Query_Result_Printer&)>;

    explicit Hook(Function function) : function_(std::move(function)) {}

protected:
    bool handle_integer_i(Database_Connection& connection, int index, const char* key, ACE_INT64 value,
                          Query_Result_Printer& printer) override
    {
        return function_(connection, index, key, value, printer);
    }

private:
    Function function_;
};

const Select_SQL& parts_of()
{
    static const Select_SQL sql = Select_SQL().table("part").select("name").where("item=:item").order_by("name");
    return sql;
}

/// Under the key "parts": the parts of the item, as an array.
bool print_parts(Database_Connection& connection, int index, const char* key, ACE_INT64 value,
                 Query_Result_Printer& printer)
{
    if (std::string_view(key) != "parts") {
        return false;
    }
    const Printer_Array_Guard array(printer, index, key);
    return connection.query_and_print(Select_SQL(parts_of()).bind(":item", value), printer, GM_ORM_ROWS);
}

class Nested_Query : public Database_Test
{
protected:
    void SetUp() override
    {
        Database_Test::SetUp();
        if (!IsSkipped() && !HasFatalFailure()) {
            script("CREATE TABLE item (id BIGINT); CREATE TABLE part (item BIGINT, name TEXT); "
                   "CREATE TABLE tag (part TEXT, tag TEXT)");
        }
    }

    /// Items 1 to `count`; the parts of item 7 are "7-0", "7-1", … as many as `parts` says.
    void fill(int count, const std::function<int(int)>& parts)
    {
        Insert_SQL items("item", {"id"});
        Insert_SQL all("part", {"item", "name"});
        for (int i = 1; i <= count; ++i) {
            items.row({i});
            for (int j = 0; j < parts(i); ++j) {
                all.row({i, std::to_string(i) + '-' + std::to_string(j)});
            }
        }
        ASSERT_TRUE(connection().execute(std::vector<Database_Connection::Statement>{items, all}));
    }

    static std::string expected_item(int id, int parts)
    {
        std::string text = "{0.id=i:" + std::to_string(id) + " 1.parts=[";
        std::vector<std::string> names;
        for (int i = 0; i < parts; ++i) {
            names.push_back(std::to_string(id) + '-' + std::to_string(i));
        }
        std::ranges::sort(names);
        for (const std::string& name : names) {
            text += (name == names.front() ? "{0.name=s:" : " {0.name=s:") + name + "}";
        }
        return text + "]}";
    }
    static std::string expected_items(int count, const std::function<int(int)>& parts)
    {
        std::string text;
        for (int i = 1; i <= count; ++i) {
            text += (i > 1 ? " " : "") + expected_item(i, parts(i));
        }
        return text;
    }

    static Select_SQL items()
    {
        return Select_SQL().table("item").add_key("id", "id").add_key("id", "parts").order_by("id");
    }
};

INSTANTIATE_TEST_SUITE_P(On, Nested_Query, ::testing::Values(Engine::SQLITE, Engine::POSTGRESQL), engine_name);

} // namespace

TEST_P(Nested_Query, hook_puts_a_query_of_its_own_into_each_row)
{
    Hook hook(print_parts);
    const auto parts = [](int i) { return i % 4; };
    for (const int count : {0, 1, 2, 15, 16, 17, 47, 48, 49, 100, 101, 450, 1300}) {
        script("DELETE FROM item; DELETE FROM part");
        fill(count, parts);
        EXPECT_EQ(rows(items(), GM_ORM_ROWS, &hook), expected_items(count, parts)) << count;
    }
    EXPECT_EQ(rows(items(), GM_ORM_FIRST_ROW, &hook), expected_item(1, parts(1)));
    EXPECT_EQ(rows(items().limit(60), GM_ORM_ROWS, &hook), expected_items(60, parts));
}

TEST_P(Nested_Query, inner_query_may_have_any_number_of_rows)
{
    Hook hook(print_parts);
    const auto parts = [](int i) { return i == 20 ? 450 : i == 21 ? 101 : i == 22 ? 100 : i == 30 ? 1001 : 2; };
    fill(60, parts);
    for (int turn = 0; turn < 3; ++turn) {
        EXPECT_EQ(rows(items(), GM_ORM_ROWS, &hook), expected_items(60, parts)) << turn;
    }
}

TEST_P(Nested_Query, queries_stand_three_deep)
{
    const auto parts = [](int) { return 3; };
    fill(120, parts);
    Insert_SQL tags("tag", {"part", "tag"});
    for (int i = 1; i <= 120; ++i) {
        tags.row({std::to_string(i) + "-1", "a" + std::to_string(i)}).row({std::to_string(i) + "-1", "b"});
    }
    ASSERT_TRUE(connection().execute(tags));

    class Tags final : public Query_Result_Handler
    {
    protected:
        bool handle_string_i(Database_Connection& connection, int index, const char* key, const char* value,
                             std::size_t length, Query_Result_Printer& printer) override
        {
            if (std::string_view(key) != "tags") {
                return false;
            }
            const Printer_Array_Guard array(printer, index, key);
            Select_SQL sql = Select_SQL().table("tag").select("tag").where("part=:part").order_by("tag");
            sql.bind(":part", std::string_view(value, length));
            return connection.query_and_print(sql, printer, GM_FIRST_COL);
        }
    } tags_of_part;
    Hook hook([&](Database_Connection& connection, int index, const char* key, ACE_INT64 value,
                  Query_Result_Printer& printer) {
        if (std::string_view(key) != "parts") {
            return false;
        }
        const Printer_Array_Guard array(printer, index, key);
        Select_SQL sql = Select_SQL().table("part").add_key("name", "tags").where("item=:item").order_by("name");
        return connection.query_and_print(sql.bind(":item", value), printer, GM_ORM_ROWS, &tags_of_part);
    });
    std::string expected;
    for (int i = 1; i <= 120; ++i) {
        const std::string id = std::to_string(i);
        expected += (i > 1 ? " {0.id=i:" : "{0.id=i:") + id + " 1.parts=[{0.tags=[]} {0.tags=[0.tag=s:a" + id
                    + " 0.tag=s:b]} {0.tags=[]}]}";
    }
    EXPECT_EQ(rows(items(), GM_ORM_ROWS, &hook), expected);
}

TEST_P(Nested_Query, hook_may_query_in_some_rows_only)
{
    const auto parts = [](int i) { return i > 10 && i % 3 == 0 ? 2 : 0; };
    fill(200, parts);
    Hook hook([](Database_Connection& connection, int index, const char* key, ACE_INT64 value,
                 Query_Result_Printer& printer) {
        const bool queries = value > 10 && value % 3 == 0;
        return queries && print_parts(connection, index, key, value, printer);
    });
    std::string expected;
    for (int i = 1; i <= 200; ++i) {
        const std::string id = std::to_string(i);
        expected += i > 1 ? " " : "";
        expected += parts(i) > 0 ? expected_item(i, 2) : "{0.id=i:" + id + " 1.parts=i:" + id + "}";
    }
    EXPECT_EQ(rows(items(), GM_ORM_ROWS, &hook), expected);
}

TEST_P(Nested_Query, several_queries_in_one_hook_keep_their_order)
{
    fill(100, [](int) { return 2; });
    Hook hook([](Database_Connection& connection, int index, const char* key, ACE_INT64 value,
                 Query_Result_Printer& printer) {
        return print_parts(connection, index, key, value, printer)
               && (std::string_view(key) != "parts" || print_parts(connection, index, key, 101 - value, printer))
               && print_parts(connection, index, key, value, printer);
    });
    std::string expected;
    for (int i = 1; i <= 100; ++i) {
        const std::string own = expected_item(i, 2);
        const std::string other = expected_item(101 - i, 2);
        const auto array = [](const std::string& item) {
            const std::size_t begin = item.find("1.parts");
            return item.substr(begin, item.size() - begin - 1);
        };
        expected += (i > 1 ? " " : "") + own.substr(0, own.size() - 1) + ' ' + array(other) + ' ' + array(own) + '}';
    }
    EXPECT_EQ(rows(items(), GM_ORM_ROWS, &hook), expected);
}

TEST_P(Nested_Query, hook_that_changes_its_mind_still_gets_its_own_rows)
{
    // Each call asks for other parts than the one before, so nothing that was asked ahead fits.
    fill(100, [](int) { return 1; });
    int calls = 0;
    class Names final : public Noting_Printer
    {
    public:
        bool print_cstr(int, const char*, const char* value, std::size_t) override
        {
            names.emplace_back(value);
            return true;
        }
        std::vector<std::string> names;
    } names;
    std::vector<std::string> asked;
    Hook hook(
        [&](Database_Connection& connection, int index, const char* key, ACE_INT64, Query_Result_Printer& printer) {
            if (std::string_view(key) != "parts") {
                return false;
            }
            const int item = calls++ % 100 + 1;
            if (&printer == &names) {
                asked.push_back(std::to_string(item) + "-0");
            }
            return print_parts(connection, index, key, item, printer);
        });
    ASSERT_TRUE(connection().query_and_print(items(), names, GM_ORM_ROWS, &hook));
    EXPECT_EQ(names.names.size(), 100u);
    EXPECT_EQ(names.names, asked);
    EXPECT_TRUE(is_usable());
}

TEST_P(Nested_Query, hooks_are_asked_for_rows_ahead_only_without_effect)
{
    fill(100, [](int) { return 1; });
    Noting_Printer outer;
    int others = 0;
    Hook hook([&](Database_Connection& connection, int index, const char* key, ACE_INT64 value,
                  Query_Result_Printer& printer) {
        others += &printer != &outer ? 1 : 0;
        return print_parts(connection, index, key, value, printer);
    });
    ASSERT_TRUE(connection().query_and_print(items(), outer, GM_ORM_ROWS, &hook));
    EXPECT_EQ(outer.text(), expected_items(100, [](int) { return 1; }));
    // After the first row, which showed which column queries, each row is asked once: its queries travel together.
    EXPECT_EQ(others, is_sqlite() ? 0 : 99);
}

TEST_P(Nested_Query, exception_of_a_hook_passes_through_in_its_row)
{
    fill(100, [](int) { return 1; });
    Hook hook([](Database_Connection& connection, int index, const char* key, ACE_INT64 value,
                 Query_Result_Printer& printer) {
        if (value == 40 && std::string_view(key) == "parts") {
            throw std::runtime_error("thrown by the hook");
        }
        return print_parts(connection, index, key, value, printer);
    });
    for (int turn = 0; turn < 2; ++turn) {
        Noting_Printer printer;
        EXPECT_THROW(connection().query_and_print(items(), printer, GM_ORM_ROWS, &hook), std::runtime_error);
        EXPECT_EQ(printer.text(), expected_items(39, [](int) { return 1; }) + " {0.id=i:40");
        EXPECT_TRUE(is_usable());
    }
}

TEST_P(Nested_Query, failed_inner_query_fails_the_outer_one_and_is_reported_once)
{
    fill(100, [](int) { return 1; });
    for (const bool hook_result : {false, true}) {
        Hook hook([&](Database_Connection& connection, int index, const char* key, ACE_INT64 value,
                      Query_Result_Printer& printer) {
            if (value < 40 || std::string_view(key) != "parts") {
                return print_parts(connection, index, key, value, printer);
            }
            connection.query_and_print(SQL("SELECT nowhere FROM part"), printer, GM_ORM_ROWS);
            connection.query_and_print(SQL("SELECT nowhere FROM part"), printer, GM_ORM_ROWS);
            return hook_result;
        });
        Noting_Printer printer;
        const Database_Error error = failure(items(), printer, GM_ORM_ROWS, &hook);
        EXPECT_EQ(error.kind, Database_Error::STATEMENT);
        EXPECT_EQ(error.statement, R"(SELECT "nowhere" FROM "part")");
        EXPECT_TRUE(printer.text().starts_with(expected_items(39, [](int) { return 1; }) + " {0.id=i:40"))
            << printer.text();
        EXPECT_TRUE(is_usable());
    }
}

TEST_P(Nested_Query, inner_query_that_the_server_refuses_for_one_row_fails_in_its_turn)
{
    fill(100, [](int) { return 1; });
    Hook hook([](Database_Connection& connection, int index, const char* key, ACE_INT64 value,
                 Query_Result_Printer& printer) {
        if (std::string_view(key) != "parts") {
            return false;
        }
        const Printer_Array_Guard array(printer, index, key);
        Select_SQL sql =
            Select_SQL().table("part").select("name").where("item=:item AND 9223372036854775807 - :more >= 0");
        sql.bind(":item", value).bind(":more", value == 40 ? -1 : 0);
        return connection.query_and_print(sql, printer, GM_ORM_ROWS);
    });
    Noting_Printer printer;
    if (is_sqlite()) { // its integers become reals instead
        EXPECT_TRUE(connection().query_and_print(items(), printer, GM_ORM_ROWS, &hook));
        return;
    }
    const Database_Error error = failure(items(), printer, GM_ORM_ROWS, &hook);
    EXPECT_EQ(error.code, "22003");
    EXPECT_TRUE(printer.text().starts_with(expected_items(39, [](int) { return 1; }) + " {0.id=i:40"))
        << printer.text();
    EXPECT_TRUE(is_usable());
}

TEST_P(Nested_Query, hook_may_ask_in_another_order_than_it_did_ahead)
{
    fill(200, [](int) { return 1; });
    int calls = 0;
    Hook hook([&](Database_Connection& connection, int index, const char* key, ACE_INT64 value,
                  Query_Result_Printer& printer) {
        if (std::string_view(key) != "parts") {
            return false;
        }
        const Printer_Array_Guard array(printer, index, key);
        const bool forward = ++calls % 2 == 0;
        for (int i = 0; i < 3; ++i) {
            const ACE_INT64 item = (value + (forward ? i : 2 - i)) % 200 + 1;
            if (!connection.query_and_print(Select_SQL(parts_of()).bind(":item", item), printer, GM_FIRST_COL)) {
                return false;
            }
        }
        return true;
    });
    class Texts final : public Query_Result_Token_Printer
    {
    public:
        bool print_int(int, const char*, ACE_INT64 value) override
        {
            item = value;
            names.clear();
            return true;
        }
        bool print_cstr(int, const char*, const char* value, std::size_t) override
        {
            names.insert(value);
            return true;
        }
        bool end_row() override
        {
            for (ACE_INT64 i = 0; i < 3; ++i) {
                EXPECT_EQ(names.count(std::to_string((item + i) % 200 + 1) + "-0"), 1u) << item;
            }
            ++rows;
            return true;
        }
        ACE_INT64 item = 0;
        int rows = 0;
        std::set<std::string> names;
    } texts;
    ASSERT_TRUE(connection().query_and_print(items(), texts, GM_ORM_ROWS, &hook));
    EXPECT_EQ(texts.rows, 200);
}

TEST_P(Nested_Query, statements_that_differ_in_the_names_of_their_parameters_only_are_kept_apart)
{
    fill(100, [](int) { return 2; });
    const Select_SQL one = Select_SQL().table("part").select("name").where("item=:x AND item<:y").order_by("name");
    const Select_SQL other = Select_SQL().table("part").select("name").where("item=:y AND item<:x").order_by("name");
    int calls = 0;
    const Query_Result_Printer* real = nullptr;
    Hook hook([&](Database_Connection& connection, int index, const char* key, ACE_INT64 value,
                  Query_Result_Printer& printer) {
        if (std::string_view(key) != "parts") {
            return false;
        }
        // What is asked ahead is not what the row asks for.
        const Printer_Array_Guard array(printer, index, key);
        ++calls;
        Select_SQL bound = &printer == real ? one : other;
        return connection.query_and_print(bound.bind(":x", value).bind(":y", 50), printer, GM_FIRST_COL);
    });
    std::string expected;
    for (int i = 1; i <= 100; ++i) {
        const std::string own = std::to_string(i);
        expected += (i > 1 ? " {0.id=i:" : "{0.id=i:") + own + " 1.parts=[";
        expected += i < 50 ? "0.name=s:" + own + "-0 0.name=s:" + own + "-1" : "";
        expected += "]}";
    }
    Noting_Printer printer;
    real = &printer;
    ASSERT_TRUE(connection().query_and_print(items(), printer, GM_ORM_ROWS, &hook));
    EXPECT_EQ(printer.text(), expected);
    EXPECT_GE(calls, 100);
}

TEST_P(Nested_Query, each_row_may_ask_by_a_statement_of_its_own)
{
    const auto parts = [](int) { return 1; };
    fill(400, parts);
    Hook hook([&](Database_Connection& connection, int index, const char* key, ACE_INT64 value,
                  Query_Result_Printer& printer) {
        if (std::string_view(key) != "parts") {
            return false;
        }
        const Printer_Array_Guard array(printer, index, key);
        Select_SQL sql = Select_SQL().table("part").select("name");
        sql.where("item=:item AND " + std::to_string(value) + "=item").bind(":item", value);
        return connection.query_and_print(sql, printer, GM_ORM_ROWS);
    });
    for (int turn = 0; turn < 2; ++turn) {
        EXPECT_EQ(rows(items(), GM_ORM_ROWS, &hook), expected_items(400, parts));
    }
}

TEST_P(Nested_Query, printer_that_refuses_an_inner_value_cancels_once)
{
    class Printer final : public Noting_Printer
    {
    protected:
        bool note(int index, const char* key, const std::string& value) override
        {
            return Noting_Printer::note(index, key, value) && value != "s:30-0";
        }
    } printer;
    fill(100, [](int) { return 1; });
    Hook hook(print_parts);
    const Database_Error error = failure(items(), printer, GM_ORM_ROWS, &hook);
    EXPECT_EQ(error.kind, Database_Error::CANCELLED);
    EXPECT_EQ(error.message, "the printer refused column \"name\"");
    EXPECT_TRUE(is_usable());
}

TEST_P(Nested_Query, parameter_without_a_value_fails_in_its_row)
{
    fill(30, [](int) { return 1; });
    Hook hook([](Database_Connection& connection, int index, const char* key, ACE_INT64 value,
                 Query_Result_Printer& printer) {
        if (value == 20 && std::string_view(key) == "parts") {
            return connection.query_and_print(parts_of(), printer, GM_ORM_ROWS);
        }
        return print_parts(connection, index, key, value, printer);
    });
    Noting_Printer printer;
    EXPECT_EQ(failure(items(), printer, GM_ORM_ROWS, &hook).message, "the parameter :item has no value");
    EXPECT_TRUE(printer.text().starts_with(expected_items(19, [](int) { return 1; }) + " {0.id=i:20"));
    EXPECT_TRUE(is_usable());
}

TEST_P(Nested_Query, statement_may_run_inside_itself)
{
    fill(12, [](int) { return 0; });
    const Select_SQL sql = Select_SQL().table("item").add_key("id", "id").where("id<=:n").order_by("id");
    int depth = 0;
    Hook hook([&](Database_Connection& connection, int index, const char* key, ACE_INT64 value,
                  Query_Result_Printer& printer) {
        if (value != 2 || depth == 3) {
            return false;
        }
        ++depth;
        const Printer_Array_Guard array(printer, index, key);
        const bool printed = connection.query_and_print(Select_SQL(sql).bind(":n", 3), printer, GM_ORM_ROWS, &hook);
        --depth;
        return printed;
    });
    EXPECT_EQ(rows(Select_SQL(sql).bind(":n", 3), GM_ORM_ROWS, &hook),
              "{0.id=i:1} {0.id=[{0.id=i:1} {0.id=[{0.id=i:1} {0.id=[{0.id=i:1} {0.id=i:2} {0.id=i:3}]} {0.id=i:3}]} "
              "{0.id=i:3}]} {0.id=i:3}");
}

TEST_P(Nested_Query, one_statement_serves_inside_and_outside_with_different_handlers)
{
    fill(3, [](int) { return 1; });
    Hook plain([](Database_Connection&, int, const char*, ACE_INT64, Query_Result_Printer&) { return false; });
    Hook hook(
        [&](Database_Connection& connection, int index, const char* key, ACE_INT64, Query_Result_Printer& printer) {
            if (std::string_view(key) != "parts") {
                return false;
            }
            const Printer_Array_Guard array(printer, index, key);
            return connection.query_and_print(items().limit(2), printer, GM_ORM_ROWS, &plain);
        });
    const std::string inner = "1.parts=[{0.id=i:1 1.parts=i:1} {0.id=i:2 1.parts=i:2}]";
    EXPECT_EQ(rows(items().limit(2), GM_ORM_ROWS, &hook), "{0.id=i:1 " + inner + "} {0.id=i:2 " + inner + "}");
}

TEST_P(Nested_Query, query_may_be_made_from_a_printer)
{
    fill(40, [](int) { return 2; });
    class Printer final : public Noting_Printer
    {
    public:
        explicit Printer(Database_Connection& connection) : connection_(connection) {}
        bool print_int(int, const char*, ACE_INT64 value) override
        {
            return connection_.query_and_print(Select_SQL(parts_of()).bind(":item", value), inner, GM_FIRST_COL);
        }
        Noting_Printer inner;

    private:
        Database_Connection& connection_;
    } printer(connection());
    ASSERT_TRUE(
        connection().query_and_print(Select_SQL().table("item").select("id").order_by("id"), printer, GM_ORM_ROWS));
    std::string expected;
    for (int i = 1; i <= 40; ++i) {
        for (const char* part : {"-0", "-1"}) {
            expected += (expected.empty() ? "0.name=s:" : " 0.name=s:") + std::to_string(i) + part;
        }
    }
    EXPECT_EQ(printer.inner.text(), expected);
}

TEST_P(Nested_Query, only_queries_run_inside_a_query)
{
    fill(3, [](int) { return 1; });
    const std::vector<std::function<bool(Database_Connection&)>> operations = {
        [](Database_Connection& c) { return c.execute(SQL("DELETE FROM item")); },
        [](Database_Connection& c) { return c.execute_script("DELETE FROM item"); },
        [](Database_Connection& c) { return c.begin_write(); },
        [](Database_Connection& c) { return c.begin_read(); },
        [](Database_Connection& c) { return c.commit(); },
        [](Database_Connection& c) { return c.rollback(); },
    };
    for (const auto& operation : operations) {
        Hook hook([&](Database_Connection& connection, int, const char*, ACE_INT64, Query_Result_Printer&) {
            EXPECT_FALSE(operation(connection));
            return true;
        });
        Noting_Printer printer;
        EXPECT_EQ(failure(items(), printer, GM_ORM_ROWS, &hook).kind, Database_Error::STATEMENT);
        EXPECT_EQ(rows("SELECT count(*) AS n FROM item"), "{0.n=i:3}");
        EXPECT_TRUE(connection().begin_write());
        EXPECT_TRUE(connection().commit());
    }
}

TEST_P(Nested_Query, outer_and_inner_queries_see_one_snapshot)
{
    fill(300, [](int) { return 1; });
    const auto other = open();
    bool is_first = true;
    Hook hook([&](Database_Connection& connection, int index, const char* key, ACE_INT64 value,
                  Query_Result_Printer& printer) {
        const bool printed = print_parts(connection, index, key, value, printer);
        if (std::exchange(is_first, false)) {
            EXPECT_TRUE(other->execute_script("DELETE FROM part WHERE item > 1; DELETE FROM item WHERE id > 1"));
        }
        return printed;
    });
    EXPECT_EQ(rows(items(), GM_ORM_ROWS, &hook), expected_items(300, [](int) { return 1; }));
    EXPECT_EQ(rows(items(), GM_ORM_ROWS, &hook), expected_item(1, 1));
}

TEST_P(Nested_Query, inside_a_transaction_its_own_changes_are_seen)
{
    ASSERT_TRUE(connection().begin_write());
    fill(30, [](int) { return 2; });
    Hook hook(print_parts);
    EXPECT_EQ(rows(items(), GM_ORM_ROWS, &hook), expected_items(30, [](int) { return 2; }));
    ASSERT_TRUE(connection().rollback());
    EXPECT_EQ(rows(items(), GM_ORM_ROWS, &hook), "");
}
