#include "platform/json/object_get.h"
#include "tests/catalog/service/view_test.h"

#include <map>

namespace {

using namespace catalog;
using namespace catalog::service;

const std::string pool_a = "cccccccc-0000-4000-8000-000000000001";
const std::string pool_b = "cccccccc-0000-4000-8000-000000000002";

class View_Copies_Test : public View_Test
{
protected:
    static std::string copy(const std::string& pool, int size, const std::string& more = {})
    {
        return R"({"pool_uuid":")" + pool + R"(","size":)" + std::to_string(size) + R"(,"state":["online"])" + more
               + R"(,"extended_attrs":{"b":1,"a":[]}})";
    }

    static std::string pieces(unsigned count)
    {
        std::string text;
        for (unsigned i = 1; i <= count; ++i) {
            text += (i > 1 ? R"(,{"path":"/p)" : R"({"path":"/p)") + std::to_string(i) + R"(","object":"o","size":)"
                    + std::to_string(i) + R"(,"extended_attrs":{}})";
        }
        return text;
    }

    static std::string next(const std::string& result)
    {
        json_spirit::Value value;
        EXPECT_TRUE(json_spirit::read(result, value)) << result;
        const std::string* next = object_get_str(value.get_obj(), "next");
        return next != nullptr ? *next : "";
    }
};

} // namespace

CATALOG_TEST_ENGINES(View_Copies_Test);

TEST_P(View_Copies_Test, the_storages_of_a_set_are_written_as_documents_write_them)
{
    const std::string storages = copy(pool_a, 5) + ',' + copy(pool_b, 6, R"(,"upstream_pool_uuid":")" + pool_a + "\"");
    record(small(uuid(1), R"("storages":[)" + storages + "]"));
    record(small(uuid(2), R"("storage":)" + copy(pool_b, 7)));
    record(small(uuid(3)));
    EXPECT_EQ(whole("storages", {{"uuid", uuid(1)}}), R"({"rows":[)" + storages + "]}");
    EXPECT_EQ(whole("storages", {{"uuid", uuid(2)}}), R"({"rows":[)" + copy(pool_b, 7) + "]}");
    EXPECT_EQ(whole("storages", {{"uuid", uuid(3)}}), R"({"rows":[]})");
}

TEST_P(View_Copies_Test, the_pieces_of_a_set_are_written_as_its_document_has_them)
{
    const std::string odd = R"({"size":1,"path":"\u0041","more":null})";
    record(small(uuid(1), R"("pieces":[)" + pieces(30) + ',' + odd + "]"));
    record(small(uuid(2)));
    EXPECT_EQ(whole("pieces", {{"uuid", uuid(1)}}), R"({"rows":[)" + pieces(30) + ',' + odd + "]}");
    EXPECT_EQ(whole("pieces", {{"uuid", uuid(2)}}), R"({"rows":[]})");
    EXPECT_EQ(whole("pieces", {{"uuid", uuid(1)}, {"limit", "30"}}), R"({"rows":[)" + pieces(30) + R"(],"next":"30"})");
    EXPECT_EQ(whole("pieces", {{"uuid", uuid(1)}, {"after", 30}}), R"({"rows":[)" + odd + "]}");
    EXPECT_EQ(whole("pieces", {{"uuid", uuid(1)}, {"after", "31"}}), R"({"rows":[]})");
}

TEST_P(View_Copies_Test, many_pieces_take_many_parts_of_the_size_that_was_asked_for)
{
    record(small(uuid(1), R"("pieces":[)" + pieces(20000) + "]"));
    const auto view = opened("backup_set", "pieces", {{"uuid", uuid(1)}}, parts_of(50000));
    std::string text;
    Error error;
    std::size_t count = 0;
    while (!view->at_end()) {
        const std::size_t before = text.size();
        ASSERT_TRUE(view->read(store(), text, error)) << error.message;
        EXPECT_LE(text.size() - before, 50200u);
        ++count;
    }
    EXPECT_TRUE(text == R"({"rows":[)" + pieces(20000) + "]}");
    EXPECT_GE(count, text.size() / 50200);
}

TEST_P(View_Copies_Test, an_unknown_set_has_neither)
{
    for (const char* view : {"storages", "pieces"}) {
        const Error error = failure_of("backup_set", view, {{"uuid", uuid(1)}});
        EXPECT_EQ(error.kind, Error::NOT_FOUND) << view;
        EXPECT_EQ(error.message, "the catalog has no set " + uuid(1));
    }
}

