// The life of one set: random steps through catalog operators, each noted in a model of the set.
#pragma once

#include "tests/soak/set_model.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

class Catalog_Operator;

namespace soak {

/// What all lives together did.
struct Totals
{
    std::array<std::array<std::atomic<int>, 3>, operation_count> outcomes{}; ///< by operation and outcome
    std::atomic<int> repeats{0};
    std::atomic<int> contests{0}; ///< commits that met another commit of the same set
};

/// How the service is reached, and how it was started.
struct Surroundings
{
    std::uint16_t port = 0;
    bool queueing = false;
    Totals* totals = nullptr;
    std::function<void()> acknowledged; ///< called when a step has been done
};

/// Belongs to one thread at a time.
class Set_Life
{
public:
    Set_Life(unsigned number, std::uint64_t seed, const Surroundings& surroundings);

    /// Lives as long as `may_step` lets it and something is left to do.
    void run(const std::function<bool()>& may_step);

    /// Notes that the set came into the catalog by other hands.
    void was_recorded(const Content& content);

    const Subject& subject() const { return subject_; }
    const Set_Model& model() const { return model_; }

    /// What happened, a line each.
    const std::vector<std::string>& history() const { return history_; }

    /// What the service said that it must not say; the life ends with it. Empty: nothing.
    const std::string& fault() const { return fault_; }

private:
    enum class Way
    {
        JSON_RPC,
        REST
    };
    struct Call
    {
        Step step;
        Way way = Way::JSON_RPC;
    };
    struct Result
    {
        Outcome outcome = Outcome::UNKNOWN;
        bool sent_anew = false;
        std::vector<std::string> aborted;
        std::string note;  ///< for the history
        std::string fault; ///< the answer fits nothing
    };

    bool chance(int percent);
    std::size_t below(std::size_t limit);
    Operation choose_operation(Phase phase);
    Step choose_step();
    Content fresh_content(bool may_lack_pieces);
    Content choose_content(Operation operation);
    Way choose_way() { return chance(50) ? Way::JSON_RPC : Way::REST; }

    void take(const Call& call);
    void contest(const Call& call);
    Result send(const Call& call) const;
    bool send(Catalog_Operator& to, const Step& step, std::vector<std::string>& aborted) const;
    void note(const Result& result);

    const Surroundings surroundings_;
    std::mt19937_64 random_;
    Subject subject_;
    Set_Model model_;
    int retries_;
    int variants_ = 0;
    int pieces_ = 0;
    std::vector<Content> documents_; ///< that were handed over
    std::vector<std::string> history_;
    std::string fault_;
};

} // namespace soak
