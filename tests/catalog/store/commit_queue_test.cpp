// Commits that are promised now and applied later.

#include "tests/catalog/store/life_test.h"

#include <algorithm>
#include <atomic>
#include <libpq-fe.h>
#include <thread>

namespace {

using namespace catalog;

class Commit_Queue_Test : public Life_Test
{
protected:
    void enqueue(unsigned number, const std::string& members = {})
    {
        const Write_Answer answer = apply(queued(small(uuid(number), members)));
        ASSERT_EQ(answer.error.kind, Error::NONE) << answer.error.message;
        ASSERT_TRUE(answer.queued);
        ASSERT_FALSE(answer.committed);
    }

    std::vector<Queue_Entry> entries(std::size_t limit = 100, std::int64_t after = 0)
    {
        std::vector<Queue_Entry> all;
        Error error;
        EXPECT_TRUE(store().queue_entries(limit, after, all, error)) << error.message;
        return all;
    }

    void expect_depth(std::int64_t waiting, std::int64_t failed)
    {
        const Queue_Depth found = depth();
        EXPECT_EQ(found.waiting, waiting);
        EXPECT_EQ(found.failed, failed);
    }

    /// A commit in the queue that conflicts with what is in the catalog by now.
    void enqueue_conflicting(unsigned number)
    {
        enqueue(number, R"("name":"queued")");
        record(small(uuid(number), R"("name":"recorded")"));
    }
};

} // namespace

CATALOG_TEST_ENGINES(Commit_Queue_Test);

TEST_P(Commit_Queue_Test, commits_are_applied_in_their_order_and_leave_the_queue)
{
    for (const unsigned number : {3U, 1U, 2U}) {
        enqueue(number, R"("pieces":[)" + piece("a") + R"(],"resource_uuid":")" + uuid(8) + '"');
    }
    expect_depth(3, 0);
    EXPECT_FALSE(exists(uuid(3)));
    std::vector<Write_Answer> answers = apply_queue(2);
    ASSERT_EQ(answers.size(), 2U);
    EXPECT_EQ(answers[0].uuid, uuid(3));
    EXPECT_EQ(answers[1].uuid, uuid(1));
    EXPECT_TRUE(answers[0].committed);
    EXPECT_FALSE(answers[0].queued);
    EXPECT_EQ(answers[0].type, "oracle_exp");
    EXPECT_EQ(answers[0].resource_uuid, uuid(8));
    expect_depth(1, 0);
    EXPECT_TRUE(exists(uuid(3)));
    EXPECT_FALSE(exists(uuid(2)));
    EXPECT_EQ(apply_queue(2).size(), 1U);
    EXPECT_EQ(apply_queue(2).size(), 0U);
    expect_depth(0, 0);
    EXPECT_EQ(count("backup_piece"), 3);
}

TEST_P(Commit_Queue_Test, what_is_queued_is_there_after_a_restart)
{
    enqueue(1);
    std::vector<Write_Answer> answers;
    Error error;
    ASSERT_TRUE(open()->apply_queued(10, answers, error)) << error.message;
    EXPECT_EQ(answers.size(), 1U);
    EXPECT_TRUE(exists(uuid(1)));
}

TEST_P(Commit_Queue_Test, the_pieces_of_the_steps_before_are_merged_when_it_is_applied)
{
    expect_done(Operation::INITIALIZE, small(uuid(1)));
    expect_done(Operation::ADD_PIECE, pieces(uuid(1), piece("a")));
    enqueue(1, R"("pieces":[)" + piece("b") + "]");
    EXPECT_EQ(apply(Operation::ADD_PIECE, pieces(uuid(1), piece("c"))).error.kind, Error::STATE);
    apply_queue();
    EXPECT_EQ(document(uuid(1)), small(uuid(1), R"("pieces":[)" + piece("a") + "," + piece("b") + "]"));
    EXPECT_EQ(count("open_set"), 0);
}

TEST_P(Commit_Queue_Test, the_same_commit_again_is_queued_once)
{
    enqueue(1);
    enqueue(1);
    const Write_Answer direct = apply(Operation::COMMIT, small(uuid(1)));
    EXPECT_EQ(direct.error.kind, Error::NONE);
    EXPECT_TRUE(direct.queued) << "the promise stands";
    expect_depth(1, 0);
    apply_queue();
    const Write_Answer again = apply(queued(small(uuid(1))));
    EXPECT_EQ(again.error.kind, Error::NONE);
    EXPECT_FALSE(again.queued) << "it is there";
    EXPECT_EQ(apply(queued(small(uuid(1), R"("name":"n")"))).error.kind, Error::CONFLICT);
    expect_depth(0, 0);
}

