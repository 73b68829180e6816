#include "platform/database/detail/postgresql_values.h"

#include "platform/text/posix_time.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace database_detail {

namespace {

static_assert(std::endian::native == std::endian::little, "numbers on the wire are big-endian");

// The server's numbers for its built-in types; they never change.
constexpr unsigned bool_oid = 16;
constexpr unsigned bytea_oid = 17;
constexpr unsigned char_oid = 18;
constexpr unsigned name_oid = 19;
constexpr unsigned int8_oid = 20;
constexpr unsigned int2_oid = 21;
constexpr unsigned int4_oid = 23;
constexpr unsigned text_oid = 25;
constexpr unsigned oid_oid = 26;
constexpr unsigned json_oid = 114;
constexpr unsigned float4_oid = 700;
constexpr unsigned float8_oid = 701;
constexpr unsigned unknown_oid = 705;
constexpr unsigned bpchar_oid = 1042;
constexpr unsigned varchar_oid = 1043;
constexpr unsigned date_oid = 1082;
constexpr unsigned timestamp_oid = 1114;
constexpr unsigned timestamptz_oid = 1184;
constexpr unsigned numeric_oid = 1700;
constexpr unsigned uuid_oid = 2950;
constexpr unsigned jsonb_oid = 3802;

constexpr std::int64_t seconds_to_2000 = 946684800; ///< from 1970, where the server's times begin at 2000
constexpr std::int64_t seconds_per_day = 86400;

/// A number on the wire has its bytes the other way round.
template <class T>
T swapped(T value)
{
    auto bytes = std::bit_cast<std::array<char, sizeof(T)>>(value);
    std::ranges::reverse(bytes);
    return std::bit_cast<T>(bytes);
}

template <class T>
T read_number(const char* bytes)
{
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return swapped(value);
}

/// A numeric as it comes: digits of base 10,000.
class Numeric
{
public:
    explicit Numeric(const char* bytes) :
        count_(read_number<std::int16_t>(bytes)), weight_(read_number<std::int16_t>(bytes + 2)),
        sign_(read_number<std::uint16_t>(bytes + 4)), scale_(read_number<std::int16_t>(bytes + 6)), digits_(bytes + 8)
    {}

    bool is_negative() const { return sign_ == negative; }

    /// The amount without its sign, when it is a whole number of up to 64 bits.
    std::optional<std::uint64_t> whole() const
    {
        if ((sign_ != positive && sign_ != negative) || weight_ > 4) {
            return std::nullopt;
        }
        std::uint64_t value = 0;
        for (int i = 0; i <= weight_; ++i) {
            if (__builtin_mul_overflow(value, std::uint64_t{10000}, &value)
                || __builtin_add_overflow(value, static_cast<std::uint64_t>(digit(i)), &value))
            {
                return std::nullopt;
            }
        }
        for (int i = std::max(weight_ + 1, 0); i < count_; ++i) {
            if (digit(i) != 0) {
                return std::nullopt;
            }
        }
        return value;
    }

    std::string text() const
    {
        switch (sign_) {
        case 0xC000:
            return "NaN";
        case 0xD000:
            return "Infinity";
        case 0xF000:
            return "-Infinity";
        default:
            break;
        }
        std::string result = is_negative() ? "-" : "";
        result += weight_ < 0 ? "0" : std::to_string(digit(0));
        for (int i = 1; i <= weight_; ++i) {
            result += four(i);
        }
        if (scale_ > 0) {
            std::string fraction;
            for (int i = weight_ + 1; static_cast<int>(fraction.size()) < scale_; ++i) {
                fraction += four(i);
            }
            fraction.resize(static_cast<std::size_t>(scale_));
            result += '.' + fraction;
        }
        return result;
    }

private:
    static constexpr std::uint16_t positive = 0;
    static constexpr std::uint16_t negative = 0x4000;

    /// Zeros at both ends are left out.
    int digit(int i) const
    {
        return i >= 0 && i < count_ ? read_number<std::int16_t>(digits_ + std::ptrdiff_t{2} * i) : 0;
    }

    std::string four(int i) const
    {
        std::string text = std::to_string(digit(i));
        return std::string(4 - text.size(), '0') + text;
    }

