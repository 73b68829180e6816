// JSON texts, good and bad, for the tests of everything that reads JSON.
#pragma once

#include "platform/json/value.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace json_corpus {

/// Texts that are one valid value.
const std::vector<std::string>& valid();

/// A text that must be refused, and what the message must say.
struct Bad_Text
{
    std::string text;
    std::string message;
};
const std::vector<Bad_Text>& invalid();

/// Calls `with` for `count` texts that are made from the corpus by small random changes; most are invalid. The same
/// texts every time.
void for_each_mutation(unsigned count, const std::function<void(const std::string&)>& with);

/// What yajl's own parser makes of a text, held against the rules of `json_spirit::read` where yajl is more lenient.
/// Nothing when the text has to be refused. Built without a line of the code under test but `Value`.
std::optional<json_spirit::Value> judge(std::string_view text);

} // namespace json_corpus
