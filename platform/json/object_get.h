// Look-ups of members of JSON objects, with and without exceptions.
//
// Pointers and references point into the object and live as long as the member does.
#pragma once

#include "platform/export.h"
#include "platform/json/value.h"

#include <string_view>

namespace json_spirit {

// Null when the member is absent or of another type (for integers: or beyond the range).
BACKUP_PLATFORM_EXPORT const Value* object_get(const Object& object, std::string_view key);
BACKUP_PLATFORM_EXPORT const std::string* object_get_str(const Object& object, std::string_view key);
BACKUP_PLATFORM_EXPORT const bool* object_get_bool(const Object& object, std::string_view key);
BACKUP_PLATFORM_EXPORT const std::int64_t* object_get_int64(const Object& object, std::string_view key);
BACKUP_PLATFORM_EXPORT const std::uint64_t* object_get_uint64(const Object& object, std::string_view key);
BACKUP_PLATFORM_EXPORT const Object* object_get_object(const Object& object, std::string_view key);
BACKUP_PLATFORM_EXPORT const Array* object_get_array(const Object& object, std::string_view key);

// Throws: Missing_Key when the member is absent, Wrong_Type naming the key when it is of another type.
class BACKUP_PLATFORM_EXPORT Missing_Key : public std::runtime_error
{
public:
    explicit Missing_Key(std::string_view key);
};

BACKUP_PLATFORM_EXPORT const Value& object_get_or_throw(const Object& object, std::string_view key);
BACKUP_PLATFORM_EXPORT const std::string& object_get_str_or_throw(const Object& object, std::string_view key);
BACKUP_PLATFORM_EXPORT bool object_get_bool_or_throw(const Object& object, std::string_view key);
BACKUP_PLATFORM_EXPORT std::int64_t object_get_int64_or_throw(const Object& object, std::string_view key);
BACKUP_PLATFORM_EXPORT std::uint64_t object_get_uint64_or_throw(const Object& object, std::string_view key);
BACKUP_PLATFORM_EXPORT const Object& object_get_object_or_throw(const Object& object, std::string_view key);
BACKUP_PLATFORM_EXPORT const Array& object_get_array_or_throw(const Object& object, std::string_view key);

/// The look-ups above over one object. Holds a reference: the object must outlive it.
class Const_Object_Throw_Extractor
{
public:
    explicit Const_Object_Throw_Extractor(const Object& object) : object_(object) {}

    const Value* object_get(std::string_view key) const { return json_spirit::object_get(object_, key); }
    const std::string* object_get_str(std::string_view key) const { return json_spirit::object_get_str(object_, key); }
    const bool* object_get_bool(std::string_view key) const { return json_spirit::object_get_bool(object_, key); }
    const std::int64_t* object_get_int64(std::string_view key) const
    {
        return json_spirit::object_get_int64(object_, key);
    }
    const std::uint64_t* object_get_uint64(std::string_view key) const
    {
        return json_spirit::object_get_uint64(object_, key);
    }
    const Object* object_get_object(std::string_view key) const { return json_spirit::object_get_object(object_, key); }
    const Array* object_get_array(std::string_view key) const { return json_spirit::object_get_array(object_, key); }

    const Value& object_get_or_throw(std::string_view key) const
    {
        return json_spirit::object_get_or_throw(object_, key);
    }
    const std::string& object_get_str_or_throw(std::string_view key) const
    {
        return json_spirit::object_get_str_or_throw(object_, key);
    }
    bool object_get_bool_or_throw(std::string_view key) const
    {
        return json_spirit::object_get_bool_or_throw(object_, key);
    }
    std::int64_t object_get_int64_or_throw(std::string_view key) const
    {
        return json_spirit::object_get_int64_or_throw(object_, key);
    }
    std::uint64_t object_get_uint64_or_throw(std::string_view key) const
    {
        return json_spirit::object_get_uint64_or_throw(object_, key);
    }
    const Object& object_get_object_or_throw(std::string_view key) const
    {
        return json_spirit::object_get_object_or_throw(object_, key);
    }
    const Array& object_get_array_or_throw(std::string_view key) const
    {
        return json_spirit::object_get_array_or_throw(object_, key);
    }

private:
    const Object& object_;
};

} // namespace json_spirit
