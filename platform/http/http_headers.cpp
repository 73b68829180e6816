#include "platform/http/http_headers.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array<const char*, HTTP_Headers::X_TENANT_ACCESS_KEY + 1> names{
    nullptr, // numbers begin with 1
    "Accept",
    "Accept-Charset",
    "Accept-Encoding",
    "Accept-Language",
    "Allow",
    "Authorization",
    "Cache-Control",
    "Connection",
    "Content-Disposition",
    "Content-Encoding",
    "Content-Language",
    "Content-Length",
    "Content-Location",
    "Content-Range",
    "Content-Type",
    "Cookie",
    "Date",
    "ETag",
    "Expect",
    "Expires",
    "From",
    "Host",
    "Idempotency-Key",
    "If-Match",
    "If-Modified-Since",
    "If-None-Match",
    "If-Range",
    "If-Unmodified-Since",
    "Keep-Alive",
    "Last-Modified",
    "Location",
    "Pragma",
    "Range",
    "Referer",
    "Retry-After",
    "Server",
    "Set-Cookie",
    "TE",
    "Trailer",
    "Transfer-Encoding",
    "Upgrade",
    "Upgrade-Insecure-Requests",
    "User-Agent",
    "Vary",
    "Via",
    "Warning",
    "WWW-Authenticate",
    "X-Access-Key",
    "X-Forwarded-For",
    "X-Network-Access-Key",
    "X-Tenant-Access-Key",
};

constexpr char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr bool equal_names(std::string_view a, std::string_view b)
{
    return std::ranges::equal(a, b, {}, lower, lower);
}

static_assert(std::is_sorted(names.begin() + 1, names.end(),
                             [](std::string_view a, std::string_view b) {
                                 return std::ranges::lexicographical_compare(a, b, {}, lower, lower);
                             }),
              "alphabetical; a name is missing or too much where this does not compile");
static_assert(equal_names(names[HTTP_Headers::CONNECTION], "Connection"));
static_assert(equal_names(names[HTTP_Headers::CONTENT_LENGTH], "Content-Length"));
static_assert(equal_names(names[HTTP_Headers::TRANSFER_ENCODING], "Transfer-Encoding"));
static_assert(equal_names(names[HTTP_Headers::X_ACCESS_KEY], "X-Access-Key"));

bool is_token(std::string_view name)
{
    return !name.empty() && std::ranges::all_of(name, [](char c) {
        return (c >= '0' && c <= '9') || (lower(c) >= 'a' && lower(c) <= 'z')
               || (c != '\0' && std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos);
    });
}

bool is_value(std::string_view value)
{
    return std::ranges::none_of(value, [](char c) {
        const unsigned char byte = static_cast<unsigned char>(c);
        return (byte < 0x20 && c != '\t') || byte == 0x7f;
    });
}

auto find_field(auto& fields, std::string_view name)
{
    return std::ranges::find_if(fields, [name](const auto& field) { return equal_names(field.first, name); });
}

} // namespace

const char* HTTP_Headers::name(int number)
{
    return number > 0 && static_cast<std::size_t>(number) < names.size() ? names[static_cast<std::size_t>(number)]
                                                                         : nullptr;
}

const std::string* HTTP_Headers::get(int number) const
{
    const char* known = name(number);
    return known == nullptr ? nullptr : get(std::string_view(known));
}

const std::string* HTTP_Headers::get(std::string_view name) const
{
    const auto found = find_field(fields_, name);
    return found == fields_.end() ? nullptr : &found->second;
}

bool HTTP_Headers::set(int number, std::string_view value)
{
    const char* known = name(number);
    return known != nullptr && set(std::string_view(known), value);
}

bool HTTP_Headers::set(std::string_view name, std::string_view value)
{
    if (!is_token(name) || !is_value(value)) {
        return false;
    }
    const auto found = find_field(fields_, name);
    if (found == fields_.end()) {
        fields_.emplace_back(name, value);
    } else {
        found->second = value;
    }
    return true;
}

bool HTTP_Headers::append(std::string_view name, std::string_view value)
{
    if (!is_token(name) || !is_value(value)) {
        return false;
    }
    const auto found = find_field(fields_, name);
    if (found == fields_.end()) {
        fields_.emplace_back(name, value);
    } else {
        found->second.append(", ").append(value);
    }
    return true;
}

void HTTP_Headers::remove(int number)
{
    if (const char* known = name(number)) {
        remove(std::string_view(known));
    }
}

void HTTP_Headers::remove(std::string_view name)
{
    std::erase_if(fields_, [name](const auto& field) { return equal_names(field.first, name); });
}
