// How a record class adds its columns to a SELECT.
#pragma once

#include "backup_set/common/export.h"
#include "platform/sql/select_sql.h"
#include "platform/text/string_template.h"

#include <initializer_list>

/// The template that column expressions and join conditions are written in: "{{b}}.uuid".
BACKUP_SET_EXPORT String_Template column_template();

/// Adds columns whose key is the column's own name, in order: the expression is `prefix`, a point and the column.
BACKUP_SET_EXPORT void add_columns(Select_SQL& sql, const char* prefix, std::initializer_list<const char*> columns);

/// The same with a prefix that `expression` expands ("{{b}}").
BACKUP_SET_EXPORT void add_columns(Select_SQL& sql, String_Template& expression, const char* prefix,
                                   std::initializer_list<const char*> columns);
