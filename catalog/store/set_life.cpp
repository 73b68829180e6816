#include "catalog/store/set_life.h"

#include "catalog/schema/common_tables.h"
#include "catalog/store/commit_queue.h"
#include "catalog/store/content_digest.h"
#include "catalog/store/piece_list.h"
#include "catalog/store/refusal.h"
#include "catalog/store/remembered_answers.h"
#include "platform/json/document.h"
#include "platform/text/posix_time.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <string_view>
#include <utility>

namespace catalog {
namespace {

/// As a message calls the step.
const char* step_name(Write_Operation operation)
{
    return operation == Write_Operation::ADD_PIECE ? "add pieces to" : operation_name(operation);
}

/// Sets may have one lock by chance, which costs a little time and nothing else.
std::int64_t lock_of(const UUID_Bytes& uuid)
{
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < uuid.size(); ++i) {
        bits ^= static_cast<std::uint64_t>(uuid[i]) << (8 * (i % 8));
    }
    return static_cast<std::int64_t>(bits);
}

std::size_t column_index(std::string_view name)
{
    std::size_t at = 0;
    while (backup_set_table.columns[at].name != name) {
        ++at;
    }
    return at;
}

/// Tells the counters of a set that is being committed.
void describe(const Set_Rows& rows, Write_Answer& answer)
{
    static const std::size_t resource_at = column_index("resource_uuid");
    static const std::size_t end_at = column_index("backup_end_time");
    const std::vector<Binding_Value>& row = rows.tables.front().rows.front();
    answer.committed = true;
    answer.type = rows.type->id;
    if (const auto* const resource = std::get_if<Binding_Value::UUID>(&row[resource_at].held())) {
        answer.resource_uuid = uuid_text(*resource);
    }
    if (const auto* const end = std::get_if<std::string>(&row[end_at].held())) {
        iso8601_to_posix_time(std::string_view(*end), answer.backup_end_time);
    }
}

std::string compact_document(const Life_Step& step)
{
    return json_document::compact(step.request.params);
}

/// What an open set keeps of a document: its pieces are rows of their own.
std::string without_pieces(const std::string& document)
{
    return with_pieces(document, "[]");
}

std::size_t count_pieces(std::string_view pieces)
{
    std::vector<json_document::Member> elements;
    json_document::split_array(pieces, elements);
    return elements.size();
}

bool has_pieces(std::string_view pieces)
{
    return pieces.size() > 2; // "[]" has none
}

SQL with_set(const SQL& sql, const UUID_Bytes& uuid)
{
    SQL bound = sql;
    bound.bind(":uuid", uuid);
    return bound;
}

SQL forget_open(const UUID_Bytes& uuid)
{
    static const SQL sql("DELETE FROM open_set WHERE uuid = :uuid");
    return with_set(sql, uuid);
}

/// Steps of one set follow each other; only pieces are added by several at once.
struct Round
{
    std::vector<Life_Step*> now;
    std::vector<Life_Step*> later; ///< those that have to wait for others
};

/// The next round of steps, which are in the order of their sets, as its parts are.
Round next_round(std::span<Life_Step* const> steps)
{
    const auto adds = [](const Life_Step* step) { return step->operation() == Write_Operation::ADD_PIECE; };
    Round round;
    for (Life_Step* const step : steps) {
        auto& [now, later] = round;
        const bool is_next = later.empty() || later.back()->uuid != step->uuid;
        const bool is_first = now.empty() || now.back()->uuid != step->uuid;
        (is_next && (is_first || (adds(step) && adds(now.back()))) ? now : later).push_back(step);
    }
    return round;
}

/// In the order of their sets, by which rows go in as `record` writes them; those of one set as they stand.
std::vector<Life_Step*> pointers(std::span<Life_Step> steps)
{
    std::vector<Life_Step*> all;
    all.reserve(steps.size());
    for (Life_Step& step : steps) {
        all.push_back(&step);
    }
    std::ranges::stable_sort(all, {}, &Life_Step::uuid);
    return all;
}

class Ignoring_Printer : public database::sql::Query_Result_Token_Printer
{
public:
    bool print_int(int, const char*, ACE_INT64) override { return true; }
};

/// The first text of the first row.
class Text_Printer : public database::sql::Query_Result_Token_Printer
{
public:
    bool print_cstr(int, const char*, const char* value, std::size_t length) override
    {
        text.assign(value, length);
        return true;
    }

