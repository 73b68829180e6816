// Numbers as JSON spells them.
#pragma once

#include "platform/json/value.h"

#include <charconv>
#include <concepts>
#include <cstddef>
#include <string_view>

namespace json_text {

constexpr std::size_t integer_room = 20;
constexpr std::size_t real_room = 32;

/// The value of a real that is spelled as JSON demands. False when it is beyond a double; too small becomes 0.
bool parse_real(std::string_view spelling, double& real);

/// The value of a number that is spelled as JSON demands: an integer when the spelling has no fraction and no exponent
/// and fits 64 bits, else a real. False when it is beyond a double.
bool parse_number(std::string_view spelling, json_spirit::Value& value);

/// Writes an integer; `out` must have room for `integer_room` bytes. Returns the end.
template <std::integral T>
char* put_integer(char* out, T integer)
{
    return std::to_chars(out, out + integer_room, integer).ptr;
}

/// Writes the shortest spelling that reads back as the same real; it always has a fraction or an exponent. `real` must
/// be finite, `out` must have room for `real_room` bytes. Returns the end.
char* put_real(char* out, double real);

} // namespace json_text
