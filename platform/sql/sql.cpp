#include "platform/sql/sql.h"

#include "platform/sql/detail/statement.h"

#include <algorithm>

SQL::SQL(std::string_view statement)
{
    change().text = statement;
}

SQL::~SQL() = default;
SQL::SQL(const SQL&) = default;
SQL::SQL(SQL&&) noexcept = default;
SQL& SQL::operator=(const SQL&) = default;
SQL& SQL::operator=(SQL&&) noexcept = default;

SQL& SQL::bind(std::string_view name, Binding_Value value)
{
    const auto place = std::ranges::find(bindings_, name, &SQL_Bindings::value_type::first);
    if (place != bindings_.end()) {
        place->second = std::move(value);
    } else {
        bindings_.emplace_back(name, std::move(value));
    }
    return *this;
}

std::string SQL::str() const
{
    return str(SQL_Dialect::STANDARD);
}

std::string SQL::str(SQL_Dialect dialect) const
{
    return statement().rendered(dialect).text;
}

std::shared_ptr<const Rendered_SQL> SQL::rendered(SQL_Dialect dialect) const
{
    const Rendered_SQL& rendered = statement().rendered(dialect);
    if (statement_ == nullptr) {
        return {std::shared_ptr<void>(), &rendered}; // constant, lives as long as the process
    }
    return {statement_, &rendered}; // keeps the statement, which `change` then leaves alone
}

const SQL::Statement& SQL::statement() const
{
    static const Statement none;
    return statement_ != nullptr ? *statement_ : none;
}

SQL::Statement& SQL::change()
{
    if (statement_ == nullptr) {
        statement_ = std::make_shared<Statement>();
    } else if (statement_.use_count() > 1) {
        statement_ = std::make_shared<Statement>(*statement_);
    } else {
        statement_->forget_rendered();
    }
    return *statement_;
}
