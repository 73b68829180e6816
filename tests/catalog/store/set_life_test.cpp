// What each step of a set's life does in each state, and what becomes of pieces on the way.

#include "platform/json/document.h"
#include "tests/catalog/store/life_test.h"

#include <algorithm>
#include <map>

namespace {

using namespace catalog;

class Set_Life_Test : public Life_Test
{
protected:
    /// A step with a document that no earlier step had.
    Write_Request step(Operation operation, const std::string& uuid)
    {
        switch (operation) {
        case Operation::ADD_PIECE:
            return request(operation, pieces(uuid, piece("a")));
        case Operation::ABORT:
            return request(operation, only_uuid(uuid));
        default:
            return request(operation, small(uuid, R"("name":"new")"));
        }
    }
};

} // namespace

CATALOG_TEST_ENGINES(Set_Life_Test);

TEST_P(Set_Life_Test, each_step_in_each_state)
{
    struct Outcome
    {
        Error::Kind kind;
        const char* state; ///< afterwards
    };
    using Row = std::map<std::string, Outcome>;
    constexpr auto none = Error::NONE;
    constexpr auto out_of_order = Error::STATE;
    constexpr auto conflict = Error::CONFLICT;
    const std::vector<std::pair<Operation, Row>> table = {
        {Operation::INITIALIZE,
         {{"unknown", {none, "open"}},
          {"open", {conflict, "open"}},
          {"complete", {out_of_order, "complete"}},
          {"queued", {out_of_order, "queued"}},
          {"committed", {out_of_order, "committed"}}}},
        {Operation::ADD_PIECE,
         {{"unknown", {out_of_order, "unknown"}},
          {"open", {none, "open"}},
          {"complete", {out_of_order, "complete"}},
          {"queued", {out_of_order, "queued"}},
          {"committed", {out_of_order, "committed"}}}},
        {Operation::COMPLETE,
         {{"unknown", {out_of_order, "unknown"}},
          {"open", {none, "complete"}},
          {"complete", {conflict, "complete"}},
          {"queued", {out_of_order, "queued"}},
          {"committed", {out_of_order, "committed"}}}},
        {Operation::ABORT,
         {{"unknown", {out_of_order, "unknown"}},
          {"open", {none, "unknown"}},
          {"complete", {none, "unknown"}},
          {"queued", {out_of_order, "queued"}},
          {"committed", {out_of_order, "committed"}}}},
        {Operation::COMMIT,
         {{"unknown", {none, "committed"}},
          {"open", {none, "committed"}},
          {"complete", {none, "committed"}},
          {"queued", {conflict, "queued"}},
          {"committed", {conflict, "committed"}}}},
        {Operation::UPDATE,
         {{"unknown", {Error::NOT_FOUND, "unknown"}},
          {"open", {none, "open"}},
          {"complete", {none, "complete"}},
          {"queued", {out_of_order, "queued"}},
          {"committed", {none, "committed"}}}},
    };
    unsigned number = 0;
    for (const auto& [operation, row] : table) {
        for (const auto& [before, outcome] : row) {
            const std::string set = uuid(++number);
            SCOPED_TRACE("operation " + std::to_string(static_cast<int>(operation)) + " of a set that is " + before);
            bring(set, before);
            const Write_Answer answer = apply(step(operation, set));
            EXPECT_EQ(answer.error.kind, outcome.kind) << answer.error.message;
            EXPECT_EQ(answer.uuid, set);
            EXPECT_EQ(answer.queued, false);
            EXPECT_EQ(answer.committed, operation == Operation::COMMIT && outcome.kind == none);
            EXPECT_EQ(state_of(set), outcome.state);
            if (outcome.kind != none) {
                EXPECT_EQ(answer.error.key, "uuid");
            }
            if (outcome.kind == out_of_order) {
                EXPECT_NE(answer.error.message.find(" which is " + before + ':'), std::string::npos)
                    << answer.error.message;
            }
        }
    }
}

TEST_P(Set_Life_Test, the_same_content_again_is_a_success_without_effect)
{
    const std::string first = R"({"catalog_module":"oracle_exp","uuid":")" + uuid(1) + R"(","size":10,"name":"a"})";
    const std::string again =
        R"( {"name":"\u0061", "size":10, "uuid":")" + uuid(1) + R"(","catalog_module":"oracle_exp"})";
    for (const Operation operation : {Operation::INITIALIZE, Operation::COMPLETE, Operation::COMMIT}) {
        expect_done(operation, first);
        const Write_Answer answer = apply(operation, again);
        EXPECT_EQ(answer.error.kind, Error::NONE) << answer.error.message;
        EXPECT_FALSE(answer.committed);
        EXPECT_FALSE(answer.repeated);
    }
    EXPECT_EQ(document(uuid(1)), first);
    EXPECT_EQ(count("backup_set"), 1);
}

