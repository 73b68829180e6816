// One pass over a JSON text that checks everything and reports what it meets.
//
// The rules are those of `json_spirit::read`: RFC 8259, UTF-8 only, escaped surrogates only in pairs, no byte order mark,
// nothing behind the value, a bounded depth.
#pragma once

#include "platform/json/detail/number.h"
#include "platform/json/detail/utf8.h"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace json_text {

constexpr std::size_t max_depth = 512;
constexpr std::uint64_t max_size = 0xffffffff; ///< bytes of one text

/// What is wrong with a text, and at which byte.
struct Fault
{
    const char* what = nullptr;
    std::size_t where = 0;

    std::string message() const { return std::string("invalid JSON at byte ") + std::to_string(where) + ": " + what; }
};

inline const char* skip_white_space(const char* at, const char* end)
{
    while (at != end && static_cast<unsigned char>(*at) <= ' '
           && (*at == ' ' || *at == '\n' || *at == '\t' || *at == '\r')) {
        ++at;
    }
    return at;
}

/// The value of four hexadecimal digits, -1 when they are not.
inline int four_hex_digits(const char* at, const char* end)
{
    if (end - at < 4) {
        return -1;
    }
    int number = 0;
    for (int i = 0; i < 4; ++i) {
        const char c = at[i];
        const bool digit = c >= '0' && c <= '9';
        const bool lower = c >= 'a' && c <= 'f';
        const bool upper = c >= 'A' && c <= 'F';
        if (!digit && !lower && !upper) {
            return -1;
        }
        number = number * 16 + (digit ? c - '0' : (c | 0x20) - 'a' + 10);
    }
    return number;
}

inline bool is_high_surrogate(int unit)
{
    return unit >= 0xd800 && unit <= 0xdbff;
}

inline bool is_low_surrogate(int unit)
{
    return unit >= 0xdc00 && unit <= 0xdfff;
}

/// Scans one text and tells `Sink`, in the order of the text:
///   open_object(at), close_object(end), open_array(at), close_array(end)   `at` the bracket, `end` behind the bracket
///   key(begin, end, escaped), string(begin, end, escaped)                  the text between the quotes
///   number(begin, end, integer), literal(begin, end)                       `integer`: no fraction and no exponent
template <class Sink>
class Scanner
{
public:
    Scanner(std::string_view text, Sink& sink) : begin_(text.data()), end_(begin_ + text.size()), sink_(sink) {}

    /// False when the text is not one valid value; `fault()` then tells why, and what the sink was told is void.
    bool scan()
    {
        if (end_ - begin_ >= 3 && begin_[0] == '\xef' && begin_[1] == '\xbb' && begin_[2] == '\xbf') {
            return fail("a byte order mark is not allowed", begin_) != nullptr;
        }
        if (static_cast<std::uint64_t>(end_ - begin_) > max_size) {
            return fail("the text is too long", begin_ + max_size) != nullptr;
        }
        const char* at = scan_value(begin_);
        if (at == nullptr) {
            return false;
        }
        at = skip_white_space(at, end_);
        return at == end_ || fail("something stands behind the value", at) != nullptr;
    }

    const Fault& fault() const { return fault_; }

private:
    // The functions below take the place where something begins and return the place behind it, null after a failure.

    const char* fail(const char* what, const char* where)
    {
        fault_ = {what, static_cast<std::size_t>(where - begin_)};
        return nullptr;
    }

    /// One value with everything inside. Nesting is kept in `is_object_`, not on the call stack.
    const char* scan_value(const char* at)
    {
        std::size_t depth = 0;
        while (true) {
            // A value begins here.
            at = skip_white_space(at, end_);
            if (at == end_) {
                return fail("the text ends where a value must stand", at);
            }
            const char first = *at;
            if (first == '{' || first == '[') {
                if (depth == max_depth) {
                    return fail("nested too deeply", at);
                }
                const bool object = first == '{';
                is_object_[depth++] = object;
                object ? sink_.open_object(at) : sink_.open_array(at);
                at = skip_white_space(at + 1, end_);
                const bool empty = at != end_ && *at == (object ? '}' : ']');
                if (!empty) {
                    if (object) {
                        at = scan_key(at);
                        if (at == nullptr) {
                            return nullptr;
                        }
                    }
                    continue;
                }
            } else {
                at = scan_scalar(at);
                if (at == nullptr) {
                    return nullptr;
                }
            }

            // A value has ended here, or an empty container is about to.
            while (true) {
                if (depth == 0) {
                    return at;
                }
                at = skip_white_space(at, end_);
                const bool object = is_object_[depth - 1];
                if (at == end_) {
                    return fail(object ? "the text ends inside an object" : "the text ends inside an array", at);
                }
                if (*at == ',') {
                    ++at;
                    break;
                }
                if (*at != (object ? '}' : ']')) {
                    return fail(object ? "a comma or '}' must stand here" : "a comma or ']' must stand here", at);
                }
                ++at;
                --depth;
                object ? sink_.close_object(at) : sink_.close_array(at);
            }
            if (is_object_[depth - 1]) {
                at = scan_key(skip_white_space(at, end_));
                if (at == nullptr) {
                    return nullptr;
                }
            }
        }
    }

