// What the engines' connections have in common: errors, transactions, queries inside queries.
#pragma once

#include "platform/database/database_connection.h"
#include "platform/database/detail/column_sink.h"
#include "platform/text/source_location.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace database_detail {

class Connection_Core : public Database_Connection
{
public:
    bool query_and_print(const Select_SQL& sql, database::sql::Query_Result_Printer& printer, Generate_Mode mode,
                         database::sql::Query_Result_Handler* handler) final;
    bool query_and_print(const SQL& sql, database::sql::Query_Result_Printer& printer, Generate_Mode mode,
                         database::sql::Query_Result_Handler* handler) final;
    bool query_and_print(std::span<const Query> queries) final;
    using Database_Connection::execute;
    bool execute(std::span<const Statement> statements, std::int64_t* changed) final;
    bool execute_script(const std::string& script) final;
    bool begin_write() final { return begin(Transaction::WRITE); }
    bool begin_read() final { return begin(Transaction::READ); }
    using Database_Connection::commit;
    bool commit(std::span<const Statement> statements) final;
    bool rollback() final;

protected:
    enum class Transaction
    {
        NONE,
        READ,
        WRITE
    };

    using Rendered_Ptr = std::shared_ptr<const Rendered_SQL>;

    // What an engine does. All of them report their failures and return false then.

    /// Runs a query. May be called inside itself.
    virtual bool run_query(const SQL& sql, const Rendered_Ptr& rendered, database::sql::Query_Result_Printer& printer,
                           Generate_Mode mode, database::sql::Query_Result_Handler* handler) = 0;
    /// Runs queries inside a transaction, one after the other if the engine knows nothing better.
    virtual bool run_queries(std::span<const Query> queries, std::span<const Rendered_Ptr> rendered);
    virtual bool run_statements(std::span<const Statement> statements, std::int64_t& changed) = 0;
    virtual bool run_script(const std::string& script) = 0;
    virtual bool run_begin(Transaction kind) = 0;
    virtual bool run_commit(std::span<const Statement> statements) = 0; ///< rolls back when it fails
    virtual bool run_rollback() = 0; ///< of a transaction that may have come to its end already
    /// When the open transaction is gone, because the engine has ended it or the connection is lost: what that is.
    virtual std::optional<Database_Error::Kind> transaction_loss() const = 0;

    /// True while a handler's hook is asked for the queries of a row that lies ahead.
    virtual bool is_looking_ahead() const { return false; }

    Transaction transaction() const { return transaction_; }

    /// How many queries are running, one inside the other.
    int depth() const { return depth_; }

    /// Keeps and logs an error. Always returns false.
    bool report(Database_Error error, Source_Location where = Source_Location::current());
    bool report(Database_Error::Kind kind, std::string message, std::string statement,
                Source_Location where = Source_Location::current());

    /// After a callback that brought a query to its end: a failed inner query has been reported already.
    bool report_refusal(const char* what, const char* key, const Rendered_SQL& rendered);

    /// True when a query inside the running one has failed.
    bool has_inner_failure() const { return inner_failed_; }

    /// The value of a parameter by its position, or null when the statement has none for it.
    static const Binding_Value* find_value(const SQL& sql, const Rendered_SQL& rendered, std::size_t position);
    bool report_missing_value(const Rendered_SQL& rendered, std::size_t position);

private:
    class Query_Scope;

    bool begin(Transaction kind);
    /// Begins an operation that must not run inside a query; `what` names it.
    bool begin_operation(const char* what);
    bool check_transaction();
    bool check_writable();
    bool query(const SQL& sql, database::sql::Query_Result_Printer& printer, Generate_Mode mode,
               database::sql::Query_Result_Handler* handler);

    Transaction transaction_ = Transaction::NONE;
    int depth_ = 0;
    bool inner_failed_ = false;
};

} // namespace database_detail
