// Short forms for the rows of key and value translation tables.
#pragma once

#include "platform/database/query_result_handler.h"

#include <cstddef>

/// A row that translates the value of the column `key`.
template <std::size_t N>
constexpr database::sql::Val_Trans translate(const char (&key)[N], database::sql::Val_Tran_Type type)
{
    return {key, N - 1, type, 0};
}

/// The row that ends a value table.
inline constexpr database::sql::Val_Trans val_trans_end{nullptr, 0, database::sql::VTT_NONE, ~ACE_UINT64{0}};

/// The row that ends a key table.
inline constexpr database::sql::Key_Trans key_trans_end{nullptr, 0, nullptr, ~ACE_UINT64{0}};

/// A key table that translates nothing.
inline constexpr database::sql::Key_Trans no_key_trans[] = {key_trans_end};
