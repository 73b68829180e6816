#include "catalog/service/query_string.h"

#include <charconv>
#include <cstddef>

namespace catalog::service {

namespace {

constexpr std::size_t most_pairs = 100;

} // namespace

bool percent_decode(std::string_view text, std::string& decoded)
{
    std::string read;
    read.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '+') {
            read += ' ';
        } else if (text[i] != '%') {
            read += text[i];
        } else {
            const std::string_view digits = text.substr(i + 1, 2);
            unsigned char byte = 0;
            const auto [end, fault] = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
            if (digits.size() != 2 || fault != std::errc() || end != digits.data() + 2) {
                return false;
            }
            read += static_cast<char>(byte);
            i += 2;
        }
    }
    decoded = std::move(read);
    return true;
}

bool read_query(std::string_view query, std::map<std::string, std::string, std::less<>>& pairs, std::string& fault,
                std::string& key)
{
    while (!query.empty()) {
        const std::size_t end = std::min(query.find('&'), query.size());
        const std::string_view pair = query.substr(0, end);
        query.remove_prefix(std::min(end + 1, query.size()));
        if (pair.empty()) {
            continue;
        }
        const std::size_t equals = std::min(pair.find('='), pair.size());
        std::string name;
        std::string value;
        if (!percent_decode(pair.substr(0, equals), name)
            || !percent_decode(pair.substr(std::min(equals + 1, pair.size())), value))
        {
            fault = "the query has a '%' that is not followed by two hexadecimal digits";
            key = name;
            return false;
        }
        if (pairs.size() == most_pairs) {
            fault = "the query has more than " + std::to_string(most_pairs) + " parameters";
            return false;
        }
        if (!pairs.emplace(name, std::move(value)).second) {
            fault = "the parameter is given twice";
            key = name;
            return false;
        }
    }
    return true;
}

} // namespace catalog::service
