#include "platform/json/detail/scanner.h"

namespace json_text {
namespace {

void append_character(std::string& out, int code)
{
    const auto put = [&out](int byte) { out.push_back(static_cast<char>(byte)); };
    if (code < 0x80) {
        put(code);
    } else if (code < 0x800) {
        put(0xc0 | code >> 6);
        put(0x80 | (code & 0x3f));
    } else if (code < 0x10000) {
        put(0xe0 | code >> 12);
        put(0x80 | (code >> 6 & 0x3f));
        put(0x80 | (code & 0x3f));
    } else {
        put(0xf0 | code >> 18);
        put(0x80 | (code >> 12 & 0x3f));
        put(0x80 | (code >> 6 & 0x3f));
        put(0x80 | (code & 0x3f));
    }
}

} // namespace

void append_unescaped(std::string& out, const char* begin, const char* end)
{
    while (true) {
        const auto* backslash =
            static_cast<const char*>(std::memchr(begin, '\\', static_cast<std::size_t>(end - begin)));
        if (backslash == nullptr) {
            out.append(begin, end);
            return;
        }
        out.append(begin, backslash);
        begin = backslash + 2;
        switch (backslash[1]) {
        case 'b':
            out.push_back('\b');
            break;
        case 'f':
            out.push_back('\f');
            break;
        case 'n':
            out.push_back('\n');
            break;
        case 'r':
            out.push_back('\r');
            break;
        case 't':
            out.push_back('\t');
            break;
        case 'u': {
            int code = four_hex_digits(begin, end);
            begin += 4;
            if (is_high_surrogate(code)) {
                code = 0x10000 + ((code - 0xd800) << 10) + (four_hex_digits(begin + 2, end) - 0xdc00);
                begin += 6;
            }
            append_character(out, code);
            break;
        }
        default:
            out.push_back(backslash[1]);
        }
    }
}

} // namespace json_text
