#include "tests/catalog/store/catalog_test.h"

#include <limits>

namespace {

using namespace catalog;

const std::string host_a = "aaaaaaaa-0000-4000-8000-000000000001";
const std::string resource_a = "bbbbbbbb-0000-4000-8000-000000000001";

class Listing_Test : public Catalog_Test
{
protected:
    std::string started(unsigned number, const std::string& time, const std::string& members = {})
    {
        return small(uuid(number), R"("backup_start_time":")" + time + "\"" + (members.empty() ? "" : ",") + members);
    }

    Set_Page list(const Set_Filter& filter, std::size_t limit = 100, std::string_view after = {})
    {
        Set_Page page;
        Error error;
        if (!store().list(filter, limit, after, page, error)) {
            throw std::runtime_error(error.message);
        }
        return page;
    }

    /// The numbers of the sets of a listing.
    std::vector<unsigned> numbers(const Set_Filter& filter)
    {
        std::vector<unsigned> found;
        for (const Set_Summary& set : list(filter).sets) {
            found.push_back(static_cast<unsigned>(std::stoul(set.uuid.substr(0, 8), nullptr, 16)));
        }
        return found;
    }

    Error refusal_of(const Set_Filter& filter, std::size_t limit = 10, std::string_view after = {})
    {
        Set_Page page;
        page.next = "as it was";
        Error error;
        EXPECT_FALSE(store().list(filter, limit, after, page, error));
        EXPECT_EQ(error.kind, Error::REFUSED);
        EXPECT_TRUE(page.sets.empty());
        return error;
    }
};

using Numbers = std::vector<unsigned>;

} // namespace

CATALOG_TEST_ENGINES(Listing_Test);

TEST_P(Listing_Test, shows_newest_first_and_by_uuid_among_those_of_one_time)
{
    record(started(1, "2024-01-01 00:00:00"));
    record(started(4, "2024-01-02 00:00:00"));
    record(started(3, "2024-01-02 00:00:00"));
    record(started(2, "2024-01-03 00:00:00"));
    record(small(uuid(5))); // no time: the epoch
    EXPECT_EQ(numbers({}), (Numbers{2, 4, 3, 1, 5}));
}

TEST_P(Listing_Test, a_summary_has_what_the_set_has)
{
    record(started(1, "2024-01-02 03:04:05",
                   R"("backup_end_time":"2024-01-02 04:00:00","name":"n","host":"h","host_uuid":")" + host_a
                       + R"(","resource_uuid":")" + resource_a
                       + R"(","minor_resource_name":"m","type":"full","size":7,"source_size":8,"pieces":[{},{}],)"
                         R"("storages":[{"state":["replicated"]},{"state":["online","replicated"]}])"));
    const Set_Page page = list({});
    ASSERT_EQ(page.sets.size(), 1u);
    const Set_Summary& set = page.sets[0];
    EXPECT_EQ(set.uuid, uuid(1));
    EXPECT_EQ(set.type, "oracle_exp");
    EXPECT_EQ(set.name, "n");
    EXPECT_EQ(set.host, "h");
    EXPECT_EQ(set.host_uuid, host_a);
    EXPECT_EQ(set.resource_uuid, resource_a);
    EXPECT_EQ(set.minor_resource_name, "m");
    EXPECT_EQ(set.backup_type, "full");
    EXPECT_EQ(set.backup_start_time, 1704164645);
    EXPECT_EQ(set.backup_end_time, 1704168000);
    EXPECT_EQ(set.size, 7);
    EXPECT_EQ(set.source_size, 8);
    EXPECT_EQ(set.piece_count, 2);
    EXPECT_EQ(set.states, (std::vector<std::string>{"online", "replicated"}));
    EXPECT_EQ(page.next, "");
}

TEST_P(Listing_Test, a_bare_set_has_an_empty_summary)
{
    record(small(uuid(1)));
    const Set_Page page = list({});
    ASSERT_EQ(page.sets.size(), 1u);
    EXPECT_EQ(page.sets[0].name, "");
    EXPECT_EQ(page.sets[0].host_uuid, "");
    EXPECT_EQ(page.sets[0].backup_start_time, 0);
    EXPECT_EQ(page.sets[0].backup_end_time, 0);
    EXPECT_TRUE(page.sets[0].states.empty());
}

