// Several programs at one catalog.

#include "tests/catalog/store/catalog_test.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace {

using namespace catalog;

class Concurrency_Test : public Catalog_Test
{
protected:
    /// Runs `work(number, store)` in as many threads, each with a store of its own, all at once.
    template <class Work>
    void run_all(unsigned threads, Work work)
    {
        static_cast<void>(store());
        std::vector<std::unique_ptr<Catalog_Store>> stores;
        for (unsigned i = 0; i < threads; ++i) {
            stores.push_back(open());
        }
        std::atomic<unsigned> ready = 0;
        std::vector<std::jthread> running;
        for (unsigned i = 0; i < threads; ++i) {
            running.emplace_back([&, i] {
                ++ready;
                while (ready < threads) {
                    std::this_thread::yield();
                }
                work(i, *stores[i]);
            });
        }
    }
};

} // namespace

CATALOG_TEST_ENGINES(Concurrency_Test);

TEST_P(Concurrency_Test, one_of_many_writers_of_a_set_records_it_and_the_others_find_it)
{
    Log_Capture log;
    std::vector<Record_Result> results(6);
    run_all(6, [&](unsigned i, Catalog_Store& store) {
        results[i] = store.record(small(uuid(1), R"("pieces":[{"path":"p"}],"storage":{"state":["online"]})"));
    });
    const auto recorded = [](const Record_Result& result) {
        return result.outcome == Record_Outcome::RECORDED && !result.error;
    };
    EXPECT_EQ(std::ranges::count_if(results, recorded), 1);
    for (const Record_Result& result : results) {
        EXPECT_FALSE(result.error) << result.error.message;
        EXPECT_EQ(result.uuid, uuid(1));
    }
    EXPECT_EQ(count("backup_piece"), 1);
    EXPECT_EQ(count("backup_set_storage"), 1);
}

TEST_P(Concurrency_Test, one_of_many_contents_for_a_set_wins_and_the_others_conflict)
{
    Log_Capture log;
    std::vector<Record_Result> results(6);
    run_all(6, [&](unsigned i, Catalog_Store& store) {
        results[i] = store.record(small(uuid(1), "\"name\":\"" + std::to_string(i) + '"'));
    });
    std::size_t winner = results.size();
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (results[i].error) {
            EXPECT_EQ(results[i].error.kind, Error::CONFLICT) << results[i].error.message;
        } else {
            EXPECT_EQ(winner, results.size()) << "two have won";
            winner = i;
        }
    }
    ASSERT_LT(winner, results.size());
    EXPECT_EQ(document(uuid(1)), small(uuid(1), "\"name\":\"" + std::to_string(winner) + '"'));
}

TEST_P(Concurrency_Test, writers_of_different_sets_all_succeed)
{
    std::vector<std::string> failures(4);
    run_all(4, [&](unsigned i, Catalog_Store& store) {
        for (unsigned n = 0; n < 15; ++n) {
            const Record_Result result = store.record(small(uuid(100 * i + n + 1), R"("pieces":[{"path":"p"}])"));
            if (result.error) {
                failures[i] = result.error.message;
            }
        }
    });
    EXPECT_EQ(failures, std::vector<std::string>(4));
    EXPECT_EQ(count("backup_set"), 60);
    EXPECT_EQ(count("backup_piece"), 60);
}

TEST_P(Concurrency_Test, batches_that_overlap_in_opposite_orders_do_not_block_each_other)
{
    Log_Capture log;
    constexpr unsigned sets = 40;
    std::vector<std::vector<Record_Result>> results(4);
    run_all(4, [&](unsigned i, Catalog_Store& store) {
        std::vector<std::string> documents;
        for (unsigned n = 0; n < sets; ++n) {
            documents.push_back(small(uuid(1 + (i % 2 == 0 ? n : sets - 1 - n)), R"("pieces":[{"path":"p"}])"));
        }
        results[i] = store.record(documents);
    });
    std::size_t recorded = 0;
    for (const auto& batch : results) {
        ASSERT_EQ(batch.size(), sets);
        for (const Record_Result& result : batch) {
            EXPECT_FALSE(result.error) << result.error.message;
            recorded += result.outcome == Record_Outcome::RECORDED ? 1 : 0;
        }
    }
    EXPECT_EQ(recorded, sets);
    EXPECT_EQ(count("backup_piece"), sets);
}

TEST_P(Concurrency_Test, readers_see_whole_sets_while_others_write)
{
    constexpr unsigned sets = 40;
    const auto text = [](unsigned number) {
        std::string pieces;
        for (unsigned i = 0; i < 30; ++i) {
            pieces += (i > 0 ? "," : "") + std::string(R"({"path":")") + std::to_string(i) + "\"}";
        }
        return small(uuid(number), "\"backup_start_time\":\"2024-01-01 00:00:00\",\"pieces\":[" + pieces
                                       + R"(],"storage":{"state":["online"]})");
    };
    std::vector<std::string> failures(3);
    std::atomic<bool> done = false;
    std::atomic<unsigned> read = 0;
    run_all(3, [&](unsigned i, Catalog_Store& store) {
        if (i == 0) {
            for (unsigned n = 1; n <= sets && failures[0].empty(); ++n) {
                failures[0] = store.record(text(n)).error.message;
            }
            done = true;
            return;
        }
        std::size_t seen = 0;
        for (bool last = false; !last && failures[i].empty();) {
            last = done;
            Set_Page page;
            Error error;
            if (!store.list({.state = "online"}, 1000, {}, page, error)) {
                failures[i] = error.message;
                return;
            }
            if (page.sets.size() < seen) {
                failures[i] = "sets have gone";
            }
            seen = page.sets.size();
            for (const Set_Summary& set : page.sets) {
                std::string document;
                if (!store.document(set.uuid, document, error)) {
                    failures[i] = error.message;
                } else if (document != text(static_cast<unsigned>(std::stoul(set.uuid.substr(0, 8), nullptr, 16)))) {
                    failures[i] = "not whole: " + document;
                }
                ++read;
            }
        }
        if (seen != sets) {
            failures[i] += " saw " + std::to_string(seen);
        }
    });
    EXPECT_EQ(failures, std::vector<std::string>(3));
    EXPECT_GE(read, 2 * sets);
}
