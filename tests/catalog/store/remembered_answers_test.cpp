// A request is answered once, however often it comes.

#include "catalog/store/remembered_answers.h"

#include "tests/catalog/store/life_test.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace {

using namespace catalog;

class Remembered_Answers_Test : public Life_Test
{
protected:
    /// Another program at the same catalog.
    Write_Answer apply_anew(const Write_Request& request) { return open()->apply(std::span(&request, 1), now).at(0); }
};

void expect_same(const Write_Answer& first, const Write_Answer& second)
{
    EXPECT_EQ(first.error.kind, second.error.kind);
    EXPECT_EQ(first.error.message, second.error.message);
    EXPECT_EQ(first.error.key, second.error.key);
    EXPECT_EQ(first.uuid, second.uuid);
    EXPECT_EQ(first.queued, second.queued);
    EXPECT_EQ(first.pieces, second.pieces);
    EXPECT_FALSE(first.repeated);
    EXPECT_TRUE(second.repeated);
    EXPECT_FALSE(second.committed);
}

} // namespace

CATALOG_TEST_ENGINES(Remembered_Answers_Test);

TEST_P(Remembered_Answers_Test, a_repeated_step_has_one_effect_and_one_answer_also_after_a_restart)
{
    const Write_Request add = request(Operation::ADD_PIECE, pieces(uuid(1), piece("a")), "add");
    const Write_Request abort = request(Operation::ABORT, only_uuid(uuid(1)), "abort");
    bring(uuid(1), "open");
    const Write_Answer added = apply(add);
    expect_same(added, apply_anew(add));
    EXPECT_EQ(count("open_set_pieces"), 1);
    const Write_Answer aborted = apply(abort);
    EXPECT_EQ(aborted.pieces, "[" + piece("a") + "]");
    expect_same(aborted, apply_anew(abort));
    bring(uuid(1), "open");
    expect_same(aborted, apply(abort));
    EXPECT_EQ(state_of(uuid(1)), "open") << "the abort was of the set before";
}

TEST_P(Remembered_Answers_Test, refusals_that_depend_on_the_catalog_are_remembered)
{
    const Write_Request complete = request(Operation::COMPLETE, small(uuid(1)), "1");
    const Write_Request update = request(Operation::UPDATE, small(uuid(1)), "2");
    const Write_Answer refused = apply(complete);
    const Write_Answer missing = apply(update);
    EXPECT_EQ(refused.error.kind, Error::STATE);
    EXPECT_EQ(missing.error.kind, Error::NOT_FOUND);
    bring(uuid(1), "open");
    expect_same(refused, apply_anew(complete));
    expect_same(missing, apply_anew(update));
    expect_done(Operation::COMMIT, small(uuid(1)));
    const Write_Request other = request(Operation::COMMIT, small(uuid(1), R"("name":"n")"), "3");
    const Write_Answer conflict = apply(other);
    EXPECT_EQ(conflict.error.kind, Error::CONFLICT);
    expect_same(conflict, apply_anew(other));
}

TEST_P(Remembered_Answers_Test, another_principal_operation_or_content_is_another_request)
{
    bring(uuid(1), "open");
    const Write_Request add = request(Operation::ADD_PIECE, pieces(uuid(1), piece("a")), "7");
    Write_Request of_other = add;
    of_other.principal = "agent-2";
    EXPECT_FALSE(apply(add).repeated);
    EXPECT_FALSE(apply(of_other).repeated);
    EXPECT_FALSE(apply(Operation::ADD_PIECE, pieces(uuid(1), piece("b")), "7").repeated);
    EXPECT_FALSE(apply(Operation::ADD_PIECE, pieces(uuid(1), piece("a")), "8").repeated);
    EXPECT_FALSE(apply(Operation::ABORT, pieces(uuid(1), piece("a")), "7").repeated);
}

TEST_P(Remembered_Answers_Test, principal_and_id_do_not_run_into_each_other)
{
    Write_Request one = request(Operation::COMMIT, "{}", "bc");
    Write_Request other = request(Operation::COMMIT, "{}", "c");
    one.principal = "a";
    other.principal = "ab";
    EXPECT_NE(request_key(one), request_key(other));
}

