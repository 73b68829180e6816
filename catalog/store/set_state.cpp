#include "catalog/store/set_state.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace catalog {
namespace {

/// Rows that begin with the UUID of a set and go on with texts.
class State_Printer : public database::sql::Query_Result_Token_Printer
{
public:
    explicit State_Printer(Set_States& states) : states_(states) {}

    bool print_cstr(int index, const char*, const char* value, std::size_t length) override
    {
        const std::string_view text(value, length);
        if (index == 0) {
            const auto uuid = read_uuid(text);
            state_ = uuid ? &states_[*uuid] : nullptr;
            return state_ != nullptr;
        }
        take(*state_, index, text);
        return true;
    }

private:
    virtual void take(Set_State& state, int index, std::string_view text) = 0;

    Set_States& states_;
    Set_State* state_ = nullptr;
};

class Committed_Printer final : public State_Printer
{
    using State_Printer::State_Printer;

    void take(Set_State& state, int, std::string_view text) override
    {
        state.committed = true;
        state.committed_type = text;
    }
};

class Open_Printer final : public State_Printer
{
    using State_Printer::State_Printer;

    void take(Set_State& state, int index, std::string_view text) override
    {
        switch (index) {
        case 1:
            state.open = true;
            state.type = text;
            break;
        case 2:
            state.complete = text == "complete";
            break;
        case 3:
            state.initialized = text;
            break;
        default:
            state.completed = text;
        }
    }
};

class Queued_Printer final : public State_Printer
{
    using State_Printer::State_Printer;

    void take(Set_State& state, int, std::string_view text) override { state.queued.emplace_back(text); }
};

class Piece_Printer final : public State_Printer
{
    using State_Printer::State_Printer;

    void take(Set_State& state, int, std::string_view text) override { state.pieces.emplace_back(text); }
};

} // namespace

const char* Set_State::name() const
{
    if (committed) {
        return "committed";
    }
    if (!queued.empty()) {
        return "queued";
    }
    return complete ? "complete" : open ? "open" : "unknown";
}

void look_up_states(Look_Ups& look_ups, std::span<const UUID_Bytes> sets, std::span<const UUID_Bytes> doubtful,
                    Set_States& states)
{
    static const Keyed_Select open(
        Select_SQL().table("open_set").select("uuid,catalog_type,state,initialized,completed"), "uuid");
    static const Keyed_Select queued(
        Select_SQL().table("queued_commit").select("set_uuid,digest").where("state = 'waiting'").order_by("id"),
        "set_uuid");
    static const Keyed_Select committed(Select_SQL().table("backup_set").select("uuid,catalog_type"), "uuid");
    for (const UUID_Bytes& set : sets) {
        states[set] = {};
    }
    look_ups.add(open, sets, std::make_unique<Open_Printer>(states));
    look_ups.add(queued, sets, std::make_unique<Queued_Printer>(states));
    look_ups.add(committed, doubtful, std::make_unique<Committed_Printer>(states));
}

void look_up_pieces(Look_Ups& look_ups, std::span<const UUID_Bytes> sets, Set_States& states)
{
    static const Keyed_Select select(
        Select_SQL().table("open_set_pieces").select("set_uuid,pieces").order_by("set_uuid").order_by("id"),
        "set_uuid");
    look_ups.add(select, sets, std::make_unique<Piece_Printer>(states));
}

} // namespace catalog
