#pragma once

namespace catalog::cli {

/// What `--version` says; the same as the version of the project.
inline constexpr const char* program_version = "0.1.0";

} // namespace catalog::cli
