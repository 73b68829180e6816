// A request that changes a set, read and checked as far as that goes without the catalog. Plain values of one thread.
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
    Write_Request request;
    UUID_Bytes uuid{};
    Set_Rows rows;                 ///< of its document, when it has one; go when it is applied, and are read again then
    std::string pieces;            ///< ADD_PIECE: the array, compact
    std::size_t piece_count = 0;   ///< in it
    std::optional<UUID_Bytes> key; ///< under which its answer is remembered
    std::int64_t queue_id = 0;     ///< where it comes from the queue
    std::size_t index = 0;         ///< of its answer, while it is applied

    Write_Operation operation() const { return request.operation; }
};

/// Reads the request of a step, which is all that it has. False: it is wrong by itself, as `error` says. Thread-safe.
bool read_step(Life_Step& step, Error& error);

} // namespace catalog
