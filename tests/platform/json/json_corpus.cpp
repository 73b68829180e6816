#include "tests/platform/json/json_corpus.h"

#include <yajl/yajl_parse.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>

namespace json_corpus {
namespace {

using json_spirit::Array;
using json_spirit::Object;
using json_spirit::Value;

std::string nested(std::size_t depth, const std::string& open, const std::string& core, const std::string& close)
{
    std::string text;
    for (std::size_t i = 0; i < depth; ++i) {
        text += open;
    }
    text += core;
    for (std::size_t i = 0; i < depth; ++i) {
        text += close;
    }
    return text;
}

/// Builds a value from yajl's events, checking on the way what yajl does not check.
class Judge
{
public:
    static int on_null(void* self) { return of(self).add(Value()); }
    static int on_boolean(void* self, int boolean) { return of(self).add(boolean != 0); }
    static int on_number(void* self, const char* text, std::size_t length)
    {
        return of(self).add_number(std::string(text, length));
    }
    static int on_string(void* self, const unsigned char* text, std::size_t length)
    {
        return of(self).add(std::string(reinterpret_cast<const char*>(text), length));
    }
    static int on_key(void* self, const unsigned char* text, std::size_t length)
    {
        of(self).keys_.back() = std::string(reinterpret_cast<const char*>(text), length);
        return 1;
    }
    static int on_start_map(void* self) { return of(self).open(Object()); }
    static int on_start_array(void* self) { return of(self).open(Array()); }
    static int on_end(void* self) { return of(self).close(); }

    Value result() { return std::move(top_); }

private:
    static Judge& of(void* self) { return *static_cast<Judge*>(self); }

    int add(Value value)
    {
        if (open_.empty()) {
            top_ = std::move(value);
        } else if (Array* array = open_.back().if_array()) {
            array->push_back(std::move(value));
        } else {
            open_.back().get_obj()[keys_.back()] = std::move(value);
        }
        return 1;
    }

    int add_number(const std::string& text)
    {
        if (text.find_first_of(".eE") == std::string::npos) {
            errno = 0;
            const long long integer = std::strtoll(text.c_str(), nullptr, 10);
            if (errno == 0) {
                return add(integer);
            }
            errno = 0;
            const unsigned long long natural = std::strtoull(text.c_str(), nullptr, 10);
            if (errno == 0 && text[0] != '-') {
                return add(natural);
            }
        }
        const double real = std::strtod(text.c_str(), nullptr);
        return std::isinf(real) ? 0 : add(real);
    }

    int open(Value container)
    {
        open_.push_back(std::move(container));
        keys_.emplace_back();
        return open_.size() <= 512 ? 1 : 0;
    }

    int close()
    {
        Value done = std::move(open_.back());
        open_.pop_back();
        keys_.pop_back();
        return add(std::move(done));
    }