    std::string text;
};

} // namespace

std::vector<Write_Answer> Set_Life::apply(std::span<const Write_Request> requests)
{
    answers_.resize(requests.size());
    std::vector<Life_Step> steps;
    steps.reserve(requests.size());
    for (std::size_t i = 0; i < requests.size(); ++i) {
        Life_Step step;
        step.index = i;
        step.request = requests[i];
        if (read_step(step, answers_[i].error)) {
            steps.push_back(std::move(step));
        }
    }
    apply_or_fail(pointers(steps));
    return std::move(answers_);
}

std::vector<Write_Answer> Set_Life::apply(std::span<Life_Step> steps)
{
    answers_.resize(steps.size());
    for (std::size_t i = 0; i < steps.size(); ++i) {
        steps[i].index = i;
    }
    apply_or_fail(pointers(steps));
    return std::move(answers_);
}

void Set_Life::apply_or_fail(std::vector<Life_Step*> steps)
{
    if (steps.empty() || apply_steps(steps)) {
        return;
    }
    for (const Life_Step* const step : steps) {
        answer(*step) = {};
        answer(*step).uuid = uuid_text(step->uuid);
        fail(answer(*step).error, failure_);
    }
}

bool Set_Life::apply_steps(std::span<Life_Step* const> steps)
{
    // A request that is given twice gets the answer of the first.
    std::map<UUID_Bytes, const Life_Step*> first;
    std::vector<std::pair<const Life_Step*, const Life_Step*>> repeated;
    std::vector<Life_Step*> asked;
    for (Life_Step* const step : steps) {
        const auto place = step->key ? first.emplace(*step->key, step).first : first.end();
        if (place != first.end() && place->second != step) {
            repeated.emplace_back(step, place->second);
        } else {
            asked.push_back(step);
        }
    }
    bool done = false;
    if (!apply_at_once(asked, done) || (!done && !apply_in_rounds(asked))) {
        return false;
    }
    for (const auto& [step, original] : repeated) {
        answer(*step) = answer(*original);
        answer(*step).repeated = !answer(*original).error || answer(*original).error.kind != Error::DATABASE;
        answer(*step).committed = false;
    }
    return true;
}

/// What nearly all transactions are: one round, no request was here before, and nobody recorded one of the sets meanwhile.
/// Else a key is there already, of an answer or of a set. Not done: nothing happened.
bool Set_Life::apply_at_once(std::span<Life_Step* const> steps, bool& done)
{
    if (!next_round(steps).later.empty()) {
        return true;
    }
    Database_Transaction transaction(connection_, Database_Transaction::WRITE);
    if (!transaction.begun()) {
        return database_failed();
    }
    Look_Ups look_ups(connection_);
    lock(look_ups, steps);
    look_up(look_ups, steps, false);
    if (!look_ups.run()) {
        return database_failed();
    }
    if (!load_pieces(steps) || !plan(steps)) {
        return false;
    }
    const Expected_Constraint expected(connection_);
    done = transaction.commit(take_statements());
    return done || content_refused();
}

bool Set_Life::apply_in_rounds(std::span<Life_Step* const> steps)
{
    Database_Transaction transaction(connection_, Database_Transaction::WRITE);
    if (!transaction.begun()) {
        return database_failed();
    }
    Look_Ups look_ups(connection_);
    lock(look_ups, steps);
    look_up_remembered(look_ups, steps);
    return (look_ups.run() || database_failed()) && run_rounds(without_remembered(steps))
           && (transaction.commit() || database_failed());
}

bool Set_Life::apply_queued(std::size_t limit, std::vector<Write_Answer>& answers, Error& error)
{
    error = {};
    answers.clear();
    bool waits = false;
    if (!anything_waits(connection_, waits, error)) {
        return false;
    }
    if (!waits) {
        return true; // without having kept others from writing
    }
    if (!apply_waiting(limit)) {
        return fail(error, failure_);
    }
    answers = std::move(answers_);
    return true;
}

