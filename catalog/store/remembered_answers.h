// Answers that are kept so that a repeated request gets its first answer and has no second effect.
#pragma once

#include "catalog/store/keyed_select.h"
#include "catalog/store/stored_set.h"
#include "catalog/store/write_request.h"

#include <ctime>
#include <map>
#include <span>
#include <string>
#include <string_view>

namespace catalog {

/// What requests are told apart by: principal, id, operation and params.
UUID_Bytes request_key(const Write_Request& request);

/// An answer as JSON, and back. What only the counters want to know is left out.
std::string answer_json(const Write_Answer& answer);
bool read_answer(std::string_view json, Write_Answer& answer);

/// Looks up the answers that are remembered for some of the keys.
void find_answers(Look_Ups& look_ups, std::span<const UUID_Bytes> keys, std::map<UUID_Bytes, Write_Answer>& answers);

/// Adds the row of an answer to those that will be inserted.
void remember(Row_Collector& rows, const UUID_Bytes& key, std::time_t now, const Write_Answer& answer);

} // namespace catalog