    Value top_;
    std::vector<Value> open_;
    std::vector<std::string> keys_;
};

/// By the definition: decodes each sequence and asks whether its length is the shortest and its code is a character.
bool is_utf8(std::string_view text)
{
    for (std::size_t i = 0; i < text.size();) {
        const auto first = static_cast<unsigned char>(text[i]);
        int more = 0;
        std::uint32_t code = first;
        if (first >= 0xf0 && first < 0xf8) {
            more = 3;
            code = first & 0x07U;
        } else if (first >= 0xe0) {
            more = 2;
            code = first & 0x0fU;
        } else if (first >= 0xc0) {
            more = 1;
            code = first & 0x1fU;
        } else if (first >= 0x80) {
            return false;
        }
        if (first >= 0xf8 || text.size() - i <= static_cast<std::size_t>(more)) {
            return false;
        }
        for (int k = 1; k <= more; ++k) {
            const auto next = static_cast<unsigned char>(text[i + static_cast<std::size_t>(k)]);
            if ((next & 0xc0U) != 0x80) {
                return false;
            }
            code = code << 6 | (next & 0x3fU);
        }
        constexpr std::uint32_t shortest[] = {0, 0x80, 0x800, 0x10000};
        if (code < shortest[more] || code > 0x10ffff || (code >= 0xd800 && code <= 0xdfff)) {
            return false;
        }
        i += static_cast<std::size_t>(more) + 1;
    }
    return true;
}

/// yajl takes an open string behind a complete value for nothing.
bool strings_are_closed(std::string_view text)
{
    bool open = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (open && text[i] == '\\') {
            ++i;
        } else if (text[i] == '"') {
            open = !open;
        }
    }
    return !open;
}

/// Every \u escape of a surrogate is one of a pair. Where the escapes themselves are malformed the answer is not used.
bool surrogates_are_paired(std::string_view text)
{
    const auto unit_at = [text](std::size_t i) {
        return i + 6 <= text.size() && text[i] == '\\' && text[i + 1] == 'u'
                   ? std::strtol(std::string(text.substr(i + 2, 4)).c_str(), nullptr, 16)
                   : -1;
    };
    for (std::size_t i = 0; i + 1 < text.size(); ++i) {
        if (text[i] != '\\') {
            continue;
        }
        const long unit = unit_at(i);
        if (unit >= 0xd800 && unit < 0xdc00) {
            const long next = unit_at(i + 6);
            if (next < 0xdc00 || next > 0xdfff) {
                return false;
            }
            i += 11;
        } else if (unit >= 0xdc00 && unit <= 0xdfff) {
            return false;
        } else {
            ++i;
        }
    }
    return true;
}

} // namespace

const std::vector<std::string>& valid()
{
    static const std::vector<std::string> texts = {
        "null",
        "true",
        "false",
        "0",
        "-0",
        "-1",
        "12",
        "9223372036854775807",
        "-9223372036854775808",
        "9223372036854775808",
        "18446744073709551615",
        "18446744073709551616",
        "-9223372036854775809",
        "123456789012345678901234567890",
        "1.0",
        "-0.0",
        "0.1",
        "1e5",
        "1E5",
        "1e+5",
        "1e-5",
        "1.25e10",
        "0e0",
        "0.0e-0",
        "1e22",
        "1.7976931348623157e308",
        "2.2250738585072014e-308",
        "4.9e-324",
        "1e-400",
        "-1e-99999999999999999999",
        "0e99999999999999999999",
        "1e-9223372036854775807",
        "1e-9223372036854775808",
        "0.000e400",
        "1e0000000000000000000000000000000000000001",
        "\"\"",
        "\"a\"",
        "\"fifteen bytes..\"",
        "\"a text that is longer than fifteen bytes, so that it is held on the heap\"",
        "\"\\\"\\\\\\/\\b\\f\\n\\r\\t\"",
        "\"\\u0000\"",
        "\"a\\u0000b\"",
        "\"\\u00e9\\u20ac\\ud83d\\ude00\\uFFFF\\uD800\\uDC00\\udbff\\udfff\"",
        "\"\\u0022\\u005c\\u002F\"",
        "\"\x7f\"",
        "\"\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\"",
        "\"\xc2\x80\xdf\xbf\xe0\xa0\x80\xed\x9f\xbf\xee\x80\x80\xef\xbf\xbf\xf0\x90\x80\x80\xf4\x8f\xbf\xbf\"",
        "\"\xef\xbb\xbf\"",
        "[]",
        "{}",
        "[[]]",
        "[{}]",
        "{\"a\":[]}",
        "{\"a\":{}}",
        "[1,2,3]",
        "[null,true,false,\"\",0,[],{}]",
        "{\"\":1}",
        "{\"a\":1,\"b\":2}",
        "{\"b\":2,\"a\":1}",
        "{\"a\":1,\"a\":2}",
        "{\"a\":{\"x\":1},\"b\":3,\"a\":[2],\"\\u0061\":null}",
        "{\"\\u0000\":1,\"\":2,\"\\n\":3}",
        "{\"k1\":\"v\",\"k2\":[1,{\"k3\":\"\\\\\"}],\"k4\":{\"k5\":{\"k6\":-1.5e-3}}}",
        " \t\n\r{ \t\n\r\"a\" \t\n\r: \t\n\r[ \t\n\r1 \t\n\r, \t\n\r2 \t\n\r] \t\n\r} \t\n\r",
        "[ ]",
        "{ }",
        nested(512, "[", "", "]"),
        nested(511, "[", "1,2", "]"),
        nested(512, "{\"a\":", "1", "}"),
        R"({"host":{"name":"db-1","os":"Linux","arch":"x86_64"},"sizes":[1073741824,-5,0.5],"online":true,"none":null})",
        R"([{"pool_uuid":"2b1f","state":["online","replicated"],"size":53687091200},{"pool_uuid":"","state":[]}])",
    };
    return texts;
}

