#include "platform/json/object_get.h"
#include "tests/catalog/service/view_test.h"

namespace {

using namespace catalog;
using namespace catalog::service;
using Numbers = std::vector<unsigned>;

class View_Chain_Test : public View_Test
{
protected:
    static std::string uuids(const Numbers& numbers)
    {
        std::string text = "[";
        for (const unsigned number : numbers) {
            text += (text.size() > 1 ? ",\"" : "\"") + uuid(number) + "\"";
        }
        return text + "]";
    }

    /// A set that starts in a minute of its own.
    static std::string set(unsigned number, const Numbers& parents, const std::string& time)
    {
        return small(uuid(number), R"("backup_start_time":")" + time + R"(","parents":)" + uuids(parents));
    }

    static std::string time(unsigned number)
    {
        char text[20];
        std::snprintf(text, sizeof text, "2024-01-01 %02u:%02u:00", number / 60 % 24, number % 60);
        return text;
    }

    void add(unsigned number, const Numbers& parents) { record(set(number, parents, time(number))); }

    /// The sets of a chain, in its order.
    Numbers order(unsigned number)
    {
        json_spirit::Value value;
        EXPECT_TRUE(json_spirit::read(whole("chain", {{"uuid", uuid(number)}}), value));
        return numbers(object_get_array_or_throw(value.get_obj(), "rows"));
    }

    static Numbers numbers(const json_spirit::Array& rows)
    {
        Numbers all;
        for (const json_spirit::Value& row : rows) {
            all.push_back(static_cast<unsigned>(
                std::stoul(object_get_str_or_throw(row.get_obj(), "uuid").substr(0, 8), nullptr, 16)));
        }
        return all;
    }

    /// What stands behind the rows.
    std::string rest(unsigned number)
    {
        const std::string text = whole("chain", {{"uuid", uuid(number)}});
        return text.substr(text.rfind(R"(],"missing")") + 2);
    }
};

} // namespace

CATALOG_TEST_ENGINES(View_Chain_Test);

TEST_P(View_Chain_Test, a_set_comes_behind_those_that_it_depends_on)
{
    record(small(uuid(7), R"("backup_start_time":"2024-01-01 00:07:00","type":"full","host":"h")"));
    add(8, {7});
    const auto row = [](unsigned number, const std::string& host, const std::string& type, const std::string& parents) {
        return R"({"uuid":")" + uuid(number) + R"(","type":"oracle_exp","name":"","host":")" + host
               + R"(","host_uuid":"","resource_uuid":"","minor_resource_name":"","backup_type":")" + type
               + R"(","backup_start_time":")" + time(number)
               + R"(","backup_end_time":null,"size":0,"source_size":0,"piece_count":0,"states":[],"parents":)" + parents
               + "}";
    };
    EXPECT_EQ(whole("chain", {{"uuid", uuid(8)}}), R"({"rows":[)" + row(7, "h", "full", "[]") + ','
                                                       + row(8, "", "", uuids({7})) + R"(],"missing":[],"cycles":[]})");
    EXPECT_EQ(whole("chain", {{"uuid", uuid(7)}}),
              R"({"rows":[)" + row(7, "h", "full", "[]") + R"(],"missing":[],"cycles":[]})")
        << "those that depend on it are not shown";
}

TEST_P(View_Chain_Test, a_diamond_has_each_set_once)
{
    add(1, {});
    add(3, {1});
    add(2, {1});
    add(4, {3, 2});
    EXPECT_EQ(order(4), (Numbers{1, 2, 3, 4}));
    EXPECT_EQ(rest(4), R"("missing":[],"cycles":[]})");
}

TEST_P(View_Chain_Test, the_order_of_dependencies_outweighs_that_of_times)
{
    add(1, {9});
    add(9, {5});
    add(5, {});
    add(2, {1, 5, 9});
    EXPECT_EQ(order(2), (Numbers{5, 9, 1, 2}));
}

TEST_P(View_Chain_Test, missing_parents_are_named)
{
    add(1, {77});
    add(2, {1, 66, 66});
    EXPECT_EQ(order(2), (Numbers{1, 2}));
    EXPECT_EQ(rest(2), R"("missing":)" + uuids({66, 77}) + R"(,"cycles":[]})");
}

