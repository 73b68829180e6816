// A request that changes a set, read and checked as far as that goes without the catalog.
#pragma once

#include "catalog/store/set_document.h"
#include "catalog/store/write_request.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace catalog {

struct Life_Step
{
    std::size_t index = 0;                  ///< of its answer
    const Write_Request* request = nullptr; ///< which lives longer
    UUID_Bytes uuid{};
    Set_Rows rows;                 ///< of its document, when it has one
    std::string pieces;            ///< ADD_PIECE: the array, compact
    std::size_t piece_count = 0;   ///< in it
    std::optional<UUID_Bytes> key; ///< under which its answer is remembered
    std::int64_t queue_id = 0;     ///< where it comes from the queue

    Write_Operation operation() const { return request->operation; }
};

/// Reads the request of a step. False: it is wrong by itself, as `error` says.
bool read_step(Life_Step& step, Error& error);

} // namespace catalog
