#include "platform/json/object_get.h"
#include "tests/catalog/service/view_test.h"
#include "tests/catalog/store/sample_set.h"

#include <set>

namespace {

using namespace catalog;
using namespace catalog::service;

class View_Type_Test : public View_Test
{
protected:
    static std::string sample(int number, const std::string& type, const std::string& start = "2024-05-01 22:00:00")
    {
        sample_set::Sample sample;
        sample.number = number;
        sample.type = type;
        sample.start = start;
        return sample_set::document(sample);
    }

    static json_spirit::Array rows(const std::string& result)
    {
        json_spirit::Value value;
        EXPECT_TRUE(json_spirit::read(result, value)) << result;
        return object_get_array_or_throw(value.get_obj(), "rows");
    }

    static std::string next(const std::string& result)
    {
        json_spirit::Value value;
        EXPECT_TRUE(json_spirit::read(result, value)) << result;
        const std::string* next = object_get_str(value.get_obj(), "next");
        return next != nullptr ? *next : "";
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
};

} // namespace

CATALOG_TEST_ENGINES(View_Type_Test);

TEST_P(View_Type_Test, the_rows_of_every_type_are_the_same_in_parts_and_in_pages)
{
    int number = 0;
    for (const Set_Type& type : set_types()) {
        for (int i = 0; i < 3; ++i) {
            record(sample(++number, type.id, i == 0 ? "2024-05-01 22:00:00" : "2024-05-02 22:00:00"));
        }
    }
    number = -2;
    for (const Set_Type& type : set_types()) {
        number += 3;
        Select_SQL sql;
        type.init_select(sql, type.aliases);
        if (sql.empty()) {
            continue;
        }
        SCOPED_TRACE(type.id);
        const std::string all = whole(type.id, "sets", {});
        ASSERT_EQ(rows(all).size(), 3u);
        std::string joined;
        std::string key;
        std::size_t pages = 0;
        do {
            const std::string page = read(type.id, "sets", {{"limit", 1}, {"after", key}});
            const std::size_t begin = std::string_view(R"({"rows":[)").size();
            joined += (joined.empty() ? "" : ",") + page.substr(begin, page.rfind(']') - begin);
            key = next(page);
            ++pages;
        } while (!key.empty());
        EXPECT_EQ(R"({"rows":[)" + joined + "]}", all);
        EXPECT_EQ(pages, 3u);
        for (int i = 0; i < 3; ++i) {
            const json_spirit::Array one = rows(read(type.id, "sets", {{"uuid", sample_set::sample_uuid(number + i)}}));
            ASSERT_EQ(one.size(), 1u);
            EXPECT_EQ(object_get_str_or_throw(one[0].get_obj(), "uuid"), sample_set::sample_uuid(number + i));
            EXPECT_EQ(object_get_array_or_throw(one[0].get_obj(), "pieces").size(), 3u);
            EXPECT_EQ(object_get_array_or_throw(one[0].get_obj(), "storages").size(), 2u);
        }
        EXPECT_EQ(read(type.id, "sets", {{"uuid", uuid(1)}}), R"({"rows":[]})");
    }
}

TEST_P(View_Type_Test, the_key_of_a_page_is_the_start_and_the_uuid_or_the_uuid)
{
    for (int i = 1; i <= 2; ++i) {
        record(sample(i, "oracle"));
        record(sample(10 + i, "hyperv"));
    }
    EXPECT_EQ(next(whole("oracle", "sets", {{"limit", 1}})), "2024-05-01T22:00:00Z/" + sample_set::sample_uuid(2));
    EXPECT_EQ(next(whole("hyperv", "sets", {{"limit", 1}})), sample_set::sample_uuid(12));
}

TEST_P(View_Type_Test, a_row_with_many_pieces_comes_in_parts)
{
    record(small(uuid(1), R"("backup_start_time":"2024-01-01 00:00:00")"));
    record(small(uuid(2), R"("backup_start_time":"2024-01-02 00:00:00","pieces":[)" + pieces(3000) + "]"));
    record(small(uuid(3), R"("backup_start_time":"2024-01-03 00:00:00","pieces":[)" + pieces(2) + "]"));
    const std::string all = read("oracle_exp", "sets", {}, {.part = std::size_t{1} << 30});
    EXPECT_EQ(parts, 1u);
    ASSERT_EQ(rows(all).size(), 3u);
    EXPECT_EQ(object_get_array_or_throw(rows(all)[1].get_obj(), "pieces").size(), 3000u);
    const auto view = opened("oracle_exp", "sets", {}, parts_of(10000));
    std::string text;
    Error error;
    for (parts = 0; !view->at_end(); ++parts) {
        const std::size_t before = text.size();
        ASSERT_TRUE(view->read(store(), text, error)) << error.message;
        EXPECT_LE(text.size() - before, 10200u);
    }
    EXPECT_TRUE(text == all);
    EXPECT_GT(parts, all.size() / 10200);
}

TEST_P(View_Type_Test, a_row_in_parts_whose_set_changes_fails_the_rest)
{
    record(small(uuid(2), R"("pieces":[)" + pieces(300) + "]"));
    const auto part_of_row = [] { return opened("oracle_exp", "sets", {}, parts_of(5000)); };
    EXPECT_EQ(failure_after(
                  [&] {
                      run("DELETE FROM backup_set");
                      record(small(uuid(2), R"("pieces":[)" + pieces(301) + "]"));
                  },
                  part_of_row())
                  .kind,
              Error::CONFLICT);
    EXPECT_EQ(failure_after([&] { run("DELETE FROM backup_set"); }, part_of_row()).kind, Error::NOT_FOUND);
}

TEST_P(View_Type_Test, pages_cover_all_sets_once_while_others_are_recorded)
{
    int number = 0;
    for (; number < 40; ++number) {
        record(sample(number, "oracle", "2024-05-0" + std::to_string(1 + number % 5) + " 22:00:00"));
    }
    std::multiset<std::string> seen;
    std::string key;
    do {
        const auto view = opened("oracle", "sets", {{"limit", 6}, {"after", key}}, parts_of(3000));
        const std::string page = read(*view, [&] {
            record(sample(number, "oracle", "2024-05-0" + std::to_string(1 + number % 5) + " 12:00:00"));
            ++number;
        });
        EXPECT_LE(rows(page).size(), 6u);
        for (const json_spirit::Value& row : rows(page)) {
            seen.insert(object_get_str_or_throw(row.get_obj(), "uuid"));
        }
        key = next(page);
    } while (!key.empty());
    EXPECT_GT(number, 45);
    for (int i = 0; i < number; ++i) {
        if (i < 40) {
            EXPECT_EQ(seen.count(sample_set::sample_uuid(i)), 1u) << i;
        } else {
            EXPECT_LE(seen.count(sample_set::sample_uuid(i)), 1u) << i;
        }
    }
}
