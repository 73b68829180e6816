#include "platform/text/string_checker.h"

#include <algorithm>

namespace {

bool is_safe_in_name(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x20 && byte != 0x7f && String_Checker::unsafe_name_characters.find(c) == std::string_view::npos;
}

} // namespace

bool String_Checker::check(std::string_view text, int kind)
{
    return kind == SAFE_NAME && std::all_of(text.begin(), text.end(), is_safe_in_name);
}
