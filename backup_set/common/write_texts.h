// Maps of texts as JSON objects.
#pragma once

#include "platform/json/yajl_gen.h"

#include <map>
#include <string>

/// One member per entry, in ascending order of the names' bytes.
inline void write_texts(const YAJL_Gen& gen, const std::map<std::string, std::string>& texts)
{
    const YAJL_Map_Guard map(gen);
    for (const auto& [name, text] : texts) {
        gen << name << text;
    }
}
