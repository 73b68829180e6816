// Rows that are texts: {"uuid": …, "text": "<the row's JSON>"}, in which nothing of the row's spelling is lost to who reads
// JSON into objects. Thread-safe.
#pragma once

#include "catalog/service/view_arguments.h"

#include <string>
#include <string_view>

namespace catalog::service {

/// Whether the parameter "form" asks for them.
bool wants_text(const View_Arguments& arguments);

// A row that is a text: its begin, its JSON in pieces of any size, its end.
void begin_text_row(std::string& text, std::string_view uuid);
void append_quoted(std::string& text, std::string_view json);
void end_text_row(std::string& text);

} // namespace catalog::service
