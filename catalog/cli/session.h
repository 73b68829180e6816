// What a command works with: the streams, the catalog, and how failures are told.
//
// Belongs to one thread; does not own the streams.
#pragma once

#include "catalog/cli/diagnostics.h"
#include "catalog/cli/exit_code.h"
#include "catalog/cli/output.h"
#include "catalog/store/catalog_store.h"

#include <istream>
#include <memory>
#include <string>

namespace catalog::cli {

class Session
{
public:
    Session(std::istream& input, Output& output, Diagnostics& messages) : in(input), out(output), diagnostics(messages)
    {}

    /// Opens the catalog. Null on failure, which has been told; `exit` gets the exit code.
    std::unique_ptr<Catalog_Store>
    open_catalog(Exit_Code& exit, Catalog_Store::Schema_Policy policy = Catalog_Store::Schema_Policy::CREATE);

    /// Tells an error of the catalog, after `context` when there is one ("sets.json:3"), and gives its exit code.
    Exit_Code tell(const Error& error, const std::string& context = {});

    /// Tells a fault and gives `exit`.
    Exit_Code tell(Exit_Code exit, const std::string& message);

    std::istream& in;
    Output& out;
    Diagnostics& diagnostics;
    std::string database; ///< as given on the command line; empty: the environment's or the default
};

/// A variable of the environment; empty when it is not set.
std::string environment(const char* name);

/// The database's URL: `given`, or else the environment's BACKUP_SET_DATABASE, or else a file below the user's data
/// folder. Empty when there is none of these.
std::string database_url(const std::string& given);

/// A URL without its password, for messages.
std::string without_password(const std::string& url);

/// Which exit code an error stands for.
Exit_Code exit_code(const Error& error);

} // namespace catalog::cli
