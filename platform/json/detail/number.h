// Numbers as JSON spells them.
#pragma once

#include "platform/json/value.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace json_text {

constexpr std::size_t integer_room = 20;
constexpr std::size_t real_room = 32;

/// The value of a real that is spelled as JSON demands. False when it is beyond a double; too small becomes 0.
bool parse_real(std::string_view spelling, double& real);

/// Reads a number that is spelled as JSON demands without fraction and exponent, when it is short enough for any
/// integer type to hold it.
inline bool parse_short_integer(std::string_view spelling, std::int64_t& integer)
{
    if (spelling.size() > 18) {
        return false;
    }
    const bool negative = spelling.front() == '-';
    std::int64_t number = 0;
    for (std::size_t i = negative ? 1 : 0; i < spelling.size(); ++i) {
        number = number * 10 + (spelling[i] - '0');
    }
    integer = negative ? -number : number;
    return true;
}

/// The value of a number that is spelled as JSON demands: an integer when the spelling has no fraction and no exponent
/// and fits 64 bits, else a real. False when it is beyond a double.
bool parse_number(std::string_view spelling, json_spirit::Value& value);

/// Writes an integer up to `end`, behind which it ends; there must be `integer_room` bytes before it. Returns the begin.
char* put_integer_before(char* end, std::uint64_t integer);
char* put_integer_before(char* end, std::int64_t integer);

/// Writes the shortest spelling that reads back as the same real; it always has a fraction or an exponent. `real` must
/// be finite, `out` must have room for `real_room` bytes. Returns the end.
char* put_real(char* out, double real);

} // namespace json_text
