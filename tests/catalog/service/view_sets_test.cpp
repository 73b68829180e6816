#include "catalog/store/set_listing.h"
#include "platform/json/json_generator.h"
#include "platform/json/object_get.h"
#include "tests/catalog/service/view_test.h"

#include <set>

namespace {

using namespace catalog;
using namespace catalog::service;

const std::string host = "aaaaaaaa-0000-4000-8000-000000000001";
const std::string resource = "bbbbbbbb-0000-4000-8000-000000000001";

class View_Sets_Test : public View_Test
{
protected:
    static std::string started(unsigned number, const std::string& time, const std::string& members = {})
    {
        return small(uuid(number), R"("backup_start_time":")" + time + "\"" + (members.empty() ? "" : ",") + members);
    }

    /// The row of a set of which only its start is known.
    static std::string row(unsigned number, const std::string& time)
    {
        return R"({"uuid":")" + uuid(number)
               + R"(","type":"oracle_exp","name":"","host":"","host_uuid":"","resource_uuid":"",)"
                 R"("minor_resource_name":"","backup_type":"","backup_start_time":")"
               + time + R"(","backup_end_time":null,"size":0,"source_size":0,"piece_count":0,"states":[]})";
    }

    void record_days(unsigned first, unsigned last)
    {
        std::vector<std::string> documents;
        for (unsigned i = first; i <= last; ++i) {
            documents.push_back(
                started(i, "2024-01-" + std::string(i % 28 < 9 ? "0" : "") + std::to_string(i % 28 + 1) + " 00:00:00"));
        }
        for (const Record_Result& result : store().record(documents)) {
            ASSERT_FALSE(result.error) << result.error.message;
        }
    }

    /// The numbers of the sets of a result.
    static std::vector<unsigned> numbers(const std::string& result)
    {
        json_spirit::Value value;
        EXPECT_TRUE(json_spirit::read(result, value)) << result;
        std::vector<unsigned> all;
        for (const json_spirit::Value& set : object_get_array_or_throw(value.get_obj(), "rows")) {
            all.push_back(static_cast<unsigned>(
                std::stoul(object_get_str_or_throw(set.get_obj(), "uuid").substr(0, 8), nullptr, 16)));
        }
        return all;
    }

    static std::string next(const std::string& result)
    {
        json_spirit::Value value;
        EXPECT_TRUE(json_spirit::read(result, value)) << result;
        const std::string* next = object_get_str(value.get_obj(), "next");
        return next != nullptr ? *next : "";
    }
};

using Numbers = std::vector<unsigned>;

} // namespace

CATALOG_TEST_ENGINES(View_Sets_Test);

TEST_P(View_Sets_Test, no_set_is_no_row)
{
    EXPECT_EQ(whole("sets", {}), R"({"rows":[]})");
}

TEST_P(View_Sets_Test, the_newest_come_first_and_next_goes_on_behind_the_last)
{
    for (unsigned i = 1; i <= 3; ++i) {
        record(started(i, "2024-01-0" + std::to_string(i) + " 01:02:03"));
    }
    const std::string day = " 01:02:03";
    EXPECT_EQ(whole("sets", {}), R"({"rows":[)" + row(3, "2024-01-03" + day) + ',' + row(2, "2024-01-02" + day) + ','
                                     + row(1, "2024-01-01" + day) + "]}");
    const std::string first = whole("sets", {{"limit", 2}});
    EXPECT_EQ(first, R"({"rows":[)" + row(3, "2024-01-03" + day) + ',' + row(2, "2024-01-02" + day)
                         + R"(],"next":"2024-01-02T01:02:03Z/)" + uuid(2) + "\"}");
    EXPECT_EQ(whole("sets", {{"limit", 2}, {"after", next(first)}}),
              R"({"rows":[)" + row(1, "2024-01-01" + day) + "]}");
    EXPECT_EQ(next(whole("sets", {{"limit", 3}})), "") << "the page is full and the last one";
}

TEST_P(View_Sets_Test, a_row_is_what_the_listing_writes)
{
    record(started(1, "2024-01-02 03:04:05",
                   R"("backup_end_time":"2024-01-02 04:00:00","name":"n \"","host":"h","host_uuid":")" + host
                       + R"(","resource_uuid":")" + resource
                       + R"(","minor_resource_name":"m","type":"full","size":7,"source_size":8,"pieces":[{},{}],)"
                         R"("storages":[{"state":["replicated"]},{"state":["online","replicated"]}])"));
    EXPECT_EQ(whole("sets", {}),
              R"({"rows":[{"uuid":")" + uuid(1) + R"(","type":"oracle_exp","name":"n \"","host":"h","host_uuid":")"
                  + host + R"(","resource_uuid":")" + resource
                  + R"(","minor_resource_name":"m","backup_type":"full","backup_start_time":"2024-01-02 03:04:05",)"
                    R"("backup_end_time":"2024-01-02 04:00:00","size":7,"source_size":8,"piece_count":2,)"
                    R"("states":["online","replicated"]}]})");
}

