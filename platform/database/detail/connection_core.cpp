#include "platform/database/detail/connection_core.h"

#include "platform/text/log.h"

#include <algorithm>

namespace database_detail {

/// Counts the queries that run inside each other, whatever way they end.
class Connection_Core::Query_Scope
{
public:
    explicit Query_Scope(int& depth) : depth_(++depth) {}
    Query_Scope(const Query_Scope&) = delete;
    Query_Scope& operator=(const Query_Scope&) = delete;
    ~Query_Scope() { --depth_; }

private:
    int& depth_;
};

bool Connection_Core::report(Database_Error error, Source_Location where)
{
    error.where = std::string(where.file) + ':' + std::to_string(where.line);
    std::ranges::replace_if(
        error.message, [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    error.message.erase(error.message.find_last_not_of(' ') + 1);
    last_error_ = std::move(error);
    const bool is_expected = last_error_.kind == Database_Error::CONSTRAINT && is_constraint_expected();
    log_at(is_expected ? LM_DEBUG : LM_ERROR, Log_Format("Database: %C\n", where), last_error_.text().c_str());
    return false;
}

bool Connection_Core::report(Database_Error::Kind kind, std::string message, std::string statement,
                             Source_Location where)
{
    return report(Database_Error{kind, {}, std::move(message), std::move(statement), {}}, where);
}

bool Connection_Core::report_refusal(const char* what, const char* key, const Rendered_SQL& rendered)
{
    if (inner_failed_) {
        return false;
    }
    std::string message = std::string("the printer refused ") + what;
    if (key != nullptr) {
        message += " \"" + std::string(key) + '"';
    }
    return report(Database_Error::CANCELLED, std::move(message), rendered.text);
}

const Binding_Value* Connection_Core::find_value(const SQL& sql, const Rendered_SQL& rendered, std::size_t position)
{
    const SQL_Bindings& bindings = sql.bindings();
    const std::string& name = rendered.parameters[position];
    // Mostly they are given in the order in which they appear.
    if (position < bindings.size() && bindings[position].first == name) {
        return &bindings[position].second;
    }
    const auto place = std::ranges::find(bindings, name, &SQL_Bindings::value_type::first);
    return place != bindings.end() ? &place->second : nullptr;
}

bool Connection_Core::report_missing_value(const Rendered_SQL& rendered, std::size_t position)
{
    return report(Database_Error::STATEMENT, "the parameter " + rendered.parameters[position] + " has no value",
                  rendered.text);
}

bool Connection_Core::query_and_print(const Select_SQL& sql, database::sql::Query_Result_Printer& printer,
                                      Generate_Mode mode, database::sql::Query_Result_Handler* handler)
{
    if (sql.empty() && !is_looking_ahead()) {
        inner_failed_ = depth_ > 0;
        return report(Database_Error::STATEMENT, "the SELECT has neither a table nor a column", {});
    }
    return query(sql, printer, mode, handler);
}

bool Connection_Core::query_and_print(const SQL& sql, database::sql::Query_Result_Printer& printer, Generate_Mode mode,
                                      database::sql::Query_Result_Handler* handler)
{
    return query(sql, printer, mode, handler);
}

bool Connection_Core::query(const SQL& sql, database::sql::Query_Result_Printer& printer, Generate_Mode mode,
                            database::sql::Query_Result_Handler* handler)
{
    if (depth_ == 0) {
        last_error_ = {};
        inner_failed_ = false;
        if (!check_transaction()) {
            return false;
        }
    } else if (inner_failed_) {
        return false; // the outer query is failing already, for a reason that has been reported
    }
    Rendered_Ptr rendered;
    try {
        rendered = sql.rendered(dialect());
    } catch (const SQL_Syntax_Error& error) {
        if (is_looking_ahead()) {
            return false; // reported when the row's turn comes
        }
        inner_failed_ = depth_ > 0;
        return report(Database_Error::STATEMENT, error.what(), {});
    }
    bool succeeded = false;
    {
        const Query_Scope scope(depth_);
        succeeded = run_query(sql, rendered, printer, mode, handler);
    }
    if (!succeeded && depth_ > 0 && !is_looking_ahead()) {
        inner_failed_ = true;
    }
    return succeeded;
}

bool Connection_Core::query_and_print(std::span<const Query> queries)
{
    if (!begin_operation("several queries") || !check_transaction()) {
        return false;
    }
    if (transaction_ == Transaction::NONE) {
        return report(Database_Error::STATEMENT, "several queries need an open transaction", {});
    }
    std::vector<Rendered_Ptr> rendered;
    rendered.reserve(queries.size());
    try {
        for (const Query& query : queries) {
            rendered.push_back(query.sql.rendered(dialect()));
        }
    } catch (const SQL_Syntax_Error& error) {
        return report(Database_Error::STATEMENT, error.what(), {});
    }
    const Query_Scope scope(depth_);
    return run_queries(queries, rendered);
}

bool Connection_Core::run_queries(std::span<const Query> queries, std::span<const Rendered_Ptr> rendered)
{
    for (std::size_t i = 0; i < queries.size(); ++i) {
        if (!run_query(queries[i].sql, rendered[i], *queries[i].printer, queries[i].mode, nullptr)) {
            return false;
        }
    }
    return true;
}

bool Connection_Core::begin_operation(const char* what)
{
    if (is_looking_ahead()) {
        return false; // reported when the row's turn comes
    }
    if (depth_ > 0) {
        inner_failed_ = true;
        return report(Database_Error::STATEMENT, std::string(what) + " inside a running query", {});
    }
    last_error_ = {};
    inner_failed_ = false;
    return true;
}

bool Connection_Core::check_transaction()
{
    const auto loss = transaction_ != Transaction::NONE ? transaction_loss() : std::nullopt;
    return !loss || report(*loss, "the open transaction has come to its end by a failure and must be rolled back", {});
}

bool Connection_Core::check_writable()
{
    if (!check_transaction()) {
        return false;
    }
    if (transaction_ == Transaction::READ) {
        return report(Database_Error::READ_ONLY, "the open transaction is for reading", {});
    }
    return true;
}

bool Connection_Core::execute(std::span<const Statement> statements, std::int64_t* changed)
{
    std::int64_t count = 0;
    const bool succeeded =
        begin_operation("statements") && check_writable() && (statements.empty() || run_statements(statements, count));
    if (succeeded && changed != nullptr) {
        *changed = count;
    }
    return succeeded;
}

bool Connection_Core::execute_script(const std::string& script)
{
    if (!begin_operation("a script") || !check_writable()) {
        return false;
    }
    if (script.find('\0') != std::string::npos) {
        return report(Database_Error::STATEMENT, "a script holds a NUL", {});
    }
    return run_script(script);
}

bool Connection_Core::begin(Transaction kind)
{
    if (!begin_operation("the begin of a transaction")) {
        return false;
    }
    if (transaction_ != Transaction::NONE) {
        return report(Database_Error::STATEMENT, "a transaction is open already", {});
    }
    if (!run_begin(kind)) {
        return false;
    }
    transaction_ = kind;
    return true;
}

bool Connection_Core::commit(std::span<const Statement> statements)
{
    if (!begin_operation("the end of a transaction")) {
        return false;
    }
    if (transaction_ == Transaction::NONE) {
        return report(Database_Error::STATEMENT, "no transaction is open", {});
    }
    const bool is_possible = statements.empty() ? check_transaction() : check_writable();
    transaction_ = Transaction::NONE;
    if (!is_possible) {
        run_rollback();
        return false;
    }
    return run_commit(statements);
}

bool Connection_Core::rollback()
{
    if (!begin_operation("the end of a transaction")) {
        return false;
    }
    if (transaction_ == Transaction::NONE) {
        return report(Database_Error::STATEMENT, "no transaction is open", {});
    }
    transaction_ = Transaction::NONE;
    return run_rollback();
}

} // namespace database_detail
