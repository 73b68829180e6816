// JSON values: null, booleans, exact 64-bit integers of both signs, reals, texts, secrets, arrays, objects.
//
// Values own what they hold and are copied deeply. Reading one value from several threads is safe as long as none
// writes it. Getters throw `std::exception` derivates (`Wrong_Type`, `std::out_of_range`) and change nothing.
#pragma once

#include "platform/export.h"

#include <boost/container/flat_map.hpp>

#include <concepts>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace json_spirit {

class Value;

/// A map from key to value, ordered by the keys' bytes. Kept as one sorted block: iterators and references do not
/// outlive an insertion or an erasure.
using Object = boost::container::flat_map<std::string, Value, std::less<>>;
using Array = std::vector<Value>;

enum Value_type
{
    obj_type,
    array_type,
    str_type,
    secure_str_type,
    bool_type,
    int_type, ///< signed or unsigned 64-bit, see `Value::is_uint64`
    real_type,
    null_type
};

/// The name of a type as messages use it: "object", "array", "string", "secure string", "boolean", "integer",
/// "real", "null".
BACKUP_PLATFORM_EXPORT const char* type_name(Value_type type);

/// A value was asked for as something that it is not.
class BACKUP_PLATFORM_EXPORT Wrong_Type : public std::runtime_error
{
public:
    Wrong_Type(Value_type wanted, Value_type found);
    explicit Wrong_Type(const std::string& message);
};

/// A secret. Its bytes are overwritten when it is destroyed, replaced or moved from.
class BACKUP_PLATFORM_EXPORT Secure_String
{
public:
    Secure_String() = default;
    explicit Secure_String(std::string_view text);
    Secure_String(const Secure_String& other);
    Secure_String(Secure_String&& other) noexcept;
    Secure_String& operator=(const Secure_String& other);
    Secure_String& operator=(Secure_String&& other) noexcept;
    ~Secure_String();

    /// The secret in clear.
    const std::string& str() const { return text_; }

    friend bool operator==(const Secure_String& a, const Secure_String& b) { return a.text_ == b.text_; }

private:
    void wipe() noexcept;

    std::string text_;
};

template <class T>
concept Value_Integer = std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char>;

class BACKUP_PLATFORM_EXPORT Value
{
public:
    Value() noexcept = default; ///< null
    Value(const char* text) : held_(std::in_place_type<std::string>, text) {}
    Value(std::string text) noexcept : held_(std::move(text)) {}
    Value(std::string_view text) : held_(std::in_place_type<std::string>, text) {}
    Value(Secure_String secret) noexcept : held_(std::move(secret)) {}
    Value(Array array) noexcept : held_(std::move(array)) {}
    Value(Object object) noexcept : held_(std::move(object)) {}
    Value(double real) noexcept : held_(real) {}
    Value(std::same_as<bool> auto boolean) noexcept : held_(static_cast<bool>(boolean)) {}

    /// Signed types are held as signed, unsigned types as unsigned 64-bit.
    template <Value_Integer T>
    Value(T integer) noexcept
    {
        if constexpr (std::signed_integral<T>) {
            held_.emplace<std::int64_t>(integer);
        } else {
            held_.emplace<std::uint64_t>(integer);
        }
    }

    Value_type type() const noexcept;
    bool is_null() const noexcept { return std::holds_alternative<std::monostate>(held_); }

    /// True when an integer is held as unsigned 64-bit. Texts are read so only beyond the signed range.
    bool is_uint64() const noexcept { return std::holds_alternative<std::uint64_t>(held_); }

    // Each of these throws Wrong_Type for a value of another type.
    const Object& get_obj() const;
    Object& get_obj();
    const Array& get_array() const;
    Array& get_array();
    const std::string& get_str() const;        ///< a plain text; a secret is not handed out here
    const std::string& get_secure_str() const; ///< a secret, in clear
    bool get_bool() const;
    int get_int() const;              ///< throws std::out_of_range beyond int
    std::int64_t get_int64() const;   ///< throws std::out_of_range beyond the signed range
    std::uint64_t get_uint64() const; ///< throws std::out_of_range for a negative number
    double get_real() const;          ///< a real, or an integer converted

    // The same without a throw: null when the value is of another type or, for an integer, beyond the range.
    const Object* if_obj() const noexcept { return std::get_if<Object>(&held_); }
    Object* if_obj() noexcept { return std::get_if<Object>(&held_); }
    const Array* if_array() const noexcept { return std::get_if<Array>(&held_); }
    Array* if_array() noexcept { return std::get_if<Array>(&held_); }
    const std::string* if_str() const noexcept { return std::get_if<std::string>(&held_); }
    const std::string* if_secure_str() const noexcept;
    const bool* if_bool() const noexcept { return std::get_if<bool>(&held_); }
    const std::int64_t* if_int64() const noexcept;
    const std::uint64_t* if_uint64() const noexcept;
    const double* if_real() const noexcept { return std::get_if<double>(&held_); }

    /// Equal type and content. Integers are equal by their number, however they are held.
    friend BACKUP_PLATFORM_EXPORT bool operator==(const Value& a, const Value& b);

private:
    friend class Value_Builder;

    std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string, Secure_String, Array, Object>
        held_;
};

/// Reads one JSON text. Integers are exact over both 64-bit ranges; a number with a fraction or an exponent, or
/// beyond 64 bits, becomes a real. Of members with the same key the last one stays.
/// Refused, with a message that names the byte offset: malformed text, text behind the value, invalid UTF-8, nesting
/// deeper than 512, a number beyond a double. On refusal `value` is unchanged and false is returned.
BACKUP_PLATFORM_EXPORT bool read(std::string_view text, Value& value, std::string* error = nullptr);

} // namespace json_spirit
