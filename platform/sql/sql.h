// Composing SQL statements: identifiers are always quoted, values are always bound.
//
// Expressions and conditions are given as plain SQL ("o.reset_scn", "uuid=o.set_uuid", "size > :least"): every name in
// them that is not a keyword, a function call or a parameter is an identifier and is quoted when rendered, so that
// reserved words serve as aliases and columns. An alias of the statement is recognised whatever characters it holds.
// What cannot be read that way (a statement separator, a comment, an open quote) makes `str` throw SQL_Syntax_Error;
// a connection reports the same as a failed query.
//
// Copies are cheap: the statement is shared until one of the copies is changed, and is rendered once per dialect. One
// object belongs to one thread at a time; copies may go to other threads.
#pragma once

#include "platform/export.h"
#include "platform/sql/binding_value.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

enum class SQL_Dialect
{
    STANDARD,  ///< double-quoted identifiers, named parameters (":set_uuid")
    SQLITE,    ///< the same, SQLite's particulars
    POSTGRESQL ///< numbered parameters ("$1")
};

/// A statement that cannot be rendered. The message quotes the place.
class BACKUP_PLATFORM_EXPORT SQL_Syntax_Error : public std::invalid_argument
{
public:
    using std::invalid_argument::invalid_argument;
};

/// Named parameter values. A name is given with its colon (":set_uuid").
using SQL_Bindings = std::vector<std::pair<std::string, Binding_Value>>;

/// A rendered statement: the text, and for each parameter position the name of its value (STANDARD and SQLITE too).
struct Rendered_SQL
{
    std::string text;
    std::vector<std::string> parameters;
};

/// What every statement has: a rendered text and bindings. Also a statement of its own, given as text.
class BACKUP_PLATFORM_EXPORT SQL
{
public:
    SQL() = default;

    /// A whole statement as text, with named parameters. Names in it are quoted as said above.
    explicit SQL(std::string_view statement);

    virtual ~SQL();
    SQL(const SQL&);
    SQL(SQL&&) noexcept;
    SQL& operator=(const SQL&);
    SQL& operator=(SQL&&) noexcept;

    /// Gives the parameter `name` (":set_uuid") its value; a second call replaces it.
    SQL& bind(std::string_view name, Binding_Value value);

    const SQL_Bindings& bindings() const { return bindings_; }

    /// The statement as standard SQL. Throws SQL_Syntax_Error.
    std::string str() const;
    /// The statement for an engine. Throws SQL_Syntax_Error.
    std::string str(SQL_Dialect dialect) const;

    /// The same with its parameters, made once for all copies of this statement. Throws SQL_Syntax_Error.
    std::shared_ptr<const Rendered_SQL> rendered(SQL_Dialect dialect) const;

protected:
    struct Statement;

    const Statement& statement() const;
    Statement& change(); ///< the statement for this object alone; forgets what was rendered

    SQL_Bindings bindings_;

private:
    std::shared_ptr<Statement> statement_;
};

/// A condition: texts joined by AND, with the values of their parameters.
class BACKUP_PLATFORM_EXPORT Where_SQL
{
public:
    Where_SQL() = default;
    explicit Where_SQL(std::string_view condition) { add(condition); }

    /// Adds a condition, in parentheses when needed.
    Where_SQL& add(std::string_view condition);
    Where_SQL& bind(std::string_view name, Binding_Value value);

    bool empty() const { return conditions_.empty(); }
    const std::vector<std::string>& conditions() const { return conditions_; }
    const SQL_Bindings& bindings() const { return bindings_; }

private:
    std::vector<std::string> conditions_;
    SQL_Bindings bindings_;
};

/// A SELECT.
class BACKUP_PLATFORM_EXPORT Select_SQL : public SQL
{
public:
    Select_SQL();

    /// A table of the FROM clause under an alias (empty: none). A second call adds a further entry (CROSS JOIN); under
    /// an alias that is taken, the two tables become one derived table, related on `uuid = set_uuid`.
    Select_SQL& table(std::string_view name, std::string_view alias = {});

    /// A column: the expression and the key under which it comes. The same key may be added again.
    Select_SQL& add_key(std::string_view expression, std::string_view key);

    /// Columns by a comma-separated list of names; each comes under its own name ("pool_uuid,state,size").
    Select_SQL& select(std::string_view columns);

    /// An inner join.
    Select_SQL& join(std::string_view table, std::string_view alias, std::string_view condition);

    /// A further condition, joined to the others by AND.
    Select_SQL& where(const Where_SQL& condition);
    Select_SQL& where(std::string_view condition);

    Select_SQL& bind(std::string_view name, Binding_Value value);

    /// A further sort expression ("b.backup_start_time DESC").
    Select_SQL& order_by(std::string_view expression);

    /// At most `rows` rows; 0 lifts the limit.
    Select_SQL& limit(std::size_t rows);

    /// True while no table and no column was given: such a statement selects nothing and cannot be run.
    bool empty() const;
};

/// Conditions that filter by a list.
class BACKUP_PLATFORM_EXPORT Filter_SQL
{
public:
    /// Adds to `where` that the UUID column `column` is one of `uuids` (any spelling; an element that is not a UUID
    /// matches nothing). An empty list matches nothing.
    static void add_in_uuid_item(Where_SQL& where, std::string_view column, const std::vector<std::string>& uuids);
};

/// An INSERT of one or many rows into one table.
class BACKUP_PLATFORM_EXPORT Insert_SQL
{
public:
    Insert_SQL(std::string table, std::vector<std::string> columns);

    /// Adds a row: as many values as there are columns, in their order. Throws std::invalid_argument otherwise.
    Insert_SQL& row(std::vector<Binding_Value> values);

    const std::string& table() const { return table_; }
    const std::vector<std::string>& columns() const { return columns_; }
    const std::vector<std::vector<Binding_Value>>& rows() const { return rows_; }

private:
    std::string table_;
    std::vector<std::string> columns_;
    std::vector<std::vector<Binding_Value>> rows_;
};
