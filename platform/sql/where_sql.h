// A condition: texts joined by AND, with the values of their parameters. See sql.h for how the texts are read.
//
// A plain value; belongs to one thread at a time.
#pragma once

#include "platform/export.h"
#include "platform/sql/sql.h"

#include <string>
#include <string_view>
#include <vector>

class BACKUP_PLATFORM_EXPORT Where_SQL
{
public:
    Where_SQL() = default;
    explicit Where_SQL(std::string_view condition) { add(condition); }

    /// Adds a condition, in parentheses when needed.
    Where_SQL& add(std::string_view condition);

    /// Gives the parameter `name` (":set_uuid") its value; a second call replaces it.
    Where_SQL& bind(std::string_view name, Binding_Value value);

    bool empty() const { return conditions_.empty(); }
    const std::vector<std::string>& conditions() const { return conditions_; }
    const SQL_Bindings& bindings() const { return bindings_; }

private:
    std::vector<std::string> conditions_;
    SQL_Bindings bindings_;
};
