// Keys that a document holds only when they say something.
#pragma once

#include "backup_set/common/document_time.h"
#include "platform/json/value.h"
#include "platform/json/yajl_gen.h"

#include <concepts>
#include <ctime>
#include <string>

/// A number whose unset value is -1.
template <std::signed_integral T>
void write_set_number(const YAJL_Gen& gen, const YAJL_Gen::Str& key, T number)
{
    if (number != -1) {
        gen << key << number;
    }
}

/// A text that is unset when empty.
inline void write_set_text(const YAJL_Gen& gen, const YAJL_Gen::Str& key, const std::string& text)
{
    if (!text.empty()) {
        gen << key << text;
    }
}

/// A time that is unset when 0.
inline void write_set_time(const YAJL_Gen& gen, const YAJL_Gen::Str& key, std::time_t time)
{
    if (time != 0) {
        gen << key << document_time(time);
    }
}

/// A JSON object or array that is left out when empty.
template <class Container>
void write_filled(const YAJL_Gen& gen, const YAJL_Gen::Str& key, const Container& container)
{
    if (!container.empty()) {
        gen << key << container;
    }
}
