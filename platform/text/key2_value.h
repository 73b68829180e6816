// Keyword tables: constant rows that map a name to a value, ended by a row whose key is null.
//
// The tables are immutable and live as long as the process; a look-up returns a reference into them.
#pragma once

#include <cstddef>
#include <cstring>

/// One row of a keyword table.
template <class V>
struct Key2_Value_T
{
    const char* key; ///< zero-terminated name; null ends the table
    std::size_t len; ///< length of `key` in bytes, without the terminator
    V value;         ///< what the name stands for
};

/// The first row that holds `value`, or the closing row when there is none.
template <class V>
const Key2_Value_T<V>& get_key_value_entry(const Key2_Value_T<V>* row, V value)
{
    while (row->key != nullptr && row->value != value) {
        ++row;
    }
    return *row;
}

/// The first row whose name has exactly these `len` bytes (case-sensitive), or the closing row when there is none.
template <class V>
const Key2_Value_T<V>& get_key_value_entry(const Key2_Value_T<V>* row, const char* name, std::size_t len)
{
    while (row->key != nullptr && !(row->len == len && name != nullptr && std::strncmp(row->key, name, len) == 0)) {
        ++row;
    }
    return *row;
}
