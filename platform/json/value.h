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
#include <vector>

namespace json_spirit {

class Value;

/// A map from key to value, ordered by the keys' bytes. Kept as one sorted block: iterators and references do not
/// outlive an insertion or an erasure.
using Object = boost::container::flat_map<std::string, Value, std::less<>>;
/// An array whose only element is an array is made by `Array(1, Value(inner))`: compilers differ on `Array{inner}`.
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
    Value() noexcept : held_(Held::NOTHING) {} ///< null
    Value(const char* text);                   ///< a null pointer is the empty text
    Value(std::string text) noexcept : string_(std::move(text)), held_(Held::STRING) {}
    Value(std::string_view text) : string_(text), held_(Held::STRING) {}
    Value(Secure_String secret) noexcept : secret_(std::move(secret)), held_(Held::SECRET) {}
    Value(Array array) noexcept : array_(std::move(array)), held_(Held::ARRAY) {}
    Value(Object object) noexcept : object_(std::move(object)), held_(Held::OBJECT) {}
    Value(double real) noexcept : real_(real), held_(Held::REAL) {}
    Value(std::same_as<bool> auto boolean) noexcept : boolean_(boolean), held_(Held::BOOLEAN) {}

    Value(char) = delete; ///< neither a text nor a number

    // Signed types are held as signed, unsigned types as unsigned 64-bit.
    template <Value_Integer T>
    requires std::signed_integral<T> Value(T integer)
    noexcept : signed_(integer), held_(Held::SIGNED) {}
    template <Value_Integer T>
    requires std::unsigned_integral<T> Value(T integer)
    noexcept : unsigned_(integer), held_(Held::UNSIGNED) {}

    Value(const Value& other);
    Value(Value&& other) noexcept { take(other); }
    Value& operator=(const Value& other);
    Value& operator=(Value&& other) noexcept;
    ~Value() { release(); }

    Value_type type() const noexcept;
    bool is_null() const noexcept { return held_ == Held::NOTHING; }

    /// True when an integer is held as unsigned 64-bit. Texts are read so only beyond the signed range.
    bool is_uint64() const noexcept { return held_ == Held::UNSIGNED; }

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
    const Object* if_obj() const noexcept { return held_ == Held::OBJECT ? &object_ : nullptr; }
    Object* if_obj() noexcept { return held_ == Held::OBJECT ? &object_ : nullptr; }
    const Array* if_array() const noexcept { return held_ == Held::ARRAY ? &array_ : nullptr; }
    Array* if_array() noexcept { return held_ == Held::ARRAY ? &array_ : nullptr; }
    const std::string* if_str() const noexcept { return held_ == Held::STRING ? &string_ : nullptr; }
    const std::string* if_secure_str() const noexcept { return held_ == Held::SECRET ? &secret_.str() : nullptr; }
    const bool* if_bool() const noexcept { return held_ == Held::BOOLEAN ? &boolean_ : nullptr; }
    const std::int64_t* if_int64() const noexcept;
    const std::uint64_t* if_uint64() const noexcept;
    const double* if_real() const noexcept { return held_ == Held::REAL ? &real_ : nullptr; }

    /// Equal type and content. Integers are equal by their number, however they are held.
    friend BACKUP_PLATFORM_EXPORT bool operator==(const Value& a, const Value& b);

private:
    friend class Value_Builder;

    /// Which member of the union is alive. Those from STRING on have a destructor.
    enum class Held : std::uint8_t
    {
        NOTHING,
        BOOLEAN,
        SIGNED,
        UNSIGNED,
        REAL,
        STRING,
        SECRET,
        ARRAY,
        OBJECT
    };

    /// Makes this value, which holds nothing that needs a destructor, from `other`.
    void take(Value& other) noexcept;

    void release() noexcept
    {
        if (held_ >= Held::STRING) {
            destroy();
        }
    }
    void destroy() noexcept;

    union
    {
        bool boolean_;
        std::int64_t signed_;
        std::uint64_t unsigned_;
        double real_;
        std::string string_;
        Secure_String secret_;
        Array array_;
        Object object_;
    };
    Held held_;
};

/// Reads one JSON text. Integers are exact over both 64-bit ranges; a number with a fraction or an exponent, or
/// beyond 64 bits, becomes a real. Of members with the same key the last one stays.
/// Refused, with a message that names the byte offset: malformed text, text behind the value, invalid UTF-8, nesting
/// deeper than 512, a number beyond a double. On refusal `value` is unchanged and false is returned.
BACKUP_PLATFORM_EXPORT bool read(std::string_view text, Value& value, std::string* error = nullptr);

} // namespace json_spirit
