#include "catalog/cli/terminal_text.h"

#include <locale.h>

#include <array>
#include <clocale>
#include <cstdio>
#include <cwchar>
#include <cwctype>

namespace catalog::cli {

namespace {

/// The characters of UTF-8 for the calling thread, whatever the user's own locale is.
class UTF8_Scope
{
public:
    UTF8_Scope() : previous_(::uselocale(utf8())) {}
    UTF8_Scope(const UTF8_Scope&) = delete;
    UTF8_Scope& operator=(const UTF8_Scope&) = delete;
    ~UTF8_Scope() { ::uselocale(previous_); }

private:
    static locale_t utf8()
    {
        // Made once and kept. Null, where a system lacks it, leaves the thread's locale as it is.
        static const locale_t locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return locale;
    }

    locale_t previous_;
};

struct Character
{
    wchar_t code;       ///< when valid
    std::size_t length; ///< in bytes, at least 1
    bool valid;

    unsigned number() const { return static_cast<unsigned>(code); } // NOLINT(bugprone-signed-char-misuse): it is none
};

Character first_character(std::string_view text)
{
    std::mbstate_t state{};
    wchar_t code = 0;
    const std::size_t length = std::mbrtowc(&code, text.data(), text.size(), &state);
    if (length == 0) {
        return {L'\0', 1, true};
    }
    const bool valid = length != static_cast<std::size_t>(-1) && length != static_cast<std::size_t>(-2);
    return valid ? Character{code, length, true} : Character{L'\0', 1, false};
}

bool turns_direction(wchar_t code)
{
    return (code >= 0x202a && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069);
}

bool is_unsafe(const Character& character)
{
    return !character.valid || character.code == 0 || ::wcwidth(character.code) < 0 || turns_direction(character.code);
}

void append_hex(std::string& out, const char* prefix, unsigned number, int digits)
{
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%s%0*x", prefix, digits, number);
    out += text.data();
}

void append_escape(std::string& out, char byte, const Character& character)
{
    const auto code = character.number();
    if (!character.valid) {
        append_hex(out, "\\x", static_cast<unsigned char>(byte), 2);
    } else if (code == '\n') {
        out += "\\n";
    } else if (code == '\t') {
        out += "\\t";
    } else if (code < 0x80) {
        append_hex(out, "\\x", code, 2);
    } else {
        append_hex(out, code > 0xffff ? "\\U" : "\\u", code, code > 0xffff ? 8 : 4);
    }
}

bool is_plain(char c)
{
    return c >= 0x20 && c < 0x7f;
}

} // namespace

std::string printable(std::string_view text)
{
    const UTF8_Scope utf8;
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        if (is_plain(text.front())) {
            out += text.front();
            text.remove_prefix(1);
            continue;
        }
        const Character character = first_character(text);
        if (is_unsafe(character)) {
            append_escape(out, text.front(), character);
        } else {
            out += text.substr(0, character.length);
        }
        text.remove_prefix(character.length);
    }
    return out;
}

std::string printable_json(std::string_view json)
{
    const UTF8_Scope utf8;
    std::string out;
    out.reserve(json.size());
    while (!json.empty()) {
        if (is_plain(json.front()) || json.front() == '\n') {
            out += json.front();
            json.remove_prefix(1);
            continue;
        }
        const Character character = first_character(json);
        const auto code = character.number();
        if (!character.valid || !is_unsafe(character) || code < 0x20) {
            out += json.substr(0, character.length);
        } else if (code <= 0xffff) {
            append_hex(out, "\\u", code, 4);
        } else {
            append_hex(out, "\\u", 0xd7c0 + (code >> 10), 4);
            append_hex(out, "\\u", 0xdc00 + (code & 0x3ff), 4);
        }
        json.remove_prefix(character.length);
    }
    return out;
}

std::size_t display_width(std::string_view printable)
{
    const UTF8_Scope utf8;
    std::size_t width = 0;
    while (!printable.empty()) {
        const Character character = first_character(printable);
        const int columns = character.valid ? ::wcwidth(character.code) : 1;
        width += columns > 0 ? static_cast<std::size_t>(columns) : 0;
        printable.remove_prefix(character.length);
    }
    return width;
}

std::string byte_count(std::int64_t bytes)
{
    constexpr std::array units = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    if (bytes > -1024 && bytes < 1024) {
        return std::to_string(bytes) + " B";
    }
    auto amount = static_cast<double>(bytes);
    std::size_t unit = 0;
    // 1023.95 and more would be shown as 1024.0.
    for (amount /= 1024; (amount >= 1023.95 || amount <= -1023.95) && unit + 1 < units.size(); ++unit) {
        amount /= 1024;
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f %s", amount, units[unit]);
    return text.data();
}

std::string count_of(std::size_t count, std::string_view thing)
{
    std::string text = std::to_string(count);
    text += ' ';
    text += thing;
    if (count != 1) {
        text += 's';
    }
    return text;
}

} // namespace catalog::cli
