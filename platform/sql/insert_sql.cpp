#include "platform/sql/insert_sql.h"

#include "platform/sql/detail/sql_writer.h"

#include <stdexcept>

Insert_SQL::Insert_SQL(std::string table, std::vector<std::string> columns) :
    table_(std::move(table)), columns_(std::move(columns))
{}

Insert_SQL& Insert_SQL::row(std::vector<Binding_Value> values)
{
    if (values.size() != columns_.size()) {
        throw std::invalid_argument("a row of " + std::to_string(values.size()) + " values for "
                                    + std::to_string(columns_.size()) + " columns of " + table_);
    }
    rows_.push_back(std::move(values));
    return *this;
}

std::string Insert_SQL::str(SQL_Dialect dialect, std::size_t rows) const
{
    if (columns_.empty() || rows == 0) {
        throw SQL_Syntax_Error("an INSERT has no values");
    }
    SQL_Writer writer(dialect);
    writer << "INSERT INTO ";
    writer.identifier(table_, "a table's name");
    for (const std::string& column : columns_) {
        writer << (&column == &columns_.front() ? " (" : ", ");
        writer.identifier(column, "a column's name");
    }
    writer << ") VALUES ";
    std::size_t parameter = 0;
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t column = 0; column < columns_.size(); ++column) {
            writer << (column > 0 ? ", " : row > 0 ? ", (" : "(");
            if (dialect == SQL_Dialect::POSTGRESQL) {
                writer << "$" << std::to_string(++parameter);
            } else {
                writer << "?";
            }
        }
        writer << ")";
    }
    return std::move(writer.text());
}
