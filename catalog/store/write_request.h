// What changes the catalog through its service: the steps of a set's life, and their answers.
//
// A set is open from `initialize` on and grows by `add_piece`; `complete` closes it; `commit` makes it part of the catalog.
// A commit needs no step before it. Until it is committed a set may be aborted, which forgets it. Plain values of one thread.
#pragma once

#include "catalog/store/catalog_error.h"

#include <cstdint>
#include <ctime>
#include <string>

namespace catalog {

enum class Write_Operation
{
    INITIALIZE,
    ADD_PIECE,
    COMPLETE,
    ABORT,
    COMMIT,
    UPDATE
};

/// "initialize", "add_piece", …
const char* operation_name(Write_Operation operation);

struct Write_Request
{
    Write_Operation operation = Write_Operation::COMMIT;

    /// JSON text: the set's document; {"uuid", "pieces"} to add pieces; {"uuid"} to abort.
    std::string params;

    /// UPDATE: the set's uuid as the caller names it beside the document, which has to be the same set. Empty: only the
    /// document says it.
    std::string uuid = {};

    /// Who asks, and the id that he gave the request: a second request with the same two, the same operation and the same
    /// params gets the first one's answer and has no effect. Empty id: not remembered.
    std::string principal = {};
    std::string id = {};

    /// COMMIT: put durably into the queue instead of the catalog.
    bool queue = false;
};

struct Write_Answer
{
    Error error; ///< NONE: done

    std::string uuid;      ///< of the set, lower-case
    bool queued = false;   ///< the commit waits in the queue
    std::string pieces;    ///< ABORT: the JSON array of the pieces that the catalog held
    bool repeated = false; ///< the answer of an earlier request: nothing was done now

    // Of a set that became part of the catalog now, for the counters.
    bool committed = false;
    std::string type = {};          ///< the type's id
    std::string resource_uuid = {}; ///< empty: none
    std::time_t backup_end_time = 0;
};

} // namespace catalog
