#include "catalog/service/upkeep.h"

#include "tests/catalog/store/catalog_test.h"

#include <atomic>

using namespace catalog;
using namespace catalog::service;
using namespace std::chrono_literals;

namespace {

/// Waits until a condition holds, at most half a minute.
template <class Condition>
bool wait_for(Condition condition)
{
    const auto deadline = std::chrono::steady_clock::now() + 30s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(2ms);
    }
    return true;
}

TEST(Repeater, works_at_once_when_woken_and_after_its_pause)
{
    std::atomic<int> runs = 0;
    std::atomic<int> pause_ms = 3'600'000;
    Repeater repeater([&] {
        ++runs;
        return Repeater::Pause(pause_ms.load());
    });
    ASSERT_TRUE(wait_for([&] { return runs == 1; }));
    pause_ms = 1;
    repeater.wake();
    EXPECT_TRUE(wait_for([&] { return runs >= 5; }));
    repeater.stop();
    const int after = runs;
    repeater.wake();
    EXPECT_EQ(runs, after);
}

class Upkeep : public Catalog_Test
{
protected:
    Store_Opener opener()
    {
        return [this](Error& error) -> std::unique_ptr<Catalog_Store> {
            if (is_away) {
                error.kind = Error::DATABASE;
                error.message = "away";
                error.database.kind = Database_Error::CONNECTION_LOST;
                return nullptr;
            }
            return Catalog_Store::open(url(), Catalog_Store::Schema_Policy::CREATE, error);
        };
    }

    void queue(unsigned number, const std::string& members = {})
    {
        Write_Request request;
        request.params = small(uuid(number), members);
        request.queue = true;
        const Write_Answer answer = store().apply(std::span(&request, 1)).front();
        ASSERT_FALSE(answer.error) << answer.error.message;
        ASSERT_TRUE(answer.queued);
    }

    bool has(unsigned number)
    {
        bool exists = false;
        Error error;
        EXPECT_TRUE(store().set_exists(uuid(number), exists, error)) << error.message;
        return exists;
    }

    std::atomic<bool> is_away = false;
    Metrics metrics;
};

CATALOG_TEST_ENGINES(Upkeep);

TEST_P(Upkeep, applies_what_is_queued_at_the_start_and_what_comes)
{
    queue(1);
    Queue_Worker worker({.pause = 1h}, opener(), metrics);
    EXPECT_TRUE(wait_for([&] { return has(1); }));
    queue(2);
    worker.wake();
    EXPECT_TRUE(wait_for([&] { return has(2); }));
    worker.stop();
    EXPECT_NE(metrics.text().find(R"(backup_set_sets{state="committed",type="oracle_exp"} 2)"), std::string::npos)
        << metrics.text();
}

TEST_P(Upkeep, applies_the_queue_when_the_database_has_come_back)
{
    queue(1);
    is_away = true;
    Queue_Worker worker({.pause = 1h, .most_pace = 10ms}, opener(), metrics);
    ASSERT_TRUE(wait_for([&] { return metrics.text().find(R"({kind="connection_lost"})") != std::string::npos; }));
    EXPECT_FALSE(has(1));
    is_away = false;
    EXPECT_TRUE(wait_for([&] { return has(1); }));
}

TEST_P(Upkeep, counts_the_catalog_again_and_again)
{
    record(small(uuid(1)));
    Housekeeping housekeeping({.count_pause = 10ms}, opener(), metrics);
    const auto shows = [&](const char* count) {
        return metrics.text().find(std::string(R"(backup_set_sets{state="committed",type="oracle_exp"} )") + count)
               != std::string::npos;
    };
    EXPECT_TRUE(wait_for([&] { return shows("1\n"); }));
    record(small(uuid(2)));
    EXPECT_TRUE(wait_for([&] { return shows("2\n"); }));
}

} // namespace
