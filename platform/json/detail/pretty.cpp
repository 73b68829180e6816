#include "platform/json/detail/pretty.h"

namespace json_text {

void Pretty_Writer::append(std::string& out, std::string_view piece)
{
    for (const char c : piece) {
        if (in_string_) {
            out.push_back(c);
            in_string_ = c != '"' || after_backslash_;
            after_backslash_ = c == '\\' && !after_backslash_;
            continue;
        }
        if (c == ' ' || c == '\n' || c == '\t' || c == '\r') {
            continue;
        }
        const bool closes = c == '}' || c == ']';
        if (closes) {
            --depth_;
        }
        if (just_opened_ != closes) {
            new_line(out); // before the first child, and before the end of a container that has children
        }
        just_opened_ = c == '{' || c == '[';
        if (just_opened_) {
            ++depth_;
        }
        in_string_ = c == '"';
        out.push_back(c);
        if (c == ',') {
            new_line(out);
        } else if (c == ':') {
            out.push_back(' ');
        }
    }
}

} // namespace json_text
