// The catalog's tables, described once: the DDL of both engines, the store's inserts and the documentation come from here.
//
// All descriptions are constant and live as long as the process.
#pragma once

#include "platform/sql/sql.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace catalog {

/// What a column holds. It decides the declared type on each engine, and with that the printer callback that a reader's
/// record gets, and what a document may hold under the column's key.
enum class Column_Kind
{
    TEXT,
    TIME,     ///< UTC seconds; read as "YYYY-MM-DD HH:MM:SS"
    INTEGER,  ///< signed 64-bit; a document may hold a boolean here (0 or 1)
    UNSIGNED, ///< unsigned 64-bit
    BOOLEAN,
    JSON_OBJECT,
    JSON_ARRAY,
    UUID ///< 16 bytes; a document holds any spelling, or the empty text for none
};

/// Where a column's value comes from.
enum class Column_Source
{
    DOCUMENT, ///< the document's member of the same key
    STORE     ///< the store itself
};

struct Column
{
    const char* name;
    Column_Kind kind;
    const char* meaning;       ///< for people, one line
    const char* key = nullptr; ///< the document's key when it is not the column's name
    Column_Source source = Column_Source::DOCUMENT;
    bool required = false;          ///< NOT NULL
    std::size_t longest = 0;        ///< bytes that a text may have; 0: no limit. Indexed texts have one
    bool generated = false;         ///< a number that the database gives
    bool given_once = false;        ///< and does not give again when its row has gone
    const char* only_for = nullptr; ///< the one set type that has this column in a table of several types

    const char* document_key() const { return key != nullptr ? key : name; }
};

struct Index
{
    const char* name;
    const char* columns; ///< comma-separated column names
    const char* purpose; ///< the question that it answers
};

struct Table
{
    const char* name;
    const char* purpose;
    std::span<const Column> columns;
    const char* primary_key; ///< comma-separated column names
    std::span<const Index> indexes = {};
    const char* parent = nullptr;        ///< table whose row this one belongs to (and is deleted with)
    const char* parent_column = nullptr; ///< the column that names the parent's primary key
    bool clustered = false;              ///< SQLite keeps the rows in the order of the primary key
};

/// The version of the schema that this program makes and works with.
inline constexpr int schema_version = 2;

/// All tables, parents before children.
std::span<const Table* const> tables();

/// A table by its name, or null.
const Table* find_table(std::string_view name);

/// The declared type of a column kind on an engine.
const char* declared_type(Column_Kind kind, SQL_Dialect dialect);

/// The statements that create one table and its indexes, each closed by ";\n".
std::string create_table(const Table& table, SQL_Dialect dialect);

/// The statements that create the whole schema in an empty database, version row included.
std::string create_schema(SQL_Dialect dialect);

/// The tables as Markdown, for the documentation.
std::string describe_schema();

} // namespace catalog