    int count_;
    int weight_; ///< how many digits stand before the point, less one
    std::uint16_t sign_;
    int scale_;
    const char* digits_;
};

bool print_numeric(int index, Kind kind, const Column& column, const char* value, const Column_Sink& sink)
{
    const Numeric number(value);
    constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (const auto amount = number.whole()) {
        if (!number.is_negative() && (kind == Kind::UNSIGNED || *amount > largest)) {
            return sink.unsigned_integer(index, column, *amount);
        }
        if (!number.is_negative() || *amount <= largest + 1) {
            return sink.integer(index, column, static_cast<std::int64_t>(number.is_negative() ? 0 - *amount : *amount));
        }
    }
    const std::string text = number.text();
    return sink.text(index, column, text.c_str(), text.size());
}

bool print_time(int index, const Column& column, std::int64_t time, bool is_infinite, const char* format,
                const Column_Sink& sink)
{
    if (is_infinite) {
        const std::string_view text = time > 0 ? "infinity" : "-infinity";
        return sink.text(index, column, text.data(), text.size());
    }
    const POSIX_Time_To_ISO8601 text(time, format);
    return sink.text(index, column, text.c_str(), text.length());
}

} // namespace

std::optional<Wire_Type> wire_type(unsigned oid, int modifier)
{
    switch (oid) {
    case text_oid:
    case varchar_oid:
    case bpchar_oid:
    case name_oid:
    case char_oid:
    case unknown_oid:
        return Wire_Type{Wire_Type::TEXT, Kind::TEXT};
    case json_oid:
        return Wire_Type{Wire_Type::TEXT, Kind::JSON};
    case jsonb_oid:
        return Wire_Type{Wire_Type::JSONB, Kind::JSON};
    case timestamp_oid:
    case timestamptz_oid: // the session's zone is UTC
        return Wire_Type{Wire_Type::TIMESTAMP, Kind::TEXT};
    case date_oid:
        return Wire_Type{Wire_Type::DATE, Kind::TEXT};
    case int2_oid:
        return Wire_Type{Wire_Type::INT2, Kind::INTEGER};
    case int4_oid:
        return Wire_Type{Wire_Type::INT4, Kind::INTEGER};
    case int8_oid:
        return Wire_Type{Wire_Type::INT8, Kind::INTEGER};
    case oid_oid:
        return Wire_Type{Wire_Type::OID, Kind::INTEGER};
    case numeric_oid: {
        // The modifier of a declared type holds its precision and its scale; an expression has none.
        const bool is_declared_whole = modifier >= 4 && ((modifier - 4) & 0x7ff) == 0;
        return Wire_Type{Wire_Type::NUMERIC, is_declared_whole ? Kind::UNSIGNED : Kind::BY_VALUE};
    }
    case bool_oid:
        return Wire_Type{Wire_Type::BOOL, Kind::BOOLEAN};
    case uuid_oid:
        return Wire_Type{Wire_Type::UUID, Kind::UUID};
    case bytea_oid:
        return Wire_Type{Wire_Type::BYTEA, Kind::BYTES};
    case float4_oid:
        return Wire_Type{Wire_Type::FLOAT4, Kind::REAL};
    case float8_oid:
        return Wire_Type{Wire_Type::FLOAT8, Kind::REAL};
    default:
        return std::nullopt;
    }
}