TEST_P(Set_Life_Test, a_finished_set_has_the_pieces_of_all_steps_each_once)
{
    const std::string a = piece("a");
    const std::string b = piece("b");
    // The same piece, spelled another way.
    const std::string b_again = R"({"size":1,"object":"\u0062","path":"/d","extended_attrs":{}})";
    const std::string b_larger = piece("b", 2);
    const std::string c = R"({"path":"/d","object":"c","size":3,"extended_attrs":{"x":1},"odd":true})";
    expect_done(Operation::INITIALIZE, small(uuid(1), R"("pieces":[)" + a + "]"));
    expect_done(Operation::ADD_PIECE, pieces(uuid(1), b + "," + a));
    expect_done(Operation::ADD_PIECE, pieces(uuid(1), b_again + "," + b_larger));
    expect_done(Operation::ADD_PIECE, pieces(uuid(1), ""));
    expect_done(Operation::COMPLETE, small(uuid(1), R"("pieces":[)" + c + "]"));
    const std::string commit = small(uuid(1), R"("x":1,"pieces":[)" + piece("d") + "," + a + R"(],"x":2,"y":[ ])");
    const Write_Answer answer = apply(Operation::COMMIT, commit);
    EXPECT_EQ(answer.error.kind, Error::NONE) << answer.error.message;
    EXPECT_TRUE(answer.committed);
    EXPECT_EQ(answer.type, "oracle_exp");
    const std::string all = a + "," + b + "," + b_larger + "," + c + "," + piece("d");
    EXPECT_EQ(document(uuid(1)), small(uuid(1), R"("x":1,"pieces":[)" + all + R"(],"x":2,"y":[])"));
    EXPECT_EQ(query("SELECT piece_count FROM backup_set").at(0).at(0), "5");
    EXPECT_EQ(count("backup_piece"), 5);
    EXPECT_EQ(count("open_set"), 0);
    EXPECT_EQ(count("open_set_pieces"), 0);
}

TEST_P(Set_Life_Test, pieces_are_put_where_the_document_has_none)
{
    unsigned number = 0;
    for (const auto& [members, rest] : std::vector<std::pair<std::string, std::string>>{
             {R"("name":"n")", R"("name":"n","pieces":[)"},
             {R"("pieces":null,"name":"n")", R"("pieces":[)"},
             {R"("pieces":[],"name":"n")", R"("pieces":[)"},
         })
    {
        const std::string set = uuid(++number);
        expect_done(Operation::INITIALIZE, small(set));
        expect_done(Operation::ADD_PIECE, pieces(set, piece("a")));
        expect_done(Operation::COMMIT, small(set, members));
        const std::string behind = rest.starts_with("\"name\"") ? "]" : R"(],"name":"n")";
        EXPECT_EQ(document(set), small(set, rest + piece("a") + behind));
    }
}

TEST_P(Set_Life_Test, a_commit_without_steps_before_it_is_kept_as_it_came)
{
    const std::string text = small(uuid(1), R"("pieces":[)" + piece("a") + "," + piece("a") + "]");
    expect_done(Operation::COMMIT, text);
    EXPECT_EQ(document(uuid(1)), text);
}

TEST_P(Set_Life_Test, a_set_that_was_open_has_each_piece_once_though_none_came_before_its_commit)
{
    const std::string twice = small(uuid(1), R"("pieces":[)" + piece("a") + "," + piece("a") + "]");
    expect_done(Operation::INITIALIZE, small(uuid(1)));
    expect_done(Operation::COMMIT, twice);
    EXPECT_EQ(document(uuid(1)), small(uuid(1), R"("pieces":[)" + piece("a") + "]"));
    expect_done(Operation::COMMIT, twice);

    const std::string none = small(uuid(2), R"("pieces":null)");
    expect_done(Operation::INITIALIZE, small(uuid(2)));
    expect_done(Operation::COMMIT, none);
    EXPECT_EQ(document(uuid(2)), none);
}

