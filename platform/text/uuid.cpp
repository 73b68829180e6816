#include "platform/text/uuid.h"

namespace {

/// The value of a hexadecimal digit, or -1.
int digit_value(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

bool is_hyphen_place(std::size_t i)
{
    return i == 8 || i == 13 || i == 18 || i == 23;
}

bool is_prefix(std::string_view text, std::string_view lower_case_prefix)
{
    for (std::size_t i = 0; i < lower_case_prefix.size(); ++i) {
        const char c = i < text.size() ? text[i] : '\0';
        if (c != lower_case_prefix[i] && !(c >= 'A' && c <= 'Z' && (c | 0x20) == lower_case_prefix[i])) {
            return false;
        }
    }
    return true;
}

} // namespace

std::optional<UUID_Bytes> read_uuid(std::string_view text)
{
    constexpr std::string_view urn = "urn:uuid:";
    if (is_prefix(text, urn)) {
        text.remove_prefix(urn.size());
    } else if (text.size() >= 2 && text.front() == '{' && text.back() == '}') {
        text = text.substr(1, text.size() - 2);
    }
    const bool hyphens = text.size() == uuid_text_length;
    if (!hyphens && text.size() != uuid_text_length - 4) {
        return std::nullopt;
    }
    UUID_Bytes uuid;
    std::size_t digits = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (hyphens && is_hyphen_place(i)) {
            if (text[i] != '-') {
                return std::nullopt;
            }
            continue;
        }
        const int value = digit_value(text[i]);
        if (value < 0) {
            return std::nullopt;
        }
        unsigned char& byte = uuid[digits / 2];
        byte = static_cast<unsigned char>(digits % 2 == 0 ? value << 4 : byte | value);
        ++digits;
    }
    return uuid;
}

void write_uuid(const unsigned char* bytes, char* text)
{
    constexpr char digits[] = "0123456789abcdef";
    for (std::size_t i = 0; i < std::tuple_size_v<UUID_Bytes>; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            *text++ = '-';
        }
        *text++ = digits[bytes[i] >> 4];
        *text++ = digits[bytes[i] & 15];
    }
    *text = '\0';
}

std::string uuid_text(const UUID_Bytes& uuid)
{
    char text[uuid_text_length + 1];
    write_uuid(uuid.data(), text);
    return {text, uuid_text_length};
}
