// What may have become of one set, by what its client was told.
//
// A model holds all states that the catalog may have the set in: one while every step is answered, several once an answer
// is lost. An answer rules out the states that it does not fit; when none is left the service has said what it must not say.
// The rules are those of the protocol's table, written down a second time. Plain values of one thread.
#pragma once

#include "tests/soak/documents.h"

#include <compare>
#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace soak {

enum class Operation
{
    INITIALIZE,
    ADD_PIECE,
    COMPLETE,
    ABORT,
    COMMIT,
    UPDATE
};
inline constexpr std::size_t operation_count = 6;
const char* operation_name(Operation operation);

struct Step
{
    Operation operation = Operation::COMMIT;
    Content content; ///< of its document; ADD_PIECE: its pieces
    Spelling spelling = Spelling::VALUE;
    bool confirm = false; ///< COMMIT: the client waits until the set is there
};

enum class Outcome
{
    DONE,
    REFUSED, ///< the service says no
    UNKNOWN  ///< no answer
};

enum class Phase
{
    UNKNOWN,
    OPEN,
    COMPLETE,
    QUEUED,
    COMMITTED
};
const char* phase_name(Phase phase);

/// One state that a set may be in.
struct Set_State
{
    Phase phase = Phase::UNKNOWN;
    int variant = 0; ///< of the newest document
    Spelling spelling = Spelling::RECORD;
    std::vector<Piece> pieces;
    std::optional<Content> initialized; ///< with what the steps were taken, for "the same again"
    std::optional<Content> completed;
    std::optional<Content> committed;
    std::optional<Content> queued;
    Spelling queued_spelling = Spelling::RECORD;

    auto operator<=>(const Set_State&) const = default;

    /// The document that the catalog has to give; that of an open set with the pieces that it holds.
    std::string document(const Subject& subject) const;
};

class Set_Model
{
public:
    /// `queueing`: the service puts commits into a queue.
    explicit Set_Model(bool queueing) : queueing_(queueing) {}

    /// A step that was taken and what came of it. `sent_anew`: the request was repeated under another id, so it may have
    /// had its effect before. `aborted`: the pieces that a done abort answered. False: this cannot be.
    bool observe(const Step& step, Outcome outcome, bool sent_anew, const std::vector<std::string>& aborted);

    /// Two commits that were under way at the same time.
    struct Observed
    {
        Step step;
        Outcome outcome;
        bool sent_anew;
    };
    bool observe_both(const Observed& a, const Observed& b);

    /// The states that the set may be in now.
    const std::set<Set_State>& states() const { return states_; }

    /// Steps without an answer so far.
    std::size_t lost() const { return lost_.size(); }

    /// Those that it may be in when nothing is under way and the queue is empty.
    std::set<Set_State> settled() const;

private:
    using States = std::set<Set_State>;

    void widen(States& states) const;
    States after(States states, const Observed& observed, const std::vector<std::string>& aborted) const;
    Outcome take(Set_State& state, const Step& step, std::vector<std::string>* aborted) const;
    static void commit(Set_State& state, const Content& content, Spelling spelling);

    bool queueing_;
    States states_{Set_State()};
    std::vector<Step> lost_; ///< steps without an answer: they may still take effect
};

} // namespace soak