const std::vector<Bad_Text>& invalid()
{
    static const std::vector<Bad_Text> texts = {
        {"", "at byte 0: the text ends where a value must stand"},
        {"  \n", "at byte 3: the text ends where a value must stand"},
        {"\xef\xbb\xbf{}", "at byte 0: a byte order mark is not allowed"},
        {"nul", "at byte 0: no such value"},
        {"nulL", "at byte 0: no such value"},
        {"True", "at byte 0: a value must stand here"},
        {"truefalse", "at byte 4: something stands behind the value"},
        {"tru", "at byte 0: no such value"},
        {"NaN", "at byte 0: a value must stand here"},
        {"Infinity", "at byte 0: a value must stand here"},
        {"-Infinity", "at byte 1: a digit must stand here"},
        {"'a'", "at byte 0: a value must stand here"},
        {"abc", "at byte 0: a value must stand here"},
        {"1 2", "at byte 2: something stands behind the value"},
        {"{} {}", "at byte 3: something stands behind the value"},
        {"[] x", "at byte 3: something stands behind the value"},
        {"12\"", "at byte 2: something stands behind the value"},
        {"{}\"abc", "at byte 2: something stands behind the value"},
        {"\"a\" \"b\"", "at byte 4: something stands behind the value"},
        {"{}}", "at byte 2: something stands behind the value"},
        {std::string("1\0", 2), "at byte 1: something stands behind the value"},
        {std::string("\0", 1), "at byte 0: a value must stand here"},
        {"01", "at byte 0: a number must not begin with 0"},
        {"-01", "at byte 1: a number must not begin with 0"},
        {"00", "at byte 0: a number must not begin with 0"},
        {"1.", "at byte 2: a digit must stand here"},
        {"1.e5", "at byte 2: a digit must stand here"},
        {".5", "at byte 0: a value must stand here"},
        {"+1", "at byte 0: a value must stand here"},
        {"-", "at byte 1: a digit must stand here"},
        {"--1", "at byte 1: a digit must stand here"},
        {"1e", "at byte 2: a digit must stand here"},
        {"1e+", "at byte 3: a digit must stand here"},
        {"1e5.5", "at byte 3: something stands behind the value"},
        {"0x10", "at byte 1: something stands behind the value"},
        {"1e309", "at byte 0: a number beyond the range of a double"},
        {"-1e309", "at byte 0: a number beyond the range of a double"},
        {"1.8e308", "at byte 0: a number beyond the range of a double"},
        {"1e9223372036854775807", "at byte 0: a number beyond the range of a double"},
        {"10e9223372036854775808", "at byte 0: a number beyond the range of a double"},
        {"[0,1e99999999999999999999]", "at byte 3: a number beyond the range of a double"},
        {"1" + std::string(309, '0'), "at byte 0: a number beyond the range of a double"},
        {"\"", "at byte 0: a string without its closing quote"},
        {"[\"abc", "at byte 1: a string without its closing quote"},
        {"\"abc\\\"", "at byte 0: a string without its closing quote"},
        {"\"abc\\", "at byte 4: a string without its closing quote"},
        {"\"a\nb\"", "at byte 2: a control character in a string"},
        {"\"tab\there\"", "at byte 4: a control character in a string"},
        {std::string("\"a\0\"", 4), "at byte 2: a control character in a string"},
        {"\"0123456789\x1f\"", "at byte 11: a control character in a string"},
        {"\"\\x\"", "at byte 1: no such escape"},
        {"\"\\a\"", "at byte 1: no such escape"},
        {"\"\\'\"", "at byte 1: no such escape"},
        {"\"\\U0041\"", "at byte 1: no such escape"},
        {"\"\\\xc3\xa9\"", "at byte 1: no such escape"},
        {"\"\\u\"", "at byte 1: four hexadecimal digits must stand behind \\u"},
        {"\"\\u12\"", "at byte 1: four hexadecimal digits must stand behind \\u"},
        {"\"\\u12g4\"", "at byte 1: four hexadecimal digits must stand behind \\u"},
        {"\"\\u-123\"", "at byte 1: four hexadecimal digits must stand behind \\u"},
        {"\"\\ud800\"", "at byte 1: half a surrogate pair"},
        {"\"\\udc00\"", "at byte 1: half a surrogate pair"},
        {"\"ab\\ud800\\ud800\"", "at byte 3: half a surrogate pair"},
        {"\"\\ud800\\u0041\"", "at byte 1: half a surrogate pair"},
        {"\"\\ud800x\"", "at byte 1: half a surrogate pair"},
        {"\"\\ude00\\ud83d\"", "at byte 1: half a surrogate pair"},
        {"{\"\\ud800\":1}", "at byte 2: half a surrogate pair"},
        {"\"\x80\"", "at byte 1: invalid UTF-8"},
        {"\"a\xff\"", "at byte 2: invalid UTF-8"},
        {"\"\xc0\x80\"", "at byte 1: invalid UTF-8"},
        {"\"\xc1\xbf\"", "at byte 1: invalid UTF-8"},
        {"\"\xe0\x9f\xbf\"", "at byte 1: invalid UTF-8"},
        {"\"\xed\xa0\x80\"", "at byte 1: invalid UTF-8"},
        {"\"\xf0\x8f\xbf\xbf\"", "at byte 1: invalid UTF-8"},
        {"\"\xf4\x90\x80\x80\"", "at byte 1: invalid UTF-8"},
        {"\"\xf5\x80\x80\x80\"", "at byte 1: invalid UTF-8"},
        {"\"\xc3\"", "at byte 1: invalid UTF-8"},
        {"\"\xe2\x82\"", "at byte 1: invalid UTF-8"},
        {"\"\xe2\x82", "at byte 1: invalid UTF-8"},
        {"\"\xf0\x9f\x98", "at byte 1: invalid UTF-8"},
        {"{\"0123456789abcdef\xc3\":1}", "at byte 18: invalid UTF-8"},
        {"\xc3\xa9", "at byte 0: a value must stand here"},
        {"[1\xc2\xa0]", "at byte 2: a comma or ']' must stand here"},
        {"[", "at byte 1: the text ends where a value must stand"},
        {"[1", "at byte 2: the text ends inside an array"},
        {"[1,", "at byte 3: the text ends where a value must stand"},
        {"[1,]", "at byte 3: a value must stand here"},
        {"[,1]", "at byte 1: a value must stand here"},
        {"[1,,2]", "at byte 3: a value must stand here"},
        {"[1 2]", "at byte 3: a comma or ']' must stand here"},
        {"[1}", "at byte 2: a comma or ']' must stand here"},
        {"[1:2]", "at byte 2: a comma or ']' must stand here"},
        {"]", "at byte 0: a value must stand here"},
        {"{", "at byte 1: the text ends inside an object"},
        {"{\"a\"", "at byte 4: a colon must stand here"},
        {"{\"a\":", "at byte 5: the text ends where a value must stand"},
        {"{\"a\":1", "at byte 6: the text ends inside an object"},
        {"{\"a\":1,", "at byte 7: the text ends inside an object"},
        {"{\"a\":1,}", "at byte 7: a member's name in quotes must stand here"},
        {"{,}", "at byte 1: a member's name in quotes must stand here"},
        {"{a:1}", "at byte 1: a member's name in quotes must stand here"},
        {"{1:1}", "at byte 1: a member's name in quotes must stand here"},
        {"{null:1}", "at byte 1: a member's name in quotes must stand here"},
        {"{\"a\" 1}", "at byte 5: a colon must stand here"},
        {"{\"a\",1}", "at byte 4: a colon must stand here"},
        {"{\"a\"::1}", "at byte 5: a value must stand here"},
        {"{\"a\":1 \"b\":2}", "at byte 7: a comma or '}' must stand here"},
        {"{\"a\":1]", "at byte 6: a comma or '}' must stand here"},
        {"{\"a\":1,\"b\"}", "at byte 10: a colon must stand here"},
        {"{\"a\":}", "at byte 5: a value must stand here"},
        {"// comment\n1", "at byte 0: a value must stand here"},
        {"/* comment */1", "at byte 0: a value must stand here"},
        {"[1/**/]", "at byte 2: a comma or ']' must stand here"},
        {"# comment\n1", "at byte 0: a value must stand here"},
        {"\v1", "at byte 0: a value must stand here"},
        {"\f1", "at byte 0: a value must stand here"},
        {"[1,\v2]", "at byte 3: a value must stand here"},
        {"1\f", "at byte 1: something stands behind the value"},
        {nested(513, "[", "", "]"), "at byte 512: nested too deeply"},
        {nested(513, "{\"a\":", "1", "}"), "at byte 2560: nested too deeply"},
        {std::string(1000000, '['), "at byte 512: nested too deeply"},
    };
    return texts;
}

