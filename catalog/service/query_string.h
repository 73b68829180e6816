// The query of a URL. Thread-safe.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace catalog::service {

/// Takes "%41" for 'A' and, in a query, '+' for a blank. False for a '%' without two hexadecimal digits.
bool percent_decode(std::string_view text, std::string& decoded);

/// Reads "a=1&b=two%20words". A key without '=' has the empty value. False, with the reason and the key at fault, for
/// malformed escapes, for a key that is given twice, and for more keys than anybody has use for.
bool read_query(std::string_view query, std::map<std::string, std::string, std::less<>>& pairs, std::string& fault,
                std::string& key);

} // namespace catalog::service
