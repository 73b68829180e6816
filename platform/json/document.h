// A JSON document as it is written: members in their order, repeated keys included, numbers and escapes as they stand.
//
// `json_spirit::Value` forgets the order of members, repeated keys and spellings; these functions keep them. All views
// point into the text that was given. Thread-safe. Errors name the byte offset, as those of `json_spirit::read`.
#pragma once

#include "platform/export.h"
#include "platform/json/value.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace json_document {

/// One member of an object, or one element of an array (then `key` is empty).
struct Member
{
    std::string key;              ///< unescaped
    std::string_view text;        ///< the value as it is written, without surrounding white space
    json_spirit::Value_type type; ///< of the value; never secure_str_type
};

/// Checks that `text` is one valid JSON value under the rules of `json_spirit::read` (UTF-8, depth, nothing behind).
BACKUP_PLATFORM_EXPORT bool validate(std::string_view text, std::string* error = nullptr);

/// Splits an object into its members, or an array into its elements, without going into the values.
/// The whole text is validated. False, with the reason in `error`, when the text is not valid or not of that type.
BACKUP_PLATFORM_EXPORT bool split_object(std::string_view text, std::vector<Member>& members,
                                         std::string* error = nullptr);
BACKUP_PLATFORM_EXPORT bool split_array(std::string_view text, std::vector<Member>& elements,
                                        std::string* error = nullptr);

/// The first member with a key, or null.
BACKUP_PLATFORM_EXPORT const Member* find_first(const std::vector<Member>& members, std::string_view key);

/// The same value without insignificant white space; everything else byte for byte. `text` must be valid.
BACKUP_PLATFORM_EXPORT std::string compact(std::string_view text);

/// The text that a JSON string stands for. `text` must be a valid JSON string with its quotes.
BACKUP_PLATFORM_EXPORT std::string unescape(std::string_view text);

/// True when two valid texts mean the same: members in any order (those of one key in the same order), strings by what
/// they stand for, numbers by value.
BACKUP_PLATFORM_EXPORT bool same_content(std::string_view a, std::string_view b);

} // namespace json_document
