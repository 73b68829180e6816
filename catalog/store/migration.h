// The schema's version in a database, making the schema, and bringing an older one forward.
#pragma once

#include "catalog/store/catalog_error.h"
#include "platform/database/database_connection.h"

#include <span>
#include <string>

namespace catalog {

/// One step forward: the statements that bring the version before to `version`, for each engine.
struct Migration
{
    int version;
    const char* sqlite;
    const char* postgresql;
};

/// The steps from the first version to `schema_version`, in order, none left out.
std::span<const Migration> migrations();

/// The version that the database has; 0 when it has no schema. False when it cannot be told.
bool read_schema_version(Database_Connection& connection, int& version, Error& error);

/// False, with the advice what to do, when this program cannot work with the version.
bool check_schema_version(int version, Error& error);

/// Brings the database to the version `wanted` in one transaction, one program at a time: an empty one gets the schema
/// from `create` (a script), an older one all `steps` behind its version. One that is there already stays as it is; a
/// newer one, and one that holds other tables and no schema, is refused.
bool bring_forward(Database_Connection& connection, std::span<const Migration> steps, const std::string& create,
                   int wanted, int& from, Error& error);

} // namespace catalog
