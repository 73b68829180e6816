#include "tests/soak/set_life.h"

#include "backup_set/common/restful_catalog_operator.h"
#include "platform/json/json_generator.h"
#include "platform/json/yajl_gen.h"
#include "tests/soak/call_log.h"

#include <memory>
#include <thread>

namespace soak {

namespace {

constexpr int usual_retries = 6;
constexpr std::size_t most_lost = 3; ///< a set of which more is unknown proves nothing
constexpr int no_limit = -1;

std::string random_uuid(std::mt19937_64& random)
{
    char text[37];
    const std::uint64_t high = random();
    const std::uint64_t low = random();
    std::snprintf(text, sizeof text, "%08x-%04x-4%03x-8%03x-%012llx", static_cast<unsigned>(high >> 32),
                  static_cast<unsigned>(high >> 16 & 0xffff), static_cast<unsigned>(high & 0xfff),
                  static_cast<unsigned>(low >> 52), static_cast<unsigned long long>(low & 0xffffffffffffull));
    return text;
}

std::string described(const Step& step)
{
    std::string text = operation_name(step.operation);
    if (step.operation != Operation::ABORT) {
        text += step.operation == Operation::ADD_PIECE ? "" : " variant " + std::to_string(step.content.variant);
        text += " pieces [";
        for (const int number : step.content.pieces) {
            text += ' ' + std::to_string(number);
        }
        text += step.spelling == Spelling::RECORD ? " ] record" : " ] value";
    }
    return text + (step.confirm ? " confirm" : "");
}

const char* outcome_name(Outcome outcome)
{
    constexpr const char* names[] = {"done", "refused", "no answer"};
    return names[static_cast<std::size_t>(outcome)];
}

} // namespace

Set_Life::Set_Life(unsigned number, std::uint64_t seed, const Surroundings& surroundings) :
    surroundings_(surroundings), random_(seed), model_(surroundings.queueing), retries_(chance(8) ? 0 : usual_retries)
{
    subject_ = {random_uuid(random_), below(type_count()), number};
}

void Set_Life::run(const std::function<bool()>& may_step)
{
    for (std::size_t left = 5 + below(12); left > 0 && fault_.empty() && may_step(); --left) {
        const Call call{choose_step(), choose_way()};
        if (call.step.operation == Operation::COMMIT && chance(10)) {
            contest(call);
        } else {
            take(call);
        }
        const bool is_left_alone = fault_.empty() && model_.states().begin()->phase == Phase::COMMITTED && chance(30);
        if (is_left_alone || model_.lost() > most_lost) {
            return;
        }
    }
}

void Set_Life::was_recorded(const Content& content)
{
    Step step;
    step.content = content;
    step.spelling = Spelling::RECORD;
    history_.push_back("recorded in the store: " + described(step));
    model_.observe(step, Outcome::DONE, false, {});
}

bool Set_Life::chance(int percent)
{
    return std::uniform_int_distribution<int>(0, 99)(random_) < percent;
}

std::size_t Set_Life::below(std::size_t limit)
{
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_);
}

/// What an agent would do next, most of the time; and now and then what is out of order.
Operation Set_Life::choose_operation(Phase phase)
{
    // initialize, add_piece, complete, abort, commit, update
    static const std::array<std::array<int, operation_count>, 5> weights = {{
        {60, 2, 2, 3, 30, 3},
        {5, 52, 16, 10, 11, 6},
        {4, 5, 12, 16, 53, 10},
        {5, 4, 4, 4, 48, 35},
        {5, 4, 4, 4, 43, 40},
    }};
    const auto& row = weights[static_cast<std::size_t>(phase)];
    return static_cast<Operation>(std::discrete_distribution<std::size_t>(row.begin(), row.end())(random_));
}

Step Set_Life::choose_step()
{
    Step step;
    step.operation = choose_operation(model_.states().begin()->phase);
    step.content = choose_content(step.operation);
    const bool has_document = step.operation != Operation::ADD_PIECE && step.operation != Operation::ABORT;
    step.spelling = has_document && chance(50) ? Spelling::RECORD : Spelling::VALUE;
    step.confirm = step.operation == Operation::COMMIT && chance(40);
    return step;
}

Content Set_Life::choose_content(Operation operation)
{
    if (operation == Operation::ABORT) {
        return {};
    }
    if (operation == Operation::ADD_PIECE) {
        Content content = fresh_content(false);
        content.variant = 0;
        return content;
    }
    if (!documents_.empty() && chance(operation == Operation::UPDATE ? 15 : 50)) {
        return documents_[chance(70) ? documents_.size() - 1 : below(documents_.size())];
    }
    return documents_.emplace_back(fresh_content(true));
}

