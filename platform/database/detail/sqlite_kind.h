// What SQLite's declared column types stand for.
#pragma once

#include "platform/database/detail/column_sink.h"

namespace database_detail {

/// The kind of a declared type; null for an expression.
Kind sqlite_kind(const char* declared_type);

} // namespace database_detail
