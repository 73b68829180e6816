// SQLite's C interface as a hand-written program uses it.
#pragma once

#include "platform/sql/binding_value.h"

#include <cstdint>
#include <sqlite3.h>
#include <string>
#include <string_view>

class Sqlite_Database
{
public:
    explicit Sqlite_Database(const std::string& path);
    Sqlite_Database(const Sqlite_Database&) = delete;
    Sqlite_Database& operator=(const Sqlite_Database&) = delete;
    ~Sqlite_Database();

    sqlite3* get() const { return database_; }
    void execute(const std::string& statements) const;

private:
    sqlite3* database_ = nullptr;
};

class Sqlite_Statement
{
public:
    Sqlite_Statement(const Sqlite_Database& database, const std::string& text);
    Sqlite_Statement(const Sqlite_Statement&) = delete;
    Sqlite_Statement& operator=(const Sqlite_Statement&) = delete;
    ~Sqlite_Statement();

    /// True when there is a row, false at the end.
    bool step();
    /// Runs a statement without rows and makes it ready for the next values.
    void run();
    int columns() const { return sqlite3_column_count(statement_); }

    std::string_view text(int column) const
    {
        const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
        return text == nullptr
                   ? std::string_view()
                   : std::string_view(text, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column)));
    }
    std::int64_t integer(int column) const { return sqlite3_column_int64(statement_, column); }
    /// The 16 bytes of a UUID, or null.
    const unsigned char* uuid(int column) const
    {
        const auto* const bytes = static_cast<const unsigned char*>(sqlite3_column_blob(statement_, column));
        return bytes != nullptr && sqlite3_column_bytes(statement_, column) == 16 ? bytes : nullptr;
    }

    /// Gives the next parameter its value; texts must live until `run`.
    void bind(const Binding_Value& value);

private:
    sqlite3* database_;
    sqlite3_stmt* statement_ = nullptr;
    int parameter_ = 0;
};
