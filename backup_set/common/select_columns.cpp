#include "backup_set/common/select_columns.h"

#include <string>

String_Template column_template()
{
    return String_Template("", "{{", "}}", 0);
}

void add_columns(Select_SQL& sql, const char* prefix, std::initializer_list<const char*> columns)
{
    for (const char* column : columns) {
        sql.add_key(std::string(prefix) + "." + column, column);
    }
}

void add_columns(Select_SQL& sql, String_Template& expression, const char* prefix,
                 std::initializer_list<const char*> columns)
{
    add_columns(sql, expression(prefix).str().c_str(), columns);
}
