#include "catalog/store/keyed_select.h"

#include <algorithm>
#include <string>
#include <utility>

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

void Look_Ups::add(const Keyed_Select& select, std::span<const UUID_Bytes> keys,
                   std::unique_ptr<database::sql::Query_Result_Printer> printer)
{
    if (keys.empty()) {
        return;
    }
    printers_.push_back(std::move(printer));
    if (connection_.dialect() == SQL_Dialect::POSTGRESQL) {
        std::string all = "{";
        for (const UUID_Bytes& key : keys) {
            all += (all.size() > 1 ? "," : "") + uuid_text(key);
        }
        queries_.push_back({Select_SQL(select.array_).bind(":keys", all + '}'), printers_.back().get()});
        return;
    }
    while (!keys.empty()) {
        std::size_t size = 0;
        while (size + 1 < Keyed_Select::sizes && std::size_t{1} << size < keys.size()) {
            ++size;
        }
        const std::size_t room = std::size_t{1} << size;
        Select_SQL sql = select.lists_[size];
        for (std::size_t i = 0; i < room; ++i) {
            sql.bind(parameter(i), keys[std::min(i, keys.size() - 1)]); // the last one fills what is left
        }
        queries_.push_back({std::move(sql), printers_.back().get()});
        keys = keys.subspan(std::min(room, keys.size()));
    }
}

void Look_Ups::add(SQL sql, std::unique_ptr<database::sql::Query_Result_Printer> printer)
{
    printers_.push_back(std::move(printer));
    queries_.push_back({std::move(sql), printers_.back().get()});
}

} // namespace catalog