TEST_P(Commit_Queue_Test, what_cannot_be_queued_is_refused_at_once)
{
    bring(uuid(1), "open");
    EXPECT_EQ(apply(queued("nonsense")).error.kind, Error::REFUSED);
    EXPECT_EQ(apply(queued(R"({"catalog_module":"oracle","uuid":")" + uuid(1) + "\"}")).error.kind, Error::REFUSED);
    expect_depth(0, 0);
}

TEST_P(Commit_Queue_Test, one_that_can_never_be_applied_is_kept_with_the_reason_and_the_others_go_on)
{
    enqueue(1);
    enqueue_conflicting(2);
    enqueue(3);
    const std::vector<Write_Answer> answers = apply_queue();
    ASSERT_EQ(answers.size(), 3U);
    EXPECT_EQ(answers[0].error.kind, Error::NONE);
    EXPECT_EQ(answers[1].error.kind, Error::CONFLICT);
    EXPECT_EQ(answers[2].error.kind, Error::NONE);
    expect_depth(0, 1);
    const std::vector<Queue_Entry> kept = entries();
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_EQ(kept[0].uuid, uuid(2));
    EXPECT_EQ(kept[0].type, "oracle_exp");
    EXPECT_TRUE(kept[0].failed);
    EXPECT_EQ(kept[0].queued, now);
    EXPECT_EQ(kept[0].message, answers[1].error.message);
    EXPECT_EQ(apply_queue().size(), 0U) << "it waits no more";
    EXPECT_EQ(document(uuid(2)), small(uuid(2), R"("name":"recorded")"));
}

TEST_P(Commit_Queue_Test, what_the_database_does_not_take_fails_alone)
{
    for (const unsigned number : {1U, 2U, 3U}) {
        enqueue(number);
    }
    run(on_postgresql()
            ? "ALTER TABLE oracle_exp_backup_set ADD CONSTRAINT narrow CHECK (set_uuid <> '" + uuid(2) + "')"
            : "CREATE TRIGGER narrow BEFORE INSERT ON oracle_exp_backup_set WHEN hex(NEW.set_uuid) LIKE "
              "'00000002%' BEGIN SELECT RAISE(ABORT, 'narrow'); END");
    Log_Capture log;
    const std::vector<Write_Answer> answers = apply_queue();
    EXPECT_EQ(answers[1].error.kind, Error::DATABASE);
    expect_depth(0, 1);
    EXPECT_EQ(count("backup_set"), 2);
}

TEST_P(Commit_Queue_Test, trouble_with_the_database_leaves_everything_waiting)
{
    enqueue(1);
    enqueue(2);
    run("ALTER TABLE open_set RENAME TO away");
    Log_Capture log;
    std::vector<Write_Answer> answers;
    Error error;
    EXPECT_FALSE(store().apply_queued(10, answers, error));
    EXPECT_EQ(error.kind, Error::DATABASE);
    EXPECT_TRUE(answers.empty());
    expect_depth(2, 0);
    run("ALTER TABLE away RENAME TO open_set");
    EXPECT_EQ(apply_queue().size(), 2U);
}

TEST_P(Commit_Queue_Test, a_failed_entry_may_wait_again)
{
    enqueue_conflicting(1);
    apply_queue();
    run("DELETE FROM backup_set");
    const std::int64_t id = entries().at(0).id;
    Error error;
    ASSERT_TRUE(store().queue_retry(id, error)) << error.message;
    EXPECT_FALSE(entries().at(0).failed);
    EXPECT_EQ(entries().at(0).message, "");
    EXPECT_EQ(state_of(uuid(1)), "queued");
    apply_queue();
    EXPECT_EQ(document(uuid(1)), small(uuid(1), R"("name":"queued")"));
    EXPECT_FALSE(store().queue_retry(id, error));
    EXPECT_EQ(error.kind, Error::NOT_FOUND);
}

TEST_P(Commit_Queue_Test, a_set_whose_queued_commit_failed_is_in_the_state_before)
{
    bring(uuid(1), "open");
    enqueue_conflicting(1);
    apply_queue();
    run("DELETE FROM backup_set");
    EXPECT_EQ(state_of(uuid(1)), "open");
    expect_done(Operation::ADD_PIECE, pieces(uuid(1), piece("a")));
}

