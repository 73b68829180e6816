// SQL statements: identifiers are always quoted, values are always bound.
//
// Expressions and conditions are given as plain SQL ("o.reset_scn", "uuid=o.set_uuid", "size > :least"): every name in
// them that is not a keyword, a function call or a parameter is an identifier and is quoted when rendered, in the case
// in which it is written. A name before or after a dot is never a keyword, so that reserved words serve as aliases and
// columns; elsewhere such a name is written in double quotes. An alias of the statement is recognised whatever
// characters it holds. What cannot be read that way (a statement separator, a comment, an open quote, an unbalanced
// parenthesis, a NUL) makes `str` throw SQL_Syntax_Error; a connection reports the same as a failed query.
//
// Copies are cheap: the statement is shared until one of the copies is changed, and is rendered once per dialect. One
// object belongs to one thread at a time; copies may go to other threads.
#pragma once

#include "platform/export.h"
#include "platform/sql/binding_value.h"

#include <cstddef>
#include <memory>
#include <optional>
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

/// A rendered statement.
struct Rendered_SQL
{
    std::string text;
    std::size_t hash; ///< of the text

    /// The names of the values that the parameters take, by position; each name once, in order of appearance.
    std::vector<std::string> parameters;

    /// Of a composed SELECT: the keys of its columns, in order. Empty where only the engine knows them.
    std::vector<std::string> keys;

    bool composed_select; ///< made by a Select_SQL; without a limit, " LIMIT n" may follow the text
    std::optional<std::size_t> limit;
};

/// What every statement has: a rendered text and bindings. Also a statement of its own, given as text.
class BACKUP_PLATFORM_EXPORT SQL
{
public:
    SQL() = default;

    /// A whole statement as text, with named parameters: a SELECT, INSERT, UPDATE, DELETE or WITH. Names in it are quoted
    /// as said above.
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
