// Conditions that filter by a list. Thread-safe.
#pragma once

#include "platform/export.h"
#include "platform/sql/where_sql.h"

#include <string>
#include <string_view>
#include <vector>

class BACKUP_PLATFORM_EXPORT Filter_SQL
{
public:
    /// Adds to `where` that the UUID column `column` is one of `uuids` (any spelling; an element that is not a UUID
    /// matches nothing). An empty list matches nothing. Each element is a parameter: engines take some 30,000 of them.
    static void add_in_uuid_item(Where_SQL& where, std::string_view column, const std::vector<std::string>& uuids);
};
