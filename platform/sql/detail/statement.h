// What a statement consists of, shared by its copies.
#pragma once

#include "platform/sql/sql.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <string>
#include <vector>

class SQL_Writer;

struct SQL::Statement
{
    /// One or, under one alias, several tables of the FROM clause.
    struct Table
    {
        std::vector<std::string> names;
        std::string alias;
    };
    struct Join
    {
        std::string table;
        std::string alias;
        std::string condition;
    };
    struct Column
    {
        std::string expression;
        std::string key;
        bool has_key; ///< not "*", nor "b.*"
    };

    std::string text; ///< of a statement given as a whole; the rest is a composed SELECT's

    bool composed = false;
    std::vector<Table> tables;
    std::vector<Join> joins;
    std::vector<Column> columns;
    std::vector<std::string> conditions;
    std::vector<std::string> order;
    std::size_t limit = 0; ///< 0: none

    Statement() = default;
    Statement(const Statement& other); ///< without what was rendered
    Statement& operator=(const Statement&) = delete;
    ~Statement();

    /// Made by the first who asks; the statement owns it.
    const Rendered_SQL& rendered(SQL_Dialect dialect) const;
    void forget_rendered();

private:
    Rendered_SQL render(SQL_Dialect dialect) const;
    void write_select(SQL_Writer& writer, SQL_Dialect dialect) const;

    mutable std::array<std::atomic<const Rendered_SQL*>, 3> rendered_{};
};
