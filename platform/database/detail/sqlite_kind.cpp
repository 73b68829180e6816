#include "platform/database/detail/sqlite_kind.h"

#include <string_view>

namespace database_detail {

namespace {

struct Row
{
    std::string_view part;
    Kind kind;
};

// A type is what the first of these makes it that it holds: TIME_TEXT, VARCHAR(20), UNSIGNED_BIGINT, double precision.
constexpr Row rows[] = {
    {"UUID", Kind::UUID},         {"JSON", Kind::JSON},   {"TIME", Kind::TEXT}, {"BOOL", Kind::BOOLEAN},
    {"UNSIGNED", Kind::UNSIGNED}, {"INT", Kind::INTEGER}, {"CHAR", Kind::TEXT}, {"CLOB", Kind::TEXT},
    {"TEXT", Kind::TEXT},         {"BLOB", Kind::BYTES},  {"REAL", Kind::REAL}, {"FLOA", Kind::REAL},
    {"DOUB", Kind::REAL},
};

} // namespace

Kind sqlite_kind(const char* declared_type)
{
    if (declared_type == nullptr) {
        return Kind::BY_VALUE;
    }
    std::string type(declared_type);
    for (char& c : type) {
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    for (const Row& row : rows) {
        if (type.find(row.part) != std::string::npos) {
            return row.kind;
        }
    }
    return Kind::BY_VALUE;
}

} // namespace database_detail