TEST_P(Listing_Test, every_filter_chooses)
{
    record(started(1, "2024-01-01 00:00:00", R"("host":"a","host_uuid":")" + host_a + "\""));
    record(started(2, "2024-01-02 00:00:00", R"("resource_uuid":")" + resource_a + R"(","minor_resource_id":"m1")"));
    record(started(3, "2024-01-03 00:00:00", R"("storage":{"state":["expired","online"]})"));
    record(R"({"catalog_module":"file","uuid":")" + uuid(4) + R"(","backup_start_time":"2024-01-04 00:00:00"})");
    EXPECT_EQ(numbers({.type = "file"}), Numbers{4});
    EXPECT_EQ(numbers({.type = "oracle_exp"}), (Numbers{3, 2, 1}));
    EXPECT_EQ(numbers({.host = "a"}), Numbers{1});
    EXPECT_EQ(numbers({.host = "A"}), Numbers{});
    EXPECT_EQ(numbers({.host = "AAAAAAAA000040008000000000000001"}), Numbers{1});
    EXPECT_EQ(numbers({.resource = "{BBBBBBBB-0000-4000-8000-000000000001}"}), Numbers{2});
    EXPECT_EQ(numbers({.resource = host_a}), Numbers{});
    EXPECT_EQ(numbers({.minor_resource = "m1"}), Numbers{2});
    EXPECT_EQ(numbers({.state = "expired"}), Numbers{3});
    EXPECT_EQ(numbers({.state = "online"}), Numbers{3});
    EXPECT_EQ(numbers({.state = "virtual"}), Numbers{});
}

TEST_P(Listing_Test, since_is_inclusive_and_until_is_not)
{
    record(started(1, "2024-01-01 00:00:00"));
    record(started(2, "2024-01-01 00:00:01"));
    record(started(3, "2024-01-01 00:00:02"));
    const std::time_t first = 1704067200;
    EXPECT_EQ(numbers({.since = first + 1}), (Numbers{3, 2}));
    EXPECT_EQ(numbers({.until = first + 1}), Numbers{1});
    EXPECT_EQ(numbers({.since = first + 1, .until = first + 2}), Numbers{2});
    EXPECT_EQ(numbers({.since = first + 2, .until = first + 1}), Numbers{});
}

TEST_P(Listing_Test, times_beyond_the_calendar_choose_all_or_nothing)
{
    record(started(1, "9999-12-31 23:59:59"));
    record(started(2, "0001-01-01 00:00:00"));
    const std::time_t end = 253402300799;
    const std::time_t begin = -62135596800;
    EXPECT_EQ(numbers({.since = end + 1}), Numbers{});
    EXPECT_EQ(numbers({.since = end}), Numbers{1});
    EXPECT_EQ(numbers({.since = begin - 1}), (Numbers{1, 2}));
    EXPECT_EQ(numbers({.until = end + 1}), (Numbers{1, 2}));
    EXPECT_EQ(numbers({.until = begin}), Numbers{});
    EXPECT_EQ(numbers({.until = begin - 1}), Numbers{});
}

TEST_P(Listing_Test, all_given_filters_must_match)
{
    const std::string both = R"("host":"a","storage":{"state":["online"]})";
    record(started(1, "2024-01-01 00:00:00", both));
    record(started(2, "2024-01-02 00:00:00", R"("host":"a","storage":{"state":["offline"]})"));
    record(started(3, "2024-01-03 00:00:00", R"("host":"b","storage":{"state":["online"]})"));
    EXPECT_EQ(numbers({.host = "a", .state = "online"}), Numbers{1});
    EXPECT_EQ(numbers({.type = "oracle_exp", .state = "online"}), (Numbers{3, 1}));
    EXPECT_EQ(numbers({.type = "file", .state = "online"}), Numbers{});
    EXPECT_EQ(numbers({.state = "online", .since = 1704067201}), Numbers{3});
    EXPECT_EQ(numbers({.type = "oracle_exp", .host = "a", .state = "offline", .until = 1704240000}), Numbers{2});
}