bool Set_Life::apply_waiting(std::size_t limit)
{
    Database_Transaction transaction(connection_, Database_Transaction::WRITE);
    std::vector<Waiting_Commit> waiting;
    if (!transaction.begun() || !take_waiting(connection_, limit, waiting)) {
        return database_failed();
    }
    answers_.resize(waiting.size());
    std::vector<Life_Step> steps;
    steps.reserve(waiting.size());
    for (std::size_t i = 0; i < waiting.size(); ++i) {
        Life_Step step;
        step.index = i;
        step.request.params = std::move(waiting[i].document);
        step.queue_id = waiting[i].id;
        if (read_step(step, answers_[i].error)) {
            steps.push_back(std::move(step));
        } else { // it was taken once, by a program that knew other types
            answers_[i].uuid = uuid_text(waiting[i].set);
            if (!connection_.execute(fail_queued(step.queue_id, answers_[i].error.message))) {
                return database_failed();
            }
        }
    }
    const std::vector<Life_Step*> all = pointers(steps);
    Look_Ups look_ups(connection_);
    lock(look_ups, all);
    return (look_ups.run() || database_failed()) && run_rounds(all) && (transaction.commit() || database_failed());
}

/// On a server, others who change the same sets wait until the end of the transaction. SQLite has one writer anyway.
void Set_Life::lock(Look_Ups& look_ups, std::span<Life_Step* const> steps) const
{
    if (connection_.dialect() != SQL_Dialect::POSTGRESQL || steps.empty()) {
        return;
    }
    std::vector<std::int64_t> locks;
    locks.reserve(steps.size());
    for (const Life_Step* const step : steps) {
        locks.push_back(lock_of(step->uuid));
    }
    // All take them in the same order, so that nobody waits for somebody who waits for him.
    std::ranges::sort(locks);
    locks.erase(std::unique(locks.begin(), locks.end()), locks.end());
    std::string list = "{";
    for (const std::int64_t number : locks) {
        list += (list.size() > 1 ? "," : "") + std::to_string(number);
    }
    static const Select_SQL select = Select_SQL().select(
        "(SELECT count(pg_advisory_xact_lock(number)) FROM unnest(CAST(:locks AS _int8)) AS number)");
    look_ups.add(Select_SQL(select).bind(":locks", list + '}'), std::make_unique<Ignoring_Printer>());
}

void Set_Life::look_up_remembered(Look_Ups& look_ups, std::span<Life_Step* const> steps)
{
    remembered_.clear();
    std::vector<UUID_Bytes> keys;
    for (const Life_Step* const step : steps) {
        if (step->key) {
            keys.push_back(*step->key);
        }
    }
    find_answers(look_ups, keys, remembered_);
}

/// Gives the others their answers.
std::vector<Life_Step*> Set_Life::without_remembered(std::span<Life_Step* const> steps)
{
    std::vector<Life_Step*> left;
    for (Life_Step* const step : steps) {
        const auto place = step->key ? remembered_.find(*step->key) : remembered_.end();
        if (place != remembered_.end()) {
            answer(*step) = std::move(place->second);
        } else {
            left.push_back(step);
        }
    }
    return left;
}

bool Set_Life::run_rounds(std::vector<Life_Step*> steps)
{
    while (!steps.empty()) {
        Round round = next_round(steps);
        if (!run(round.now)) {
            return false;
        }
        steps = std::move(round.later);
    }
    return true;
}

bool Set_Life::run(std::span<Life_Step* const> steps)
{
    bool done = false;
    if (!run_together(steps, done)) {
        return false;
    }
    if (done) {
        return true;
    }
    if (steps.size() == 1) {
        return give_up(*steps.front());
    }
    return std::ranges::all_of(steps, [this](Life_Step* step) { return run(std::span(&step, 1)); });
}

bool Set_Life::run_together(std::span<Life_Step* const> steps, bool& done)
{
    Look_Ups look_ups(connection_);
    look_up(look_ups, steps, true);
    if (!look_ups.run()) {
        return database_failed();
    }
    if (!load_pieces(steps) || !plan(steps)) {
        return false;
    }
    const std::vector<Statement> statements = take_statements();
    const Expected_Constraint expected(connection_); // what a server's other clients do is not seen in time
    done = statements.empty() || connection_.execute(statements);
    return done || content_refused();
}

