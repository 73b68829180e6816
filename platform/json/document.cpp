#include "platform/json/document.h"

#include "platform/json/detail/scanner.h"

#include <algorithm>
#include <numeric>

namespace json_document {
namespace {

using json_text::Scanner;

/// Takes nothing: scanning alone validates.
struct Ignore
{
    void open_object(const char*) {}
    void close_object(const char*) {}
    void open_array(const char*) {}
    void close_array(const char*) {}
    void key(const char*, const char*, bool) {}
    void string(const char*, const char*, bool) {}
    void number(const char*, const char*, bool) {}
    void literal(const char*, const char*) {}
};

std::string_view between(const char* begin, const char* end)
{
    return {begin, static_cast<std::size_t>(end - begin)};
}

std::string unescaped(const char* begin, const char* end, bool escaped)
{
    std::string text;
    if (escaped) {
        json_text::append_unescaped(text, begin, end);
    } else {
        text.assign(begin, end);
    }
    return text;
}

/// Collects the children of the outermost container.
class Split
{
public:
    explicit Split(std::vector<Member>& members) : members_(members) {}

    json_spirit::Value_type outermost() const { return outermost_; }

    void open_object(const char* at) { open(at, json_spirit::obj_type); }
    void open_array(const char* at) { open(at, json_spirit::array_type); }
    void close_object(const char* end) { close(end, json_spirit::obj_type); }
    void close_array(const char* end) { close(end, json_spirit::array_type); }

    void key(const char* begin, const char* end, bool escaped)
    {
        if (depth_ == 1) {
            key_ = unescaped(begin, end, escaped);
        }
    }

    void string(const char* begin, const char* end, bool) { value(begin - 1, end + 1, json_spirit::str_type); }

    void number(const char* begin, const char* end, bool integer)
    {
        if (depth_ == 1) {
            json_spirit::Value number;
            value(begin, end,
                  integer && json_text::parse_number(between(begin, end), number) ? number.type()
                                                                                  : json_spirit::real_type);
        }
    }

    void literal(const char* begin, const char* end)
    {
        value(begin, end, *begin == 'n' ? json_spirit::null_type : json_spirit::bool_type);
    }

private:
    void open(const char* at, json_spirit::Value_type type)
    {
        if (depth_ == 0) {
            outermost_ = type;
        } else if (depth_ == 1) {
            child_ = at;
        }
        ++depth_;
    }

    void close(const char* end, json_spirit::Value_type type)
    {
        --depth_;
        value(child_, end, type);
    }

    void value(const char* begin, const char* end, json_spirit::Value_type type)
    {
        if (depth_ == 1) {
            members_.push_back({std::move(key_), between(begin, end), type});
            key_.clear();
        }
    }

