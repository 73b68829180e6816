// HTTP headers by number and by name.
//
// The numbers are those of an alphabetical table of the header fields that the platform knows; 8 is Connection, 12
// Content-Length, 40 Transfer-Encoding, 48 X-Access-Key. Names are compared without regard to case.
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
        CONNECTION = 8,
        CONTENT_LENGTH = 12,
        TRANSFER_ENCODING = 40,
        X_ACCESS_KEY = 48
    };

    /// The name behind a number, or null when there is none.
    static const char* name(int number);

    /// The value, or null when absent.
    const std::string* get(int number) const;
    const std::string* get(std::string_view name) const;

    /// Sets or replaces. An unknown number, and a name or value with a line break or NUL, are refused: false.
    bool set(int number, std::string_view value);
    bool set(std::string_view name, std::string_view value);

    void remove(int number);
    void remove(std::string_view name);

    const std::vector<std::pair<std::string, std::string>>& all() const { return fields_; }

private:
    std::vector<std::pair<std::string, std::string>> fields_;
};