TEST_P(Listing_Test, pages_join_into_the_whole_listing_for_every_filter)
{
    // Many sets of few times, so that pages end inside a time.
    std::vector<std::string> documents;
    for (unsigned i = 1; i <= 47; ++i) {
        documents.push_back(started(i * 7919 % 1000, "2024-01-0" + std::to_string(1 + i % 3) + " 00:00:00",
                                    R"("host":"h","host_uuid":")" + host_a + R"(","resource_uuid":")" + resource_a
                                        + R"(","minor_resource_id":"m","storage":{"state":["online"]})"));
    }
    for (const Record_Result& result : store().record(documents)) {
        ASSERT_FALSE(result.error) << result.error.message;
    }
    const std::vector<Set_Filter> filters = {
        {},
        {.type = "oracle_exp"},
        {.host = "h"},
        {.host = host_a},
        {.resource = resource_a},
        {.minor_resource = "m"},
        {.state = "online"},
        {.since = 0},
        {.state = "online", .since = 0},
    };
    for (const Set_Filter& filter : filters) {
        const Numbers whole = numbers(filter);
        ASSERT_EQ(whole.size(), 47u);
        for (const std::size_t limit : {1u, 2u, 10u, 46u, 47u}) {
            Numbers joined;
            std::string next;
            std::size_t pages = 0;
            do {
                const Set_Page page = list(filter, limit, next);
                ASSERT_LE(page.sets.size(), limit);
                for (const Set_Summary& set : page.sets) {
                    joined.push_back(static_cast<unsigned>(std::stoul(set.uuid.substr(0, 8), nullptr, 16)));
                }
                next = page.next;
                ++pages;
            } while (!next.empty());
            EXPECT_EQ(joined, whole);
            EXPECT_EQ(pages, (47 + limit - 1) / limit);
        }
    }
}

TEST_P(Listing_Test, a_page_s_key_is_the_start_and_the_uuid_of_its_last_set)
{
    record(started(1, "2024-01-01 00:00:00"));
    record(started(2, "2024-01-02 03:04:05"));
    EXPECT_EQ(list({}, 1).next, "2024-01-02T03:04:05Z/" + uuid(2));
}

TEST_P(Listing_Test, a_page_goes_on_where_sets_were_added_and_deleted_meanwhile)
{
    for (unsigned i = 1; i <= 6; ++i) {
        record(started(i, "2024-01-0" + std::to_string(i) + " 00:00:00"));
    }
    const Set_Page first = list({}, 3);
    run("DELETE FROM backup_set WHERE backup_start_time IN ('2024-01-04 00:00:00', '2024-01-02 00:00:00')");
    record(started(9, "2024-02-01 00:00:00"));
    const Set_Page second = list({}, 3, first.next);
    ASSERT_EQ(second.sets.size(), 2u);
    EXPECT_EQ(second.sets[0].uuid, uuid(3));
    EXPECT_EQ(second.sets[1].uuid, uuid(1));
    EXPECT_EQ(second.next, "");
}

TEST_P(Listing_Test, a_malformed_key_is_refused)
{
    record(started(1, "2024-01-01 00:00:00"));
    const std::vector<std::string> keys = {
        "x",
        "/",
        "2024-01-02T03:04:05Z" + uuid(1),
        "2024-01-02T03:04:05Z/",
        "/" + uuid(1),
        "2024-01-02 03:04:05/" + uuid(1),
        "2024-01-02T03:04:05+00:00/" + uuid(1),
        "2024-13-02T03:04:05Z/" + uuid(1),
        "2024-01-02T03:04:05Z/" + uuid(1) + "x",
        "2024-01-02T03:04:05Z/0000000A-AAAA-4BBB-8CCC-0123456789AB",
        "0000-01-01T00:00:00Z/" + uuid(1),
        " 2024-01-02T03:04:05Z/" + uuid(1),
    };
    for (const std::string& key : keys) {
        SCOPED_TRACE(key);
        EXPECT_TRUE(refusal_of({}, 10, key).message.ends_with(" is no key of a page: a listing gives one as \"next\""));
    }
}

TEST_P(Listing_Test, wrong_filters_are_refused)
{
    EXPECT_EQ(refusal_of({.type = "paper"}).message, "\"paper\" is no type of set; known are: " + known_set_types());
    EXPECT_EQ(refusal_of({.resource = "disk 1"}).message, "\"disk 1\" is no UUID of a resource");
    EXPECT_EQ(refusal_of({.state = "Online\n"}).message,
              "\"Online?\" is no state; known are: online, offline, nearline, expired, replicated, warmup, incomplete, "
              "unsync, virtual");
    EXPECT_EQ(refusal_of({}, 0).message, "a page has at least one set");
}

TEST_P(Listing_Test, the_greatest_limit_gives_all)
{
    record(started(1, "2024-01-01 00:00:00"));
    EXPECT_EQ(list({}, static_cast<std::size_t>(std::numeric_limits<std::int64_t>::max()) - 1).sets.size(), 1u);
}
