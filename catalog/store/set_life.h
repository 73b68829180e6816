// The steps of sets' lives, many in one transaction. What each step does in each state stands at `Catalog_Store`.
//
// Steps are taken together where they can be: one look-up for all, one insert for each table, and so a transaction is two
// trips to a server. Where that fails, for what one of them would write is not taken, they are looked at more closely and
// at last taken one by one.
#pragma once

#include "catalog/store/life_step.h"
#include "catalog/store/set_state.h"
#include "catalog/store/stored_set.h"
#include "catalog/store/write_request.h"

#include <cstddef>
#include <ctime>
#include <map>
#include <span>
#include <vector>

namespace catalog {

/// Serves one call; belongs to one thread.
class Set_Life
{
public:
    Set_Life(Database_Connection& connection, std::time_t now) : connection_(connection), now_(now) {}

    std::vector<Write_Answer> apply(std::span<const Write_Request> requests);
    std::vector<Write_Answer> apply(std::span<Life_Step> steps);

    bool apply_queued(std::size_t limit, std::vector<Write_Answer>& answers, Error& error);

private:
    using Statement = Database_Connection::Statement;

    void apply_or_fail(std::vector<Life_Step*> steps);

    // Each is false when the database failed (`failure_`): then nothing at all can be done.
    bool apply_steps(std::span<Life_Step* const> steps);
    bool apply_waiting(std::size_t limit);
    bool apply_at_once(std::span<Life_Step* const> steps, bool& done);
    bool apply_in_rounds(std::span<Life_Step* const> steps);
    bool run_rounds(std::vector<Life_Step*> steps);
    bool run(std::span<Life_Step* const> steps);
    bool run_together(std::span<Life_Step* const> steps, bool& done);
    bool load_pieces(std::span<Life_Step* const> steps);
    bool plan(std::span<Life_Step* const> steps);
    bool content_refused();
    bool give_up(Life_Step& step);

    void lock(Look_Ups& look_ups, std::span<Life_Step* const> steps) const;
    void look_up_remembered(Look_Ups& look_ups, std::span<Life_Step* const> steps);
    void look_up(Look_Ups& look_ups, std::span<Life_Step* const> steps, bool carefully);
    std::vector<Life_Step*> without_remembered(std::span<Life_Step* const> steps);
    std::vector<Statement> take_statements();

    // What a step does, for its set's state: its answer, and what is to be written.
    bool plan(Life_Step& step);
    void initialize(Life_Step& step, const Set_State& state);
    void add_piece(Life_Step& step, const Set_State& state);
    void complete(Life_Step& step, const Set_State& state);
    void abort(Life_Step& step, const Set_State& state);
    bool commit(Life_Step& step, const Set_State& state);
    bool commit_again(Life_Step& step);
    void enqueue(Life_Step& step);
    void commit_now(Life_Step& step, const Set_State& state);
    bool update(Life_Step& step, const Set_State& state);
    void update_open(Life_Step& step);
    bool update_committed(Life_Step& step);
    void leave_queue(const Life_Step& step);

    Write_Answer& answer(const Life_Step& step) { return answers_[step.index]; }
    void out_of_order(const Life_Step& step, const Set_State& state, const char* wanted);
    void conflict(const Life_Step& step, const std::string& where);
    bool is_of_type(const Life_Step& step, const std::string& type);
    void add_pieces(const UUID_Bytes& set, std::string_view pieces, std::size_t count);
    bool committed_digest(const UUID_Bytes& set, std::string& digest);
    bool database_failed();

    Database_Connection& connection_;
    std::time_t now_;
    Database_Error failure_;
    std::vector<Write_Answer> answers_;

    // Of the steps that are being taken together.
    std::map<UUID_Bytes, Write_Answer> remembered_;
    Set_States states_;
    std::vector<Statement> before_; ///< the inserts
    Row_Collector rows_;
    std::vector<Statement> after_;
};

} // namespace catalog