TEST_P(View_Sets_Test, every_filter_chooses)
{
    record(started(1, "2024-01-01 00:00:00", R"("host":"a","host_uuid":")" + host + "\""));
    record(started(2, "2024-01-02 00:00:00", R"("resource_uuid":")" + resource + R"(","minor_resource_id":"1001")"));
    record(started(3, "2024-01-03 00:00:00", R"("storage":{"state":["expired","online"]})"));
    record(R"({"catalog_module":"file","uuid":")" + uuid(4) + R"(","backup_start_time":"2024-01-04 00:00:00"})");
    const auto chosen = [this](const Object& parameters) { return numbers(whole("sets", parameters)); };
    EXPECT_EQ(chosen({{"type", "file"}}), Numbers{4});
    EXPECT_EQ(chosen({{"host", "a"}}), Numbers{1});
    EXPECT_EQ(chosen({{"host", "AAAAAAAA000040008000000000000001"}}), Numbers{1});
    EXPECT_EQ(chosen({{"resource", "{BBBBBBBB-0000-4000-8000-000000000001}"}}), Numbers{2});
    EXPECT_EQ(chosen({{"minor_resource", "1001"}}), Numbers{2});
    EXPECT_EQ(chosen({{"minor_resource", 1001}}), Numbers{2}) << "a number is its text";
    EXPECT_EQ(chosen({{"state", "expired"}}), Numbers{3});
    EXPECT_EQ(chosen({{"since", "2024-01-02 00:00:00"}}), (Numbers{4, 3, 2}));
    EXPECT_EQ(chosen({{"since", "2024-01-02T08:00:00+08:00"}, {"until", "2024-01-04"}}), (Numbers{3, 2}));
    EXPECT_EQ(chosen({{"type", "oracle_exp"}, {"state", "online"}}), Numbers{3});
    EXPECT_EQ(chosen({{"host", "nobody"}}), Numbers{});
    EXPECT_EQ(chosen({{"since", "9999-12-31T23:59:59-23:00"}}), Numbers{}) << "behind all times";
    EXPECT_EQ(chosen({{"host", json_spirit::Value()}, {"type", ""}}), (Numbers{4, 3, 2, 1})) << "no value, no filter";
}

TEST_P(View_Sets_Test, a_hundred_sets_when_no_limit_is_given)
{
    record_days(1, 101);
    const std::string first = whole("sets", {});
    EXPECT_EQ(numbers(first).size(), 100u);
    EXPECT_EQ(numbers(whole("sets", {{"after", next(first)}})).size(), 1u);
}

TEST_P(View_Sets_Test, the_largest_page_takes_few_parts)
{
    record_days(1, 1200);
    const std::string page = read("backup_set", "sets", {{"limit", "1000"}});
    EXPECT_EQ(numbers(page).size(), 1000u);
    EXPECT_LE(parts, 3u);
    EXPECT_NE(next(page), "");
}

TEST_P(View_Sets_Test, pages_cover_all_sets_once_while_others_are_recorded)
{
    record_days(1, 60);
    std::multiset<unsigned> seen;
    std::string key;
    unsigned added = 1000;
    do {
        const auto view = opened("backup_set", "sets", {{"limit", 7}, {"after", key}}, parts_of(500));
        const std::string page = read(*view, [&] {
            record(started(added, "2024-01-" + std::to_string(10 + added % 19) + " 12:00:00"));
            ++added;
        });
        EXPECT_GT(parts, 2u);
        for (const unsigned number : numbers(page)) {
            seen.insert(number);
        }
        key = next(page);
    } while (!key.empty());
    for (unsigned i = 1; i <= 60; ++i) {
        EXPECT_EQ(seen.count(i), 1u) << i;
    }
    for (unsigned i = 1000; i < added; ++i) {
        EXPECT_LE(seen.count(i), 1u) << i;
    }
    EXPECT_GT(added, 1010u);
}

