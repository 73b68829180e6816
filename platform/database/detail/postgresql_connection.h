// Connections to PostgreSQL servers.
#pragma once

#include "platform/database/database_connection.h"

#include <memory>
#include <string>

namespace database_detail {

/// Null on failure, which is in `error`.
std::unique_ptr<Database_Connection> open_postgresql(const std::string& url, Database_Error& error);

} // namespace database_detail
