// The catalog behind a service, by the catalog operators.
//
// A request that is not delivered is tried four times, with waits of some seconds between; then it has failed. Uses the
// process-wide JSON-RPC channel and upstream: there is one object at a time.
#pragma once

#include "catalog/cli/address.h"
#include "catalog/cli/catalog_access.h"
#include "catalog/cli/diagnostics.h"

#include <memory>
#include <string>

namespace catalog::cli {

/// Nothing is connected yet. What the operators log becomes the text of errors. Empty `access_key`: none; empty
/// `authority_file`: those of the system.
std::unique_ptr<Catalog_Access> open_server_access(Diagnostics& diagnostics, const Server_Url& url,
                                                   const std::string& access_key, const std::string& authority_file);

} // namespace catalog::cli
