// In which state of their lives sets are.
#pragma once

#include "catalog/store/keyed_select.h"
#include "platform/text/uuid.h"

#include <map>
#include <span>
#include <string>
#include <vector>

namespace catalog {

struct Set_State
{
    bool committed = false;
    std::string committed_type;

    bool open = false; ///< initialized and not yet committed
    bool complete = false;
    std::string type;
    std::string initialized; ///< digests of the documents that brought it there
    std::string completed;

    std::vector<std::string> queued; ///< digests of the documents whose commits wait

    std::vector<std::string> pieces; ///< arrays of the pieces that the open set holds, in order

    /// As people call it: "unknown", "open", "complete", "queued", "committed".
    const char* name() const;
};

using Set_States = std::map<UUID_Bytes, Set_State>;

/// Looks up what is open or queued of some sets, and which of the `doubtful` ones are committed: the others are taken as
/// not committed. The sets begin anew in `states`.
void look_up_states(Look_Ups& look_ups, std::span<const UUID_Bytes> sets, std::span<const UUID_Bytes> doubtful,
                    Set_States& states);

/// Looks up the pieces of open sets.
void look_up_pieces(Look_Ups& look_ups, std::span<const UUID_Bytes> sets, Set_States& states);

} // namespace catalog
