// The text of HTTP that the server reads and writes by itself.
#pragma once

#include "catalog/service/front.h"

#include <cstddef>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace catalog::service::detail {

struct Target
{
    std::string path; ///< percent-decoded
    std::string query;
};

/// Takes a request's target apart. None when it is malformed: a broken escape, an encoded NUL, a fragment.
std::optional<Target> split_target(std::string_view target);

/// The key of an `Authorization: Bearer` header; none when it is of another scheme or empty.
std::optional<std::string> bearer_key(std::string_view authorization);

/// "Sun, 06 Nov 1994 08:49:37 GMT"
std::string http_date(std::time_t time);

/// Adds the headers that some statuses ask for and that the front has not given.
void complete_headers(Reply& reply);

/// How the end of a reply's body is told.
enum class Framing
{
    NONE,    ///< there is no body, nor a word of its length
    LENGTH,  ///< by Content-Length
    CHUNKED, ///< by the last chunk
    CLOSE    ///< by the end of the connection
};

/// The status line and the header of a reply up to and with the empty line. A header's line breaks become blanks; headers
/// that are the server's own business (those of length and connection) are left out.
std::string reply_head(const Reply& reply, std::string_view reason, Framing framing, std::size_t length,
                       bool keep_alive, std::time_t now);

} // namespace catalog::service::detail
