#include "platform/sql/detail/sql_writer.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace {

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

/// Bytes above ASCII belong to letters.
bool is_word_start(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

bool is_word(char c)
{
    return is_word_start(c) || is_digit(c);
}

bool is_space(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

char upper(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

std::string upper(std::string_view text)
{
    std::string result(text);
    std::ranges::transform(result, result.begin(), [](char c) { return upper(c); });
    return result;
}

/// Where a word is a keyword.
struct Keyword
{
    enum Where : std::uint8_t
    {
        ANYWHERE,
        AFTER_OPERAND, ///< an infix operator
        IN_CASE,       ///< between CASE and END
        IN_SORTING,    ///< at the end of a sort expression, and in a statement
        IN_STATEMENT,  ///< elsewhere behind `other` only, if there is one
        AFTER,         ///< in a statement, behind `other`
        AFTER_NULLS,   ///< behind NULLS, also in a sort expression
        BEFORE         ///< in a statement, before `other` or UPDATE
    };
    const char* word;
    Where where;
    bool is_operand; ///< stands for a value: what follows may be an infix operator
    const char* other = nullptr;
};

// Sorted by word.
constexpr Keyword keywords[] = {
    {"ALL", Keyword::IN_STATEMENT, false},
    {"AND", Keyword::AFTER_OPERAND, false},
    {"AS", Keyword::AFTER_OPERAND, false},
    {"ASC", Keyword::IN_SORTING, true},
    {"BETWEEN", Keyword::AFTER_OPERAND, false},
    {"BY", Keyword::IN_STATEMENT, false},
    {"CASE", Keyword::ANYWHERE, false},
    {"COLLATE", Keyword::AFTER_OPERAND, false},
    {"CONFLICT", Keyword::AFTER, false, "ON"},
    {"CROSS", Keyword::IN_STATEMENT, false},
    {"CURRENT_DATE", Keyword::ANYWHERE, true},
    {"CURRENT_TIME", Keyword::ANYWHERE, true},
    {"CURRENT_TIMESTAMP", Keyword::ANYWHERE, true},
    {"DEFAULT", Keyword::IN_STATEMENT, true},
    {"DELETE", Keyword::IN_STATEMENT, false},
    {"DESC", Keyword::IN_SORTING, true},
    {"DISTINCT", Keyword::ANYWHERE, false},
    {"DO", Keyword::BEFORE, false, "NOTHING"},
    {"ELSE", Keyword::IN_CASE, false},
    {"END", Keyword::IN_CASE, true},
    {"ESCAPE", Keyword::AFTER_OPERAND, false},
    {"EXCEPT", Keyword::IN_STATEMENT, false},
    {"EXISTS", Keyword::ANYWHERE, false},
    {"FALSE", Keyword::ANYWHERE, true},
    {"FIRST", Keyword::AFTER_NULLS, true},
    {"FOR", Keyword::IN_STATEMENT, false},
    {"FROM", Keyword::IN_STATEMENT, false, "DISTINCT"},
    {"FULL", Keyword::IN_STATEMENT, false},
    {"GROUP", Keyword::IN_STATEMENT, false},
    {"HAVING", Keyword::IN_STATEMENT, false},
    {"IN", Keyword::AFTER_OPERAND, false},
    {"INNER", Keyword::IN_STATEMENT, false},
    {"INSERT", Keyword::IN_STATEMENT, false},
    {"INTERSECT", Keyword::IN_STATEMENT, false},
    {"INTO", Keyword::IN_STATEMENT, false},
    {"IS", Keyword::AFTER_OPERAND, false},
    {"JOIN", Keyword::IN_STATEMENT, false},
    {"LAST", Keyword::AFTER_NULLS, true},
    {"LEFT", Keyword::IN_STATEMENT, false},
    {"LIKE", Keyword::AFTER_OPERAND, false},
    {"LIMIT", Keyword::IN_STATEMENT, false},
    {"LOCKED", Keyword::AFTER, false, "SKIP"},
    {"NATURAL", Keyword::IN_STATEMENT, false},
    {"NOT", Keyword::ANYWHERE, false},
    {"NOTHING", Keyword::AFTER, false, "DO"},
    {"NULL", Keyword::ANYWHERE, true},
    {"NULLS", Keyword::IN_SORTING, false},
    {"OFFSET", Keyword::IN_STATEMENT, false},
    {"ON", Keyword::IN_STATEMENT, false},
    {"OR", Keyword::AFTER_OPERAND, false},
    {"ORDER", Keyword::IN_STATEMENT, false},
    {"OUTER", Keyword::IN_STATEMENT, false},
    {"OVER", Keyword::IN_STATEMENT, false},
    {"PARTITION", Keyword::IN_STATEMENT, false},
    {"RECURSIVE", Keyword::AFTER, false, "WITH"},
    {"RETURNING", Keyword::IN_STATEMENT, false},
    {"RIGHT", Keyword::IN_STATEMENT, false},
    {"SELECT", Keyword::IN_STATEMENT, false},
    {"SET", Keyword::IN_STATEMENT, false},
    {"SHARE", Keyword::AFTER, false, "FOR"},
    {"SKIP", Keyword::BEFORE, false, "LOCKED"},
    {"THEN", Keyword::IN_CASE, false},
    {"TRUE", Keyword::ANYWHERE, true},
    {"UNION", Keyword::IN_STATEMENT, false},
    {"UPDATE", Keyword::IN_STATEMENT, false},
    {"USING", Keyword::IN_STATEMENT, false},
    {"VALUES", Keyword::IN_STATEMENT, false},
    {"WHEN", Keyword::IN_CASE, false},
    {"WHERE", Keyword::IN_STATEMENT, false},
    {"WITH", Keyword::IN_STATEMENT, false},
};
static_assert(std::ranges::is_sorted(keywords, {}, [](const Keyword& row) { return std::string_view(row.word); }));

const Keyword* find_keyword(std::string_view upper_case_word)
{
    const Keyword* const row = std::ranges::lower_bound(keywords, upper_case_word, {},
                                                        [](const Keyword& k) { return std::string_view(k.word); });
    return row != std::end(keywords) && row->word == upper_case_word ? row : nullptr;
}

// Longest first.
constexpr std::array<std::string_view, 19> operators = {
    "->>", "||", "->", "<=", ">=", "<>", "!=", "<<", ">>", "::", "=", "<", ">", "+", "-", "/", "%", "&", "|"};

} // namespace

struct SQL_Writer::Token
{
    enum Kind : std::uint8_t
    {
        IDENTIFIER,
        KEYWORD,
        VERBATIM, ///< a function, or a type's name
        NUMBER,
        STRING,
        PARAMETER,
        OPERATOR,
        UNARY,
        STAR,
        OPEN,
        CLOSE,
        COMMA,
        DOT,
        CAST ///< "::"
    };

    Kind kind;
    std::string text; ///< of an identifier without its quotes
    bool is_operand;  ///< a value ends here
    bool is_word;     ///< written as a word, so that it may turn out to be a keyword
    bool is_glued;    ///< nothing stands between this and the next token

    bool is_keyword(std::string_view word) const { return kind == KEYWORD && text == word; }
};

/// Reads a text into tokens.
class SQL_Writer::Reader
{
public:
    Reader(std::string_view text, Context context, const std::vector<std::string_view>& aliases) :
        text_(text), context_(context), aliases_(aliases)
    {}

    std::vector<Token> tokens()
    {
        while (at_ < text_.size()) {
            if (!alias()) {
                one();
            }
        }
        classify();
        return std::move(tokens_);
    }

    /// An OR that no parenthesis holds.
    bool has_or() const { return has_or_; }

private:
    /// What an open parenthesis holds.
    struct Level
    {
        Context context;
        bool is_cast;       ///< the parenthesis of CAST(… AS type)
        bool is_type;       ///< behind the AS of such a one
        unsigned cases = 0; ///< CASEs without their END
    };

    [[noreturn]] void refuse(const char* what, std::size_t at) const
    {
        throw SQL_Syntax_Error(std::string(what) + " at byte " + std::to_string(at) + " of: " + std::string(text_));
    }

    void push(Token::Kind kind, std::string text, bool is_operand, bool is_word = false)
    {
        tokens_.push_back({kind, std::move(text), is_operand, is_word, at_ < text_.size() && !is_space(text_[at_])});
    }

    /// The alias of a column's name: the alias, a dot, the beginning of a name.
    bool alias()
    {
        const std::string_view rest = text_.substr(at_);
        for (const std::string_view alias : aliases_) {
            const std::size_t size = alias.size();
            if (rest.size() > size + 1 && rest.starts_with(alias) && rest[size] == '.'
                && (is_word_start(rest[size + 1]) || rest[size + 1] == '"' || rest[size + 1] == '*'))
            {
                at_ += size;
                push(Token::IDENTIFIER, std::string(alias), true);
                return true;
            }
        }
        return false;
    }

    void one()
    {
        const char c = text_[at_];
        const char next = at_ + 1 < text_.size() ? text_[at_ + 1] : '\0';
        if (is_space(c)) {
            ++at_;
        } else if (is_word_start(c)) {
            word();
        } else if (is_digit(c) || (c == '.' && is_digit(next) && !follows_name())) {
            number();
        } else if (c == '"') {
            push(Token::IDENTIFIER, in_quotes('"'), true);
        } else if (c == '\'') {
            const std::size_t begin = at_;
            in_quotes('\'');
            push(Token::STRING, std::string(text_.substr(begin, at_ - begin)), true);
        } else if (c == ':' && is_word(next)) {
            parameter();
        } else if ((c == '-' && next == '-') || (c == '/' && next == '*')) {
            refuse("a comment", at_);
        } else {
            sign(c);
        }
    }

    bool follows_name() const { return !tokens_.empty() && tokens_.back().kind == Token::IDENTIFIER; }

    std::string_view take_word()
    {
        const std::size_t begin = at_;
        while (at_ < text_.size() && is_word(text_[at_])) {
            ++at_;
        }
        return text_.substr(begin, at_ - begin);
    }

    void word()
    {
        const std::size_t begin = at_;
        const std::string_view text = take_word();
        if (at_ < text_.size() && (text_[at_] == '\'' || text_[at_] == '"')) {
            refuse("a name before a quote", begin); // E'…', x'…' and the like mean different things to engines
        }
        push(Token::IDENTIFIER, std::string(text), true, true);
    }

    void number()
    {
        const std::size_t begin = at_;
        const auto take_digits = [this] {
            while (at_ < text_.size() && is_digit(text_[at_])) {
                ++at_;
            }
        };
        take_digits();
        if (at_ < text_.size() && text_[at_] == '.') {
            ++at_;
            take_digits();
        }
        if (at_ < text_.size() && upper(text_[at_]) == 'E') {
            ++at_;
            if (at_ < text_.size() && (text_[at_] == '+' || text_[at_] == '-')) {
                ++at_;
            }
            if (at_ == text_.size() || !is_digit(text_[at_])) {
                refuse("a malformed number", begin);
            }
            take_digits();
        }
        if (at_ < text_.size() && (is_word(text_[at_]) || text_[at_] == '\'' || text_[at_] == '"')) {
            refuse("a malformed number", begin);
        }
        push(Token::NUMBER, std::string(text_.substr(begin, at_ - begin)), true);
    }

    /// Takes a quoted text, in which a doubled quote stands for one.
    std::string in_quotes(char quote)
    {
        const std::size_t begin = at_++;
        std::string result;
        for (;;) {
            if (at_ == text_.size()) {
                refuse("an open quote", begin);
            }
            const char c = text_[at_++];
            if (c == '\0') {
                refuse("a NUL", at_ - 1);
            }
            if (c == quote) {
                if (at_ == text_.size() || text_[at_] != quote) {
                    return result;
                }
                ++at_;
            }
            result += c;
        }
    }

    void parameter()
    {
        const std::size_t begin = at_++;
        take_word();
        push(Token::PARAMETER, std::string(text_.substr(begin, at_ - begin)), true);
    }

    void sign(char c)
    {
        const auto single = [this](Token::Kind kind, char text, bool is_operand) {
            ++at_;
            push(kind, std::string(1, text), is_operand);
        };
        switch (c) {
        case '(':
            return single(Token::OPEN, c, false);
        case ')':
            return single(Token::CLOSE, c, true);
        case ',':
            return single(Token::COMMA, c, false);
        case '.':
            return single(Token::DOT, c, false);
        case '~':
            return single(Token::UNARY, c, false);
        case '*':
            return single(Token::STAR, c, false);
        default:
            break;
        }
        const std::string_view rest = text_.substr(at_);
        const auto* const found =
            std::ranges::find_if(operators, [rest](std::string_view text) { return rest.starts_with(text); });
        if (found == operators.end()) {
            refuse(c == ';' ? "a statement separator" : c == '\0' ? "a NUL" : "an unexpected character", at_);
        }
        at_ += found->size();
        push(*found == "::" ? Token::CAST : Token::OPERATOR, std::string(*found), false);
    }

    /// Tells keywords, functions and types from identifiers, signs from operators; checks the parentheses.
    void classify()
    {
        levels_.push_back({context_, false, false});
        for (std::size_t i = 0; i < tokens_.size(); ++i) {
            Token& token = tokens_[i];
            const Token* const previous = i > 0 ? &tokens_[i - 1] : nullptr;
            const bool behind_operand = previous != nullptr && previous->is_operand;
            Level& level = levels_.back();
            switch (token.kind) {
            case Token::IDENTIFIER:
                if (token.is_word) {
                    classify_word(i, level, behind_operand);
                }
                break;
            case Token::OPERATOR:
                if (!behind_operand && (token.text == "-" || token.text == "+")) {
                    token.kind = Token::UNARY;
                }
                break;
            case Token::STAR:
                if (behind_operand) {
                    token.kind = Token::OPERATOR; // multiplication
                } else {
                    token.is_operand = true;
                }
                break;
            case Token::OPEN:
                levels_.push_back(
                    {inner_context(i, level),
                     previous != nullptr && previous->kind == Token::VERBATIM && upper(previous->text) == "CAST",
                     level.is_type});
                break;
            case Token::CLOSE:
                levels_.pop_back();
                if (levels_.empty()) {
                    refuse("an unbalanced parenthesis", text_.size());
                }
                break;
            case Token::COMMA:
                if (context_ == EXPRESSION && levels_.size() == 1) {
                    refuse("a list", text_.size());
                }
                break;
            default:
                break;
            }
        }
        if (levels_.size() != 1) {
            refuse("an unbalanced parenthesis", text_.size());
        }
    }

    Context inner_context(std::size_t i, const Level& outer) const
    {
        if (outer.context == STATEMENT) {
            return STATEMENT;
        }
        const bool begins_select = i + 1 < tokens_.size() && tokens_[i + 1].is_word && !is_before_dot(i + 1)
                                   && (upper(tokens_[i + 1].text) == "SELECT" || upper(tokens_[i + 1].text) == "WITH");
        return begins_select ? STATEMENT : EXPRESSION;
    }

    bool is_before_dot(std::size_t i) const { return i + 1 < tokens_.size() && tokens_[i + 1].kind == Token::DOT; }

    void classify_word(std::size_t i, Level& level, bool behind_operand)
    {
        Token& token = tokens_[i];
        const Token* const previous = i > 0 ? &tokens_[i - 1] : nullptr;
        const Token* const next = i + 1 < tokens_.size() ? &tokens_[i + 1] : nullptr;
        const auto behind = [previous](std::string_view word) {
            return previous != nullptr && previous->is_keyword(word);
        };
        if (level.is_type || (previous != nullptr && previous->kind == Token::CAST)) {
            token.kind = Token::VERBATIM;
            return;
        }
        if (previous != nullptr && previous->kind == Token::DOT) {
            return;
        }
        const std::string word = upper(token.text);
        if (is_before_dot(i)) {
            if (level.context == STATEMENT && word == "EXCLUDED") {
                token.kind = Token::VERBATIM; // the row that an INSERT could not insert
            }
            return;
        }
        const Keyword* const keyword = find_keyword(word);
        if (keyword != nullptr && is_keyword(*keyword, i, level, behind_operand)) {
            take_keyword(token, *keyword, level);
        } else if (next != nullptr && next->kind == Token::OPEN && token.is_glued && !behind("INTO") && !behind("AS")) {
            token.kind = Token::VERBATIM; // a function
        }
    }

    bool is_keyword(const Keyword& keyword, std::size_t i, const Level& level, bool behind_operand) const
    {
        const Token* const previous = i > 0 ? &tokens_[i - 1] : nullptr;
        const std::string next =
            i + 1 < tokens_.size() && tokens_[i + 1].is_word ? upper(tokens_[i + 1].text) : std::string();
        const bool in_statement = level.context == STATEMENT;
        switch (keyword.where) {
        case Keyword::ANYWHERE:
            return true;
        case Keyword::AFTER_OPERAND:
            // "NOT IN", "x IS NOT NULL"; a statement may begin a clause where no operand ended.
            return behind_operand || in_statement || (previous != nullptr && previous->is_keyword("NOT"));
        case Keyword::IN_CASE:
            return level.cases > 0;
        case Keyword::IN_SORTING:
            return in_statement || (context_ == SORTING && levels_.size() == 1 && behind_operand);
        case Keyword::IN_STATEMENT:
            return in_statement
                   || (keyword.other != nullptr && previous != nullptr && previous->is_keyword(keyword.other));
        case Keyword::AFTER:
            return in_statement && previous != nullptr && previous->is_keyword(keyword.other);
        case Keyword::AFTER_NULLS:
            return previous != nullptr && previous->is_keyword("NULLS");
        case Keyword::BEFORE:
            return in_statement && (next == keyword.other || next == "UPDATE");
        }
        return false;
    }

    void take_keyword(Token& token, const Keyword& keyword, Level& level)
    {
        token.kind = Token::KEYWORD;
        token.text = keyword.word;
        token.is_operand = keyword.is_operand;
        if (token.text == "CASE") {
            ++level.cases;
        } else if (token.text == "END") {
            --level.cases;
        } else if (token.text == "AS") {
            level.is_type = level.is_cast;
        } else if (token.text == "OR" && levels_.size() == 1) {
            has_or_ = true;
        }
    }

    std::string_view text_;
    Context context_;
    const std::vector<std::string_view>& aliases_;
    std::size_t at_ = 0;
    std::vector<Token> tokens_;
    std::vector<Level> levels_;
    bool has_or_ = false;
};

void SQL_Writer::know_alias(std::string_view alias)
{
    if (!alias.empty()) {
        const auto place =
            std::ranges::find_if(aliases_, [alias](std::string_view other) { return other.size() < alias.size(); });
        aliases_.insert(place, alias);
    }
}

void SQL_Writer::quoted(std::string_view name)
{
    text_ += '"';
    for (const char c : name) {
        text_ += c;
        if (c == '"') {
            text_ += c;
        }
    }
    text_ += '"';
}

void SQL_Writer::identifier(std::string_view name, const char* what)
{
    if (name.empty()) {
        throw SQL_Syntax_Error(std::string(what) + " is empty");
    }
    if (name.find('\0') != std::string_view::npos) {
        throw SQL_Syntax_Error(std::string(what) + " holds a NUL");
    }
    quoted(name);
}

void SQL_Writer::parameter(std::string_view name)
{
    auto place = std::ranges::find(parameters_, name);
    if (place == parameters_.end()) {
        place = parameters_.emplace(place, name);
    }
    if (dialect_ == SQL_Dialect::POSTGRESQL) {
        text_ += '$';
        text_ += std::to_string(place - parameters_.begin() + 1);
    } else {
        text_ += name;
    }
}

void SQL_Writer::token(const Token& token, const Token* previous)
{
    const auto wants_blank = [&] {
        if (previous == nullptr) {
            return false;
        }
        if (previous->kind == Token::OPEN || previous->kind == Token::DOT || previous->kind == Token::CAST) {
            return false;
        }
        switch (token.kind) {
        case Token::CLOSE:
        case Token::COMMA:
        case Token::DOT:
        case Token::CAST:
            return false;
        case Token::OPEN:
            return previous->kind != Token::VERBATIM && previous->kind != Token::UNARY;
        case Token::UNARY:
            return true; // "- -1": without the blank it would be a comment
        default:
            return previous->kind != Token::UNARY;
        }
    };
    if (wants_blank()) {
        text_ += ' ';
    }
    switch (token.kind) {
    case Token::IDENTIFIER:
        identifier(token.text, "a name");
        break;
    case Token::PARAMETER:
        parameter(token.text);
        break;
    default:
        text_ += token.text;
        break;
    }
}

void SQL_Writer::expression(std::string_view text, Context context)
{
    const std::vector<Token> tokens = Reader(text, context, aliases_).tokens();
    if (tokens.empty()) {
        throw SQL_Syntax_Error("an expression is empty");
    }
    const Token* previous = nullptr;
    for (const Token& token : tokens) {
        this->token(token, previous);
        previous = &token;
    }
}

void SQL_Writer::condition(std::string_view text)
{
    Reader reader(text, EXPRESSION, aliases_);
    reader.tokens();
    if (reader.has_or()) {
        text_ += '(';
    }
    expression(text);
    if (reader.has_or()) {
        text_ += ')';
    }
}

std::string rename_parameter(std::string_view text, std::string_view name, std::string_view new_name)
{
    std::string result;
    char quote = '\0';
    for (std::size_t i = 0; i < text.size();) {
        const char c = text[i];
        const std::string_view rest = text.substr(i);
        if (quote == '\0' && rest.starts_with(name) && (i == 0 || text[i - 1] != ':')
            && (rest.size() == name.size() || !is_word(rest[name.size()])))
        {
            result += new_name;
            i += name.size();
            continue;
        }
        if (quote == '\0' ? c == '"' || c == '\'' : c == quote) {
            quote = quote == '\0' ? c : '\0';
        }
        result += c;
        ++i;
    }
    return result;
}

std::vector<std::string_view> split_list(std::string_view text)
{
    std::vector<std::string_view> items;
    std::size_t begin = 0;
    int depth = 0;
    char quote = '\0';
    const auto take = [&](std::size_t end) {
        std::string_view item = text.substr(begin, end - begin);
        while (!item.empty() && is_space(item.front())) {
            item.remove_prefix(1);
        }
        while (!item.empty() && is_space(item.back())) {
            item.remove_suffix(1);
        }
        items.push_back(item);
        begin = end + 1;
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quote != '\0') {
            quote = c == quote ? '\0' : quote;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '(' || c == ')') {
            depth += c == '(' ? 1 : -1;
        } else if (c == ',' && depth == 0) {
            take(i);
        }
    }
    take(text.size());
    return items;
}
