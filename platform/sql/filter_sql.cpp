#include "platform/sql/filter_sql.h"

#include "platform/text/uuid.h"

#include <algorithm>

void Filter_SQL::add_in_uuid_item(Where_SQL& where, std::string_view column, const std::vector<std::string>& uuids)
{
    const std::size_t bound_before = where.bindings().size();
    std::string list;
    for (const std::string& text : uuids) {
        if (const auto uuid = read_uuid(text)) {
            const std::string name = ":uuid_item_" + std::to_string(where.bindings().size() + 1);
            where.bind(name, *uuid);
            list += list.empty() ? name : ',' + name;
        }
    }
    if (where.bindings().size() == bound_before) {
        where.add("1=0");
        return;
    }
    where.add(std::string(column) + " IN (" + list + ')');
}