TEST_P(Set_Life_Test, a_commit_equals_what_was_committed_though_pieces_were_added)
{
    const std::string commit = small(uuid(1), R"("pieces":[)" + piece("b") + "]");
    expect_done(Operation::INITIALIZE, small(uuid(1)));
    expect_done(Operation::ADD_PIECE, pieces(uuid(1), piece("a")));
    expect_done(Operation::COMMIT, commit);
    const std::string stored = document(uuid(1));
    expect_done(Operation::COMMIT, commit);
    expect_done(Operation::COMMIT, stored);
    EXPECT_EQ(apply(Operation::COMMIT, small(uuid(1))).error.kind, Error::CONFLICT);
    EXPECT_EQ(document(uuid(1)), stored);
}

TEST_P(Set_Life_Test, an_abort_answers_all_pieces_each_once_and_forgets_the_set)
{
    expect_done(Operation::INITIALIZE, small(uuid(1), R"("pieces":[)" + piece("a") + "]"));
    expect_done(Operation::INITIALIZE, small(uuid(2), R"("pieces":[)" + piece("other") + "]"));
    expect_done(Operation::ADD_PIECE, pieces(uuid(1), piece("b") + "," + piece("a") + "," + piece("c")));
    expect_done(Operation::COMPLETE, small(uuid(1), R"("pieces":[)" + piece("d") + "]"));
    const Write_Answer answer = apply(Operation::ABORT, only_uuid(uuid(1)));
    EXPECT_EQ(answer.error.kind, Error::NONE) << answer.error.message;
    EXPECT_EQ(answer.pieces, "[" + piece("a") + "," + piece("b") + "," + piece("c") + "," + piece("d") + "]");
    EXPECT_EQ(state_of(uuid(1)), "unknown");
    EXPECT_EQ(count("open_set_pieces"), 1) << "of the other set";
    expect_done(Operation::INITIALIZE, small(uuid(1)));
    EXPECT_EQ(apply(Operation::ABORT, only_uuid(uuid(1))).pieces, "[]");
}

TEST_P(Set_Life_Test, what_is_wrong_by_itself_is_refused_and_names_the_key)
{
    bring(uuid(1), "open");
    const auto refused_key = [&](const Write_Request& request) {
        const Write_Answer answer = apply(request);
        EXPECT_EQ(answer.error.kind, Error::REFUSED) << answer.error.message;
        EXPECT_NE(answer.error.message, "");
        return answer.error.key;
    };
    EXPECT_EQ(refused_key(request(Operation::INITIALIZE, "{\"uuid\":")), "");
    EXPECT_EQ(refused_key(request(Operation::INITIALIZE, R"({"catalog_module":"oracle_exp"})")), "uuid");
    EXPECT_EQ(refused_key(request(Operation::COMPLETE, small("nothing"))), "uuid");
    EXPECT_EQ(refused_key(request(Operation::COMMIT, R"({"catalog_module":"nothing","uuid":""})")), "catalog_module");
    EXPECT_EQ(refused_key(request(Operation::INITIALIZE, small(uuid(2), R"("pieces":[{"size":"x"}])"))),
              "pieces[0].size");
    EXPECT_EQ(refused_key(request(Operation::ABORT, "[]")), "");
    EXPECT_EQ(refused_key(request(Operation::ABORT, "{}")), "uuid");
    EXPECT_EQ(refused_key(request(Operation::ABORT, R"({"uuid":7})")), "uuid");
    EXPECT_EQ(refused_key(request(Operation::ADD_PIECE, only_uuid(uuid(1)))), "pieces");
    EXPECT_EQ(refused_key(request(Operation::ADD_PIECE, R"({"uuid":")" + uuid(1) + R"(","pieces":{}})")), "pieces");
    EXPECT_EQ(refused_key(request(Operation::ADD_PIECE, pieces(uuid(1), "7"))), "pieces[0]");
    EXPECT_EQ(refused_key(request(Operation::ADD_PIECE, pieces(uuid(1), piece("a") + R"(,{"path":1})"))),
              "pieces[1].path");
    EXPECT_EQ(refused_key(request(Operation::COMPLETE, R"({"catalog_module":"oracle","uuid":")" + uuid(1) + "\"}")),
              "catalog_module")
        << "the set was initialized as one of another type";
    EXPECT_EQ(refused_key(request(Operation::COMMIT, R"({"catalog_module":"oracle","uuid":")" + uuid(1) + "\"}")),
              "catalog_module");
    EXPECT_EQ(refused_key(request(Operation::COMMIT, small(uuid(3)), std::string(201, 'i'))), "id");
    EXPECT_EQ(apply(request(Operation::COMMIT, small(uuid(3)), std::string(200, 'i'))).error.kind, Error::NONE);
    EXPECT_EQ(count("open_set_pieces"), 0);
    EXPECT_EQ(state_of(uuid(1)), "open");
    EXPECT_EQ(state_of(uuid(2)), "unknown");
}

