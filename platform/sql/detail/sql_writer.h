// Writes a statement for one engine: quotes identifiers, reads plain SQL into tokens and writes them in one style.
#pragma once

#include "platform/sql/sql.h"

#include <string>
#include <string_view>
#include <vector>

class SQL_Writer
{
public:
    /// What a text is: that decides which words are keywords.
    enum Context
    {
        EXPRESSION, ///< those of operators only; those of statements from a parenthesis on that begins a sub-select
        SORTING,    ///< also ASC, DESC, NULLS FIRST, NULLS LAST
        STATEMENT   ///< all
    };

    explicit SQL_Writer(SQL_Dialect dialect) : dialect_(dialect) {}

    /// An alias, or a table without one, that expressions may name. Views: what they point to must outlive the writer.
    void know_alias(std::string_view alias);

    SQL_Writer& operator<<(std::string_view text)
    {
        text_ += text;
        return *this;
    }

    /// Throws SQL_Syntax_Error for an empty name and for a NUL in it; `what` names it then.
    void identifier(std::string_view name, const char* what);

    /// Throws SQL_Syntax_Error.
    void expression(std::string_view text, Context context = EXPRESSION);

    /// An expression that stands among others joined by AND: in parentheses when it has an OR.
    void condition(std::string_view text);

    std::string& text() { return text_; }
    std::vector<std::string>& parameters() { return parameters_; }

private:
    class Reader;
    struct Token;

    void quoted(std::string_view name);
    void parameter(std::string_view name);
    void token(const Token& token, const Token* previous);

    SQL_Dialect dialect_;
    std::vector<std::string_view> aliases_; ///< longest first
    std::string text_;
    std::vector<std::string> parameters_;
};

/// Replaces the parameter `name` by `new_name` in `text`.
std::string rename_parameter(std::string_view text, std::string_view name, std::string_view new_name);

/// Splits a list at its commas, not at those inside parentheses or quotes.
std::vector<std::string_view> split_list(std::string_view text);
