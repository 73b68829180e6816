// The OpenAPI description of the service, made from the tables of its paths, views and faults. Thread-safe.
#pragma once

#include <string>

namespace catalog::service {

/// The description as JSON; made once.
const std::string& openapi_description();

} // namespace catalog::service
