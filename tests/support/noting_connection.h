// A connection without a database: it writes down the queries that it is asked for and answers as it was told.
#pragma once

#include "platform/database/database_connection.h"

#include <span>
#include <string>
#include <utility>
#include <vector>

class Noting_Connection : public Database_Connection
{
public:
    struct Query
    {
        std::string text; ///< as standard SQL
        SQL_Bindings bindings;
        Generate_Mode mode;
        database::sql::Query_Result_Handler* handler;
    };

    explicit Noting_Connection(bool answers = true) : answers_(answers) {}

    const std::vector<Query>& queries() const { return queries_; }

    SQL_Dialect dialect() const override { return SQL_Dialect::STANDARD; }
    bool query_and_print(const Select_SQL& sql, database::sql::Query_Result_Printer& printer, Generate_Mode mode,
                         database::sql::Query_Result_Handler* handler) override
    {
        return query_and_print(static_cast<const SQL&>(sql), printer, mode, handler);
    }
    bool query_and_print(const SQL& sql, database::sql::Query_Result_Printer&, Generate_Mode mode,
                         database::sql::Query_Result_Handler* handler) override
    {
        queries_.push_back({sql.str(), sql.bindings(), mode, handler});
        return answers_;
    }
    bool query_and_print(std::span<const Database_Connection::Query>) override { return false; }
    bool execute(std::span<const Statement>, std::int64_t*) override { return false; }
    bool execute_script(const std::string&) override { return false; }
    bool begin_write() override { return false; }
    bool begin_read() override { return false; }
    bool commit(std::span<const Statement>) override { return false; }
    bool rollback() override { return false; }

private:
    std::vector<Query> queries_;
    bool answers_;
};
