// The tables of the set types: one or more for each type whose select joins any.
#pragma once

#include "catalog/schema/schema.h"

#include <span>

namespace catalog {

/// All of them, in the order of the types.
std::span<const Table* const> type_tables();

} // namespace catalog