bool print_wire_value(int index, const Wire_Type& type, const Column& column, const char* value, std::size_t length,
                      const Column_Sink& sink)
{
    switch (type.form) {
    case Wire_Type::TEXT:
        return type.kind == Kind::JSON ? sink.json(index, column, value, length)
                                       : sink.text(index, column, value, length);
    case Wire_Type::JSONB: // a version number precedes the text
        return sink.json(index, column, value + 1, length - 1);
    case Wire_Type::INT2:
        return sink.integer(index, column, read_number<std::int16_t>(value));
    case Wire_Type::INT4:
        return sink.integer(index, column, read_number<std::int32_t>(value));
    case Wire_Type::INT8:
        return sink.integer(index, column, read_number<std::int64_t>(value));
    case Wire_Type::OID:
        return sink.integer(index, column, read_number<std::uint32_t>(value));
    case Wire_Type::NUMERIC:
        return print_numeric(index, type.kind, column, value, sink);
    case Wire_Type::BOOL:
        return sink.boolean(index, column, *value != 0);
    case Wire_Type::UUID:
        return sink.uuid(index, column, reinterpret_cast<const unsigned char*>(value));
    case Wire_Type::BYTEA:
        return sink.bytes(index, column, value, length);
    case Wire_Type::FLOAT4:
        return sink.real(index, column, static_cast<double>(std::bit_cast<float>(read_number<std::uint32_t>(value))));
    case Wire_Type::FLOAT8:
        return sink.real(index, column, std::bit_cast<double>(read_number<std::uint64_t>(value)));
    case Wire_Type::TIMESTAMP: {
        const auto microseconds = read_number<std::int64_t>(value);
        const bool is_infinite = microseconds == std::numeric_limits<std::int64_t>::max()
                                 || microseconds == std::numeric_limits<std::int64_t>::min();
        const std::int64_t seconds = microseconds / 1000000 - (microseconds % 1000000 < 0 ? 1 : 0);
        return print_time(index, column, is_infinite ? microseconds : seconds + seconds_to_2000, is_infinite,
                          "%Y-%m-%d %H:%M:%S", sink);
    }
    case Wire_Type::DATE: {
        const auto days = read_number<std::int32_t>(value);
        const bool is_infinite =
            days == std::numeric_limits<std::int32_t>::max() || days == std::numeric_limits<std::int32_t>::min();
        return print_time(index, column, is_infinite ? days : days * seconds_per_day + seconds_to_2000, is_infinite,
                          "%Y-%m-%d", sink);
    }
    }
    return false;
}

struct Wire_Parameters::Adder
{
    Wire_Parameters& to;
    bool by_server;

    template <class Number>
    bool number(Number number) const
    {
        char text[40];
        const auto end = std::to_chars(text, text + sizeof text, number).ptr;
        const auto length = static_cast<std::size_t>(end - text);
        const unsigned type = std::is_same_v<Number, std::uint64_t> ? numeric_oid : int8_oid;
        to.push(by_server ? 0 : type,
                by_server             ? 't'
                : type == numeric_oid ? 'n'
                                      : 'i',
                to.keep({text, length}), length, false);
        return true;
    }

    bool operator()(std::monostate) const
    {
        to.push(0, 't', nullptr, 0, false);
        return true;
    }
    bool operator()(bool boolean) const
    {
        to.push(by_server ? 0 : bool_oid, by_server ? 't' : 'b', boolean ? "t" : "f", 1, false);
        return true;
    }
    bool operator()(std::int64_t integer) const { return number(integer); }
    bool operator()(std::uint64_t integer) const { return number(integer); }
    bool operator()(double real) const
    {
        char text[40];
        std::string_view view(text, static_cast<std::size_t>(std::to_chars(text, text + sizeof text, real).ptr - text));
        if (!std::isfinite(real)) {
            view = std::isnan(real) ? "NaN" : real > 0 ? "Infinity" : "-Infinity";
        }
        to.push(by_server ? 0 : float8_oid, by_server ? 't' : 'd', to.keep(view), view.size(), false);
        return true;
    }
    bool operator()(const Binding_Value::UUID& uuid) const
    {
        if (by_server) {
            to.push(0, 't', to.keep(uuid_text(uuid)), uuid_text_length, false);
        } else {
            to.push(uuid_oid, 'u', reinterpret_cast<const char*>(uuid.data()), uuid.size(), true);
        }
        return true;
    }
    bool operator()(const std::string& text) const
    {
        to.push(0, 't', text.c_str(), text.size(), false);
        return text.find('\0') == std::string::npos;
    }
    bool operator()(const Binding_Value::Bytes& bytes) const
    {
        to.push(bytea_oid, 'y', bytes.bytes.data(), bytes.bytes.size(), true);
        return true;
    }
};

bool Wire_Parameters::add(const Binding_Value& value)
{
    return std::visit(Adder{*this, types_by_ == BY_SERVER}, value.held());
}

void Wire_Parameters::clear(Types types)
{
    types_by_ = types;
    types_.clear();
    values_.clear();
    lengths_.clear();
    formats_.clear();
    signature_.clear();
    kept_.clear();
}

void Wire_Parameters::push(unsigned type, char sign, const char* value, std::size_t length, bool binary)
{
    types_.push_back(type);
    values_.push_back(value);
    lengths_.push_back(static_cast<int>(length));
    formats_.push_back(binary ? 1 : 0);
    signature_ += sign;
}

const char* Wire_Parameters::keep(std::string_view bytes)
{
    return kept_.emplace_back(bytes).c_str();
}

} // namespace database_detail