void for_each_mutation(unsigned count, const std::function<void(const std::string&)>& with)
{
    constexpr std::string_view pieces[] = {
        "\"", "\\", "{",       "}", "[", "]", ",",  ":",       " ",    "\n",   "\t",           "0",
        "1",  "-",  ".",       "e", "+", "9", "a",  "u",       "t",    "\v",   "\\u0",         "\\ud8",
        "\\", "00", "\\udc00", "/", "'", "n", "\f", "\\ud83d", "null", "true", "\xef\xbb\xbf", "1e309"};
    std::mt19937 random(20240229);
    const auto below = [&random](std::size_t end) { return static_cast<std::size_t>(random() % end); };
    const auto small = [](const std::string& text) { return text.size() < 400; };
    for (unsigned i = 0; i < count; ++i) {
        std::string text = valid()[below(valid().size())];
        if (!small(text)) {
            continue;
        }
        for (std::size_t changes = 1 + below(3); changes > 0; --changes) {
            const std::size_t at = below(text.size() + 1);
            switch (below(7)) {
            case 0:
                text.insert(at, pieces[below(std::size(pieces))]);
                break;
            case 1:
                text.erase(at, 1 + below(3));
                break;
            case 2:
                text.insert(at, 1, static_cast<char>(below(256)));
                break;
            case 3:
                if (at < text.size()) {
                    text[at] = static_cast<char>(below(256));
                }
                break;
            case 4:
                text.resize(at);
                break;
            case 5:
                if (const std::string& other = valid()[below(valid().size())]; small(other)) {
                    text.insert(at, other);
                }
                break;
            default:
                if (at < text.size()) {
                    text.replace(at, 1, pieces[below(std::size(pieces))]);
                }
            }
        }
        with(text);
    }
}

std::optional<json_spirit::Value> judge(std::string_view text)
{
    // yajl takes a vertical tab and a form feed for white space, and its idea of UTF-8 is loose.
    if (text.find_first_of("\v\f") != std::string_view::npos || !is_utf8(text) || !surrogates_are_paired(text)
        || !strings_are_closed(text))
    {
        return std::nullopt;
    }
    const yajl_callbacks callbacks{
        Judge::on_null,   Judge::on_boolean,   nullptr,       nullptr,       Judge::on_number,
        Judge::on_string, Judge::on_start_map, Judge::on_key, Judge::on_end, Judge::on_start_array,
        Judge::on_end};
    Judge judge;
    const yajl_handle parser = yajl_alloc(&callbacks, nullptr, &judge);
    const bool good =
        yajl_parse(parser, reinterpret_cast<const unsigned char*>(text.data()), text.size()) == yajl_status_ok
        && yajl_complete_parse(parser) == yajl_status_ok;
    yajl_free(parser);
    return good ? std::optional(judge.result()) : std::nullopt;
}

} // namespace json_corpus