TEST_P(Set_Life_Test, an_update_replaces_a_committed_document_whole)
{
    expect_done(Operation::COMMIT,
                small(uuid(1), R"("name":"old","parents":[")" + uuid(9)
                                   + R"("],"storage":{"state":["online"]},"pieces":[)" + piece("a") + "]"));
    const std::string update = small(uuid(1), R"("name":"new","storages":[{"state":["offline"]},{}],"pieces":[)"
                                                  + piece("b") + "," + piece("c") + "]");
    expect_done(Operation::UPDATE, update);
    EXPECT_EQ(document(uuid(1)), update);
    EXPECT_EQ(query("SELECT name FROM backup_set").at(0).at(0), "new");
    EXPECT_EQ(count("backup_piece"), 2);
    EXPECT_EQ(count("backup_set_storage"), 2);
    EXPECT_EQ(count("backup_set_parent"), 0);
    EXPECT_EQ(count("backup_set_state"), 1);
    EXPECT_EQ(count("oracle_exp_backup_set"), 1);
}

TEST_P(Set_Life_Test, an_update_without_pieces_keeps_those_of_the_set)
{
    expect_done(Operation::COMMIT, small(uuid(1), R"("name":"old","pieces":[)" + piece("a") + "]"));
    expect_done(Operation::UPDATE, small(uuid(1), R"("name":"new")"));
    EXPECT_EQ(document(uuid(1)), small(uuid(1), R"("name":"new","pieces":[)" + piece("a") + "]"));
    expect_done(Operation::UPDATE, small(uuid(1), R"("pieces":[],"name":"newer")"));
    EXPECT_EQ(document(uuid(1)), small(uuid(1), R"("pieces":[)" + piece("a") + R"(],"name":"newer")"));
}

TEST_P(Set_Life_Test, a_commit_equals_what_was_committed_though_the_set_was_updated)
{
    const std::string commit = small(uuid(1), R"("name":"old")");
    expect_done(Operation::COMMIT, commit);
    expect_done(Operation::UPDATE, small(uuid(1), R"("name":"new")"));
    expect_done(Operation::UPDATE, small(uuid(1), R"("name":"newer")"));
    expect_done(Operation::COMMIT, commit);
    EXPECT_EQ(apply(Operation::COMMIT, small(uuid(1), R"("name":"new")")).error.kind, Error::CONFLICT);
    EXPECT_EQ(document(uuid(1)), small(uuid(1), R"("name":"newer")"));
}

TEST_P(Set_Life_Test, an_update_is_of_the_set_that_is_named_and_keeps_its_type)
{
    expect_done(Operation::COMMIT, small(uuid(1)));
    Write_Request update = request(Operation::UPDATE, small(uuid(1), R"("name":"new")"));
    update.uuid = uuid(2);
    EXPECT_EQ(apply(update).error.kind, Error::REFUSED);
    update.uuid = "nothing";
    EXPECT_EQ(apply(update).error.kind, Error::REFUSED);
    update.params = R"({"catalog_module":"oracle","uuid":")" + uuid(1) + "\"}";
    update.uuid = "{" + uuid(1) + "}";
    const Write_Answer answer = apply(update);
    EXPECT_EQ(answer.error.kind, Error::REFUSED);
    EXPECT_EQ(answer.error.key, "catalog_module");
    EXPECT_EQ(document(uuid(1)), small(uuid(1)));
    update.params = small(uuid(1), R"("name":"new")");
    EXPECT_EQ(apply(update).error.kind, Error::NONE);
    EXPECT_EQ(document(uuid(1)), update.params);
}

