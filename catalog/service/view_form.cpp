#include "catalog/service/view_form.h"

namespace catalog::service {

bool wants_text(const View_Arguments& arguments)
{
    return arguments.text("form") == "text";
}

void begin_text_row(std::string& text, std::string_view uuid)
{
    text += R"({"uuid":")";
    text += uuid;
    text += R"(","text":")";
}

void append_quoted(std::string& text, std::string_view json)
{
    // Nothing else in valid JSON has to be escaped: control characters are escaped already.
    for (std::size_t special = json.find_first_of("\"\\"); special != std::string_view::npos;
         special = json.find_first_of("\"\\"))
    {
        text += json.substr(0, special);
        text += '\\';
        text += json[special];
        json.remove_prefix(special + 1);
    }
    text += json;
}

void end_text_row(std::string& text)
{
    text += "\"}";
}

} // namespace catalog::service
