// How a record takes its columns: one constant table per printer callback that its class overrides.
//
// A row binds a column's key to a member; how the value is converted follows from the callback and from the member's
// type:
//
//     callback   | member        | conversion
//     text       | std::string   | the bytes with their length
//     text       | std::time_t   | "YYYY-MM-DD HH:MM:SS" (`iso8601_to_posix_time`); what is no time changes nothing
//     integer    | any integer   | the low bits that fit
//     integer    | bool          | true when not 0
//     unsigned   | any integer   | the low bits that fit
//     boolean    | bool          | as it is
//     boolean    | any integer   | 0 or 1
//     JSON       | Object        | taken only when the value is an object
//     JSON       | Array         | taken only when the value is an array
//
// or is named in the row: `into_c_string<>` for a text that ends at its first NUL whatever its length, a function for
// anything else. Tables are checked for repeated keys and get a perfect hash at compile time.
//
// Used by the record classes of this library and by record classes that others write.
#pragma once

#include "backup_set/common/export.h"
#include "platform/database/query_result_printer.h"
#include "platform/json/value.h"
#include "platform/text/posix_time.h"
#include "platform/text/source_location.h"

#include <ace/Basic_Types.h>

#include <algorithm>
#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace column_intake {

template <auto Member>
struct Into
{};

template <auto Member>
struct Into_C_String
{};

/// Takes the value into a member, converted by the member's type.
template <auto Member>
inline constexpr Into<Member> into{};

/// Takes a text up to its first NUL, whatever length is given.
template <auto Member>
inline constexpr Into_C_String<Member> into_c_string{};

// The conversions. Each returns whether the value was taken.

inline bool convert(std::string& member, const char* text, std::size_t length)
{
    member.assign(text, length);
    return true;
}

inline bool convert(std::time_t& member, const char* text, std::size_t length)
{
    iso8601_to_posix_time(std::string_view(text, length), member);
    return true;
}

template <std::integral Member, std::integral Value>
bool convert(Member& member, Value value)
{
    if constexpr (std::same_as<Member, bool>) {
        member = value != 0;
    } else {
        member = static_cast<Member>(value);
    }
    return true;
}

inline bool convert(json_spirit::Object& member, const json_spirit::Value& value)
{
    const json_spirit::Object* object = value.if_obj();
    if (object != nullptr) {
        member = *object;
    }
    return object != nullptr;
}

inline bool convert(json_spirit::Array& member, const json_spirit::Value& value)
{
    const json_spirit::Array* array = value.if_array();
    if (array != nullptr) {
        member = *array;
    }
    return array != nullptr;
}

inline bool convert(json_spirit::Object& member, json_spirit::Value&& value)
{
    json_spirit::Object* object = value.if_obj();
    if (object != nullptr) {
        member = std::move(*object);
    }
    return object != nullptr;
}

inline bool convert(json_spirit::Array& member, json_spirit::Value&& value)
{
    json_spirit::Array* array = value.if_array();
    if (array != nullptr) {
        member = std::move(*array);
    }
    return array != nullptr;
}

template <class Record, class Member, class... Value>
bool convert_into(Record&, Member& member, Value... value)
{
    return convert(member, value...);
}

/// What the record has parsed itself for this callback is moved from.
template <class Record, class Member>
bool convert_into(Record& record, Member& member, const json_spirit::Value& value)
{
    json_spirit::Value* const own = record.own_json(value);
    return own != nullptr ? convert(member, std::move(*own)) : convert(member, value);
}

/// One row of a table: a key and how its value is stored. `Value` is what the callback hands over.
template <class Record, class... Value>
struct Row
{
    /// Stores the value; false when it is not one that the row takes.
    using Store = bool (*)(Record&, Value...);

    template <std::size_t N, auto Member>
    consteval Row(const char (&name)[N], Into<Member>) :
        key(name), length(N - 1),
        store([](Record& record, Value... value) { return convert_into(record, record.*Member, value...); })
    {}

    template <std::size_t N, auto Member>
    consteval Row(const char (&name)[N], Into_C_String<Member>) :
        key(name), length(N - 1), store([](Record& record, const char* text, std::size_t) {
            record.*Member = text;
            return true;
        })
    {}

    template <std::size_t N>
    consteval Row(const char (&name)[N], Store function) : key(name), length(N - 1), store(function)
    {}

    const char* key;
    std::size_t length;
    Store store;
};

/// What tells a key from others: its length, its first and its last bytes, which together are all of it up to 16 bytes.
struct Key_Digest
{
    std::uint64_t first = 0;
    std::uint64_t last = 0;
    std::uint64_t length = 0;

    constexpr Key_Digest() = default;
    constexpr Key_Digest(const char* key, std::size_t bytes) : length(bytes)
    {
        if (bytes >= 8) {
            first = load(key, 8);
            last = load(key + bytes - 8, 8);
        } else if (bytes >= 4) {
            first = load(key, 4);
            last = load(key + bytes - 4, 4);
        } else if (bytes > 0) {
            first = load(key, 1);
            last = load(key + bytes / 2, 1) << 8 | load(key + bytes - 1, 1);
        }
    }

    friend constexpr bool operator==(const Key_Digest&, const Key_Digest&) = default;

