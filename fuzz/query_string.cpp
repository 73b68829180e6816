// Takes any text as the query and as the target of a request. What is read is what the client's builder of queries writes.
#include "catalog/service/query_string.h"

#include "catalog/service/detail/http_text.h"
#include "fuzz/fuzz.h"
#include "platform/http/http_query_string_builder.h"

#include <algorithm>
#include <string>

namespace {

using fuzz::check;
using Pairs = std::map<std::string, std::string, std::less<>>;

void check_query(std::string_view query)
{
    Pairs pairs;
    std::string fault;
    std::string key;
    if (!catalog::service::read_query(query, pairs, fault, key)) {
        check(!fault.empty(), "a refusal has a reason");
        return;
    }
    // The builder leaves pairs without a key out.
    pairs.erase("");
    std::string written;
    HTTP_Query_String_Builder builder(written);
    for (const auto& [name, value] : pairs) {
        builder(name, std::string_view(value));
    }
    Pairs again;
    check(catalog::service::read_query(written, again, fault, key), "what the builder writes can be read");
    check(again == pairs, "and means what was written");
}

void check_escapes(std::string_view text)
{
    std::string encoded;
    append_percent_encoded(encoded, text);
    std::string decoded = "?";
    check(catalog::service::percent_decode(encoded, decoded) && decoded == text, "an encoded text is decoded");
    const std::string before = decoded;
    if (!catalog::service::percent_decode(text, decoded)) {
        check(decoded == before && text.find('%') != std::string_view::npos, "only a broken escape is refused");
    }
}

void check_target(std::string_view text)
{
    const auto target = catalog::service::detail::split_target(text);
    if (!target) {
        return;
    }
    check(target->path == "*" || target->path.starts_with('/'), "a path begins at the root");
    check(target->path.size() <= text.size() + 1 && text.ends_with(target->query), "nothing is added to a target");
    check(text.find('\0') != std::string_view::npos || target->path.find('\0') == std::string::npos,
          "no NUL comes out of an escape");
}

void check_key(std::string_view text)
{
    const std::optional<std::string> key = catalog::service::detail::bearer_key(text);
    check(!key || (!key->empty() && text.ends_with(*key)), "a key is what stands behind the scheme");
}

/// A reply cannot be split by what a header holds.
void check_reply_head(std::string_view text)
{
    if (text.empty()) {
        return; // then there is no line
    }
    catalog::service::Reply reply;
    reply.content_type = text;
    reply.headers.emplace_back("X-Note", text);
    const std::string head =
        catalog::service::detail::reply_head(reply, "OK", catalog::service::detail::Framing::LENGTH, 0, true, 0);
    check(head.ends_with("\r\n\r\n") && head.find("\r\n\r\n") == head.size() - 4, "a head ends once");
    check(std::count(head.begin(), head.end(), '\r') == std::count(head.begin(), head.end(), '\n'),
          "a line breaks in one way");
    reply.content_type = "text/plain";
    reply.headers.back().second = "plain";
    const std::string plain =
        catalog::service::detail::reply_head(reply, "OK", catalog::service::detail::Framing::LENGTH, 0, true, 0);
    check(std::count(head.begin(), head.end(), '\n') == std::count(plain.begin(), plain.end(), '\n'),
          "a header's value adds no line");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::log_nothing();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text = fuzz::text_of(data, size);
    check_query(text);
    check_escapes(text);
    check_target(text);
    check_key(text);
    check_reply_head(text);
    return 0;
}
