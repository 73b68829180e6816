// The inserts of a set on the C interfaces: prepared once, one statement a table.
#pragma once

#include "bench/postgresql.h"
#include "bench/sqlite.h"
#include "catalog/store/set_document.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

class Sqlite_Set_Writer
{
public:
    explicit Sqlite_Set_Writer(const Sqlite_Database& database) : database_(database) {}

    /// Inserts into the open transaction.
    void write(const catalog::Set_Rows& rows);

private:
    const Sqlite_Database& database_;
    std::map<const catalog::Table*, std::unique_ptr<Sqlite_Statement>> statements_;
};

class Postgresql_Set_Writer
{
public:
    /// Puts the connection into pipeline mode.
    explicit Postgresql_Set_Writer(const Postgresql_Database& database);

    /// Prepares the statements that `rows` needs.
    void prepare(const catalog::Set_Rows& rows);

    /// Inserts sets in one transaction and one trip; each table's rows in one statement.
    void write(const std::vector<const catalog::Set_Rows*>& sets) const;

private:
    const Postgresql_Database& database_;
    std::set<std::string> prepared_;
};
