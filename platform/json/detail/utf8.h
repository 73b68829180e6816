// UTF-8 as the JSON code of this folder needs it.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace json_text {

constexpr std::uint64_t every_byte(std::uint8_t byte)
{
    return 0x0101010101010101ULL * byte;
}

inline std::uint64_t load_8_bytes(const char* at)
{
    std::uint64_t bytes;
    std::memcpy(&bytes, at, sizeof bytes);
    return bytes;
}

/// Not 0 when one of the eight bytes ends a run of plain characters in a JSON string: a quote, a backslash, a control
/// character, a byte of a multi-byte character.
inline std::uint64_t stops_plain_run(std::uint64_t bytes)
{
    const std::uint64_t quote = bytes ^ every_byte('"');
    const std::uint64_t backslash = bytes ^ every_byte('\\');
    // The top bit of a byte tells: below 0x20 (first term), zero after the exclusive or (second, third), or set anyway.
    return ((bytes - every_byte(0x20)) | (quote - every_byte(1)) | (backslash - every_byte(1)) | bytes)
           & every_byte(0x80);
}

inline bool is_plain(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x20 && byte < 0x80 && byte != '"' && byte != '\\';
}

/// The first character from `at` on that is not plain, or `end`.
inline const char* skip_plain(const char* at, const char* end)
{
    while (end - at >= 8) {
        const std::uint64_t stop = stops_plain_run(load_8_bytes(at));
        if (stop == 0) {
            at += 8;
        } else if constexpr (std::endian::native == std::endian::little) {
            return at + std::countr_zero(stop) / 8; // what is above the lowest bit may be wrong
        } else {
            break;
        }
    }
    while (at != end && is_plain(*at)) {
        ++at;
    }
    return at;
}

/// Copies `size` characters and tells whether all are plain; when not, the copy is of no use.
inline bool copy_plain(char* out, const char* in, std::size_t size)
{
    if (size < 8) {
        bool plain = true;
        for (std::size_t i = 0; i < size; ++i) {
            plain = plain && is_plain(in[i]);
            out[i] = in[i];
        }
        return plain;
    }
    const auto copy_8 = [in, out](std::size_t at) {
        const std::uint64_t bytes = load_8_bytes(in + at);
        std::memcpy(out + at, &bytes, sizeof bytes);
        return stops_plain_run(bytes);
    };
    std::uint64_t stops = copy_8(size - 8); // the last eight, which may overlap those before
    for (std::size_t at = 0; at + 8 < size; at += 8) {
        stops |= copy_8(at);
    }
    return stops == 0;
}

/// The length of the valid UTF-8 sequence at `at` (before `end`); 0 when there is none.
inline std::size_t utf8_sequence_length(const char* at, const char* end)
{
    const auto byte = [at](std::size_t i) { return static_cast<unsigned char>(at[i]); };
    const auto continues = [byte](std::size_t i) { return (byte(i) & 0xc0) == 0x80; };
    const auto room = static_cast<std::size_t>(end - at);
    const unsigned char first = byte(0);
    if (first < 0x80) {
        return 1;
    }
    if (first < 0xc2) {
        return 0;
    }
    if (first < 0xe0) {
        return room >= 2 && continues(1) ? 2 : 0;
    }
    if (first < 0xf0) {
        if (room < 3 || !continues(1) || !continues(2)) {
            return 0;
        }
        const bool overlong = first == 0xe0 && byte(1) < 0xa0;
        const bool surrogate = first == 0xed && byte(1) >= 0xa0;
        return overlong || surrogate ? 0 : 3;
    }
    if (first < 0xf5) {
        if (room < 4 || !continues(1) || !continues(2) || !continues(3)) {
            return 0;
        }
        const bool overlong = first == 0xf0 && byte(1) < 0x90;
        const bool beyond = first == 0xf4 && byte(1) >= 0x90;
        return overlong || beyond ? 0 : 4;
    }
    return 0;
}

} // namespace json_text
