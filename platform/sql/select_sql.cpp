#include "platform/sql/select_sql.h"

#include "platform/sql/detail/sql_writer.h"
#include "platform/sql/detail/statement.h"

#include <algorithm>

namespace {

/// The name of a column without its alias; another expression as it stands; of "*" and "b.*" nothing.
std::string key_of(std::string_view item)
{
    if (item.ends_with('*')) {
        return {};
    }
    if (item.ends_with('"')) {
        // A quote inside the name is doubled.
        std::size_t begin = item.size() - 1;
        std::string key;
        while (begin > 0) {
            const char c = item[--begin];
            if (c == '"') {
                if (begin == 0 || item[begin - 1] != '"') {
                    break;
                }
                --begin;
            }
            key += c;
        }
        std::ranges::reverse(key);
        return begin == 0 || item[begin - 1] == '.' ? key : std::string(item);
    }
    const std::size_t dot = item.find_last_of(". ()'\"+-/|:");
    return std::string(dot != std::string_view::npos && item[dot] == '.' ? item.substr(dot + 1) : item);
}

bool has_binding(const SQL_Bindings& bindings, std::string_view name)
{
    return std::ranges::find(bindings, name, &SQL_Bindings::value_type::first) != bindings.end();
}

} // namespace

Select_SQL::Select_SQL()
{
    change().composed = true;
}

Select_SQL& Select_SQL::table(std::string_view name, std::string_view alias)
{
    auto& tables = change().tables;
    const auto place = std::ranges::find(tables, alias, &Statement::Table::alias);
    if (!alias.empty() && place != tables.end()) {
        place->names.emplace_back(name);
    } else {
        tables.push_back({{std::string(name)}, std::string(alias)});
    }
    return *this;
}

Select_SQL& Select_SQL::add_key(std::string_view expression, std::string_view key)
{
    change().columns.push_back({std::string(expression), std::string(key), true});
    return *this;
}

Select_SQL& Select_SQL::select(std::string_view columns)
{
    Statement& statement = change();
    for (const std::string_view item : split_list(columns)) {
        std::string key = key_of(item);
        const bool has_key = !key.empty();
        statement.columns.push_back({std::string(item), std::move(key), has_key});
    }
    return *this;
}

Select_SQL& Select_SQL::join(std::string_view table, std::string_view alias, std::string_view condition)
{
    change().joins.push_back({std::string(table), std::string(alias), std::string(condition)});
    return *this;
}

Select_SQL& Select_SQL::where(const Where_SQL& condition)
{
    std::vector<std::string> texts = condition.conditions();
    for (const SQL_Bindings::value_type& given : condition.bindings()) {
        const auto is_taken = [&](const std::string& name) {
            const auto held = std::ranges::find(bindings_, name, &SQL_Bindings::value_type::first);
            const bool by_other = held != bindings_.end() && held->second != given.second;
            return by_other || (name != given.first && has_binding(condition.bindings(), name));
        };
        std::string name = given.first;
        for (int i = 2; is_taken(name); ++i) {
            name = given.first + '_' + std::to_string(i);
        }
        if (name != given.first) {
            for (std::string& text : texts) {
                text = rename_parameter(text, given.first, name);
            }
        }
        SQL::bind(name, given.second);
    }
    Statement& statement = change();
    statement.conditions.insert(statement.conditions.end(), texts.begin(), texts.end());
    return *this;
}

Select_SQL& Select_SQL::where(std::string_view condition)
{
    change().conditions.emplace_back(condition);
    return *this;
}

Select_SQL& Select_SQL::bind(std::string_view name, Binding_Value value)
{
    SQL::bind(name, std::move(value));
    return *this;
}

Select_SQL& Select_SQL::order_by(std::string_view expression)
{
    change().order.emplace_back(expression);
    return *this;
}

Select_SQL& Select_SQL::limit(std::size_t rows)
{
    change().limit = rows;
    return *this;
}

bool Select_SQL::empty() const
{
    return statement().tables.empty() && statement().columns.empty();
}