TEST_P(Set_Life_Test, an_update_of_an_open_set_replaces_its_document_and_perhaps_its_pieces)
{
    const auto open_document = [&] {
        std::string text;
        Error error;
        EXPECT_TRUE(store().open_document(uuid(1), text, error)) << error.message;
        return text;
    };
    const std::string initial = small(uuid(1), R"("pieces":[)" + piece("a") + R"(],"name":"old")");
    expect_done(Operation::INITIALIZE, initial);
    expect_done(Operation::ADD_PIECE, pieces(uuid(1), piece("b")));
    expect_done(Operation::UPDATE, small(uuid(1), R"("name":"new")"));
    EXPECT_EQ(open_document(), small(uuid(1), R"("name":"new","pieces":[)" + piece("a") + "," + piece("b") + "]"));
    expect_done(Operation::INITIALIZE, initial);
    EXPECT_NE(open_document().find("new"), std::string::npos) << "it was initialized with that, and updated since";
    expect_done(Operation::UPDATE, small(uuid(1), R"("pieces":[)" + piece("c") + "]"));
    EXPECT_EQ(open_document(), small(uuid(1), R"("pieces":[)" + piece("c") + "]"));
    expect_done(Operation::COMPLETE, small(uuid(1)));
    expect_done(Operation::UPDATE, small(uuid(1), R"("pieces":[)" + piece("d") + "]"));
    expect_done(Operation::COMMIT, small(uuid(1), R"("pieces":[)" + piece("e") + "]"));
    EXPECT_EQ(document(uuid(1)), small(uuid(1), R"("pieces":[)" + piece("d") + "," + piece("e") + "]"));
}

TEST_P(Set_Life_Test, a_bad_request_among_good_ones_takes_nothing_from_them)
{
    bring(uuid(3), "committed");
    bring(uuid(5), "open");
    Log_Capture log;
    const std::vector<Write_Answer> answers = apply_all({
        request(Operation::COMMIT, small(uuid(1), R"("pieces":[)" + piece("a") + "]"), "1"),
        request(Operation::COMMIT, "nonsense", "2"),
        request(Operation::COMMIT, small(uuid(3), R"("name":"other")"), "3"),
        request(Operation::COMMIT, small(uuid(3), R"("name":"committed")"), "3a"),
        request(Operation::COMPLETE, small(uuid(4)), "4"),
        request(Operation::ABORT, only_uuid(uuid(5)), "5"),
        request(Operation::COMMIT, small(uuid(6)), "6"),
    });
    const auto kind = [&](std::size_t i) { return answers.at(i).error.kind; };
    EXPECT_EQ(kind(0), Error::NONE) << answers[0].error.message;
    EXPECT_TRUE(answers[0].committed);
    EXPECT_EQ(kind(1), Error::REFUSED);
    EXPECT_EQ(kind(2), Error::CONFLICT) << answers[2].error.message;
    EXPECT_EQ(kind(3), Error::NONE) << answers[3].error.message;
    EXPECT_FALSE(answers[3].committed);
    EXPECT_EQ(kind(4), Error::STATE) << answers[4].error.message;
    EXPECT_EQ(kind(5), Error::NONE) << answers[5].error.message;
    EXPECT_EQ(kind(6), Error::NONE) << answers[6].error.message;
    EXPECT_EQ(count("backup_set"), 3);
    EXPECT_EQ(count("backup_piece"), 1);
    EXPECT_EQ(log.count(LM_ERROR), 0U) << log.text();
    EXPECT_EQ(count("remembered_answer"), 6) << "of all but the one that is wrong by itself";
}

TEST_P(Set_Life_Test, what_the_database_does_not_take_fails_alone)
{
    static_cast<void>(store());
    run(on_postgresql()
            ? "ALTER TABLE oracle_exp_backup_set ADD CONSTRAINT narrow CHECK (set_uuid <> '" + uuid(2) + "')"
            : "CREATE TRIGGER narrow BEFORE INSERT ON oracle_exp_backup_set WHEN hex(NEW.set_uuid) LIKE "
              "'00000002%' BEGIN SELECT RAISE(ABORT, 'narrow'); END");
    Log_Capture log;
    const std::vector<Write_Answer> answers =
        apply_all({request(Operation::COMMIT, small(uuid(1)), "1"), request(Operation::COMMIT, small(uuid(2)), "2"),
                   request(Operation::COMMIT, small(uuid(3)), "3")});
    EXPECT_EQ(answers[0].error.kind, Error::NONE);
    EXPECT_EQ(answers[1].error.kind, Error::DATABASE);
    EXPECT_FALSE(answers[1].committed);
    EXPECT_EQ(answers[2].error.kind, Error::NONE);
    EXPECT_EQ(count("backup_set"), 2);
    EXPECT_EQ(count("remembered_answer"), 2) << "a failure of the database is not remembered";
}

