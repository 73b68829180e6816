// Builds query strings: "a=1&b=x%20y".
#pragma once

#include "platform/export.h"
#include "platform/json/value.h"

#include <concepts>
#include <string>
#include <string_view>

/// Percent-encodes everything but unreserved characters (RFC 3986).
BACKUP_PLATFORM_EXPORT void append_percent_encoded(std::string& target, std::string_view text);

/// Appends pairs to a text that it does not own: a query, or a path that ends with '?'. A separator is written only where
/// one is needed: never first in an empty text, never behind '?' or '&'. A pair with an empty key is not written.
template <class String>
class HTTP_Query_String_Builder_T
{
public:
    explicit HTTP_Query_String_Builder_T(String& target) : target_(target) {}

    HTTP_Query_String_Builder_T& operator()(std::string_view key, std::string_view value)
    {
        if (!key.empty()) {
            std::string pair;
            if (!target_.empty() && target_.back() != '?' && target_.back() != '&') {
                pair += '&';
            }
            append_percent_encoded(pair, key);
            pair += '=';
            append_percent_encoded(pair, value);
            // Not every kind of text takes a std::string; encoded, there is no NUL in it.
            target_ += pair.c_str(); // NOLINT(readability-redundant-string-cstr)
        }
        return *this;
    }

    /// A null pointer is the empty text.
    HTTP_Query_String_Builder_T& operator()(std::string_view key, const char* value)
    {
        return (*this)(key, std::string_view(value == nullptr ? "" : value));
    }

    HTTP_Query_String_Builder_T& operator()(std::string_view key, std::same_as<bool> auto value)
    {
        return (*this)(key, value ? std::string_view("true") : std::string_view("false"));
    }

    template <json_spirit::Value_Integer T>
    HTTP_Query_String_Builder_T& operator()(std::string_view key, T value)
    {
        return (*this)(key, std::string_view(std::to_string(value)));
    }

private:
    String& target_;
};

using HTTP_Query_String_Builder = HTTP_Query_String_Builder_T<std::string>;