/// What is open or queued of the sets, and for some steps whether they are committed.
void Set_Life::look_up(Look_Ups& look_ups, std::span<Life_Step* const> steps, bool carefully)
{
    states_.clear();
    std::vector<UUID_Bytes> sets;
    std::vector<UUID_Bytes> doubtful;
    for (const Life_Step* const step : steps) {
        if (sets.empty() || sets.back() != step->uuid) {
            sets.push_back(step->uuid);
            // Of a commit it shows when the rows are there already; but not of one that goes into the queue.
            if (carefully || step->operation() != Write_Operation::COMMIT || step->request.queue) {
                doubtful.push_back(step->uuid);
            }
        }
    }
    look_up_states(look_ups, sets, doubtful, states_);
}

/// Of the open sets whose pieces a step takes.
bool Set_Life::load_pieces(std::span<Life_Step* const> steps)
{
    std::vector<UUID_Bytes> sets;
    for (const Life_Step* const step : steps) {
        const bool takes = step->operation() == Write_Operation::ABORT || step->operation() == Write_Operation::COMMIT;
        if (takes && states_[step->uuid].open) {
            sets.push_back(step->uuid);
        }
    }
    Look_Ups look_ups(connection_);
    look_up_pieces(look_ups, sets, states_);
    return look_ups.run() || database_failed();
}

bool Set_Life::plan(std::span<Life_Step* const> steps)
{
    before_.clear();
    rows_.take();
    after_.clear();
    for (Life_Step* const step : steps) {
        answer(*step) = {};
        answer(*step).uuid = uuid_text(step->uuid);
        if (!plan(*step)) {
            return false;
        }
        if (step->key) {
            remember(rows_, *step->key, now_, answer(*step));
        }
    }
    return true;
}

std::vector<Set_Life::Statement> Set_Life::take_statements()
{
    std::vector<Statement> statements = std::move(before_);
    std::ranges::move(rows_.take(), std::back_inserter(statements));
    std::ranges::move(after_, std::back_inserter(statements));
    return statements;
}

/// After statements that failed: whether it was for what they write.
bool Set_Life::content_refused()
{
    failure_ = connection_.last_error();
    return concerns_content(failure_);
}

/// The database does not take what this step would write.
bool Set_Life::give_up(Life_Step& step)
{
    answer(step) = {};
    answer(step).uuid = uuid_text(step.uuid);
    fail(answer(step).error, failure_);
    return step.queue_id == 0 || connection_.execute(fail_queued(step.queue_id, answer(step).error.message))
           || database_failed();
}

bool Set_Life::plan(Life_Step& step)
{
    const Set_State& state = states_[step.uuid];
    switch (step.operation()) {
    case Write_Operation::INITIALIZE:
        initialize(step, state);
        break;
    case Write_Operation::ADD_PIECE:
        add_piece(step, state);
        break;
    case Write_Operation::COMPLETE:
        complete(step, state);
        break;
    case Write_Operation::ABORT:
        abort(step, state);
        break;
    case Write_Operation::COMMIT:
        return commit(step, state);
    case Write_Operation::UPDATE:
        return update(step, state);
    }
    return true;
}

void Set_Life::initialize(Life_Step& step, const Set_State& state)
{
    const std::string_view found = state.name();
    if (found != "unknown" && found != "open") {
        out_of_order(step, state, "unknown");
        return;
    }
    std::string digest = content_digest(step.request.params);
    if (state.open) {
        if (digest != state.initialized) {
            conflict(step, "is open");
        }
        return;
    }
    const std::string document = compact_document(step);
    rows_.add(open_set_table,
              {Binding_Value(step.uuid), Binding_Value(step.rows.type->id), Binding_Value("open"),
               Binding_Value(stored_time(now_).value_or("1970-01-01 00:00:00")), Binding_Value(std::move(digest)),
               Binding_Value(), Binding_Value(without_pieces(document))});
    const std::string_view pieces = pieces_of(document);
    add_pieces(step.uuid, pieces, count_pieces(pieces));
}

void Set_Life::add_piece(Life_Step& step, const Set_State& state)
{
    if (std::string_view(state.name()) != "open") {
        out_of_order(step, state, "open");
        return;
    }
    add_pieces(step.uuid, step.pieces, step.piece_count);
}