TEST_P(Set_Life_Test, the_steps_of_one_set_in_one_batch_follow_each_other)
{
    const std::vector<Write_Answer> answers = apply_all({
        request(Operation::ADD_PIECE, pieces(uuid(1), piece("early"))),
        request(Operation::INITIALIZE, small(uuid(1))),
        request(Operation::ADD_PIECE, pieces(uuid(1), piece("a"))),
        request(Operation::COMMIT, small(uuid(2))),
        request(Operation::ADD_PIECE, pieces(uuid(1), piece("b"))),
        request(Operation::ADD_PIECE, pieces(uuid(1), piece("c"))),
        request(Operation::COMPLETE, small(uuid(1))),
        request(Operation::ADD_PIECE, pieces(uuid(1), piece("late"))),
        request(Operation::COMMIT, small(uuid(1))),
        request(Operation::UPDATE, small(uuid(1), R"("name":"n")")),
    });
    std::vector<Error::Kind> kinds;
    for (const Write_Answer& answer : answers) {
        kinds.push_back(answer.error.kind);
    }
    using enum Error::Kind;
    EXPECT_EQ(kinds, (std::vector<Error::Kind>{STATE, NONE, NONE, NONE, NONE, NONE, NONE, STATE, NONE, NONE}));
    EXPECT_EQ(document(uuid(1)),
              small(uuid(1), R"("name":"n","pieces":[)" + piece("a") + "," + piece("b") + "," + piece("c") + "]"));
    EXPECT_TRUE(exists(uuid(2)));
}

TEST_P(Set_Life_Test, a_commit_tells_what_counters_want_to_know)
{
    const Write_Answer answer =
        apply(Operation::COMMIT,
              small(uuid(1), R"("resource_uuid":")" + uuid(7) + R"(","backup_end_time":"2024-05-01 22:00:00")"));
    EXPECT_TRUE(answer.committed);
    EXPECT_EQ(answer.uuid, uuid(1));
    EXPECT_EQ(answer.type, "oracle_exp");
    EXPECT_EQ(answer.resource_uuid, uuid(7));
    EXPECT_EQ(answer.backup_end_time, 1714600800);
}

TEST_P(Set_Life_Test, a_set_that_was_recorded_while_it_was_open_is_committed)
{
    bring(uuid(1), "open");
    record(small(uuid(1)));
    EXPECT_EQ(apply(Operation::ADD_PIECE, pieces(uuid(1), piece("a"))).error.kind, Error::STATE);
    expect_done(Operation::COMMIT, small(uuid(1)));
    EXPECT_EQ(state_of(uuid(1)), "committed");
}

TEST_P(Set_Life_Test, a_database_that_fails_has_done_nothing_and_says_so_to_all)
{
    bring(uuid(1), "open");
    run("ALTER TABLE open_set RENAME TO away");
    Log_Capture log;
    const std::vector<Write_Answer> answers =
        apply_all({request(Operation::COMMIT, small(uuid(2)), "1"), request(Operation::COMMIT, "nonsense", "2")});
    EXPECT_EQ(answers[0].error.kind, Error::DATABASE);
    EXPECT_EQ(answers[1].error.kind, Error::REFUSED);
    EXPECT_FALSE(exists(uuid(2)));
    run("ALTER TABLE away RENAME TO open_set");
    EXPECT_EQ(count("remembered_answer"), 0);
    EXPECT_EQ(apply(Operation::COMMIT, small(uuid(2)), "1").error.kind, Error::NONE);
}

TEST_P(Set_Life_Test, a_step_that_was_read_is_applied_with_its_rows_or_without)
{
    std::vector<Life_Step> steps(2);
    for (unsigned i = 0; i < 2; ++i) {
        Error error;
        steps[i].request = request(Operation::COMMIT, small(uuid(i + 1), R"("name":"n")"), std::to_string(i));
        ASSERT_TRUE(read_step(steps[i], error)) << error.message;
    }
    steps[1].rows.tables.clear();
    // A caller may not know whether the database was lost before or behind it.
    for (const bool repeated : {false, true}) {
        for (const Write_Answer& answer : store().apply(steps, now)) {
            EXPECT_FALSE(answer.error) << answer.error.message;
            EXPECT_EQ(answer.repeated, repeated);
        }
    }
    for (unsigned i = 0; i < 2; ++i) {
        std::string document;
        Error error;
        EXPECT_TRUE(store().document(uuid(i + 1), document, error)) << error.message;
        EXPECT_EQ(document, small(uuid(i + 1), R"("name":"n")"));
    }
}
