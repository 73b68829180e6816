// Text for people: safe on a terminal, and how wide it is there. Thread-safe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace catalog::cli {

/// The text on one line: control characters, characters that turn the direction of writing and bytes that are not UTF-8
/// are written as escapes (\n, \x1b, \u202e); everything else stays.
std::string printable(std::string_view text);

/// JSON text with the same characters as JSON escapes (DEL and the controls above it may stand in JSON as they are). The
/// text must be valid JSON; it means the same afterwards. Its line ends stay.
std::string printable_json(std::string_view json);

/// How many columns a `printable` text takes on a terminal.
std::size_t display_width(std::string_view printable);

/// A number of bytes for people: "0 B", "1.5 GiB".
std::string byte_count(std::int64_t bytes);

/// A number of things: "1 set", "2 sets".
std::string count_of(std::size_t count, std::string_view thing);

} // namespace catalog::cli
