#include "catalog/store/keyed_select.h"

#include <algorithm>
#include <string>

namespace catalog {
namespace {

std::string parameter(std::size_t number)
{
    return ":key" + std::to_string(number);
}

} // namespace

Keyed_Select::Keyed_Select(const Select_SQL& select, const char* column) : array_(select)
{
    for (std::size_t i = 0; i < sizes; ++i) {
        std::string condition = std::string(column) + " IN (";
        for (std::size_t key = 0; key < std::size_t{1} << i; ++key) {
            condition += (key == 0 ? "" : ",") + parameter(key);
        }
        lists_[i] = select;
        lists_[i].where(condition + ')');
        lists_[i].rendered(SQL_Dialect::SQLITE); // now, for copies share it
    }
    array_.where(std::string(column) + " = ANY(:keys)");
    array_.rendered(SQL_Dialect::POSTGRESQL);
}

bool Keyed_Select::run(Database_Connection& connection, std::span<const UUID_Bytes> keys,
                       database::sql::Query_Result_Printer& printer) const
{
    if (keys.empty()) {
        return true;
    }
    if (connection.dialect() == SQL_Dialect::POSTGRESQL) {
        std::string all = "{";
        for (const UUID_Bytes& key : keys) {
            all += (all.size() > 1 ? "," : "") + uuid_text(key);
        }
        return connection.query_and_print(Select_SQL(array_).bind(":keys", all + '}'), printer, GM_ORM_ROWS);
    }
    while (!keys.empty()) {
        std::size_t size = 0;
        while (size + 1 < sizes && std::size_t{1} << size < keys.size()) {
            ++size;
        }
        const std::size_t room = std::size_t{1} << size;
        Select_SQL select = lists_[size];
        for (std::size_t i = 0; i < room; ++i) {
            select.bind(parameter(i), keys[std::min(i, keys.size() - 1)]); // the last one fills what is left
        }
        if (!connection.query_and_print(select, printer, GM_ORM_ROWS)) {
            return false;
        }
        keys = keys.subspan(std::min(room, keys.size()));
    }
    return true;
}

} // namespace catalog
