#include "platform/json/detail/number.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace json_text {
namespace {

/// True when a number other than 0 is less than 1, told from its spelling alone.
bool is_less_than_one(std::string_view spelling)
{
    if (spelling.front() == '-') {
        spelling.remove_prefix(1);
    }
    const std::size_t exponent_mark = std::min(spelling.find_first_of("eE"), spelling.size());
    const std::string_view digits = spelling.substr(0, exponent_mark);
    const std::size_t point = std::min(digits.find('.'), digits.size());
    const std::size_t first = std::min(digits.find_first_not_of("0."), digits.size());
    // The place of the first digit that counts: 1 for "1.5", 0 for "0.5", -1 for "0.05".
    const auto place =
        static_cast<std::ptrdiff_t>(point) - static_cast<std::ptrdiff_t>(first) + (first > point ? 1 : 0);

    std::string_view exponent = spelling.substr(std::min(exponent_mark + 1, spelling.size()));
    if (exponent.empty()) {
        return place <= 0;
    }
    const bool negative = exponent.front() == '-';
    if (negative || exponent.front() == '+') {
        exponent.remove_prefix(1);
    }
    long long power = 0;
    const auto [end, fault] = std::from_chars(exponent.data(), exponent.data() + exponent.size(), power);
    constexpr long long beyond_any_place = 1LL << 40;
    if (fault == std::errc::result_out_of_range || power > beyond_any_place) {
        return negative;
    }
    return place + (negative ? -power : power) <= 0;
}

} // namespace

bool parse_real(std::string_view spelling, double& real)
{
    const char* const end = spelling.data() + spelling.size();
    const auto [stop, fault] = std::from_chars(spelling.data(), end, real);
    if (fault == std::errc() && std::isfinite(real)) {
        return true;
    }
    if (!is_less_than_one(spelling)) {
        return false;
    }
    real = spelling.front() == '-' ? -0.0 : 0.0;
    return true;
}

bool parse_number(std::string_view spelling, json_spirit::Value& value)
{
    const char* const end = spelling.data() + spelling.size();
    std::int64_t integer = 0;
    if (const auto [stop, fault] = std::from_chars(spelling.data(), end, integer); stop == end && fault == std::errc())
    {
        value = integer;
        return true;
    }
    std::uint64_t natural = 0;
    if (const auto [stop, fault] = std::from_chars(spelling.data(), end, natural); stop == end && fault == std::errc())
    {
        value = natural;
        return true;
    }
    double real = 0;
    if (!parse_real(spelling, real)) {
        return false;
    }
    value = real;
    return true;
}

char* put_integer_before(char* end, std::uint64_t integer)
{
    constexpr char pairs[] =
        "0001020304050607080910111213141516171819202122232425262728293031323334353637383940414243444546474849"
        "5051525354555657585960616263646566676869707172737475767778798081828384858687888990919293949596979899";
    while (integer >= 100) {
        end -= 2;
        std::memcpy(end, pairs + 2 * (integer % 100), 2);
        integer /= 100;
    }
    if (integer >= 10) {
        end -= 2;
        std::memcpy(end, pairs + 2 * integer, 2);
    } else {
        *--end = static_cast<char>('0' + integer);
    }
    return end;
}

char* put_integer_before(char* end, std::int64_t integer)
{
    if (integer >= 0) {
        return put_integer_before(end, static_cast<std::uint64_t>(integer));
    }
    end = put_integer_before(end, 0 - static_cast<std::uint64_t>(integer));
    *--end = '-';
    return end;
}

char* put_real(char* out, double real)
{
    char* end = std::to_chars(out, out + real_room - 2, real).ptr;
    const bool whole = std::all_of(out, end, [](char c) { return c == '-' || (c >= '0' && c <= '9'); });
    if (whole) {
        *end++ = '.';
        *end++ = '0';
    }
    return end;
}

} // namespace json_text
