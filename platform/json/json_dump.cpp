#include "platform/json/json_dump.h"

#include "platform/json/detail/pretty.h"
#include "platform/json/detail/text_buffer.h"

JSON_Dump::JSON_Dump(const json_spirit::Value& value, bool pretty)
{
    json_text::Text_Buffer text;
    put_value(text, value, json_text::Form::FOR_SHOWING);
    if (pretty) {
        json_text::Pretty_Writer().append(text_, text.view());
    } else {
        text_ = text.view();
    }
}
