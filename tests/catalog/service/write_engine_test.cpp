#include "catalog/service/write_engine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <map>
#include <thread>

using namespace catalog;
using namespace catalog::service;
using namespace std::chrono_literals;

namespace {

/// A database that a test holds still, breaks and looks into.
struct Fake_Database
{
    std::mutex mutex;
    std::condition_variable changed;
    bool is_held = false;
    bool is_lost = false;
    int opened = 0;
    int now_inside = 0;
    std::vector<std::vector<std::string>> batches; ///< the params of each

    void set(bool Fake_Database::*what, bool value)
    {
        {
            const std::lock_guard lock(mutex);
            this->*what = value;
        }
        changed.notify_all();
    }

    template <class Condition>
    bool wait(Condition condition)
    {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, 30s, condition);
    }

    static Error lost()
    {
        Error error;
        error.kind = Error::DATABASE;
        error.message = "lost";
        error.database.kind = Database_Error::CONNECTION_LOST;
        return error;
    }
};

class Fake_Target final : public Write_Target
{
public:
    explicit Fake_Target(Fake_Database& database) : database_(database) {}

    std::vector<Write_Answer> apply(std::span<Life_Step> steps) override
    {
        std::unique_lock lock(database_.mutex);
        ++database_.now_inside;
        database_.changed.notify_all();
        database_.changed.wait(lock, [this] { return !database_.is_held; });
        --database_.now_inside;
        std::vector<Write_Answer> answers(steps.size());
        std::vector<std::string> params;
        for (std::size_t i = 0; i < steps.size(); ++i) {
            if (steps[i].request.params == "throw") {
                throw std::runtime_error("thrown");
            }
            params.push_back(steps[i].request.params);
            answers[i].uuid = steps[i].request.params;
            if (database_.is_lost) {
                answers[i].error = Fake_Database::lost();
            }
        }
        if (!database_.is_lost) {
            database_.batches.push_back(params);
            database_.changed.notify_all();
        }
        return answers;
    }

private:
    Fake_Database& database_;
};

class Write_Engine_Test : public ::testing::Test
{
protected:
    Write_Engine::Opener opener()
    {
        return [this](Error& error) -> std::unique_ptr<Write_Target> {
            const std::lock_guard lock(database.mutex);
            ++database.opened;
            database.changed.notify_all();
            if (database.is_lost) {
                error = Fake_Database::lost();
                return nullptr;
            }
            return std::make_unique<Fake_Target>(database);
        };
    }

    /// The set is named by at most 16 characters; without a name it is one of its own.
    std::future<Write_Answer> submit(Write_Engine& engine, const std::string& params, const std::string& set = {})
    {
        const auto answer = std::make_shared<std::promise<Write_Answer>>();
        const std::string name = set.empty() ? "set " + std::to_string(++unnamed_sets) : set;
        Life_Step step;
        step.request.params = params;
        std::ranges::copy(name, step.uuid.begin());
        if (!engine.submit(step, [answer](Write_Answer given) { answer->set_value(std::move(given)); })) {
            return {};
        }
        return answer->get_future();
    }

    /// Keeps the only writer busy, so that what follows waits.
    std::future<Write_Answer> hold(Write_Engine& engine)
    {
        database.set(&Fake_Database::is_held, true);
        auto held = submit(engine, "first");
        EXPECT_TRUE(database.wait([this] { return database.now_inside == 1; }));
        return held;
    }

    void release() { database.set(&Fake_Database::is_held, false); }

    Fake_Database database;
    int unnamed_sets = 0;
};

TEST_F(Write_Engine_Test, requests_that_wait_share_a_transaction)
{
    Write_Options options;
    options.most_together = 3;
    Write_Engine engine(options, opener());
    hold(engine);
    std::vector<std::future<Write_Answer>> answers;
    for (const char* const params : {"a", "b", "c", "d", "e"}) {
        answers.push_back(submit(engine, params, params));
    }
    EXPECT_EQ(engine.waiting(), 5u);
    release();
    for (auto& answer : answers) {
        EXPECT_FALSE(answer.get().error);
    }
    EXPECT_EQ(database.batches, (std::vector<std::vector<std::string>>{{"first"}, {"a", "b", "c"}, {"d", "e"}}));
}