TEST_P(Remembered_Answers_Test, a_request_without_an_id_is_not_remembered)
{
    bring(uuid(1), "open");
    const Write_Request add = request(Operation::ADD_PIECE, pieces(uuid(1), piece("a")));
    EXPECT_FALSE(apply(add).repeated);
    EXPECT_FALSE(apply(add).repeated);
    EXPECT_EQ(count("open_set_pieces"), 2);
    EXPECT_EQ(count("remembered_answer"), 0);
}

TEST_P(Remembered_Answers_Test, a_queued_commit_stays_answered_as_queued)
{
    const Write_Request commit = queued(small(uuid(1)), "1");
    const Write_Answer first = apply(commit);
    EXPECT_TRUE(first.queued);
    apply_queue();
    ASSERT_TRUE(exists(uuid(1)));
    expect_same(first, apply_anew(commit));
    Write_Request direct = commit;
    direct.queue = false; // the service was started anew without its queue
    expect_same(first, apply_anew(direct));
}

TEST_P(Remembered_Answers_Test, equal_requests_in_one_batch_have_one_effect)
{
    bring(uuid(1), "open");
    const Write_Request add = request(Operation::ADD_PIECE, pieces(uuid(1), piece("a")), "1");
    const Write_Request commit = request(Operation::COMMIT, small(uuid(2)), "2");
    const std::vector<Write_Answer> answers = apply_all({add, commit, add, commit, add});
    expect_same(answers[0], answers[2]);
    expect_same(answers[0], answers[4]);
    expect_same(answers[1], answers[3]);
    EXPECT_TRUE(answers[1].committed);
    EXPECT_EQ(count("open_set_pieces"), 1);
    EXPECT_EQ(count("remembered_answer"), 2);
}

TEST_P(Remembered_Answers_Test, a_repeated_request_takes_nothing_from_those_beside_it)
{
    bring(uuid(1), "open");
    const Write_Request add = request(Operation::ADD_PIECE, pieces(uuid(1), piece("a")), "1");
    const Write_Answer added = apply(add);
    const std::vector<Write_Answer> answers =
        apply_all({request(Operation::COMMIT, small(uuid(2)), "2"), add,
                   request(Operation::ADD_PIECE, pieces(uuid(1), piece("b")), "3"),
                   request(Operation::COMMIT, small(uuid(3)), "4")});
    expect_same(added, answers[1]);
    EXPECT_EQ(count("open_set_pieces"), 2);
    for (const std::size_t fresh : {0u, 2u, 3u}) {
        EXPECT_FALSE(answers[fresh].error) << answers[fresh].error.message;
        EXPECT_FALSE(answers[fresh].repeated);
    }
    EXPECT_TRUE(exists(uuid(2)));
    EXPECT_TRUE(exists(uuid(3)));
    EXPECT_EQ(count("remembered_answer"), 4);
}

TEST_P(Remembered_Answers_Test, equal_requests_at_the_same_time_have_one_effect)
{
    constexpr std::size_t clients = 4;
    constexpr unsigned rounds = 10;
    bring(uuid(1), "open");
    std::vector<std::unique_ptr<Catalog_Store>> stores;
    for (std::size_t i = 0; i < clients; ++i) {
        stores.push_back(open());
    }
    std::vector<std::vector<Write_Answer>> answers(clients);
    std::atomic<std::size_t> ready = 0;
    {
        std::vector<std::jthread> running;
        for (std::size_t i = 0; i < clients; ++i) {
            running.emplace_back([&, i] {
                ++ready;
                while (ready < clients) {
                    std::this_thread::yield();
                }
                for (unsigned round = 0; round < rounds; ++round) {
                    const std::string id = std::to_string(round);
                    const std::vector<Write_Request> requests{
                        request(Operation::ADD_PIECE, pieces(uuid(1), piece(id)), id),
                        request(Operation::COMMIT, small(uuid(10 + round)), id)};
                    for (Write_Answer& answer : stores[i]->apply(requests, now)) {
                        answers[i].push_back(std::move(answer));
                    }
                }
            });
        }
    }
    std::size_t committed = 0;
    std::size_t repeated = 0;
    for (const auto& of_client : answers) {
        for (const Write_Answer& answer : of_client) {
            EXPECT_EQ(answer.error.kind, Error::NONE) << answer.error.message;
            committed += answer.committed ? 1 : 0;
            repeated += answer.repeated ? 1 : 0;
        }
    }
    EXPECT_EQ(committed, rounds);
    EXPECT_EQ(repeated, (clients - 1) * 2 * rounds);
    EXPECT_EQ(count("open_set_pieces"), rounds);
    EXPECT_EQ(count("backup_set"), rounds);
}

