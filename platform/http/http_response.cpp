#include "platform/http/http_response.h"

#include <strings.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

/// Whether a comma-separated list has an element, compared without regard to case.
bool has_token(std::string_view list, std::string_view token)
{
    for (;;) {
        const std::size_t comma = list.find(',');
        std::string_view element = list.substr(0, comma);
        while (!element.empty() && (element.front() == ' ' || element.front() == '\t')) {
            element.remove_prefix(1);
        }
        while (!element.empty() && (element.back() == ' ' || element.back() == '\t')) {
            element.remove_suffix(1);
        }
        if (element.size() == token.size() && ::strncasecmp(element.data(), token.data(), token.size()) == 0) {
            return true;
        }
        if (comma == std::string_view::npos) {
            return false;
        }
        list.remove_prefix(comma + 1);
    }
}

} // namespace

ACE_UINT64 http_content_length(const HTTP_Headers& headers)
{
    const std::string* length = headers.get(HTTP_Headers::CONTENT_LENGTH);
    return length == nullptr ? 0 : std::strtoull(length->c_str(), nullptr, 10);
}

void http_content_length(HTTP_Headers& headers, ACE_UINT64 length)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%lu", static_cast<unsigned long>(length));
    headers.set(HTTP_Headers::CONTENT_LENGTH, text);
}

bool http_keep_alive(const HTTP_Headers& headers, int minor_version)
{
    if (const std::string* connection = headers.get(HTTP_Headers::CONNECTION)) {
        if (has_token(*connection, "close")) {
            return false;
        }
        if (has_token(*connection, "Keep-Alive")) {
            return true;
        }
    }
    return minor_version > 0;
}

void http_keep_alive(HTTP_Headers& headers, bool keep)
{
    headers.set(HTTP_Headers::CONNECTION, keep ? "Keep-Alive" : "close");
}

bool http_chunked(const HTTP_Headers& headers)
{
    const std::string* encoding = headers.get(HTTP_Headers::TRANSFER_ENCODING);
    return encoding != nullptr && *encoding == "chunked";
}

void http_chunked(HTTP_Headers& headers, bool chunked)
{
    if (chunked) {
        headers.set(HTTP_Headers::TRANSFER_ENCODING, "chunked");
    } else {
        headers.remove(HTTP_Headers::TRANSFER_ENCODING);
    }
}
