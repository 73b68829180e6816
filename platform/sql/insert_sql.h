// An INSERT of one or many rows into one table. A plain value; belongs to one thread at a time.
#pragma once

#include "platform/export.h"
#include "platform/sql/sql.h"

#include <cstddef>
#include <string>
#include <vector>

class BACKUP_PLATFORM_EXPORT Insert_SQL
{
public:
    Insert_SQL(std::string table, std::vector<std::string> columns);

    /// Adds a row: as many values as there are columns, in their order. Throws std::invalid_argument otherwise.
    Insert_SQL& row(std::vector<Binding_Value> values);

    const std::string& table() const { return table_; }
    const std::vector<std::string>& columns() const { return columns_; }
    const std::vector<std::vector<Binding_Value>>& rows() const { return rows_; }

    /// The statement for `rows` rows at once, with a parameter for each value ("?", or "$1", … for PostgreSQL).
    /// Throws SQL_Syntax_Error.
    std::string str(SQL_Dialect dialect, std::size_t rows = 1) const;

private:
    std::string table_;
    std::vector<std::string> columns_;
    std::vector<std::vector<Binding_Value>> rows_;
};
