// HTTP headers by number and by name.
//
// The numbers are those of an alphabetical table of the header fields that the platform knows. Names are compared without
// regard to case. A plain value of one thread.
#pragma once

#include "platform/export.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

class BACKUP_PLATFORM_EXPORT HTTP_Headers
{
public:
    enum Number
    {
        ACCEPT = 1,
        ACCEPT_CHARSET,
        ACCEPT_ENCODING,
        ACCEPT_LANGUAGE,
        ALLOW,
        AUTHORIZATION,
        CACHE_CONTROL,
        CONNECTION = 8,
        CONTENT_DISPOSITION,
        CONTENT_ENCODING,
        CONTENT_LANGUAGE,
        CONTENT_LENGTH = 12,
        CONTENT_LOCATION,
        CONTENT_RANGE,
        CONTENT_TYPE,
        COOKIE,
        DATE,
        ETAG,
        EXPECT,
        EXPIRES,
        FROM,
        HOST,
        IDEMPOTENCY_KEY,
        IF_MATCH,
        IF_MODIFIED_SINCE,
        IF_NONE_MATCH,
        IF_RANGE,
        IF_UNMODIFIED_SINCE,
        KEEP_ALIVE,
        LAST_MODIFIED,
        LOCATION,
        PRAGMA,
        RANGE,
        REFERER,
        RETRY_AFTER,
        SERVER,
        SET_COOKIE,
        TE,
        TRAILER,
        TRANSFER_ENCODING = 40,
        UPGRADE,
        UPGRADE_INSECURE_REQUESTS,
        USER_AGENT,
        VARY,
        VIA,
        WARNING,
        WWW_AUTHENTICATE,
        X_ACCESS_KEY = 48,
        X_FORWARDED_FOR,
        X_NETWORK_ACCESS_KEY,
        X_TENANT_ACCESS_KEY
    };

    /// The name behind a number, or null when there is none.
    static const char* name(int number);

    /// The value, or null when absent; valid until the next change.
    const std::string* get(int number) const;
    const std::string* get(std::string_view name) const;

    // Setting, or replacing. Refused, with false and nothing changed: an unknown number, a name that is not a token of
    // RFC 9110, a value with a line break, NUL or another control character but the tabulator.
    bool set(int number, std::string_view value);
    bool set(std::string_view name, std::string_view value);

    /// As `set`, but a value that is already there stays, with the new one behind it after a comma.
    bool append(std::string_view name, std::string_view value);

    void remove(int number);
    void remove(std::string_view name);

    /// Names and values in the order in which they were first set.
    const std::vector<std::pair<std::string, std::string>>& all() const { return fields_; }

private:
    std::vector<std::pair<std::string, std::string>> fields_;
};
