#include "tests/soak/set_model.h"

#include <algorithm>
#include <stdexcept>

namespace soak {

namespace {

constexpr std::size_t most_states = 20000;

std::vector<int> numbers(const std::vector<Piece>& pieces)
{
    std::vector<int> numbers;
    for (const Piece& piece : pieces) {
        numbers.push_back(piece.number);
    }
    return numbers;
}

std::vector<Piece> spelled(const Content& content, Spelling spelling)
{
    std::vector<Piece> pieces;
    for (const int number : content.pieces) {
        pieces.push_back({number, spelling});
    }
    return pieces;
}

/// Each piece counts once.
void add(std::vector<Piece>& held, const Content& content, Spelling spelling)
{
    for (const Piece& piece : spelled(content, spelling)) {
        if (std::ranges::find(held, piece.number, &Piece::number) == held.end()) {
            held.push_back(piece);
        }
    }
}

void take_document(Set_State& state, const Step& step)
{
    state.variant = step.content.variant;
    state.spelling = step.spelling;
}

Outcome done_if(bool is_done)
{
    return is_done ? Outcome::DONE : Outcome::REFUSED;
}

Outcome update(Set_State& state, const Step& step)
{
    const bool keeps = step.content.pieces.empty();
    if (state.phase == Phase::OPEN || state.phase == Phase::COMPLETE) {
        take_document(state, step);
        if (!keeps) {
            state.pieces.clear();
            add(state.pieces, step.content, step.spelling);
        }
        return Outcome::DONE;
    }
    if (state.phase != Phase::COMMITTED) {
        return Outcome::REFUSED;
    }
    const bool is_same =
        step.content.variant == state.variant && (keeps || step.content.pieces == numbers(state.pieces));
    if (!is_same) {
        take_document(state, step);
        if (!keeps) {
            state.pieces = spelled(step.content, step.spelling);
        }
    }
    return Outcome::DONE;
}

} // namespace

const char* operation_name(Operation operation)
{
    constexpr const char* names[operation_count] = {"initialize", "add_piece", "complete", "abort", "commit", "update"};
    return names[static_cast<std::size_t>(operation)];
}

const char* phase_name(Phase phase)
{
    constexpr const char* names[] = {"unknown", "open", "complete", "queued", "committed"};
    return names[static_cast<std::size_t>(phase)];
}

std::string Set_State::document(const Subject& subject) const
{
    return document_text(subject, variant, spelling, pieces);
}

bool Set_Model::observe(const Step& step, Outcome outcome, bool sent_anew, const std::vector<std::string>& aborted)
{
    states_ = after(std::move(states_), {step, outcome, sent_anew}, aborted);
    if (outcome == Outcome::UNKNOWN) {
        lost_.push_back(step);
        widen(states_);
    }
    return !states_.empty();
}

bool Set_Model::observe_both(const Observed& a, const Observed& b)
{
    for (const Observed& one : {a, b}) {
        if (one.outcome == Outcome::UNKNOWN) {
            lost_.push_back(one.step);
        }
    }
    States states = after(after(states_, a, {}), b, {});
    states.merge(after(after(states_, b, {}), a, {}));
    states_ = std::move(states);
    return !states_.empty();
}

std::set<Set_State> Set_Model::settled() const
{
    States states = states_;
    widen(states);
    std::erase_if(states, [](const Set_State& state) { return state.phase == Phase::QUEUED; });
    return states;
}

/// Adds what may come by itself: a queued commit is applied, a step whose answer was lost takes effect.
void Set_Model::widen(States& states) const
{
    std::vector<Set_State> fresh(states.begin(), states.end());
    while (!fresh.empty()) {
        Set_State state = std::move(fresh.back());
        fresh.pop_back();
        std::vector<Set_State> next;
        for (const Step& step : lost_) {
            take(next.emplace_back(state), step, nullptr);
        }
        if (state.phase == Phase::QUEUED) {
            const Content content = *state.queued;
            commit(state, content, state.queued_spelling);
            next.push_back(std::move(state));
        }
        for (Set_State& one : next) {
            if (states.insert(one).second) {
                fresh.push_back(std::move(one));
            }
        }
        if (states.size() > most_states) {
            throw std::logic_error("a set has too many states that are possible");
        }
    }
}

Set_Model::States Set_Model::after(States states, const Observed& observed,
                                   const std::vector<std::string>& aborted) const
{
    widen(states);
    if (observed.outcome == Outcome::UNKNOWN) {
        return states;
    }
    if (observed.sent_anew) {
        States changed;
        for (Set_State state : states) {
            take(state, observed.step, nullptr);
            changed.insert(std::move(state));
        }
        states.merge(std::move(changed));
        widen(states);
    }
    States left;
    for (Set_State state : states) {
        std::vector<std::string> held;
        if (take(state, observed.step, &held) == observed.outcome
            && (observed.step.operation != Operation::ABORT || held == aborted))
        {
            left.insert(std::move(state));
        }
    }
    widen(left);
    if (observed.step.confirm && observed.outcome == Outcome::DONE) {
        std::erase_if(left, [](const Set_State& state) { return state.phase != Phase::COMMITTED; });
    }
    return left;
}

Outcome Set_Model::take(Set_State& state, const Step& step, std::vector<std::string>* aborted) const
{
    const bool is_growing = state.phase == Phase::OPEN || state.phase == Phase::COMPLETE;
    switch (step.operation) {
    case Operation::INITIALIZE:
        if (state.phase == Phase::UNKNOWN) {
            state.phase = Phase::OPEN;
            state.initialized = step.content;
            take_document(state, step);
            add(state.pieces, step.content, step.spelling);
            return Outcome::DONE;
        }
        return done_if(state.phase == Phase::OPEN && state.initialized == step.content);
    case Operation::ADD_PIECE:
        if (state.phase == Phase::OPEN) {
            add(state.pieces, step.content, step.spelling);
        }
        return done_if(state.phase == Phase::OPEN);
    case Operation::COMPLETE:
        if (state.phase == Phase::OPEN) {
            state.phase = Phase::COMPLETE;
            state.completed = step.content;
            take_document(state, step);
            add(state.pieces, step.content, step.spelling);
            return Outcome::DONE;
        }
        return done_if(state.phase == Phase::COMPLETE && state.completed == step.content);
    case Operation::ABORT:
        if (is_growing) {
            if (aborted != nullptr) {
                for (const Piece& piece : state.pieces) {
                    aborted->push_back(piece_text({piece.number, Spelling::VALUE}));
                }
            }
            state = {};
        }
        return done_if(is_growing);
    case Operation::COMMIT:
        if (state.phase == Phase::COMMITTED) {
            return done_if(state.committed == step.content
                           || Content{state.variant, numbers(state.pieces)} == step.content);
        }
        if (state.phase == Phase::QUEUED) {
            return done_if(state.queued == step.content);
        }
        if (queueing_) {
            state.phase = Phase::QUEUED;
            state.queued = step.content;
            state.queued_spelling = step.spelling;
        } else {
            commit(state, step.content, step.spelling);
        }
        return Outcome::DONE;
    case Operation::UPDATE:
        return update(state, step);
    }
    return Outcome::REFUSED;
}

void Set_Model::commit(Set_State& state, const Content& content, Spelling spelling)
{
    Set_State committed;
    if (state.initialized) { // a document without steps before it is kept just as it came
        committed.pieces = std::move(state.pieces);
        add(committed.pieces, content, spelling);
    } else {
        committed.pieces = spelled(content, spelling);
    }
    committed.phase = Phase::COMMITTED;
    committed.variant = content.variant;
    committed.spelling = spelling;
    committed.committed = content;
    state = std::move(committed);
}

} // namespace soak
