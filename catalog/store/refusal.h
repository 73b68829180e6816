// How the store words what it refuses.
#pragma once

#include "catalog/store/catalog_error.h"

#include <string>
#include <string_view>

namespace catalog {

/// Makes `error` a refusal. Always returns false.
bool refuse(Error& error, std::string key, std::string message);

/// Makes `error` what a connection's last operation failed with. Always returns false.
bool fail(Error& error, const Database_Error& database);

/// A text in double quotes for a message: the beginning of a long one, without control characters.
std::string shown(std::string_view text);

/// The same without quotes, for JSON as it is written.
std::string excerpt(std::string_view json);

} // namespace catalog
