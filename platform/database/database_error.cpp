#include "platform/database/database_error.h"

#include <algorithm>

std::string Database_Error::text() const
{
    constexpr std::size_t longest_statement = 1000;
    std::string result = message;
    if (!code.empty()) {
        result += " (code " + code + ')';
    }
    if (!statement.empty()) {
        result += " in: " + statement.substr(0, longest_statement);
        result += statement.size() > longest_statement ? "..." : "";
    }
    std::ranges::replace_if(
        result, [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    return result;
}
