#include "platform/json/value.h"

#include <string.h>

#include <limits>
#include <memory>

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

Secure_String::Secure_String(const Secure_String& other) = default;

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

Value::Value(const char* text) : string_(text == nullptr ? "" : text), held_(Held::STRING) {}

Value::Value(const Value& other) : held_(Held::NOTHING)
{
    switch (other.held_) {
    case Held::NOTHING:
        break;
    case Held::BOOLEAN:
        boolean_ = other.boolean_;
        break;
    case Held::SIGNED:
        signed_ = other.signed_;
        break;
    case Held::UNSIGNED:
        unsigned_ = other.unsigned_;
        break;
    case Held::REAL:
        real_ = other.real_;
        break;
    case Held::STRING:
        std::construct_at(&string_, other.string_);
        break;
    case Held::SECRET:
        std::construct_at(&secret_, other.secret_);
        break;
    case Held::ARRAY:
        std::construct_at(&array_, other.array_);
        break;
    case Held::OBJECT:
        std::construct_at(&object_, other.object_);
        break;
    }
    held_ = other.held_; // not before the copy has been made: nothing is destroyed that was not made
}

Value& Value::operator=(const Value& other)
{
    return *this = Value(other); // `other` may be a part of this value
}

Value& Value::operator=(Value&& other) noexcept
{
    Value taken(std::move(other)); // `other` may be a part of this value
    release();
    take(taken);
    return *this;
}

void Value::take(Value& other) noexcept
{
    switch (other.held_) {
    case Held::NOTHING:
        break;
    case Held::BOOLEAN:
        boolean_ = other.boolean_;
        break;
    case Held::SIGNED:
        signed_ = other.signed_;
        break;
    case Held::UNSIGNED:
        unsigned_ = other.unsigned_;
        break;
    case Held::REAL:
        real_ = other.real_;
        break;
    case Held::STRING:
        std::construct_at(&string_, std::move(other.string_));
        break;
    case Held::SECRET:
        std::construct_at(&secret_, std::move(other.secret_));
        break;
    case Held::ARRAY:
        std::construct_at(&array_, std::move(other.array_));
        break;
    case Held::OBJECT:
        std::construct_at(&object_, std::move(other.object_));
        break;
    }
    held_ = other.held_;
}

void Value::destroy() noexcept
{
    switch (held_) {
    case Held::STRING:
        std::destroy_at(&string_);
        break;
    case Held::SECRET:
        std::destroy_at(&secret_);
        break;
    case Held::ARRAY:
        std::destroy_at(&array_);
        break;
    case Held::OBJECT:
        std::destroy_at(&object_);
        break;
    default:
        break;
    }
}

Value_type Value::type() const noexcept
{
    switch (held_) {
    case Held::NOTHING:
        return null_type;
    case Held::BOOLEAN:
        return bool_type;
    case Held::SIGNED:
    case Held::UNSIGNED:
        return int_type;
    case Held::REAL:
        return real_type;
    case Held::STRING:
        return str_type;
    case Held::SECRET:
        return secure_str_type;
    case Held::ARRAY:
        return array_type;
    case Held::OBJECT:
        return obj_type;
    }
    return null_type;
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

// The signed and the unsigned type of one width may be read through each other as long as the number fits both.

const std::int64_t* Value::if_int64() const noexcept
{
    if (held_ == Held::UNSIGNED) {
        const bool fits = unsigned_ <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
        return fits ? reinterpret_cast<const std::int64_t*>(&unsigned_) : nullptr;
    }
    return held_ == Held::SIGNED ? &signed_ : nullptr;
}

const std::uint64_t* Value::if_uint64() const noexcept
{
    if (held_ == Held::SIGNED) {
        return signed_ >= 0 ? reinterpret_cast<const std::uint64_t*>(&signed_) : nullptr;
    }
    return held_ == Held::UNSIGNED ? &unsigned_ : nullptr;
}

bool operator==(const Value& a, const Value& b)
{
    using Held = Value::Held;
    if (a.held_ != b.held_) {
        const std::int64_t* const left = a.if_int64();
        const std::int64_t* const right = b.if_int64();
        return left != nullptr && right != nullptr && *left == *right;
    }
    switch (a.held_) {
    case Held::NOTHING:
        return true;
    case Held::BOOLEAN:
        return a.boolean_ == b.boolean_;
    case Held::SIGNED:
        return a.signed_ == b.signed_;
    case Held::UNSIGNED:
        return a.unsigned_ == b.unsigned_;
    case Held::REAL:
        return a.real_ == b.real_;
    case Held::STRING:
        return a.string_ == b.string_;
    case Held::SECRET:
        return a.secret_ == b.secret_;
    case Held::ARRAY:
        return a.array_ == b.array_;
    case Held::OBJECT:
        return a.object_ == b.object_;
    }
    return false;
}

} // namespace json_spirit
