#include "catalog/store/refusal.h"

#include <utility>

namespace catalog {

bool refuse(Error& error, std::string key, std::string message)
{
    error = {.kind = Error::REFUSED, .message = std::move(message), .key = std::move(key), .database = {}};
    return false;
}

bool fail(Error& error, const Database_Error& database)
{
    std::string message = database.message;
    if (!database.code.empty()) {
        message += " (" + database.code + ')';
    }
    if (database.retryable()) {
        message += "; nothing was changed, try again";
    }
    error = {.kind = Error::DATABASE, .message = std::move(message), .key = {}, .database = database};
    return false;
}

std::string shown(std::string_view text)
{
    return '"' + excerpt(text) + '"';
}

std::string excerpt(std::string_view json)
{
    constexpr std::size_t longest = 60;
    std::size_t end = json.size();
    if (end > longest) {
        end = longest;
        while (end > 0 && (static_cast<unsigned char>(json[end]) & 0xc0) == 0x80) {
            --end; // not inside a character
        }
    }
    std::string text;
    for (const char c : json.substr(0, end)) {
        text += static_cast<unsigned char>(c) < 0x20 || c == '\x7f' ? '?' : c;
    }
    return end < json.size() ? text + "..." : text;
}

} // namespace catalog
