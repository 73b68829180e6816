#include "platform/http/http_query_string_builder.h"

void append_percent_encoded(std::string& target, std::string_view text)
{
    static constexpr char digits[] = "0123456789ABCDEF";
    for (const char c : text) {
        if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.'
            || c == '_' || c == '~')
        {
            target += c;
        } else {
            const unsigned char byte = static_cast<unsigned char>(c);
            target += '%';
            target += digits[byte >> 4];
            target += digits[byte & 0xf];
        }
    }
}