TEST_P(Commit_Queue_Test, an_entry_is_shown_and_dropped)
{
    enqueue(1, R"( "name" : "n" )");
    enqueue(2);
    const std::int64_t id = entries().at(0).id;
    Queue_Entry entry;
    std::string text;
    Error error;
    ASSERT_TRUE(store().queue_entry(id, entry, text, error)) << error.message;
    EXPECT_EQ(entry.uuid, uuid(1));
    EXPECT_EQ(text, small(uuid(1), R"("name":"n")"));
    ASSERT_TRUE(store().queue_drop(id, error)) << error.message;
    EXPECT_FALSE(store().queue_drop(id, error));
    EXPECT_EQ(error.kind, Error::NOT_FOUND);
    EXPECT_FALSE(store().queue_entry(id, entry, text, error));
    EXPECT_EQ(error.kind, Error::NOT_FOUND);
    EXPECT_EQ(state_of(uuid(1)), "unknown");
    EXPECT_EQ(apply_queue().size(), 1U);
}

TEST_P(Commit_Queue_Test, the_number_of_an_entry_that_has_gone_never_names_another)
{
    enqueue(1);
    const std::int64_t id = entries().at(0).id;
    Error error;
    ASSERT_TRUE(store().queue_drop(id, error)) << error.message;
    enqueue(2);
    EXPECT_GT(entries().at(0).id, id);
    EXPECT_FALSE(store().queue_drop(id, error));
    EXPECT_EQ(entries().size(), 1U);
}

TEST_P(Commit_Queue_Test, entries_are_listed_in_pages)
{
    for (unsigned number = 1; number <= 5; ++number) {
        enqueue(number);
    }
    const std::vector<Queue_Entry> first = entries(2);
    ASSERT_EQ(first.size(), 2U);
    EXPECT_EQ(first[1].uuid, uuid(2));
    const std::vector<Queue_Entry> second = entries(10, first[1].id);
    ASSERT_EQ(second.size(), 3U);
    EXPECT_EQ(second[0].uuid, uuid(3));
    std::vector<Queue_Entry> none;
    Error error;
    EXPECT_FALSE(store().queue_entries(0, 0, none, error));
    EXPECT_EQ(error.kind, Error::REFUSED);
}

TEST_P(Commit_Queue_Test, several_appliers_take_each_commit_once)
{
    constexpr unsigned sets = 60;
    constexpr std::size_t appliers = 3;
    for (unsigned number = 1; number <= sets; ++number) {
        enqueue(number);
    }
    std::vector<std::unique_ptr<Catalog_Store>> stores;
    for (std::size_t i = 0; i < appliers; ++i) {
        stores.push_back(open());
    }
    std::atomic<std::size_t> committed = 0;
    std::vector<std::string> failures(appliers);
    {
        std::vector<std::jthread> running;
        for (std::size_t i = 0; i < appliers; ++i) {
            running.emplace_back([&, i] {
                std::vector<Write_Answer> answers;
                Error error;
                while (stores[i]->apply_queued(4, answers, error) && !answers.empty()) {
                    for (const Write_Answer& answer : answers) {
                        committed += answer.committed ? 1 : 0;
                        failures[i] += answer.error.message;
                    }
                }
                failures[i] += error.message;
            });
        }
    }
    EXPECT_EQ(failures, std::vector<std::string>(appliers));
    apply_queue(); // of a server, what another one held while they looked
    EXPECT_EQ(committed, sets);
    EXPECT_EQ(count("backup_set"), sets);
    expect_depth(0, 0);
}

/// SQLite has one writer at a time.
class Shared_Commit_Queue_Test : public Commit_Queue_Test
{};

INSTANTIATE_TEST_SUITE_P(engines, Shared_Commit_Queue_Test, ::testing::Values(Engine::POSTGRESQL), engine_name);

TEST_P(Shared_Commit_Queue_Test, a_commit_that_another_one_is_applying_is_passed_over)
{
    enqueue(1);
    enqueue(2);
    const std::unique_ptr<PGconn, decltype(&PQfinish)> other(PQconnectdb(url().c_str()), PQfinish);
    const auto ask = [&](const char* text) {
        const std::unique_ptr<PGresult, decltype(&PQclear)> result(PQexec(other.get(), text), PQclear);
        const ExecStatusType status = PQresultStatus(result.get());
        ASSERT_TRUE(status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK) << PQerrorMessage(other.get());
    };
    ask("BEGIN");
    ask("SELECT id FROM queued_commit ORDER BY id LIMIT 1 FOR UPDATE");
    const std::vector<Write_Answer> answers = apply_queue();
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].uuid, uuid(2));
    ask("ROLLBACK");
    EXPECT_EQ(apply_queue().size(), 1U);
}
