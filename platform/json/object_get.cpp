#include "platform/json/object_get.h"

namespace json_spirit {
namespace {

Value_type type_of(const Object& object, std::string_view key)
{
    return object.find(key)->second.type();
}

/// The member as `wanted` points to it, or the exception that tells why there is none.
template <class T>
const T& present(const T* member, const Object& object, std::string_view key, Value_type wanted)
{
    if (member != nullptr) {
        return *member;
    }
    if (!object.contains(key)) {
        throw Missing_Key(key);
    }
    const Value_type found = type_of(object, key);
    const std::string name = "member \"" + std::string(key) + "\" ";
    if (found == wanted) {
        throw Wrong_Type(name + "is an integer out of range");
    }
    throw Wrong_Type(name + "is a value of type " + type_name(found) + ", not " + type_name(wanted));
}

} // namespace

const Value* object_get(const Object& object, std::string_view key)
{
    const auto member = object.find(key);
    return member == object.end() ? nullptr : &member->second;
}

const std::string* object_get_str(const Object& object, std::string_view key)
{
    const Value* member = object_get(object, key);
    return member == nullptr ? nullptr : member->if_str();
}

const bool* object_get_bool(const Object& object, std::string_view key)
{
    const Value* member = object_get(object, key);
    return member == nullptr ? nullptr : member->if_bool();
}

const std::int64_t* object_get_int64(const Object& object, std::string_view key)
{
    const Value* member = object_get(object, key);
    return member == nullptr ? nullptr : member->if_int64();
}

const std::uint64_t* object_get_uint64(const Object& object, std::string_view key)
{
    const Value* member = object_get(object, key);
    return member == nullptr ? nullptr : member->if_uint64();
}

const Object* object_get_object(const Object& object, std::string_view key)
{
    const Value* member = object_get(object, key);
    return member == nullptr ? nullptr : member->if_obj();
}

const Array* object_get_array(const Object& object, std::string_view key)
{
    const Value* member = object_get(object, key);
    return member == nullptr ? nullptr : member->if_array();
}

Missing_Key::Missing_Key(std::string_view key) : std::runtime_error("member \"" + std::string(key) + "\" is missing") {}

const Value& object_get_or_throw(const Object& object, std::string_view key)
{
    const Value* member = object_get(object, key);
    if (member == nullptr) {
        throw Missing_Key(key);
    }
    return *member;
}

const std::string& object_get_str_or_throw(const Object& object, std::string_view key)
{
    return present(object_get_str(object, key), object, key, str_type);
}

bool object_get_bool_or_throw(const Object& object, std::string_view key)
{
    return present(object_get_bool(object, key), object, key, bool_type);
}

std::int64_t object_get_int64_or_throw(const Object& object, std::string_view key)
{
    return present(object_get_int64(object, key), object, key, int_type);
}

std::uint64_t object_get_uint64_or_throw(const Object& object, std::string_view key)
{
    return present(object_get_uint64(object, key), object, key, int_type);
}

const Object& object_get_object_or_throw(const Object& object, std::string_view key)
{
    return present(object_get_object(object, key), object, key, obj_type);
}

const Array& object_get_array_or_throw(const Object& object, std::string_view key)
{
    return present(object_get_array(object, key), object, key, array_type);
}

} // namespace json_spirit
