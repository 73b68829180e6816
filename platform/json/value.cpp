#include "platform/json/value.h"

#include <string.h>

#include <limits>

namespace json_spirit {
namespace {

Wrong_Type wrong_type(Value_type wanted, const Value& value)
{
    return {wanted, value.type()};
}

} // namespace

const char* type_name(Value_type type)
{
    switch (type) {
    case obj_type:
        return "object";
    case array_type:
        return "array";
    case str_type:
        return "string";
    case secure_str_type:
        return "secure string";
    case bool_type:
        return "boolean";
    case int_type:
        return "integer";
    case real_type:
        return "real";
    case null_type:
        return "null";
    }
    return "unknown";
}

Wrong_Type::Wrong_Type(Value_type wanted, Value_type found) :
    std::runtime_error(std::string("JSON value of type ") + type_name(found) + " used as " + type_name(wanted))
{}

Wrong_Type::Wrong_Type(const std::string& message) : std::runtime_error(message) {}

Secure_String::Secure_String(std::string_view text) : text_(text) {}

Secure_String::Secure_String(const Secure_String& other) : text_(other.text_) {}

Secure_String::Secure_String(Secure_String&& other) noexcept : text_(std::move(other.text_))
{
    other.wipe();
}

Secure_String& Secure_String::operator=(const Secure_String& other)
{
    if (this != &other) {
        if (other.text_.size() > text_.capacity()) {
            std::string copy(other.text_); // allocates before anything of this object changes
            wipe();
            text_ = std::move(copy);
        } else {
            wipe();
            text_.assign(other.text_);
        }
    }
    return *this;
}

Secure_String& Secure_String::operator=(Secure_String&& other) noexcept
{
    if (this != &other) {
        wipe();
        text_ = std::move(other.text_);
        other.wipe();
    }
    return *this;
}

Secure_String::~Secure_String()
{
    wipe();
}

void Secure_String::wipe() noexcept
{
    text_.resize(text_.capacity()); // all the room, whatever was in it before
    explicit_bzero(text_.data(), text_.size());
    text_.clear();
}

Value_type Value::type() const noexcept
{
    constexpr Value_type types[] = {null_type, bool_type,       int_type,   int_type, real_type,
                                    str_type,  secure_str_type, array_type, obj_type};
    return types[held_.index()];
}

const Object& Value::get_obj() const
{
    if (const Object* object = if_obj()) {
        return *object;
    }
    throw wrong_type(obj_type, *this);
}

Object& Value::get_obj()
{
    if (Object* object = if_obj()) {
        return *object;
    }
    throw wrong_type(obj_type, *this);
}

const Array& Value::get_array() const
{
    if (const Array* array = if_array()) {
        return *array;
    }
    throw wrong_type(array_type, *this);
}

Array& Value::get_array()
{
    if (Array* array = if_array()) {
        return *array;
    }
    throw wrong_type(array_type, *this);
}

const std::string& Value::get_str() const
{
    if (const std::string* text = if_str()) {
        return *text;
    }
    throw wrong_type(str_type, *this);
}

const std::string& Value::get_secure_str() const
{
    if (const std::string* text = if_secure_str()) {
        return *text;
    }
    throw wrong_type(secure_str_type, *this);
}

bool Value::get_bool() const
{
    if (const bool* boolean = if_bool()) {
        return *boolean;
    }
    throw wrong_type(bool_type, *this);
}

int Value::get_int() const
{
    const std::int64_t integer = get_int64();
    if (integer < std::numeric_limits<int>::min() || integer > std::numeric_limits<int>::max()) {
        throw std::out_of_range("JSON integer beyond the range of int");
    }
    return static_cast<int>(integer);
}

std::int64_t Value::get_int64() const
{
    if (const std::int64_t* integer = if_int64()) {
        return *integer;
    }
    if (is_uint64()) {
        throw std::out_of_range("JSON integer beyond the range of signed 64-bit");
    }
    throw wrong_type(int_type, *this);
}

std::uint64_t Value::get_uint64() const
{
    if (const std::uint64_t* integer = if_uint64()) {
        return *integer;
    }
    if (type() == int_type) {
        throw std::out_of_range("JSON integer beyond the range of unsigned 64-bit");
    }
    throw wrong_type(int_type, *this);
}

double Value::get_real() const
{
    if (const double* real = if_real()) {
        return *real;
    }
    if (const std::int64_t* integer = if_int64()) {
        return static_cast<double>(*integer);
    }
    if (const std::uint64_t* integer = if_uint64()) {
        return static_cast<double>(*integer);
    }
    throw wrong_type(real_type, *this);
}

const std::string* Value::if_secure_str() const noexcept
{
    const Secure_String* secret = std::get_if<Secure_String>(&held_);
    return secret == nullptr ? nullptr : &secret->str();
}

// The signed and the unsigned type of one width may be read through each other as long as the number fits both.

const std::int64_t* Value::if_int64() const noexcept
{
    if (const std::uint64_t* natural = std::get_if<std::uint64_t>(&held_)) {
        const bool fits = *natural <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
        return fits ? reinterpret_cast<const std::int64_t*>(natural) : nullptr;
    }
    return std::get_if<std::int64_t>(&held_);
}

const std::uint64_t* Value::if_uint64() const noexcept
{
    if (const std::int64_t* integer = std::get_if<std::int64_t>(&held_)) {
        return *integer >= 0 ? reinterpret_cast<const std::uint64_t*>(integer) : nullptr;
    }
    return std::get_if<std::uint64_t>(&held_);
}

bool operator==(const Value& a, const Value& b)
{
    if (a.type() != b.type()) {
        return false;
    }
    if (a.type() == int_type) {
        const std::int64_t* const left = a.if_int64();
        const std::int64_t* const right = b.if_int64();
        if (left == nullptr || right == nullptr) {
            return left == right && a.get_uint64() == b.get_uint64();
        }
        return *left == *right;
    }
    return a.held_ == b.held_;
}

} // namespace json_spirit
