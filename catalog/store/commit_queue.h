// The queue of commits that were promised: its rows.
#pragma once

#include "catalog/store/catalog_error.h"
#include "platform/database/database_connection.h"
#include "platform/text/uuid.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace catalog {

/// A commit that is to be applied.
struct Waiting_Commit
{
    std::int64_t id = 0;
    UUID_Bytes set{};
    std::string document;
};

/// Whether the queue has a commit that waits.
bool anything_waits(Database_Connection& connection, bool& waits, Error& error);

/// Takes the oldest waiting commits for this transaction: others pass them over until it ends.
bool take_waiting(Database_Connection& connection, std::size_t limit, std::vector<Waiting_Commit>& commits);

/// Takes an entry out of the queue.
SQL remove_queued(std::int64_t id);

/// Keeps an entry as one that can never be applied.
SQL fail_queued(std::int64_t id, const std::string& message);

} // namespace catalog