TEST_P(View_Chain_Test, cycles_are_named_and_end)
{
    add(1, {});
    add(2, {4, 1});
    add(3, {2});
    add(4, {3});
    add(5, {4});
    add(6, {6, 5});
    EXPECT_EQ(order(6), (Numbers{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(rest(6), R"("missing":[],"cycles":[)" + uuids({2, 3, 4}) + ',' + uuids({6}) + "]}");
    EXPECT_EQ(order(3), (Numbers{1, 2, 3, 4})) << "from inside of the cycle";
    EXPECT_EQ(rest(3), R"("missing":[],"cycles":[)" + uuids({2, 3, 4}) + "]}");
}

TEST_P(View_Chain_Test, a_chain_a_thousand_deep)
{
    std::vector<std::string> documents;
    Numbers expected;
    for (unsigned i = 1; i <= 1000; ++i) {
        documents.push_back(set(i, i > 1 ? Numbers{i - 1} : Numbers{}, "2024-01-01 00:00:00"));
        expected.push_back(i);
    }
    for (const Record_Result& result : store().record(documents)) {
        ASSERT_FALSE(result.error) << result.error.message;
    }
    json_spirit::Value value;
    ASSERT_TRUE(json_spirit::read(read("backup_set", "chain", {{"uuid", uuid(1000)}}), value));
    EXPECT_EQ(numbers(object_get_array_or_throw(value.get_obj(), "rows")), expected);
    EXPECT_GT(parts, 1u);
}

TEST_P(View_Chain_Test, a_wide_chain_takes_several_queries_a_generation)
{
    std::vector<std::string> documents;
    Numbers parents;
    for (unsigned i = 2; i <= 1100; ++i) {
        documents.push_back(set(i, {1}, time(i)));
        parents.push_back(i);
    }
    documents.push_back(set(1, {}, time(1)));
    documents.push_back(set(5000, parents, time(0)));
    for (const Record_Result& result : store().record(documents)) {
        ASSERT_FALSE(result.error) << result.error.message;
    }
    json_spirit::Value value;
    ASSERT_TRUE(json_spirit::read(read("backup_set", "chain", {{"uuid", uuid(5000)}}), value));
    const Numbers found = numbers(object_get_array_or_throw(value.get_obj(), "rows"));
    ASSERT_EQ(found.size(), 1101u);
    EXPECT_EQ(found.front(), 1u);
    EXPECT_EQ(found.back(), 5000u);
    EXPECT_EQ(object_get_array_or_throw(value.get_obj(), "missing").size(), 0u);
}

TEST_P(View_Chain_Test, too_many_sets_are_refused)
{
    for (unsigned i = 1; i <= 6; ++i) {
        add(i, i > 1 ? Numbers{i - 1} : Numbers{});
    }
    const View_Limits limits{.part = 1000, .document = 1000, .chain_sets = 5};
    json_spirit::Value value;
    ASSERT_TRUE(json_spirit::read(read("backup_set", "chain", {{"uuid", uuid(5)}}, limits), value));
    const Error error = failure_of("backup_set", "chain", {{"uuid", uuid(6)}}, limits);
    EXPECT_EQ(error.kind, Error::REFUSED);
    EXPECT_EQ(error.key, "uuid");
    EXPECT_EQ(error.message,
              "the chain of set " + uuid(6) + " has more than 5 sets or 50 dependencies, which is more than is shown");
    add(7, Numbers(51, 1));
    EXPECT_EQ(failure_of("backup_set", "chain", {{"uuid", uuid(7)}}, limits).kind, Error::REFUSED);
}

TEST_P(View_Chain_Test, an_unknown_set_is_not_found)
{
    add(1, {2});
    const Error error = failure_of("backup_set", "chain", {{"uuid", uuid(2)}});
    EXPECT_EQ(error.kind, Error::NOT_FOUND);
    EXPECT_EQ(error.message, "the catalog has no set " + uuid(2));
}
