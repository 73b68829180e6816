// JSON values as text for people: messages and logs.
#pragma once

#include "platform/export.h"
#include "platform/json/value.h"

#include <string>

/// The text of a JSON value, made in the constructor. Secrets are shown as a fixed mask ("******"), a real that is not
/// finite as null. `pretty` indents by four blanks.
class BACKUP_PLATFORM_EXPORT JSON_Dump
{
public:
    JSON_Dump(const json_spirit::Value& value, bool pretty = false);

    const char* c_str() const { return text_.c_str(); }
    const std::string& str() const { return text_; }

private:
    std::string text_;
};
