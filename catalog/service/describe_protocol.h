// The tables of the page on the service's protocols, from those that the service works by.
#pragma once

#include <string>

namespace catalog::service {

/// Paths, methods, errors and views as Markdown.
std::string describe_protocol();

} // namespace catalog::service