void Set_Life::complete(Life_Step& step, const Set_State& state)
{
    const std::string_view found = state.name();
    if (found != "open" && found != "complete") {
        out_of_order(step, state, "open");
        return;
    }
    std::string digest = content_digest(step.request.params);
    if (state.complete) {
        if (digest != state.completed) {
            conflict(step, "is complete");
        }
        return;
    }
    if (!is_of_type(step, state.type)) {
        return;
    }
    static const SQL sql(
        "UPDATE open_set SET state = 'complete', completed = :digest, document = :document WHERE uuid = :uuid");
    const std::string document = compact_document(step);
    SQL bound = sql;
    bound.bind(":digest", std::move(digest)).bind(":document", without_pieces(document)).bind(":uuid", step.uuid);
    after_.emplace_back(std::move(bound));
    const std::string_view pieces = pieces_of(document);
    add_pieces(step.uuid, pieces, count_pieces(pieces));
}

void Set_Life::abort(Life_Step& step, const Set_State& state)
{
    const std::string_view found = state.name();
    if (found != "open" && found != "complete") {
        out_of_order(step, state, "open or complete");
        return;
    }
    Piece_List held;
    for (const std::string& pieces : state.pieces) {
        held.add(pieces);
    }
    answer(step).pieces = held.array();
    after_.emplace_back(forget_open(step.uuid));
}

bool Set_Life::commit(Life_Step& step, const Set_State& state)
{
    if (state.committed) {
        if (!commit_again(step)) {
            return false;
        }
    } else if (step.queue_id == 0 && !state.queued.empty()) {
        const std::string digest = content_digest(step.request.params);
        answer(step).queued = std::ranges::find(state.queued, digest) != state.queued.end();
        if (!answer(step).queued) {
            conflict(step, "is queued");
        }
    } else if (!state.open || is_of_type(step, state.type)) {
        if (step.request.queue) {
            enqueue(step);
        } else {
            commit_now(step, state);
        }
    }
    const bool is_settled = !answer(step).error && !answer(step).queued;
    if (is_settled && state.open) {
        after_.emplace_back(forget_open(step.uuid)); // also of a set that was recorded meanwhile without these steps
    }
    if (step.queue_id != 0) {
        leave_queue(step);
    }
    return true;
}

bool Set_Life::commit_again(Life_Step& step)
{
    std::string stored;
    Error error;
    if (!read_back(connection_, step.uuid, stored, error)) {
        failure_ = error.database;
        return false;
    }
    if (json_document::same_content(stored, step.request.params)) {
        return true;
    }
    std::string digest;
    if (!committed_digest(step.uuid, digest)) {
        return false;
    }
    if (digest.empty() || digest != content_digest(step.request.params)) {
        conflict(step, "is committed");
    }
    return true;
}

void Set_Life::enqueue(Life_Step& step)
{
    rows_.add(queued_commit_table,
              {Binding_Value(step.uuid), Binding_Value(step.rows.type->id), Binding_Value("waiting"),
               Binding_Value(stored_time(now_).value_or("1970-01-01 00:00:00")),
               Binding_Value(content_digest(step.request.params)), Binding_Value(),
               Binding_Value(compact_document(step))});
    answer(step).queued = true;
}

void Set_Life::commit_now(Life_Step& step, const Set_State& state)
{
    if (step.rows.tables.empty() || state.open) { // they went into a statement that failed, or get other pieces
        std::string document = compact_document(step);
        bool is_merged = false;
        if (state.open) {
            Piece_List all;
            for (const std::string& pieces : state.pieces) {
                all.add(pieces);
            }
            const std::string_view own = pieces_of(document);
            all.add(own.empty() ? "[]" : own);
            std::string merged = all.size() > 0 ? with_pieces(document, all.array()) : document;
            is_merged = merged != document;
            document = std::move(merged);
        }
        if (!read_document(document, step.rows, answer(step).error)) {
            return;
        }
        if (is_merged) {
            step.rows.tables.push_back(
                {&backup_set_commit_table,
                 {{Binding_Value(step.uuid), Binding_Value(content_digest(step.request.params)), Binding_Value()}}});
        }
    }
    describe(step.rows, answer(step));
    rows_.add(std::move(step.rows));
    step.rows.tables.clear();
}

