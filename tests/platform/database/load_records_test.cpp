#include "platform/database/load_records.h"

#include "tests/platform/database/database_test.h"

#include <string>
#include <vector>

namespace {

using namespace database::sql;

/// A record as they are written: it takes its own columns.
class Item : public Query_Result_Token_Printer
{
public:
    bool print_cstr(int, const char* key, const char* value, std::size_t length) override
    {
        if (!tokens().empty()) {
            nested.emplace_back(value, length);
        } else if (std::string_view(key) == "b") {
            b.assign(value, length);
        }
        return b != "refused";
    }
    bool print_int(int, const char* key, ACE_INT64 value) override
    {
        if (std::string_view(key) == "a") {
            a = value;
        }
        return true;
    }
    bool print_json(int, const char*, const json_spirit::Value& value) override
    {
        json = value;
        return true;
    }

    ACE_INT64 a = -1;
    std::string b = "initial";
    json_spirit::Value json;
    std::vector<std::string> nested;
};

class Load_Records : public Database_Test
{
protected:
    static Select_SQL all() { return Select_SQL().table("t").select("a,b").order_by("a"); }
};

INSTANTIATE_TEST_SUITE_P(On, Load_Records, ::testing::Values(Engine::SQLITE, Engine::POSTGRESQL), engine_name);

} // namespace

TEST_P(Load_Records, each_row_becomes_a_record)
{
    make_table();
    add_rows(700);
    const std::vector<Item> items = load_records<Item>(connection(), all());
    ASSERT_EQ(items.size(), 700u);
    for (std::size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(items[i].a, static_cast<ACE_INT64>(i) + 1);
        EXPECT_EQ(items[i].b, std::to_string(i + 1));
    }
}

TEST_P(Load_Records, record_that_is_neither_copied_nor_assigned_is_loaded)
{
    struct Moving_Item : Item
    {
        Moving_Item() = default;
        Moving_Item(Moving_Item&&) = default;
        Moving_Item& operator=(Moving_Item&&) = delete;
    };
    make_table();
    add_rows(20);
    const std::vector<Moving_Item> items = load_records<Moving_Item>(connection(), all());
    ASSERT_EQ(items.size(), 20u);
    for (std::size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(items[i].b, std::to_string(i + 1));
    }
}

TEST_P(Load_Records, array_that_stays_open_does_not_reach_the_next_record)
{
    struct Opening_Item : Item
    {
        bool print_int(int index, const char* key, ACE_INT64 value) override
        {
            return Item::print_int(index, key, value) && (value != 1 || begin_array(index, "open"));
        }
    };
    make_table();
    add_rows(2);
    const std::vector<Opening_Item> items = load_records<Opening_Item>(connection(), all());
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(items[0].nested, std::vector<std::string>{"1"});
    EXPECT_EQ(items[1].b, "2");
}

TEST_P(Load_Records, null_leaves_the_initial_value)
{
    make_table();
    ASSERT_TRUE(connection().execute(Insert_SQL("t", {"a", "b"}).row({1, "x"}).row({2, Binding_Value()})));
    const std::vector<Item> items = load_records<Item>(connection(), all());
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(items[0].b, "x");
    EXPECT_EQ(items[1].b, "initial") << "nor does the record before show through";
}

TEST_P(Load_Records, no_rows_give_no_records)
{
    make_table();
    EXPECT_TRUE(load_records<Item>(connection(), all()).empty());
    EXPECT_FALSE(connection().last_error());
}

TEST_P(Load_Records, json_column_reaches_the_record_as_a_value)
{
    script(std::string("CREATE TABLE k (j ") + json_type() + ")");
    ASSERT_TRUE(connection().execute(Insert_SQL("k", {"j"}).row({"{\"a\": [1]}"})));
    const std::vector<Item> items = load_records<Item>(connection(), Select_SQL().table("k").select("j"));
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0].json.get_obj().at("a").get_array().size(), 1u);
}

TEST_P(Load_Records, failure_gives_no_records_and_an_error)
{
    make_table();
    const Log_Capture log;
    EXPECT_TRUE(load_records<Item>(connection(), Select_SQL().table("nowhere").select("a")).empty());
    EXPECT_EQ(connection().last_error().kind, Database_Error::STATEMENT);
    ASSERT_TRUE(connection().execute(Insert_SQL("t", {"a", "b"}).row({1, "x"}).row({2, "refused"}).row({3, "y"})));
    EXPECT_TRUE(load_records<Item>(connection(), all()).empty()) << "all or none";
    EXPECT_EQ(connection().last_error().kind, Database_Error::CANCELLED);
    EXPECT_EQ(connection().last_error().message, "the printer refused column \"b\"");
}

TEST_P(Load_Records, nested_rows_reach_their_record_through_the_token_path)
{
    class Hook final : public Query_Result_Handler
    {
    protected:
        bool handle_integer_i(Database_Connection& connection, int index, const char* key, ACE_INT64 value,
                              Query_Result_Printer& printer) override
        {
            if (std::string_view(key) != "parts") {
                return false;
            }
            const Printer_Array_Guard array(printer, index, key);
            Select_SQL sql = Select_SQL().table("part").select("b").where("a=:a").order_by("b");
            return connection.query_and_print(sql.bind(":a", value), printer, GM_ORM_ROWS);
        }
    } hook;
    make_table();
    add_rows(3);
    script("CREATE TABLE part (a BIGINT, b TEXT)");
    ASSERT_TRUE(connection().execute(Insert_SQL("part", {"a", "b"}).row({1, "x"}).row({1, "y"}).row({3, "z"})));
    Select_SQL sql = all();
    const std::vector<Item> items = load_records<Item>(connection(), sql.add_key("a", "parts"), &hook);
    ASSERT_EQ(items.size(), 3u);
    EXPECT_EQ(items[0].nested, (std::vector<std::string>{"x", "y"}));
    EXPECT_EQ(items[0].b, "1");
    EXPECT_TRUE(items[1].nested.empty());
    EXPECT_EQ(items[2].nested, (std::vector<std::string>{"z"}));
}

TEST_P(Load_Records, for_each_record_hands_over_one_at_a_time_until_it_is_stopped)
{
    make_table();
    add_rows(10);
    std::string seen;
    EXPECT_TRUE(for_each_record<Item>(connection(), all(), [&](Item&& item) {
        seen += item.b + ' ';
        return true;
    }));
    EXPECT_EQ(seen, "1 2 3 4 5 6 7 8 9 10 ");
    seen.clear();
    const Log_Capture log;
    EXPECT_FALSE(for_each_record<Item>(connection(), all(), [&](Item&& item) {
        seen += item.b + ' ';
        return item.a < 3;
    }));
    EXPECT_EQ(seen, "1 2 3 ");
    EXPECT_EQ(connection().last_error().kind, Database_Error::CANCELLED);
}
