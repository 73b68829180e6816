#include "catalog/store/content_digest.h"

#include "platform/json/document.h"
#include "platform/json/value.h"

#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <memory>
#include <new>
#include <vector>

namespace catalog {
namespace {

using json_document::Member;

constexpr std::size_t digest_size = 32;
using Digest = std::array<unsigned char, digest_size>;

void append_text(std::string& result, char kind, std::string_view text)
{
    result += kind;
    result += std::to_string(text.size());
    result += ':';
    result += text;
}

/// A real number that is a whole one within 64 bits is written as the integer that it equals.
std::string number(std::string_view text)
{
    json_spirit::Value value;
    json_spirit::read(text, value);
    if (value.type() == json_spirit::int_type) {
        return value.is_uint64() ? std::to_string(value.get_uint64()) : std::to_string(value.get_int64());
    }
    constexpr double begin = -9223372036854775808.0;
    constexpr double end = 18446744073709551616.0;
    const double real = value.get_real();
    if (real >= begin && real < 0 && static_cast<double>(static_cast<std::int64_t>(real)) == real) {
        return std::to_string(static_cast<std::int64_t>(real));
    }
    if (real >= 0 && real < end && static_cast<double>(static_cast<std::uint64_t>(real)) == real) {
        return std::to_string(static_cast<std::uint64_t>(real));
    }
    std::array<char, 32> room{};
    const auto [stop, fault] =
        std::to_chars(room.data(), room.data() + room.size(), real, std::chars_format::scientific);
    return {room.data(), stop};
}

void append(std::string& result, std::string_view json);

void append_members(std::string& result, std::string_view json)
{
    std::vector<Member> members;
    json_document::split_object(json, members);
    std::ranges::stable_sort(members, {}, &Member::key);
    result += '{';
    for (const Member& member : members) {
        append_text(result, 'k', member.key);
        append(result, member.text);
    }
    result += '}';
}

void append_elements(std::string& result, std::string_view json)
{
    std::vector<Member> elements;
    json_document::split_array(json, elements);
    result += '[';
    for (const Member& element : elements) {
        append(result, element.text);
    }
    result += ']';
}

void append(std::string& result, std::string_view json)
{
    json.remove_prefix(std::min(json.find_first_not_of(" \n\t\r"), json.size()));
    switch (json.empty() ? ' ' : json.front()) {
    case '{':
        append_members(result, json);
        break;
    case '[':
        append_elements(result, json);
        break;
    case '"':
        append_text(result, 's', json_document::unescape(json));
        break;
    case 't':
    case 'f':
    case 'n':
        result += json.front() == 'n' ? 'z' : json.front();
        break;
    default:
        append_text(result, 'n', number(json));
    }
}

/// OpenSSL's digests fail only for want of memory.
void check(int result)
{
    if (result != 1) {
        throw std::bad_alloc();
    }
}

} // namespace

std::string canonical(std::string_view json)
{
    std::string text;
    text.reserve(json.size());
    append(text, json);
    return text;
}

std::string content_digest(std::string_view json)
{
    const std::string text = canonical(json);
    Digest digest{};
    check(EVP_Digest(text.data(), text.size(), digest.data(), nullptr, EVP_sha256(), nullptr));
    constexpr std::string_view digits = "0123456789abcdef";
    std::string hexadecimal;
    for (const unsigned char byte : digest) {
        hexadecimal += digits[byte >> 4];
        hexadecimal += digits[byte & 15];
    }
    return hexadecimal;
}

UUID_Bytes short_digest(std::initializer_list<std::string_view> texts)
{
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    check(context != nullptr ? 1 : 0);
    check(EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr));
    for (const std::string_view text : texts) {
        const std::string length = std::to_string(text.size()) + ':';
        check(EVP_DigestUpdate(context.get(), length.data(), length.size()));
        check(EVP_DigestUpdate(context.get(), text.data(), text.size()));
    }
    Digest digest{};
    check(EVP_DigestFinal_ex(context.get(), digest.data(), nullptr));
    UUID_Bytes first{};
    std::copy_n(digest.begin(), first.size(), first.begin());
    return first;
}

} // namespace catalog