bool Set_Life::update(Life_Step& step, const Set_State& state)
{
    const std::string_view found = state.name();
    if (found == "unknown") {
        answer(step).error = {.kind = Error::NOT_FOUND,
                              .message = "the catalog has no set " + uuid_text(step.uuid),
                              .key = "uuid",
                              .database = {}};
    } else if (found == "queued") {
        out_of_order(step, state, "open, complete or committed");
    } else if (is_of_type(step, state.committed ? state.committed_type : state.type)) {
        if (state.committed) {
            return update_committed(step);
        }
        update_open(step);
    }
    return true;
}

void Set_Life::update_open(Life_Step& step)
{
    static const SQL replace("UPDATE open_set SET document = :document WHERE uuid = :uuid");
    static const SQL forget("DELETE FROM open_set_pieces WHERE set_uuid = :uuid");
    const std::string document = compact_document(step);
    SQL bound = replace;
    bound.bind(":document", without_pieces(document)).bind(":uuid", step.uuid);
    after_.emplace_back(std::move(bound));
    const std::string_view pieces = pieces_of(document);
    if (has_pieces(pieces)) {
        before_.emplace_back(with_set(forget, step.uuid));
        add_pieces(step.uuid, pieces, count_pieces(pieces));
    }
}

bool Set_Life::update_committed(Life_Step& step)
{
    std::string stored;
    std::string digest;
    Error error;
    if (!read_back(connection_, step.uuid, stored, error)) {
        failure_ = error.database;
        return false;
    }
    if (!committed_digest(step.uuid, digest)) {
        return false;
    }
    std::string document = compact_document(step);
    const std::string_view kept = pieces_of(stored);
    if (has_pieces(kept) && !has_pieces(pieces_of(document))) {
        document = with_pieces(document, kept);
    }
    if (json_document::same_content(stored, document) || !read_document(document, step.rows, answer(step).error)) {
        return true;
    }
    static const SQL forget("DELETE FROM backup_set WHERE uuid = :uuid");
    before_.emplace_back(with_set(forget, step.uuid));
    rows_.add(std::move(step.rows));
    rows_.add(backup_set_commit_table,
              {Binding_Value(step.uuid), Binding_Value(digest.empty() ? content_digest(stored) : digest),
               Binding_Value(short_digest({document}))});
    return true;
}

/// A commit of the queue has been settled.
void Set_Life::leave_queue(const Life_Step& step)
{
    const Error& error = answer(step).error;
    after_.emplace_back(error ? fail_queued(step.queue_id, error.message) : remove_queued(step.queue_id));
}

void Set_Life::out_of_order(const Life_Step& step, const Set_State& state, const char* wanted)
{
    answer(step).error = {.kind = Error::STATE,
                          .message = "cannot " + std::string(step_name(step.operation())) + " set "
                                     + uuid_text(step.uuid) + ", which is " + state.name() + ": it has to be " + wanted,
                          .key = "uuid",
                          .database = {}};
}

void Set_Life::conflict(const Life_Step& step, const std::string& where)
{
    answer(step).error = {.kind = Error::CONFLICT,
                          .message =
                              "set " + uuid_text(step.uuid) + ' ' + where + " with other content; it was left as it is",
                          .key = "uuid",
                          .database = {}};
}

bool Set_Life::is_of_type(const Life_Step& step, const std::string& type)
{
    return step.rows.type->id == type
           || refuse(answer(step).error, "catalog_module",
                     "the document is of type " + std::string(step.rows.type->id) + ", but set " + uuid_text(step.uuid)
                         + " is of type " + type);
}

void Set_Life::add_pieces(const UUID_Bytes& set, std::string_view pieces, std::size_t count)
{
    if (count > 0) {
        rows_.add(open_set_pieces_table,
                  {Binding_Value(set), Binding_Value(static_cast<std::int64_t>(count)), Binding_Value(pieces)});
    }
}

/// Empty: the set's document is the one that it was committed with.
bool Set_Life::committed_digest(const UUID_Bytes& set, std::string& digest)
{
    static const Select_SQL select =
        Select_SQL().table("backup_set_commit").select("digest").where("set_uuid = :set_uuid");
    Text_Printer printer;
    if (!connection_.query_and_print(Select_SQL(select).bind(":set_uuid", set), printer, GM_ORM_ROWS)) {
        return database_failed();
    }
    digest = std::move(printer.text);
    return true;
}

bool Set_Life::database_failed()
{
    failure_ = connection_.last_error();
    return false;
}

} // namespace catalog
