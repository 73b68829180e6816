// Composing a SELECT. See sql.h for how expressions and conditions are read.
//
// Belongs to one thread at a time; copies are cheap and may go to other threads.
#pragma once

#include "platform/export.h"
#include "platform/sql/sql.h"
#include "platform/sql/where_sql.h"

#include <cstddef>
#include <string_view>

class BACKUP_PLATFORM_EXPORT Select_SQL : public SQL
{
public:
    Select_SQL();

    /// A table of the FROM clause under an alias (empty: none). A second call adds a further entry (CROSS JOIN); under
    /// an alias that is taken, the two tables become one derived table, related on `uuid = set_uuid` (a column that both
    /// hold cannot be selected then).
    Select_SQL& table(std::string_view name, std::string_view alias = {});

    /// A column: the expression and the key under which it comes. The same key may be added again.
    Select_SQL& add_key(std::string_view expression, std::string_view key);

    /// Columns by a comma-separated list of names; each comes under its own name ("pool_uuid,state,size"), without the
    /// alias if it has one.
    Select_SQL& select(std::string_view columns);

    /// An inner join.
    Select_SQL& join(std::string_view table, std::string_view alias, std::string_view condition);

    /// A further condition, joined to the others by AND. Where the condition gives a parameter a value and the statement
    /// has another value under the same name, the condition's parameter gets another name: both keep their values.
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