    /// `seed` is found so that no two keys of a table meet.
    constexpr std::uint64_t hash(std::uint64_t seed) const
    {
        std::uint64_t mixed = (first ^ seed) * 0x9e3779b97f4a7c15u;
        mixed ^= mixed >> 32;
        mixed += last * 0xc2b2ae3d27d4eb4fu;
        mixed ^= mixed >> 32;
        return (mixed + length) * 0x9e3779b97f4a7c15u >> 32; // the upper half depends on every byte
    }

private:
    static constexpr std::uint64_t load(const char* from, std::size_t count)
    {
        std::uint64_t bytes = 0;
        if (std::is_constant_evaluated()) {
            for (std::size_t i = count; i-- > 0;) {
                bytes = bytes << 8 | static_cast<unsigned char>(from[i]);
            }
        } else {
            std::memcpy(&bytes, from, count);
        }
        return bytes;
    }
};

static_assert(std::endian::native == std::endian::little, "Key_Digest loads bytes in this order at compile time");

/// The first two steps that every callback starts with: false for a key that is null or empty (logged at LM_EMERGENCY
/// with the place of the callback), true for a value nested inside an array; nothing when the key is to be looked up.
BACKUP_SET_EXPORT std::optional<bool> check_key(const database::sql::Query_Result_Token_Printer& record,
                                                const char* key, Source_Location where = Source_Location::current());

/// All rows of one callback of one class.
template <std::size_t N, class Record, class... Value>
class Table
{
public:
    using Row_Type = Row<Record, Value...>;

    consteval explicit Table(const Row_Type (&rows)[N]) : Table(rows, std::make_index_sequence<N>()) {}

    /// The three steps of a callback: the key's check, the nested value, the own key. The result is the callback's;
    /// nothing when the key is not one of these or its value is not taken, so that the caller names its fall-back.
    std::optional<bool> take(Record& record, const char* key, Value... value,
                             Source_Location where = Source_Location::current()) const
    {
        // As `check_key`, inline: this runs for every column of every row.
        if (key == nullptr || *key == '\0' || !record.tokens().empty()) [[unlikely]] {
            return check_key(record, key, where);
        }
        return store(record, key, value...) ? std::optional(true) : std::nullopt;
    }

    /// Only the last step: stores the value when the key is one of these and takes it.
    bool store(Record& record, const char* key, Value... value) const
    {
        const Key_Digest digest(key, std::strlen(key));
        const unsigned char slot = slots_[digest.hash(seed_) % slots_.size()];
        const Row_Type& row = rows_[slot];
        return digests_[slot] == digest && (digest.length <= 16 || std::strcmp(row.key, key) == 0)
               && row.store(record, value...);
    }

    const std::array<Row_Type, N>& rows() const { return rows_; }

private:
    static constexpr std::size_t slot_count()
    {
        std::size_t count = 4;
        while (count < std::max(3 * N, N * N / 12)) { // the second keeps the search short for long tables
            count *= 2;
        }
        return count;
    }

    template <std::size_t... I>
    consteval Table(const Row_Type (&rows)[N], std::index_sequence<I...>) : rows_{rows[I]...}
    {
        static_assert(N < 256);
        for (std::size_t i = 0; i < N; ++i) {
            digests_[i] = Key_Digest(rows_[i].key, rows_[i].length);
            for (std::size_t j = 0; j < i; ++j) {
                if (std::string_view(rows_[i].key) == rows_[j].key) {
                    throw "a key stands twice in a column table";
                }
            }
        }
        while (!place()) {
            if (++seed_ == 20000) {
                throw "no perfect hash found for a column table";
            }
        }
    }

    consteval bool place()
    {
        slots_.fill(0); // an empty slot points at the first row, whose key then does not match
        std::array<bool, slot_count()> taken{};
        for (std::size_t i = 0; i < N; ++i) {
            const std::size_t slot = digests_[i].hash(seed_) % slots_.size();
            if (taken[slot]) {
                return false;
            }
            taken[slot] = true;
            slots_[slot] = static_cast<unsigned char>(i);
        }
        return true;
    }

    std::array<Row_Type, N> rows_;
    std::array<Key_Digest, N> digests_{};
    std::array<unsigned char, slot_count()> slots_{};
    std::uint64_t seed_ = 0;
};

/// Tables of the five callbacks: `text_columns<Oracle_Backup_Set>({{"database", into<&Oracle_Backup_Set::database>}})`.
template <class Record, std::size_t N>
consteval auto text_columns(const Row<Record, const char*, std::size_t> (&rows)[N])
{
    return Table<N, Record, const char*, std::size_t>(rows);
}

template <class Record, std::size_t N>
consteval auto integer_columns(const Row<Record, ACE_INT64> (&rows)[N])
{
    return Table<N, Record, ACE_INT64>(rows);
}

template <class Record, std::size_t N>
consteval auto unsigned_columns(const Row<Record, ACE_UINT64> (&rows)[N])
{
    return Table<N, Record, ACE_UINT64>(rows);
}

template <class Record, std::size_t N>
consteval auto boolean_columns(const Row<Record, bool> (&rows)[N])
{
    return Table<N, Record, bool>(rows);
}

template <class Record, std::size_t N>
consteval auto json_columns(const Row<Record, const json_spirit::Value&> (&rows)[N])
{
    return Table<N, Record, const json_spirit::Value&>(rows);
}

} // namespace column_intake