TEST_P(View_Copies_Test, a_set_that_vanishes_between_two_parts_fails_the_rest)
{
    for (const char* view : {"storages", "pieces"}) {
        record(small(uuid(1), R"("pieces":[)" + pieces(9) + R"(],"storages":[)" + copy(pool_a, 1) + ','
                                  + copy(pool_b, 2) + "]"));
        const Error error = failure_after([&] { run("DELETE FROM backup_set"); },
                                          opened("backup_set", view, {{"uuid", uuid(1)}}, tiny));
        EXPECT_EQ(error.kind, Error::NOT_FOUND) << view;
        record(small(uuid(1), R"("pieces":[)" + pieces(9) + R"(],"storages":[)" + copy(pool_a, 1) + "]"));
        const Error changed = failure_after(
            [&] {
                run("DELETE FROM backup_set");
                record(small(uuid(1), R"("pieces":[)" + pieces(10) + "]"));
            },
            opened("backup_set", view, {{"uuid", uuid(1)}}, tiny));
        EXPECT_EQ(changed.kind, Error::CONFLICT) << view;
        run("DELETE FROM backup_set");
    }
}

TEST_P(View_Copies_Test, a_pool_has_the_copies_of_the_newest_sets_first)
{
    const auto with = [](unsigned number, const std::string& time, const std::string& storages) {
        return small(uuid(number), R"("backup_start_time":")" + time + R"(","storages":[)" + storages + "]");
    };
    record(with(1, "2024-01-01 00:00:00", copy(pool_a, 1)));
    record(with(2, "2024-01-02 00:00:00", copy(pool_b, 2) + ',' + copy(pool_a, 3)));
    record(with(3, "2024-01-02 00:00:00", copy(pool_a, 4, R"(,"upstream_pool_uuid":")" + pool_b + "\"")));
    const auto row = [](unsigned number, const std::string& time, const std::string& storage) {
        return R"({"set_uuid":")" + uuid(number) + R"(","backup_start_time":")" + time + R"(",)" + storage.substr(1);
    };
    const std::string third =
        row(3, "2024-01-02 00:00:00", copy(pool_a, 4, R"(,"upstream_pool_uuid":")" + pool_b + "\""));
    const std::string second = row(2, "2024-01-02 00:00:00", copy(pool_a, 3));
    const std::string first = row(1, "2024-01-01 00:00:00", copy(pool_a, 1));
    EXPECT_EQ(whole("pool", {{"pool", pool_a}}), R"({"rows":[)" + third + ',' + second + ',' + first + "]}");
    EXPECT_EQ(whole("pool", {{"pool", uuid(1)}}), R"({"rows":[]})");
    const std::string page = whole("pool", {{"pool", pool_a}, {"limit", 2}});
    const std::string id = query("SELECT id FROM backup_set_storage WHERE size = 3").at(0).at(0);
    EXPECT_EQ(page, R"({"rows":[)" + third + ',' + second + R"(],"next":"2024-01-02T00:00:00Z/)" + uuid(2) + '/' + id
                        + "\"}");
    EXPECT_EQ(whole("pool", {{"pool", pool_a}, {"limit", 2}, {"after", next(page)}}), R"({"rows":[)" + first + "]}");
}

TEST_P(View_Copies_Test, pages_of_a_pool_cover_all_copies_once_while_others_are_recorded)
{
    const auto with = [](unsigned number) {
        return small(uuid(number), R"("backup_start_time":"2024-01-0)" + std::to_string(1 + number % 4)
                                       + R"( 00:00:00","storages":[)" + copy(pool_a, static_cast<int>(number)) + ','
                                       + copy(pool_a, static_cast<int>(number) + 10000) + "]");
    };
    for (unsigned i = 1; i <= 30; ++i) {
        record(with(i));
    }
    std::map<std::int64_t, int> seen; // by size
    std::string key;
    unsigned added = 1000;
    do {
        record(with(added++));
        const std::string page = read("backup_set", "pool", {{"pool", pool_a}, {"limit", 7}, {"after", key}});
        json_spirit::Value value;
        ASSERT_TRUE(json_spirit::read(page, value));
        for (const json_spirit::Value& row : object_get_array_or_throw(value.get_obj(), "rows")) {
            ++seen[object_get_int64_or_throw(row.get_obj(), "size")];
        }
        key = next(page);
    } while (!key.empty());
    for (const auto& [size, times] : seen) {
        EXPECT_EQ(times, 1) << size;
    }
    for (int i = 1; i <= 30; ++i) {
        EXPECT_EQ(seen[i], 1) << i;
        EXPECT_EQ(seen[i + 10000], 1) << i;
    }
}
