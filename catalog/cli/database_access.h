// The catalog in a database that the program itself works on.
#pragma once

#include "catalog/cli/catalog_access.h"

#include <memory>

namespace catalog::cli {

std::unique_ptr<Catalog_Access> open_database_access(std::unique_ptr<Catalog_Store> store);

} // namespace catalog::cli