TEST_P(Remembered_Answers_Test, answers_are_forgotten_after_seven_days_and_not_before)
{
    const auto commit = [&](unsigned number, std::time_t when) {
        const Write_Request one = request(Operation::COMMIT, small(uuid(number)), std::to_string(number));
        return store().apply(std::span(&one, 1), when).at(0);
    };
    const auto forget = [&](std::time_t when) {
        std::int64_t forgotten = -1;
        Error error;
        EXPECT_TRUE(store().forget_old_answers(when, forgotten, error)) << error.message;
        return forgotten;
    };
    commit(1, now);
    commit(2, now + 10);
    EXPECT_EQ(forget(now + answers_are_kept), 0);
    EXPECT_EQ(forget(now + answers_are_kept + 1), 1);
    EXPECT_TRUE(commit(2, now).repeated);
    EXPECT_FALSE(commit(1, now).repeated) << "it is the same set with the same content, but another request";
    EXPECT_EQ(forget(now + 2 * answers_are_kept), 2);
    EXPECT_EQ(count("remembered_answer"), 0);
    EXPECT_EQ(count("backup_set"), 2);
}

TEST_P(Remembered_Answers_Test, very_many_old_answers_are_forgotten_at_once)
{
    run(on_postgresql()
            ? "INSERT INTO remembered_answer SELECT md5(n::text)::uuid, timestamp '2020-01-01' + n * interval '1 second', "
              "'{}' FROM generate_series(1, 5000) AS numbers(n)"
            : "INSERT INTO remembered_answer SELECT CAST(printf('answer-%09d', value) AS BLOB), datetime('2020-01-01', "
              "'+' || value || ' seconds'), '{}' FROM (WITH RECURSIVE up(value) AS (SELECT 1 UNION ALL SELECT value + 1 "
              "FROM up WHERE value < 5000) SELECT value FROM up)");
    std::int64_t forgotten = 0;
    Error error;
    ASSERT_TRUE(store().forget_old_answers(now, forgotten, error)) << error.message;
    EXPECT_EQ(forgotten, 5000);
    EXPECT_EQ(count("remembered_answer"), 0);
}

TEST(Remembered_Answers, an_answer_comes_back_from_its_json)
{
    Write_Answer answer;
    answer.uuid = "u";
    answer.queued = true;
    answer.pieces = R"([{"a":1.50}])";
    Write_Answer back;
    ASSERT_TRUE(read_answer(answer_json(answer), back));
    EXPECT_EQ(back.error.kind, Error::NONE);
    EXPECT_EQ(back.uuid, "u");
    EXPECT_TRUE(back.queued);
    EXPECT_EQ(back.pieces, answer.pieces);
    for (const Error::Kind kind : {Error::REFUSED, Error::CONFLICT, Error::STATE, Error::NOT_FOUND}) {
        Write_Answer refused;
        refused.error = {.kind = kind, .message = "be\"cause", .key = "k", .database = {}};
        back = {};
        ASSERT_TRUE(read_answer(answer_json(refused), back));
        EXPECT_EQ(back.error.kind, kind);
        EXPECT_EQ(back.error.message, "be\"cause");
        EXPECT_EQ(back.error.key, "k");
    }
    EXPECT_FALSE(read_answer("[]", back));
    EXPECT_FALSE(read_answer(R"({"uuid":7})", back));
}
