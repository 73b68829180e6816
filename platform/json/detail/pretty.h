// Lays out JSON text for people while it is being written.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace json_text {

/// Takes valid JSON in pieces of any size and appends it to a text: one member or element a line, four blanks a level,
/// empty containers closed at once.
class Pretty_Writer
{
public:
    void append(std::string& out, std::string_view piece);

private:
    void new_line(std::string& out) const { out.append(1, '\n').append(4 * depth_, ' '); }

    std::size_t depth_ = 0;
    bool in_string_ = false;
    bool after_backslash_ = false;
    bool just_opened_ = false;
};

} // namespace json_text