Content Set_Life::fresh_content(bool may_lack_pieces)
{
    Content content{++variants_, {}};
    const std::size_t count = may_lack_pieces ? below(4) : 1 + below(5);
    for (std::size_t i = 0; i < count; ++i) {
        const bool is_repeated = pieces_ > 0 && chance(25);
        content.pieces.push_back(is_repeated ? 1 + static_cast<int>(below(static_cast<std::size_t>(pieces_)))
                                             : ++pieces_);
    }
    return content;
}

void Set_Life::take(const Call& call)
{
    const Result result = send(call);
    note(result);
    if (fault_.empty() && !model_.observe(call.step, result.outcome, result.sent_anew, result.aborted)) {
        fault_ = "the answer cannot be";
    }
}

/// Two clients commit the set at once, with the same content or with two.
void Set_Life::contest(const Call& call)
{
    Call other = call;
    if (chance(60)) {
        other.step.content = documents_.emplace_back(fresh_content(true));
    }
    other.step.spelling = chance(50) ? Spelling::RECORD : Spelling::VALUE;
    other.way = choose_way();
    ++surroundings_.totals->contests;
    Result others;
    std::thread other_client([&] { others = send(other); });
    const Result result = send(call);
    other_client.join();
    note(result);
    others.note += " (at the same time)";
    note(others);
    if (fault_.empty()
        && !model_.observe_both({call.step, result.outcome, result.sent_anew},
                                {other.step, others.outcome, others.sent_anew}))
    {
        fault_ = "the two answers cannot be";
    }
}

Set_Life::Result Set_Life::send(const Call& call) const
{
    std::unique_ptr<Catalog_Operator> to;
    if (call.way == Way::REST) {
        to = std::make_unique<RESTful_Catalog_Operator>("127.0.0.1", surroundings_.port, false, nullptr, retries_,
                                                        no_limit);
    } else {
        to = std::make_unique<Catalog_Operator>(retries_, no_limit);
    }
    Call_Log::clear();
    Result result;
    const bool done = send(*to, call.step, result.aborted);
    const bool has_own_id = call.way == Way::JSON_RPC && call.step.spelling == Spelling::RECORD;
    result.sent_anew = has_own_id && Call_Log::repeats() > 0; // each attempt to send a record has an id of its own
    result.outcome = Outcome::DONE;
    if (done) {
        surroundings_.acknowledged();
    } else {
        // An operator that has given up awaiting a queued commit says nothing.
        const bool gave_up = call.step.confirm && Call_Log::errors().empty();
        const std::optional<Outcome> told = gave_up ? Outcome::UNKNOWN : Call_Log::outcome();
        result.outcome = told.value_or(Outcome::UNKNOWN);
        if (!told) {
            result.fault = "neither a refusal nor silence: " + Call_Log::errors();
        }
    }
    surroundings_.totals->repeats += Call_Log::repeats();
    ++surroundings_.totals
          ->outcomes[static_cast<std::size_t>(call.step.operation)][static_cast<std::size_t>(result.outcome)];
    result.note = described(call.step) + (call.way == Way::REST ? ", REST: " : ", JSON-RPC: ")
                  + outcome_name(result.outcome) + ", repeats " + std::to_string(Call_Log::repeats());
    if (result.outcome == Outcome::REFUSED) {
        result.note += ": " + Call_Log::errors();
    }
    return result;
}

bool Set_Life::send(Catalog_Operator& to, const Step& step, std::vector<std::string>& aborted) const
{
    if (step.operation == Operation::ADD_PIECE) {
        return to.add_piece(subject_.uuid, piece_values(step.content.pieces));
    }
    if (step.operation == Operation::ABORT) {
        json_spirit::Array pieces;
        if (!to.abort(subject_.uuid, pieces)) {
            return false;
        }
        for (const json_spirit::Value& piece : pieces) {
            JSON_Text text;
            yajl_gen_value(text.get(), piece);
            aborted.push_back(text.take());
        }
        return true;
    }
    const auto send_document = [&](auto& document) {
        switch (step.operation) {
        case Operation::INITIALIZE:
            return to.initialize(document);
        case Operation::COMPLETE:
            return to.complete(document);
        case Operation::UPDATE:
            return to.update(document);
        default:
            return to.commit(document, step.confirm);
        }
    };
    if (step.spelling == Spelling::RECORD) {
        const std::unique_ptr<Backup_Set> record = make_record(subject_, step.content);
        return send_document(*record);
    }
    const json_spirit::Value value = make_value(subject_, step.content);
    return send_document(value);
}

void Set_Life::note(const Result& result)
{
    history_.push_back(result.note);
    if (fault_.empty()) {
        fault_ = result.fault;
    }
}

} // namespace soak
