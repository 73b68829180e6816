#include "platform/sql/where_sql.h"

#include <algorithm>

Where_SQL& Where_SQL::add(std::string_view condition)
{
    conditions_.emplace_back(condition);
    return *this;
}

Where_SQL& Where_SQL::bind(std::string_view name, Binding_Value value)
{
    const auto place = std::ranges::find(bindings_, name, &SQL_Bindings::value_type::first);
    if (place != bindings_.end()) {
        place->second = std::move(value);
    } else {
        bindings_.emplace_back(name, std::move(value));
    }
    return *this;
}