    /// A member's name and the colon.
    const char* scan_key(const char* at)
    {
        if (at == end_ || *at != '"') {
            return fail(at == end_ ? "the text ends inside an object" : "a member's name in quotes must stand here",
                        at);
        }
        bool escaped = false;
        const char* const behind = scan_string(at, escaped);
        if (behind == nullptr) {
            return nullptr;
        }
        sink_.key(at + 1, behind - 1, escaped);
        at = skip_white_space(behind, end_);
        if (at == end_ || *at != ':') {
            return fail("a colon must stand here", at);
        }
        return at + 1;
    }

    const char* scan_scalar(const char* at)
    {
        switch (*at) {
        case '"': {
            bool escaped = false;
            const char* const behind = scan_string(at, escaped);
            if (behind != nullptr) {
                sink_.string(at + 1, behind - 1, escaped);
            }
            return behind;
        }
        case 't':
            return scan_literal(at, "true");
        case 'f':
            return scan_literal(at, "false");
        case 'n':
            return scan_literal(at, "null");
        default:
            return scan_number(at);
        }
    }

    const char* scan_literal(const char* at, std::string_view word)
    {
        if (std::string_view(at, static_cast<std::size_t>(end_ - at)).substr(0, word.size()) != word) {
            return fail("no such value", at);
        }
        sink_.literal(at, at + word.size());
        return at + word.size();
    }

    static bool is_digit(char c) { return c >= '0' && c <= '9'; }

    const char* skip_digits(const char* at) const
    {
        while (at != end_ && is_digit(*at)) {
            ++at;
        }
        return at;
    }

    const char* scan_number(const char* const begin)
    {
        const char* const digits = *begin == '-' ? begin + 1 : begin;
        const char* at = skip_digits(digits);
        if (at == digits) {
            return fail(digits == begin ? "a value must stand here" : "a digit must stand here", at);
        }
        if (*digits == '0' && at - digits > 1) {
            return fail("a number must not begin with 0", digits);
        }
        bool integer = true;
        bool sure_to_fit = at - digits < 200;
        if (at != end_ && *at == '.') {
            integer = false;
            const char* const fraction = at + 1;
            at = skip_digits(fraction);
            if (at == fraction) {
                return fail("a digit must stand here", at);
            }
        }
        if (at != end_ && (*at == 'e' || *at == 'E')) {
            integer = false;
            ++at;
            if (at != end_ && (*at == '+' || *at == '-')) {
                ++at;
            }
            const char* const exponent = at;
            at = skip_digits(at);
            if (at == exponent) {
                return fail("a digit must stand here", at);
            }
            sure_to_fit = sure_to_fit && at - exponent <= 2;
        }
        if (!sure_to_fit) {
            double real = 0;
            if (!parse_real({begin, static_cast<std::size_t>(at - begin)}, real)) {
                return fail("a number beyond the range of a double", begin);
            }
        }
        sink_.number(begin, at, integer);
        return at;
    }

    /// From the opening quote to behind the closing one.
    const char* scan_string(const char* const begin, bool& escaped)
    {
        const char* at = begin + 1;
        while (true) {
            at = skip_plain(at, end_);
            if (at == end_) {
                return fail("a string without its closing quote", begin);
            }
            const auto byte = static_cast<unsigned char>(*at);
            if (byte == '"') {
                return at + 1;
            }
            if (byte == '\\') {
                escaped = true;
                at = scan_escape(at);
                if (at == nullptr) {
                    return nullptr;
                }
            } else if (byte < 0x20) {
                return fail("a control character in a string", at);
            } else {
                const std::size_t length = utf8_sequence_length(at, end_);
                if (length == 0) {
                    return fail("invalid UTF-8", at);
                }
                at += length;
            }
        }
    }

    /// From a backslash to behind the escape.
    const char* scan_escape(const char* backslash)
    {
        const char* const at = backslash + 1;
        if (at == end_) {
            return fail("a string without its closing quote", backslash);
        }
        switch (*at) {
        case '"':
        case '\\':
        case '/':
        case 'b':
        case 'f':
        case 'n':
        case 'r':
        case 't':
            return at + 1;
        case 'u':
            break;
        default:
            return fail("no such escape", backslash);
        }
        const int unit = four_hex_digits(at + 1, end_);
        if (unit < 0) {
            return fail("four hexadecimal digits must stand behind \\u", backslash);
        }
        const char* const behind = at + 5;
        if (is_high_surrogate(unit) && end_ - behind >= 2 && behind[0] == '\\' && behind[1] == 'u'
            && is_low_surrogate(four_hex_digits(behind + 2, end_)))
        {
            return behind + 6;
        }
        if (is_high_surrogate(unit) || is_low_surrogate(unit)) {
            return fail("half a surrogate pair", backslash);
        }
        return behind;
    }

    const char* begin_;
    const char* end_;
    Sink& sink_;
    Fault fault_;
    std::array<bool, max_depth> is_object_;
};

/// Appends what the text between the quotes of a valid JSON string stands for.
void append_unescaped(std::string& out, const char* begin, const char* end);

} // namespace json_text
