// What the hand-written readers convert, as the library does it: the same functions.
#pragma once

#include "platform/text/posix_time.h"
#include "platform/text/uuid.h"

#include <string>

/// The text form of 16 bytes; null is the empty text.
inline void set_uuid(std::string& text, const unsigned char* bytes)
{
    if (bytes == nullptr) {
        text.clear();
        return;
    }
    char form[uuid_text_length + 1];
    write_uuid(bytes, form);
    text.assign(form, uuid_text_length);
}