TEST_F(Write_Engine_Test, who_was_just_answered_comes_along_with_those_who_wait)
{
    Write_Options options;
    options.most_company = 30s; // half of the transaction before is less
    Write_Engine engine(options, opener());
    auto first = hold(engine);
    auto waiting = submit(engine, "a", "a");
    std::this_thread::sleep_for(1s); // is how long the transaction takes
    release();
    EXPECT_FALSE(first.get().error);
    auto again = submit(engine, "b", "b");
    EXPECT_FALSE(waiting.get().error);
    EXPECT_FALSE(again.get().error);
    EXPECT_EQ(database.batches, (std::vector<std::vector<std::string>>{{"first"}, {"a", "b"}}));
}

TEST_F(Write_Engine_Test, writers_take_their_shares_of_the_crowd)
{
    Write_Options options;
    options.writers = 2;
    Write_Engine engine(options, opener());
    database.set(&Fake_Database::is_held, true);
    auto a = submit(engine, "a");
    ASSERT_TRUE(database.wait([this] { return database.now_inside == 1; }));
    auto b = submit(engine, "b");
    ASSERT_TRUE(database.wait([this] { return database.now_inside == 2; }));
    std::vector<std::future<Write_Answer>> answers;
    for (const char* const params : {"c", "d", "e", "f", "g", "h"}) {
        answers.push_back(submit(engine, params)); // eight in all
    }
    release();
    for (auto& answer : answers) {
        answer.get();
    }
    for (const std::vector<std::string>& batch : database.batches) {
        EXPECT_LE(batch.size(), 4u) << "half of them";
    }
}

TEST_F(Write_Engine_Test, a_single_writer_takes_half_of_many_so_that_the_others_come_again_meanwhile)
{
    Write_Engine engine({}, opener());
    hold(engine);
    std::vector<std::future<Write_Answer>> answers;
    for (const char* const params : {"a", "b", "c", "d", "e", "f", "g"}) {
        answers.push_back(submit(engine, params)); // eight in all
    }
    release();
    for (auto& answer : answers) {
        answer.get();
    }
    EXPECT_EQ(database.batches,
              (std::vector<std::vector<std::string>>{{"first"}, {"a", "b", "c", "d"}, {"e", "f", "g"}}));
}

TEST_F(Write_Engine_Test, who_does_not_come_again_is_waited_for_once)
{
    Write_Options options;
    options.most_company = 30s; // half of the transaction before is less
    Write_Engine engine(options, opener());
    auto first = hold(engine);
    auto second = submit(engine, "a"); // a crowd of two
    std::this_thread::sleep_for(2s);   // is how long the transaction takes
    release();
    const auto begin = std::chrono::steady_clock::now();
    second.get();
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 900ms) << "the first one might have come again";
    // Now the crowd is one: nobody else is waited for, whatever the last transaction took.
    database.set(&Fake_Database::is_held, true);
    auto third = submit(engine, "b");
    ASSERT_TRUE(database.wait([this] { return database.now_inside == 1; }));
    std::this_thread::sleep_for(3s);
    release();
    third.get();
    const auto again = std::chrono::steady_clock::now();
    submit(engine, "c").get();
    EXPECT_LT(std::chrono::steady_clock::now() - again, 1400ms);
}

TEST_F(Write_Engine_Test, each_gets_its_own_answer)
{
    Write_Engine engine({}, opener());
    auto a = submit(engine, "a", "1");
    auto b = submit(engine, "b", "2");
    EXPECT_EQ(b.get().uuid, "b");
    EXPECT_EQ(a.get().uuid, "a");
}

TEST_F(Write_Engine_Test, requests_of_one_set_follow_each_other_in_order)
{
    Write_Engine engine({}, opener());
    hold(engine);
    std::vector<std::future<Write_Answer>> answers;
    answers.push_back(submit(engine, "x1", "x"));
    answers.push_back(submit(engine, "x2", "x"));
    answers.push_back(submit(engine, "y1", "y"));
    answers.push_back(submit(engine, "x3", "x"));
    answers.push_back(submit(engine, "z1"));
    release();
    for (auto& answer : answers) {
        answer.get();
    }
    EXPECT_EQ(database.batches, (std::vector<std::vector<std::string>>{{"first"}, {"x1", "y1", "z1"}, {"x2"}, {"x3"}}));
}

