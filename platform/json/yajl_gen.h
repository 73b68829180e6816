// Writing JSON through a yajl generator.
//
// Works on any generator, whatever its options; all pointers to one must not be null. The output is always valid JSON:
// each byte that is not part of valid UTF-8 is written as U+FFFD, zero bytes as \u0000, a real that is not finite as null
// (and logged). Text values and whole values are passed through yajl as they are to stand in the document, so that of a
// generator's own layout and escaping (yajl_gen_beautify, yajl_gen_escape_solidus) they take nothing; `JSON_Text` lays
// out everything alike. Objects of these classes belong to one thread at a time, like the generator that they write to.
#pragma once

#include "platform/export.h"
#include "platform/json/value.h"
#include "platform/text/posix_time.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

struct yajl_gen_t;

/// Streams keys and values into a yajl generator: `gen << "seq"_key << seq`.
class BACKUP_PLATFORM_EXPORT YAJL_Gen
{
public:
    /// A text with its length; made from a literal (`"seq"_key`) its length and its plainness (nothing in it needs an
    /// escape) are known at compile time. Does not own the text.
    struct Str
    {
        constexpr Str(const char* characters, std::size_t count, bool needs_no_escape = false) :
            text(characters), length(count), plain(needs_no_escape)
        {}
        constexpr Str(const char* characters) :
            Str(characters, characters == nullptr ? 0 : std::char_traits<char>::length(characters))
        {}

        const char* text;
        std::size_t length;
        bool plain;
    };

    /// Wraps `gen`, which must not be null. With `own` the destructor frees it.
    explicit YAJL_Gen(yajl_gen_t* gen, bool own = false) noexcept : gen_(gen), own_(own) {}
    YAJL_Gen(const YAJL_Gen&) = delete;
    YAJL_Gen& operator=(const YAJL_Gen&) = delete;
    ~YAJL_Gen();

    yajl_gen_t* get() const noexcept { return gen_; }

    // Texts: keys and values alike. A null pointer is written as the empty text.
    const YAJL_Gen& operator<<(const Str& text) const;
    const YAJL_Gen& operator<<(const std::string& text) const { return *this << std::string_view(text); }
    const YAJL_Gen& operator<<(std::string_view text) const;
    const YAJL_Gen& operator<<(const char* text) const
    {
        return *this << (text == nullptr ? std::string_view() : std::string_view(text));
    }
    const YAJL_Gen& operator<<(const POSIX_Time_To_ISO8601& time) const { return *this << time.view(); }

    const YAJL_Gen& operator<<(std::same_as<bool> auto boolean) const { return write_bool(boolean); }

    template <json_spirit::Value_Integer T>
    const YAJL_Gen& operator<<(T integer) const
    {
        if constexpr (std::signed_integral<T>) {
            return write_int(integer);
        } else {
            return write_uint(integer);
        }
    }

    const YAJL_Gen& operator<<(char) const = delete; ///< neither a text nor a number

    // A whole JSON value, as `yajl_gen_value` writes it; null, with a log line, for one that holds a real which is not
    // finite.
    const YAJL_Gen& operator<<(const json_spirit::Value& value) const;
    const YAJL_Gen& operator<<(const json_spirit::Object& object) const;
    const YAJL_Gen& operator<<(const json_spirit::Array& array) const;

private:
    const YAJL_Gen& write_bool(bool boolean) const;
    const YAJL_Gen& write_int(std::int64_t integer) const;
    const YAJL_Gen& write_uint(std::uint64_t integer) const;

    yajl_gen_t* gen_;
    bool own_;
};

/// A key whose length is known at compile time.
consteval YAJL_Gen::Str operator""_key(const char* text, std::size_t length)
{
    bool plain = true;
    for (std::size_t i = 0; i < length; ++i) {
        const char c = text[i];
        plain = plain && c >= 0x20 && c < 0x7f && c != '"' && c != '\\' && c != '/';
    }
    return {text, length, plain};
}

/// One open map or array of a generator: what the two guards below have in common.
class BACKUP_PLATFORM_EXPORT YAJL_Level
{
public:
    /// The deepest nesting that the guards write. yajl ends at 127; the rest is left to callers that open by themselves.
    static constexpr unsigned max_levels = 120;

    YAJL_Level(const YAJL_Level&) = delete;
    YAJL_Level& operator=(const YAJL_Level&) = delete;

    /// False when the map or array could not be opened. All that is then written inside is dropped.
    bool is_open() const { return open_; }

    /// True when what is written to `gen` now is dropped.
    static bool refuses(const yajl_gen_t* gen);

protected:
    enum Kind
    {
        MAP,
        ARRAY
    };

    YAJL_Level(yajl_gen_t* gen, Kind kind);
    ~YAJL_Level();

private:
    void open();

    yajl_gen_t* gen_;
    Kind kind_;
    bool open_ = false;
    unsigned depth_;
    YAJL_Level* outer_;
};

/// Opens a map and closes it at the end of the scope, on every path. A key that has no value yet gets null then.
class BACKUP_PLATFORM_EXPORT YAJL_Map_Guard : public YAJL_Level
{
public:
    explicit YAJL_Map_Guard(yajl_gen_t* gen) : YAJL_Level(gen, MAP) {}
    explicit YAJL_Map_Guard(const YAJL_Gen& gen) : YAJL_Level(gen.get(), MAP) {}
};

/// Opens an array and closes it at the end of the scope, on every path.
class BACKUP_PLATFORM_EXPORT YAJL_Array_Guard : public YAJL_Level
{
public:
    explicit YAJL_Array_Guard(yajl_gen_t* gen) : YAJL_Level(gen, ARRAY) {}
    explicit YAJL_Array_Guard(const YAJL_Gen& gen) : YAJL_Level(gen.get(), ARRAY) {}
};

/// Writes one whole JSON value. Secrets are written in clear: only into a document that is being sent. Returns false,
/// and writes nothing, for a value that holds a real which is not finite; false also when the generator refuses.
BACKUP_PLATFORM_EXPORT bool yajl_gen_value(yajl_gen_t* gen, const json_spirit::Value& value);
BACKUP_PLATFORM_EXPORT bool yajl_gen_value(yajl_gen_t* gen, const json_spirit::Object& object);
BACKUP_PLATFORM_EXPORT bool yajl_gen_value(yajl_gen_t* gen, const json_spirit::Array& array);

/// Writes `text`, which must be one valid JSON value, as it stands. Not checked here.
BACKUP_PLATFORM_EXPORT bool yajl_gen_raw(yajl_gen_t* gen, std::string_view text);
