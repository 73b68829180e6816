#include "platform/sql/detail/statement.h"

#include "platform/sql/detail/sql_writer.h"

#include <algorithm>
#include <functional>

namespace {

constexpr const char* table_name = "a table's name";
constexpr const char* alias_name = "an alias";

void write_source(SQL_Writer& writer, const std::string& table, const std::string& alias)
{
    writer.identifier(table, table_name);
    if (!alias.empty()) {
        writer << " AS ";
        writer.identifier(alias, alias_name);
    }
}

/// Several tables under one alias: one derived table. Engines see the declared types of its columns through it.
void write_derived(SQL_Writer& writer, const std::vector<std::string>& tables, const std::string& alias)
{
    const std::string& first = tables.front();
    writer << "(SELECT * FROM ";
    writer.identifier(first, table_name);
    for (std::size_t i = 1; i < tables.size(); ++i) {
        writer << " INNER JOIN ";
        writer.identifier(tables[i], table_name);
        writer << " ON ";
        writer.identifier(first, table_name);
        writer << ".\"uuid\" = ";
        writer.identifier(tables[i], table_name);
        writer << ".\"set_uuid\"";
    }
    writer << ") AS ";
    writer.identifier(alias, alias_name);
}

} // namespace

SQL::Statement::Statement(const Statement& other) :
    text(other.text), composed(other.composed), tables(other.tables), joins(other.joins), columns(other.columns),
    conditions(other.conditions), order(other.order), limit(other.limit)
{}

SQL::Statement::~Statement()
{
    forget_rendered();
}

void SQL::Statement::forget_rendered()
{
    for (std::atomic<const Rendered_SQL*>& place : rendered_) {
        delete place.exchange(nullptr);
    }
}

const Rendered_SQL& SQL::Statement::rendered(SQL_Dialect dialect) const
{
    std::atomic<const Rendered_SQL*>& place = rendered_[static_cast<std::size_t>(dialect)];
    if (const Rendered_SQL* const ready = place.load(std::memory_order_acquire)) {
        return *ready;
    }
    auto fresh = std::make_unique<const Rendered_SQL>(render(dialect));
    const Rendered_SQL* present = nullptr;
    if (place.compare_exchange_strong(present, fresh.get(), std::memory_order_acq_rel)) {
        return *fresh.release();
    }
    return *present; // a copy's thread was faster
}

Rendered_SQL SQL::Statement::render(SQL_Dialect dialect) const
{
    SQL_Writer writer(dialect);
    std::vector<std::string> keys;
    if (composed) {
        write_select(writer, dialect);
        const bool keys_known = std::ranges::all_of(columns, &Column::has_key);
        for (std::size_t i = 0; keys_known && i < columns.size(); ++i) {
            keys.push_back(columns[i].key);
        }
    } else {
        writer.expression(text, SQL_Writer::STATEMENT);
    }
    const std::size_t hash = std::hash<std::string>()(writer.text());
    return {std::move(writer.text()), hash,     std::move(writer.parameters()),
            std::move(keys),          composed, limit != 0 ? std::optional(limit) : std::nullopt};
}

void SQL::Statement::write_select(SQL_Writer& writer, SQL_Dialect dialect) const
{
    if (columns.empty()) {
        throw SQL_Syntax_Error("a SELECT has no columns");
    }
    for (const Table& table : tables) {
        writer.know_alias(table.alias.empty() ? table.names.front() : table.alias);
    }
    for (const Join& join : joins) {
        writer.know_alias(join.alias.empty() ? join.table : join.alias);
    }

    writer << "SELECT ";
    for (const Column& column : columns) {
        writer << (&column != &columns.front() ? ", " : "");
        writer.expression(column.expression);
        if (column.has_key) {
            writer << " AS ";
            writer.identifier(column.key, "a key");
        }
    }

    for (const Table& table : tables) {
        const bool is_first = &table == &tables.front();
        // SQLite takes CROSS JOIN as an order to keep the tables in their order; an inner join leaves it the choice.
        const bool as_inner_join = !is_first && dialect == SQL_Dialect::SQLITE;
        writer << (is_first ? " FROM " : as_inner_join ? " INNER JOIN " : " CROSS JOIN ");
        if (table.names.size() > 1) {
            write_derived(writer, table.names, table.alias);
        } else {
            write_source(writer, table.names.front(), table.alias);
        }
        if (as_inner_join) {
            writer << " ON TRUE";
        }
    }
    if (tables.empty() && !joins.empty()) {
        throw SQL_Syntax_Error("a SELECT joins a table to none");
    }
    for (const Join& join : joins) {
        writer << " INNER JOIN ";
        write_source(writer, join.table, join.alias);
        writer << " ON ";
        writer.expression(join.condition);
    }

    for (const std::string& condition : conditions) {
        writer << (&condition == &conditions.front() ? " WHERE " : " AND ");
        writer.condition(condition);
    }
    for (const std::string& expression : order) {
        writer << (&expression == &order.front() ? " ORDER BY " : ", ");
        writer.expression(expression, SQL_Writer::SORTING);
    }
    if (limit != 0) {
        writer << " LIMIT " << std::to_string(limit);
    }
}
