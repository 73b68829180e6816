// A request as callers describe it: method, path, query, headers. A plain value of one thread.
#pragma once

#include "platform/export.h"
#include "platform/http/http_headers.h"

#include <string>
#include <string_view>

/// Methods by number, in alphabetical order.
enum HTTP_Method
{
    HTTP_CONNECT = 1,
    HTTP_DELETE = 2,
    HTTP_GET = 3,
    HTTP_HEAD = 4,
    HTTP_LINK = 5,
    HTTP_OPTIONS = 6,
    HTTP_PATCH = 7,
    HTTP_POST = 8,
    HTTP_PUT = 9,
    HTTP_TRACE = 10,
    HTTP_UNLINK = 11
};

/// "GET" and so on, or null for a number that is no method.
BACKUP_PLATFORM_EXPORT const char* http_method_name(int method);

class BACKUP_PLATFORM_EXPORT HTTP_Request
{
public:
    /// `path` may hold a query behind '?'. With `may_repeat` the request carries a key that makes repeating it safe
    /// whatever its method: see `carries_key`.
    HTTP_Request(int method, std::string_view path, bool may_repeat = false);

    int method() const { return method_; }
    const std::string& path() const { return path_; }
    bool may_repeat() const { return may_repeat_; }

    /// Whether a client gives the request an Idempotency-Key, by which the server knows a repetition: always where the
    /// method changes something (all but GET, HEAD, OPTIONS and TRACE), else where the constructor was told `may_repeat`.
    bool carries_key() const;

    /// The query that builders append to; without the '?'.
    std::string& query() { return query_; }
    const std::string& query() const { return query_; }

    HTTP_Headers& headers() { return headers_; }
    const HTTP_Headers& headers() const { return headers_; }

    /// Path and query as they are sent.
    std::string target() const;

private:
    int method_;
    std::string path_;
    std::string query_;
    bool may_repeat_;
    HTTP_Headers headers_;
};