TEST_F(Write_Engine_Test, several_writers_never_have_the_same_set)
{
    Write_Options options;
    options.writers = 2;
    Write_Engine engine(options, opener());
    database.set(&Fake_Database::is_held, true);
    auto x1 = submit(engine, "x1", "x");
    ASSERT_TRUE(database.wait([this] { return database.now_inside == 1; }));
    auto x2 = submit(engine, "x2", "x");
    auto y1 = submit(engine, "y1", "y");
    ASSERT_TRUE(database.wait([this] { return database.now_inside == 2; })); // y1, past x2
    EXPECT_EQ(engine.waiting(), 1u);
    release();
    x2.get();
    EXPECT_EQ(x1.wait_for(0s), std::future_status::ready);
}

TEST_F(Write_Engine_Test, many_bytes_are_not_put_together)
{
    Write_Options options;
    options.most_together_bytes = 10;
    Write_Engine engine(options, opener());
    hold(engine);
    auto large = submit(engine, std::string(20, 'l'));
    auto small = submit(engine, "s");
    release();
    large.get();
    small.get();
    EXPECT_EQ(database.batches, (std::vector<std::vector<std::string>>{{"first"}, {std::string(20, 'l')}, {"s"}}));
}

TEST_F(Write_Engine_Test, refuses_more_than_may_wait)
{
    Write_Options options;
    options.most_waiting = 2;
    Write_Engine engine(options, opener());
    hold(engine);
    auto a = submit(engine, "a");
    auto b = submit(engine, "b");
    EXPECT_FALSE(submit(engine, "c").valid());
    release();
    EXPECT_EQ(a.get().uuid, "a");
    EXPECT_EQ(b.get().uuid, "b");
    EXPECT_TRUE(submit(engine, "d").valid());
}

TEST_F(Write_Engine_Test, waits_for_a_database_that_comes_back)
{
    Write_Options options;
    options.patience = 30s;
    Write_Engine engine(options, opener());
    submit(engine, "before").get();
    database.set(&Fake_Database::is_lost, true);
    auto answer = submit(engine, "during", "x");
    ASSERT_TRUE(database.wait([this] { return database.opened > 1; }));
    database.set(&Fake_Database::is_lost, false);
    EXPECT_FALSE(answer.get().error);
    EXPECT_EQ(database.batches, (std::vector<std::vector<std::string>>{{"before"}, {"during"}}));
    EXPECT_GE(database.opened, 2); // it was opened anew
}

TEST_F(Write_Engine_Test, fails_when_the_database_stays_away_and_so_do_those_who_wait_behind)
{
    Write_Options options;
    options.patience = 100ms;
    Write_Engine engine(options, opener());
    database.set(&Fake_Database::is_lost, true);
    auto first = submit(engine, "a", "x");
    auto second = submit(engine, "b", "x");
    EXPECT_TRUE(first.get().error.database.reconnect());
    EXPECT_TRUE(second.get().error.database.reconnect());
    EXPECT_EQ(engine.waiting(), 0u);
    database.set(&Fake_Database::is_lost, false);
    EXPECT_FALSE(submit(engine, "c", "x").get().error); // the set is free again
}

TEST_F(Write_Engine_Test, an_exception_is_an_answer)
{
    Write_Engine engine({}, opener());
    const Write_Answer answer = submit(engine, "throw", "x").get();
    EXPECT_EQ(answer.error.kind, Error::DATABASE);
    EXPECT_FALSE(answer.error.database.retryable());
    EXPECT_FALSE(submit(engine, "a", "x").get().error);
}

TEST_F(Write_Engine_Test, a_stop_answers_what_waits_and_takes_no_more)
{
    Write_Options options;
    options.writers = 3;
    Write_Engine engine(options, opener());
    std::vector<std::future<Write_Answer>> answers;
    for (int i = 0; i < 50; ++i) {
        answers.push_back(submit(engine, std::to_string(i), "same"));
    }
    engine.stop();
    for (auto& answer : answers) {
        ASSERT_EQ(answer.wait_for(0s), std::future_status::ready);
        EXPECT_FALSE(answer.get().error);
    }
    EXPECT_FALSE(submit(engine, "late").valid());
}

} // namespace