    std::vector<Member>& members_;
    std::size_t depth_ = 0;
    json_spirit::Value_type outermost_ = json_spirit::null_type;
    const char* child_ = nullptr;
    std::string key_;
};

bool split(std::string_view text, json_spirit::Value_type wanted, std::vector<Member>& members, std::string* error)
{
    std::vector<Member> found;
    Split sink(found);
    Scanner<Split> scanner(text, sink);
    if (!scanner.scan()) {
        if (error != nullptr) {
            *error = scanner.fault().message();
        }
        return false;
    }
    if (sink.outermost() != wanted) {
        if (error != nullptr) {
            *error = std::string("the JSON text is not an ") + json_spirit::type_name(wanted);
        }
        return false;
    }
    members = std::move(found);
    return true;
}

bool same_number(std::string_view a, std::string_view b)
{
    json_spirit::Value left;
    json_spirit::Value right;
    if (!json_text::parse_number(a, left) || !json_text::parse_number(b, right)) {
        return false;
    }
    if (left.type() == right.type()) {
        return left == right;
    }
    // A real and an integer are equal when turning each into the other gives the other.
    const json_spirit::Value& integer = left.type() == json_spirit::int_type ? left : right;
    const double real = left.type() == json_spirit::int_type ? right.get_real() : left.get_real();
    constexpr double end_of_unsigned = 18446744073709551616.0;
    if (integer.get_real() != real || real >= end_of_unsigned) {
        return false;
    }
    return real < 0 ? integer.get_int64() == static_cast<std::int64_t>(real)
                    : integer.get_uint64() == static_cast<std::uint64_t>(real);
}

bool same_members(std::string_view a, std::string_view b)
{
    std::vector<Member> left;
    std::vector<Member> right;
    split_object(a, left);
    split_object(b, right);
    if (left.size() != right.size()) {
        return false;
    }
    const auto by_key = [](const Member& one, const Member& other) { return one.key < other.key; };
    std::stable_sort(left.begin(), left.end(), by_key);
    std::stable_sort(right.begin(), right.end(), by_key);
    return std::equal(left.begin(), left.end(), right.begin(), [](const Member& one, const Member& other) {
        return one.key == other.key && same_content(one.text, other.text);
    });
}

bool same_elements(std::string_view a, std::string_view b)
{
    std::vector<Member> left;
    std::vector<Member> right;
    split_array(a, left);
    split_array(b, right);
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](const Member& one, const Member& other) { return same_content(one.text, other.text); });
}

/// From the opening quote of a string to behind its closing one.
const char* behind_string(const char* at, const char* end)
{
    ++at;
    while (at != end && *at != '"') {
        if (*at == '\\' && at + 1 != end) {
            ++at;
        }
        at = json_text::skip_plain(at + 1, end);
    }
    return at == end ? end : at + 1;
}

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = std::min(text.find_first_not_of(" \n\t\r"), text.size());
    const std::size_t last = text.find_last_not_of(" \n\t\r");
    return text.substr(first, last - first + 1);
}

} // namespace

bool validate(std::string_view text, std::string* error)
{
    Ignore sink;
    Scanner<Ignore> scanner(text, sink);
    if (scanner.scan()) {
        return true;
    }
    if (error != nullptr) {
        *error = scanner.fault().message();
    }
    return false;
}

const Member* find_first(const std::vector<Member>& members, std::string_view key)
{
    for (const Member& member : members) {
        if (member.key == key) {
            return &member;
        }
    }
    return nullptr;
}

bool split_object(std::string_view text, std::vector<Member>& members, std::string* error)
{
    return split(text, json_spirit::obj_type, members, error);
}

bool split_array(std::string_view text, std::vector<Member>& elements, std::string* error)
{
    return split(text, json_spirit::array_type, elements, error);
}

std::string compact(std::string_view text)
{
    std::string result(text.size(), '\0');
    char* out = result.data();
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end) {
        if (*at == ' ' || *at == '\n' || *at == '\t' || *at == '\r') {
            ++at;
        } else if (*at == '"') {
            const char* const behind = behind_string(at, end);
            out = std::copy(at, behind, out);
            at = behind;
        } else {
            *out++ = *at++;
        }
    }
    result.resize(static_cast<std::size_t>(out - result.data()));
    return result;
}

std::string unescape(std::string_view text)
{
    const std::string_view quoted = trimmed(text);
    std::string result;
    json_text::append_unescaped(result, quoted.data() + 1, quoted.data() + quoted.size() - 1);
    return result;
}

bool same_content(std::string_view a, std::string_view b)
{
    a = trimmed(a);
    b = trimmed(b);
    if (a == b) {
        return true;
    }
    const auto is_number = [](char c) { return c == '-' || (c >= '0' && c <= '9'); };
    if (is_number(a.front()) && is_number(b.front())) {
        return same_number(a, b);
    }
    if (a.front() != b.front()) {
        return false;
    }
    switch (a.front()) {
    case '{':
        return same_members(a, b);
    case '[':
        return same_elements(a, b);
    case '"':
        return unescape(a) == unescape(b);
    default:
        return false; // two literals that are spelled differently
    }
}

} // namespace json_document
