// Connections to SQLite files.
#pragma once

#include "platform/database/database_connection.h"

#include <memory>
#include <string>

namespace database_detail {

/// `location` is what follows "sqlite:" in a URL. Null on failure, which is in `error`.
std::unique_ptr<Database_Connection> open_sqlite(const std::string& location, Database_Error& error);

} // namespace database_detail
