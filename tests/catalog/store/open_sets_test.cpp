// What is asked of sets that are not committed, and of the catalog in numbers.

#include "tests/catalog/store/life_test.h"

namespace {

using namespace catalog;

class Open_Sets_Test : public Life_Test
{
protected:
    void open_at(unsigned number, std::time_t when)
    {
        const Write_Request initialize = request(Operation::INITIALIZE, small(uuid(number)));
        ASSERT_FALSE(store().apply(std::span(&initialize, 1), when).at(0).error);
    }

    Open_Set_Page page(std::string_view state, std::size_t limit, std::string_view after = {})
    {
        Open_Set_Page page;
        Error error;
        EXPECT_TRUE(store().open_sets(state, limit, after, page, error)) << error.message;
        return page;
    }

    Error refused(std::string_view state, std::size_t limit, std::string_view after)
    {
        Open_Set_Page page;
        Error error;
        EXPECT_FALSE(store().open_sets(state, limit, after, page, error));
        EXPECT_EQ(error.kind, Error::REFUSED);
        return error;
    }
};

std::vector<std::string> uuids(const Open_Set_Page& page)
{
    std::vector<std::string> all;
    for (const Open_Set& set : page.sets) {
        all.push_back(set.uuid);
    }
    return all;
}

using Names = std::vector<std::string>;

} // namespace

CATALOG_TEST_ENGINES(Open_Sets_Test);

TEST_P(Open_Sets_Test, are_listed_newest_first_in_pages)
{
    for (const auto& [number, when] :
         std::vector<std::pair<unsigned, std::time_t>>{{1, now}, {2, now + 60}, {3, now + 60}, {4, now - 5}})
    {
        open_at(number, when);
    }
    record(small(uuid(9)));
    Open_Set_Page found = page({}, 3);
    EXPECT_EQ(uuids(found), (Names{uuid(3), uuid(2), uuid(1)}));
    ASSERT_NE(found.next, "");
    found = page({}, 3, found.next);
    EXPECT_EQ(uuids(found), Names{uuid(4)});
    EXPECT_EQ(found.next, "");
    EXPECT_EQ(uuids(page({}, 1, page({}, 1).next)), Names{uuid(2)});
    EXPECT_EQ(refused({}, 0, {}).key, "");
    EXPECT_NE(refused({}, 1, "yesterday").message.find("yesterday"), std::string::npos);
}

TEST_P(Open_Sets_Test, tell_state_type_start_and_pieces)
{
    open_at(1, now);
    open_at(2, now + 1);
    expect_done(Operation::ADD_PIECE, pieces(uuid(1), piece("a") + "," + piece("b")));
    expect_done(Operation::ADD_PIECE, pieces(uuid(1), piece("c")));
    expect_done(Operation::COMPLETE, small(uuid(2)));
    const Open_Set_Page found = page({}, 10);
    ASSERT_EQ(found.sets.size(), 2U);
    EXPECT_EQ(found.sets[0].state, "complete");
    EXPECT_EQ(found.sets[0].piece_count, 0);
    EXPECT_EQ(found.sets[1].state, "open");
    EXPECT_EQ(found.sets[1].type, "oracle_exp");
    EXPECT_EQ(found.sets[1].started, now);
    EXPECT_EQ(found.sets[1].piece_count, 3);
    EXPECT_EQ(uuids(page("complete", 10)), Names{uuid(2)});
    EXPECT_EQ(uuids(page("open", 10)), Names{uuid(1)});
    EXPECT_EQ(refused("committed", 10, {}).key, "state");
}

TEST_P(Open_Sets_Test, the_document_of_an_open_set_holds_its_pieces)
{
    const auto open_document = [&](const std::string& uuid, Error& error) {
        std::string text;
        store().open_document(uuid, text, error);
        return text;
    };
    Error error;
    expect_done(Operation::INITIALIZE, small(uuid(1), R"( "pieces" : [)" + piece("a") + R"(] , "name":"n")"));
    expect_done(Operation::ADD_PIECE, pieces(uuid(1), piece("a") + "," + piece("b")));
    EXPECT_EQ(open_document("{" + uuid(1) + "}", error),
              small(uuid(1), R"("pieces":[)" + piece("a") + "," + piece("b") + R"(],"name":"n")"));
    EXPECT_FALSE(error) << error.message;
    EXPECT_EQ(open_document(uuid(2), error), "");
    EXPECT_EQ(error.kind, Error::NOT_FOUND);
    open_document("nothing", error);
    EXPECT_EQ(error.kind, Error::REFUSED);
}

TEST_P(Open_Sets_Test, a_set_exists_when_it_is_committed)
{
    bring(uuid(1), "complete");
    bring(uuid(2), "committed");
    bring(uuid(3), "queued");
    EXPECT_FALSE(exists(uuid(1)));
    EXPECT_TRUE(exists("{" + uuid(2) + "}"));
    EXPECT_FALSE(exists(uuid(3)));
    bool there = false;
    Error error;
    EXPECT_FALSE(store().set_exists("nothing", there, error));
    EXPECT_EQ(error.kind, Error::REFUSED);
}

TEST_P(Open_Sets_Test, counters_count_what_the_catalog_holds)
{
    Catalog_Counters counters;
    Error error;
    ASSERT_TRUE(store().read_counters(counters, error)) << error.message;
    EXPECT_TRUE(counters.committed.empty());
    EXPECT_TRUE(counters.resources.empty());
    const auto commit = [&](unsigned number, const char* type, const std::string& members) {
        record(R"({"catalog_module":")" + std::string(type) + R"(","uuid":")" + uuid(number) + "\"" + members + "}");
    };
    const auto resource = [&](unsigned number, const char* end) {
        return R"(,"resource_uuid":")" + uuid(number) + R"(","backup_end_time":")" + end + '"';
    };
    commit(1, "oracle", resource(70, "2024-05-01 22:00:00"));
    commit(2, "oracle", resource(70, "2024-05-03 22:00:00"));
    commit(3, "file", resource(70, "2024-05-02 22:00:00"));
    commit(4, "file", resource(60, "2024-05-01 00:00:00"));
    commit(5, "file", R"(,"resource_uuid":")" + uuid(50) + '"');
    commit(6, "file", "");
    bring(uuid(11), "open");
    bring(uuid(12), "complete");
    bring(uuid(13), "open");
    bring(uuid(14), "queued");
    ASSERT_TRUE(store().read_counters(counters, error)) << error.message;
    EXPECT_EQ(counters.committed, (std::map<std::string, std::int64_t>{{"file", 4}, {"oracle", 2}}));
    EXPECT_EQ(counters.open, (std::map<std::string, std::int64_t>{{"complete", 1}, {"open", 2}}));
    EXPECT_EQ(counters.queue.waiting, 1);
    EXPECT_EQ(counters.queue.failed, 0);
    ASSERT_EQ(counters.resources.size(), 2U);
    EXPECT_EQ(counters.resources[0].uuid, uuid(60));
    EXPECT_EQ(counters.resources[0].newest_end, 1714521600);
    EXPECT_EQ(counters.resources[1].uuid, uuid(70));
    EXPECT_EQ(counters.resources[1].newest_end, 1714773600);
}