TEST_P(View_Sets_Test, sets_that_are_not_committed_are_shown_when_asked_for)
{
    const auto step = [this](Write_Operation operation, const std::string& params, std::time_t now) {
        const Write_Request request{.operation = operation, .params = params};
        const Write_Answer answer = store().apply(std::span(&request, 1), now).at(0);
        ASSERT_FALSE(answer.error) << answer.error.message;
    };
    const std::time_t noon = 1704110400; // 2024-01-01 12:00:00
    record(started(1, "2024-01-01 00:00:00"));
    record(started(2, "2024-02-01 00:00:00"));
    step(Write_Operation::INITIALIZE, small(uuid(3), R"("pieces":[{"path":"a"},{"path":"b"}])"), noon);
    step(Write_Operation::INITIALIZE, R"({"catalog_module":"file","uuid":")" + uuid(4) + "\"}", noon + 1);
    step(Write_Operation::INITIALIZE, small(uuid(5)), noon + 2);
    step(Write_Operation::COMPLETE, small(uuid(5)), noon + 3);
    const std::string third =
        R"({"uuid":")" + uuid(3)
        + R"(","type":"oracle_exp","life":"open","started":"2024-01-01 12:00:00","piece_count":2})";
    const std::string fourth =
        R"({"uuid":")" + uuid(4) + R"(","type":"file","life":"open","started":"2024-01-01 12:00:01","piece_count":0})";
    const std::string fifth =
        R"({"uuid":")" + uuid(5)
        + R"(","type":"oracle_exp","life":"complete","started":"2024-01-01 12:00:02","piece_count":0})";
    const std::string committed = row(2, "2024-02-01 00:00:00") + ',' + row(1, "2024-01-01 00:00:00");
    const auto result = [](const std::string& rows) { return R"({"rows":[)" + rows + "]}"; };
    EXPECT_EQ(whole("sets", {}), result(committed)) << "only when asked for";
    EXPECT_EQ(whole("sets", {{"life", "committed"}}), result(committed));
    EXPECT_EQ(whole("sets", {{"life", "open"}}), result(fourth + ',' + third));
    EXPECT_EQ(whole("sets", {{"life", "complete"}}), result(fifth));
    EXPECT_EQ(whole("sets", {{"life", "open"}, {"type", "oracle_exp"}}), result(third));
    const std::string all = whole("sets", {{"life", "any"}});
    EXPECT_EQ(all, result(fifth + ',' + fourth + ',' + third + ',' + committed));
    EXPECT_EQ(whole("sets", {{"life", "any"}, {"type", "file"}}), result(fourth));
    for (const int limit : {1, 2, 3, 4, 5}) {
        std::string joined;
        std::string key;
        do {
            const std::string page = whole("sets", {{"life", "any"}, {"limit", limit}, {"after", key}});
            const std::size_t begin = result("").size() - 2;
            joined += (joined.empty() ? "" : ",") + page.substr(begin, page.rfind("}]") + 1 - begin);
            key = next(page);
        } while (!key.empty());
        EXPECT_EQ(result(joined), all) << limit;
    }
    EXPECT_EQ(next(whole("sets", {{"life", "any"}, {"limit", 3}})), "open/2024-01-01T12:00:00Z/" + uuid(3));
}

TEST_P(View_Sets_Test, a_failing_database_fails_the_part_and_leaves_the_text)
{
    record(started(1, "2024-01-01 00:00:00"));
    const auto view = opened("backup_set", "sets", {}, {});
    run("ALTER TABLE backup_set RENAME TO hidden_set");
    Log_Capture log;
    std::string text = "before";
    Error error;
    EXPECT_FALSE(view->read(store(), text, error));
    EXPECT_EQ(error.kind, Error::DATABASE);
    EXPECT_EQ(text, "before");
}

TEST_P(View_Sets_Test, the_newest_of_a_resource_is_by_its_end_then_its_start_then_its_uuid)
{
    const std::string of = R"("resource_uuid":")" + resource + "\"";
    const auto latest = [this](const Object& more = {}) {
        Object parameters{{"resource", resource}};
        parameters.insert(more.begin(), more.end());
        return whole("latest", parameters);
    };
    EXPECT_EQ(latest(), R"({"rows":[]})");
    record(started(9, "2024-06-01 00:00:00", R"("backup_end_time":"2024-06-01 00:00:00")"));
    EXPECT_EQ(latest(), R"({"rows":[]})") << "of another resource";

    const auto becomes_latest = [&](const std::string& document) {
        record(document);
        EXPECT_EQ(latest(), R"({"rows":[)" + document + "]}");
    };
    becomes_latest(started(1, "2024-01-01 00:00:00", of));
    becomes_latest(started(2, "2024-03-01 00:00:00", of + R"(,"pieces":[{"path":"p"}])"));
    becomes_latest(started(4, "2024-01-01 00:00:00", of + R"(,"backup_end_time":"2024-01-02 00:00:00")"));
    becomes_latest(started(3, "2024-01-01 12:00:00", of + R"(,"backup_end_time":"2024-01-02 00:00:00")"));
    becomes_latest(started(6, "2024-01-01 12:00:00", of + R"(,"backup_end_time":"2024-01-02 00:00:00")"));
    const std::string last = started(5, "2023-01-01 00:00:00", of + R"(,"backup_end_time":"2024-01-03 00:00:00")");
    becomes_latest(last);
    record(started(7, "2024-01-01 12:00:00", of + R"(,"backup_end_time":"2024-01-02 00:00:00")"));
    EXPECT_EQ(latest(), R"({"rows":[)" + last + "]}");

    EXPECT_EQ(latest({{"type", "file"}}), R"({"rows":[]})");
    const std::string file = R"({"catalog_module":"file","uuid":")" + uuid(8) + "\"," + of + "}";
    record(file);
    EXPECT_EQ(latest({{"type", "file"}}), R"({"rows":[)" + file + "]}");
    EXPECT_EQ(latest({{"type", "oracle_exp"}}), R"({"rows":[)" + last + "]}");
}
