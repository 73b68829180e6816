#include "platform/database/detail/postgresql_connection.h"

#include "platform/text/log.h"

namespace database_detail {

std::unique_ptr<Database_Connection> open_postgresql(const std::string&, Database_Error& error)
{
    error = Database_Error{Database_Error::OTHER, {}, "PostgreSQL is not supported yet", {}, {}};
    log_at(LM_ERROR, "Database: %C\n", error.text().c_str());
    return nullptr;
}

} // namespace database_detail
