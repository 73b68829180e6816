#include "platform/database/detail/postgresql_connection.h"

#include "platform/database/detail/connection_core.h"
#include "platform/database/detail/postgresql_pipeline.h"
#include "platform/database/detail/postgresql_values.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <deque>
#include <libpq-fe.h>
#include <unordered_map>
#include <utility>

namespace database_detail {

namespace {

using database::sql::Query_Result_Handler;
using database::sql::Query_Result_Printer;
using Ticket = Pipeline::Ticket;
using Statement_Ptr = Pipeline::Statement_Ptr;

constexpr std::size_t kept_statements = 128;

//// A query that may have more rows than this goes through a cursor.
constexpr int most_rows_directly = 100;

// How many rows a cursor brings by one trip: as many as are likely to fit the size.
constexpr int first_fetch = 25;
constexpr int largest_fetch = 500;
constexpr std::size_t fetch_size = std::size_t{4} << 20;

// The queries of so many rows ahead are under way: when there are fewer than the first, more are sent.
constexpr std::size_t least_rows_ahead = 16;
constexpr std::size_t most_rows_ahead = 48;

constexpr std::size_t most_parameters = 65535; ///< of one statement
constexpr std::size_t most_insert_rows = 128;  ///< of one statement; a power of two

Database_Error::Kind error_kind(const std::string& sqlstate)
{
    struct Row
    {
        const char* begin;
        Database_Error::Kind kind;
    };
    static constexpr Row rows[] = {
        {"08", Database_Error::CONNECTION_LOST},
        {"57P0", Database_Error::CONNECTION_LOST}, // shutdown, crash, start-up
        {"57014", Database_Error::CANCELLED},
        {"22", Database_Error::CONSTRAINT}, // a value that its type refuses
        {"23", Database_Error::CONSTRAINT},
        {"25006", Database_Error::READ_ONLY},
        {"40", Database_Error::BUSY},
        {"55P03", Database_Error::BUSY},
        {"53100", Database_Error::FULL},
        {"53300", Database_Error::BUSY},
        {"XX001", Database_Error::CORRUPT},
        {"XX002", Database_Error::CORRUPT},
        {"0A", Database_Error::STATEMENT},
        {"26", Database_Error::STATEMENT},
        {"34", Database_Error::STATEMENT},
        {"3D", Database_Error::STATEMENT},
        {"3F", Database_Error::STATEMENT},
        {"42", Database_Error::STATEMENT},
        {"54", Database_Error::STATEMENT},
    };
    for (const Row& row : rows) {
        if (sqlstate.starts_with(row.begin)) {
            return row.kind;
        }
    }
    return Database_Error::OTHER;
}

/// The message without the value that it quotes: those of data errors do.
std::string without_value(const std::string& sqlstate, std::string message)
{
    if (!sqlstate.starts_with("22")) {
        return message;
    }
    message.resize(std::min(message.find(": "), message.size()));
    const std::size_t first = message.find('"');
    const std::size_t last = message.rfind('"');
    return first < last ? message.replace(first, last - first + 1, "\"...\"") : message;
}

/// How a composed SELECT is cut, so that one trip cannot bring too many rows.
enum class Cut : std::uint8_t
{
    NONE,
    FIRST_ROW,
    MANY_ROWS ///< one row more than is read directly, which tells that a cursor is needed
};

std::string cut_text(const std::string& text, Cut cut)
{
    return cut == Cut::NONE ? text
                            : text + " LIMIT " + std::to_string(cut == Cut::FIRST_ROW ? 1 : most_rows_directly + 1);
}

/// A cursor takes what only reads.
bool fits_cursor(const std::string& text)
{
    const auto holds = [&text](const char* part) { return text.find(part) != std::string::npos; };
    return (text.starts_with("SELECT") || text.starts_with("VALUES") || text.starts_with("WITH"))
           && !holds("INSERT INTO") && !holds("UPDATE \"") && !holds("DELETE FROM");
}

using Plan = Result_Plan<Wire_Type>;

/// A statement that the server has prepared.
struct Prepared
{
    std::string text; ///< without its cut
    Cut cut;
    std::string signature; ///< of the parameters' types
    std::string name;
    std::shared_ptr<const Rendered_SQL> rendered; ///< holds the keys of the plan
    std::uint64_t last_use = 0;
    bool has_many_rows = false; ///< needed a cursor the last time
    std::shared_ptr<const Plan> plan;
};
using Prepared_Ptr = std::shared_ptr<Prepared>;

/// A query that a hook asked for when its row was looked at ahead, and the ticket of its result.
struct Answer
{
    std::shared_ptr<const Rendered_SQL> rendered;
    SQL_Bindings bindings;
    Generate_Mode mode;
    Prepared_Ptr prepared;
    Ticket ticket;
};
using Answers = std::vector<Answer>;

/// For a row that is looked at ahead: what is printed is of no interest.
class Dropping_Printer final : public Query_Result_Printer
{
public:
    bool print_cstr(int, const char*, const char*, std::size_t) override { return true; }
    bool print_int(int, const char*, ACE_INT64) override { return true; }
    bool print_uint(int, const char*, ACE_UINT64) override { return true; }
    bool print_bool(int, const char*, bool) override { return true; }
    bool print_json(int, const char*, const json_spirit::Value&) override { return true; }
    bool print_json_text(int, const char*, const char*, std::size_t) override { return true; }
    bool print_real(int, const char*, double) override { return true; }
    bool print_null(int, const char*) override { return true; }
    bool begin_array(int, const char*) override { return true; }
    bool end_array() override { return true; }
};

/// Sets a variable for a scope.
template <class T>
class Scoped_Value
{
public:
    Scoped_Value(T& variable, T value) : variable_(variable), before_(std::exchange(variable, value)) {}
    Scoped_Value(const Scoped_Value&) = delete;
    Scoped_Value& operator=(const Scoped_Value&) = delete;
    ~Scoped_Value() { variable_ = before_; }

    const T& before() const { return before_; }

private:
    T& variable_;
    T before_;
};

/// A query while it runs.
struct Running
{
    const SQL& sql;
    const std::shared_ptr<const Rendered_SQL>& rendered;
    Statement_Ptr about;
    Generate_Mode mode;
    Query_Result_Handler* handler;
    Column_Sink sink;
    Column_Sink ahead_sink;

    Prepared_Ptr prepared = nullptr; ///< null for a cursor
    std::shared_ptr<const Plan> plan = nullptr;
    std::size_t columns = 0; ///< that are printed

    // Of the rows ahead in the result at hand.
    struct Row_Ahead
    {
        int row;
        Answers answers;
    };
    std::vector<char> queries = {}; ///< by column: its hook has made queries
    bool has_queries = false;
    bool looks_ahead = true;
    std::deque<Row_Ahead> ahead = {};
    int next_ahead = 0;
};

class PostgreSQL_Connection final : public Connection_Core
{
public:
    explicit PostgreSQL_Connection(std::string url) : url_(std::move(url)) {}

    bool connect();

    SQL_Dialect dialect() const override { return SQL_Dialect::POSTGRESQL; }

private:
    enum class Operation
    {
        QUERY,
        STATEMENTS,
        COMMIT
    };
    class Undo;

    bool run_query(const SQL& sql, const Rendered_Ptr& rendered, Query_Result_Printer& printer, Generate_Mode mode,
                   Query_Result_Handler* handler) override;
    bool run_queries(std::span<const Query> queries, std::span<const Rendered_Ptr> rendered) override;
    bool run_statements(std::span<const Statement> statements, std::int64_t& changed) override;
    bool run_script(const std::string& script) override;
    bool run_begin(Transaction kind) override;
    bool run_commit(std::span<const Statement> statements) override;
    bool run_rollback() override;
    std::optional<Database_Error::Kind> transaction_loss() const override;
    bool is_looking_ahead() const override { return recorded_ != nullptr; }

    bool is_own_transaction() const { return transaction() == Transaction::NONE; }

    /// Outside of a transaction a connection that was lost is made anew.
    bool be_connected();

    bool report_failure(const Statement_Ptr& about, Source_Location where = Source_Location::current());
    bool check(const Result_Ptr& result, const Statement_Ptr& about,
               Source_Location where = Source_Location::current());
    bool check_commit(const Result_Ptr& result);
    void recover(Operation operation);

    bool set_parameters(const SQL& sql, const Rendered_SQL& rendered);
    Prepared_Ptr prepare(const std::string& text, std::size_t hash, Cut cut, const Rendered_Ptr& rendered,
                         const Statement_Ptr& about);
    void forget_oldest();
    void forget_statements();

    Running running(const SQL& sql, const Rendered_Ptr& rendered, Query_Result_Printer& printer, Generate_Mode mode,
                    Query_Result_Handler* handler);
    bool run_outermost(Running& running);
    bool run_inner(Running& running, Answers* answers);
    bool record(const SQL& sql, const Rendered_Ptr& rendered, Generate_Mode mode);
    bool ask(Running& running, Cut cut, std::optional<Ticket>& ticket);
    bool run_directly(Running& running, Cut cut);
    bool run_by_cursor(Running& running);
    bool print_direct_result(Running& running, const Result_Ptr& result);
    bool make_plan(Running& running, const pg_result* result);
    bool print_rows(Running& running, const pg_result* result);
    bool print_row(Running& running, const pg_result* result, int row);
    static bool print_column(const Running& running, const pg_result* result, int row, std::size_t index,
                             const Column_Sink& sink);
    void look_ahead(Running& running, const pg_result* result, int row);
    void drop(const Answers& answers);

    bool send_all(std::span<const Statement> statements);
    bool check_sent(std::int64_t& changed);
    bool send(const SQL& sql);
    bool send(const Insert_SQL& insert);

    std::string url_;
    Pipeline pipeline_;
    std::unordered_multimap<std::size_t, Prepared_Ptr> statements_; ///< by a hash of their text
    std::uint64_t uses_ = 0;
    std::uint64_t names_ = 0;
    bool has_stale_statements_ = false; ///< the server holds some that are not known here any more
    bool transaction_failed_ = false;   ///< the server waits for its end
    std::chrono::milliseconds server_time_limit_{0};
    Wire_Parameters parameters_; ///< of the command that is being made up

    Answers* answers_ = nullptr;  ///< to the queries of the row that is being printed
    Answers* recorded_ = nullptr; ///< where the queries of a row ahead go
    std::uint64_t inner_queries_ = 0;
    Dropping_Printer dropping_printer_;

    struct Sent
    {
        Ticket ticket;
        Statement_Ptr about;
    };
    std::vector<Sent> sent_; ///< the batch under way
};

/// Leaves the connection usable when an operation fails or throws.
class PostgreSQL_Connection::Undo
{
public:
    Undo(PostgreSQL_Connection& connection, Operation operation) : connection_(connection), operation_(operation) {}
    Undo(const Undo&) = delete;
    Undo& operator=(const Undo&) = delete;
    ~Undo()
    {
        if (is_needed_) {
            connection_.recover(operation_);
        }
    }

    void dismiss() { is_needed_ = false; }

private:
    PostgreSQL_Connection& connection_;
    Operation operation_;
    bool is_needed_ = true;
};

// Connection and errors

bool PostgreSQL_Connection::connect()
{
    statements_.clear();
    has_stale_statements_ = false;
    transaction_failed_ = false;
    server_time_limit_ = {};
    return pipeline_.connect(url_)
           || report(Database_Error::CONNECTION_LOST, "cannot connect: " + pipeline_.message(), {});
}

bool PostgreSQL_Connection::be_connected()
{
    if (!is_own_transaction()) {
        return true;
    }
    if (!pipeline_.look_connected() && !connect()) {
        return false;
    }
    if (server_time_limit_ != time_limit_) {
        server_time_limit_ = time_limit_;
        const std::string command = "SET statement_timeout TO " + std::to_string(time_limit_.count());
        pipeline_.drop(pipeline_.run(command.c_str()));
        pipeline_.sync();
    }
    if (has_stale_statements_) {
        has_stale_statements_ = false;
        statements_.clear();
        pipeline_.drop(pipeline_.run("DEALLOCATE ALL"));
        pipeline_.sync(); // else it would be part of the transaction that begins next
    }
    return true;
}

std::optional<Database_Error::Kind> PostgreSQL_Connection::transaction_loss() const
{
    if (!pipeline_.is_connected()) {
        return Database_Error::CONNECTION_LOST;
    }
    return transaction_failed_ ? std::optional(Database_Error::OTHER) : std::nullopt;
}

bool PostgreSQL_Connection::report_failure(const Statement_Ptr& about, Source_Location where)
{
    const Pipeline::Failure& failure = pipeline_.failure();
    Database_Error error;
    if (failure.happened) {
        error.kind = failure.sqlstate.empty() ? Database_Error::OTHER : error_kind(failure.sqlstate);
        error.code = failure.sqlstate;
        error.message = without_value(failure.sqlstate, failure.message);
    } else {
        error.kind = Database_Error::STATEMENT; // libpq did not send it
        error.message = pipeline_.message();
    }
    if (!pipeline_.is_connected()) {
        error.kind = Database_Error::CONNECTION_LOST;
    }
    const Statement_Ptr& statement = failure.statement != nullptr ? failure.statement : about;
    error.statement = statement != nullptr ? *statement : std::string();
    return report(std::move(error), where);
}

bool PostgreSQL_Connection::check(const Result_Ptr& result, const Statement_Ptr& about, Source_Location where)
{
    const ExecStatusType status = PQresultStatus(result.get()); // an error for null
    return status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK || report_failure(about, where);
}

/// The server may answer the end of a transaction that had failed with its rollback, and calls that a success.
bool PostgreSQL_Connection::check_commit(const Result_Ptr& result)
{
    if (!check(result, nullptr)) {
        return false;
    }
    return std::strcmp(PQcmdStatus(result.get()), "COMMIT") == 0
           || report(Database_Error::OTHER, "the transaction had failed and was rolled back", {});
}

void PostgreSQL_Connection::recover(Operation operation)
{
    pipeline_.drop_all();
    pipeline_.drain();
    if (pipeline_.failure().happened) {
        forget_statements(); // it is not known which of them the server has prepared
    }
    const PGTransactionStatusType status = PQtransactionStatus(pipeline_.connection());
    if (is_own_transaction()) {
        if (status != PQTRANS_IDLE) {
            pipeline_.drop(pipeline_.run("ROLLBACK"));
        }
    } else if (operation == Operation::STATEMENTS) {
        pipeline_.drop(pipeline_.run("ROLLBACK TO SAVEPOINT statements"));
        pipeline_.drop(pipeline_.run("RELEASE SAVEPOINT statements"));
    } else if (status == PQTRANS_INTRANS) {
        pipeline_.drop(pipeline_.run("CLOSE ALL"));
    } else {
        transaction_failed_ = true;
    }
    pipeline_.sync();
}

// Statements

bool PostgreSQL_Connection::set_parameters(const SQL& sql, const Rendered_SQL& rendered)
{
    parameters_.clear(Wire_Parameters::BY_VALUE);
    for (std::size_t i = 0; i < rendered.parameters.size(); ++i) {
        const Binding_Value* const value = find_value(sql, rendered, i);
        if (value == nullptr) {
            return !is_looking_ahead() && report_missing_value(rendered, i);
        }
        if (!parameters_.add(*value)) {
            return !is_looking_ahead()
                   && report(Database_Error::CONSTRAINT, "the text of " + rendered.parameters[i] + " holds a NUL",
                             rendered.text);
        }
    }
    return true;
}

/// For the parameters at hand.
Prepared_Ptr PostgreSQL_Connection::prepare(const std::string& text, std::size_t hash, Cut cut,
                                            const Rendered_Ptr& rendered, const Statement_Ptr& about)
{
    const auto [first, last] = statements_.equal_range(hash);
    for (auto place = first; place != last; ++place) {
        const Prepared_Ptr& prepared = place->second;
        const bool is_same = (rendered != nullptr && prepared->rendered == rendered) || prepared->text == text;
        if (is_same && prepared->cut == cut && prepared->signature == parameters_.signature()) {
            prepared->last_use = ++uses_;
            return prepared;
        }
    }
    if (statements_.size() >= kept_statements) {
        forget_oldest();
    }
    auto prepared = std::make_shared<Prepared>();
    prepared->text = text;
    prepared->cut = cut;
    prepared->signature = parameters_.signature();
    prepared->name = 's' + std::to_string(++names_);
    prepared->rendered = rendered;
    prepared->last_use = ++uses_;
    pipeline_.drop(pipeline_.prepare(prepared->name, cut_text(text, cut), parameters_, about));
    statements_.emplace(hash, prepared);
    return prepared;
}

void PostgreSQL_Connection::forget_oldest()
{
    const auto oldest =
        std::ranges::min_element(statements_, {}, [](const auto& entry) { return entry.second->last_use; });
    pipeline_.drop(pipeline_.run(("DEALLOCATE " + oldest->second->name).c_str()));
    statements_.erase(oldest);
}

void PostgreSQL_Connection::forget_statements()
{
    statements_.clear();
    has_stale_statements_ = true;
}

// Queries

bool PostgreSQL_Connection::run_query(const SQL& sql, const Rendered_Ptr& rendered, Query_Result_Printer& printer,
                                      Generate_Mode mode, Query_Result_Handler* handler)
{
    if (is_looking_ahead()) {
        return record(sql, rendered, mode);
    }
    ++inner_queries_;
    const Scoped_Value<Answers*> answers(answers_, nullptr);
    Running query = running(sql, rendered, printer, mode, handler);
    return depth() == 1 ? run_outermost(query) : run_inner(query, answers.before());
}

Running PostgreSQL_Connection::running(const SQL& sql, const Rendered_Ptr& rendered, Query_Result_Printer& printer,
                                       Generate_Mode mode, Query_Result_Handler* handler)
{
    return {sql,
            rendered,
            Statement_Ptr(rendered, &rendered->text),
            mode,
            handler,
            Column_Sink(*this, printer, handler),
            Column_Sink(*this, dropping_printer_, handler)};
}

bool PostgreSQL_Connection::run_outermost(Running& running)
{
    if (!be_connected()) {
        return false;
    }
    pipeline_.begin_scope();
    Undo undo(*this, Operation::QUERY);
    const bool only_reads = running.rendered->composed_select || fits_cursor(running.rendered->text);
    if (is_own_transaction()) {
        // One snapshot for the query and those inside it.
        pipeline_.drop(pipeline_.run(only_reads ? "BEGIN ISOLATION LEVEL REPEATABLE READ" : "BEGIN"));
    }
    if (!run_inner(running, nullptr)) {
        return false;
    }
    if (is_own_transaction()) {
        const Ticket commit = pipeline_.run("COMMIT");
        pipeline_.sync();
        if (only_reads) {
            pipeline_.drop(commit); // nothing depends on it
        } else if (!check_commit(pipeline_.take(commit))) {
            return false;
        }
    } else {
        pipeline_.sync();
    }
    undo.dismiss();
    pipeline_.drop_all();
    return true;
}

/// How a query is cut that is run directly; nothing when it needs a cursor.
std::optional<Cut> cut_of(const Rendered_SQL& rendered, Generate_Mode mode)
{
    if (!rendered.composed_select) {
        return std::nullopt;
    }
    if (rendered.limit.has_value()) {
        return *rendered.limit <= most_rows_directly ? std::optional(Cut::NONE) : std::nullopt;
    }
    return mode == GM_ORM_FIRST_ROW ? Cut::FIRST_ROW : Cut::MANY_ROWS;
}

bool PostgreSQL_Connection::run_inner(Running& running, Answers* answers)
{
    if (answers != nullptr) {
        const auto given = std::ranges::find_if(*answers, [&running](const Answer& answer) {
            // One text may come from statements that number the same names differently.
            const Rendered_SQL& asked = *answer.rendered;
            const Rendered_SQL& wanted = *running.rendered;
            return (&asked == &wanted || (asked.text == wanted.text && asked.parameters == wanted.parameters))
                   && answer.mode == running.mode && answer.bindings == running.sql.bindings();
        });
        if (given != answers->end()) {
            running.prepared = given->prepared;
            const Ticket ticket = given->ticket;
            answers->erase(given);
            return print_direct_result(running, pipeline_.take(ticket));
        }
    }
    if (const auto cut = cut_of(*running.rendered, running.mode)) {
        return run_directly(running, *cut);
    }
    return fits_cursor(running.rendered->text) ? run_by_cursor(running) : run_directly(running, Cut::NONE);
}

bool PostgreSQL_Connection::run_queries(std::span<const Query> queries, std::span<const Rendered_Ptr> rendered)
{
    pipeline_.begin_scope();
    Undo undo(*this, Operation::QUERY);
    struct Asked
    {
        Running query;
        std::optional<Ticket> ticket = std::nullopt;
    };
    std::vector<Asked> all;
    all.reserve(queries.size());
    for (std::size_t i = 0; i < queries.size(); ++i) {
        const Query& query = queries[i];
        all.push_back({running(query.sql, rendered[i], *query.printer, query.mode, nullptr)});
    }
    const auto send_on = [&](std::size_t from) { // up to one that cannot be sent ahead
        for (std::size_t i = from; i < all.size(); ++i) {
            Asked& asked = all[i];
            const auto cut = cut_of(*rendered[i], asked.query.mode);
            if (cut && !ask(asked.query, *cut, asked.ticket)) {
                return false;
            }
            if (!asked.ticket) {
                break;
            }
        }
        pipeline_.sync();
        return true;
    };
    if (!send_on(0)) {
        return false;
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
        auto& [query, ticket] = all[i];
        const bool succeeded =
            ticket ? print_direct_result(query, pipeline_.take(*ticket)) : run_inner(query, nullptr) && send_on(i + 1);
        if (!succeeded) {
            return false;
        }
    }
    undo.dismiss();
    pipeline_.drop_all();
    return true;
}

/// Nothing is printed; the result waits until the row's turn comes.
bool PostgreSQL_Connection::record(const SQL& sql, const Rendered_Ptr& rendered, Generate_Mode mode)
{
    const auto cut = cut_of(*rendered, mode);
    if (!cut || !set_parameters(sql, *rendered)) {
        return true;
    }
    const Statement_Ptr about(rendered, &rendered->text);
    const Prepared_Ptr prepared = prepare(rendered->text, rendered->hash, *cut, rendered, about);
    if (!prepared->has_many_rows) {
        const Ticket ticket = pipeline_.run_prepared(prepared->name, parameters_, about);
        recorded_->push_back({rendered, sql.bindings(), mode, prepared, ticket});
    }
    return true;
}

/// Sends the query; no ticket: it needs a cursor.
bool PostgreSQL_Connection::ask(Running& running, Cut cut, std::optional<Ticket>& ticket)
{
    if (!set_parameters(running.sql, *running.rendered)) {
        return false;
    }
    running.prepared = prepare(running.rendered->text, running.rendered->hash, cut, running.rendered, running.about);
    if (!running.prepared->has_many_rows) {
        ticket = pipeline_.run_prepared(running.prepared->name, parameters_, running.about);
    }
    return true;
}

bool PostgreSQL_Connection::run_directly(Running& running, Cut cut)
{
    std::optional<Ticket> ticket;
    if (!ask(running, cut, ticket)) {
        return false;
    }
    return ticket ? print_direct_result(running, pipeline_.take(*ticket)) : run_by_cursor(running);
}

bool PostgreSQL_Connection::print_direct_result(Running& running, const Result_Ptr& result)
{
    if (!check(result, running.about)) {
        return false;
    }
    if (running.prepared->cut == Cut::MANY_ROWS && PQntuples(result.get()) > most_rows_directly) {
        running.prepared->has_many_rows = true;
        return run_by_cursor(running);
    }
    return make_plan(running, result.get()) && print_rows(running, result.get());
}

bool PostgreSQL_Connection::run_by_cursor(Running& running)
{
    if (!set_parameters(running.sql, *running.rendered)) {
        return false;
    }
    const Prepared_Ptr direct = std::exchange(running.prepared, nullptr);
    const std::string cursor = "c" + std::to_string(depth());
    const std::string declare = "DECLARE " + cursor + " NO SCROLL CURSOR FOR " + running.rendered->text;
    pipeline_.drop(pipeline_.run(declare, parameters_, running.about));
    parameters_.clear(Wire_Parameters::BY_VALUE);
    const auto fetch = [&](int rows) {
        const Ticket ticket =
            pipeline_.run("FETCH " + std::to_string(rows) + " FROM " + cursor, parameters_, running.about);
        pipeline_.flush();
        parameters_.clear(Wire_Parameters::BY_VALUE);
        return ticket;
    };

    int wanted = running.mode == GM_ORM_FIRST_ROW ? 1 : first_fetch;
    Ticket ticket = fetch(wanted);
    std::int64_t total = 0;
    for (bool has_more = true; has_more;) {
        const Result_Ptr result = pipeline_.take(ticket);
        if (!check(result, running.about)) {
            return false;
        }
        const int rows = PQntuples(result.get());
        total += rows;
        has_more = rows == wanted && running.mode != GM_ORM_FIRST_ROW;
        if (has_more) {
            const std::size_t row_size = PQresultMemorySize(result.get()) / static_cast<std::size_t>(rows) + 1;
            wanted = static_cast<int>(std::clamp<std::size_t>(fetch_size / row_size, 1, largest_fetch));
            ticket = fetch(wanted); // under way while these rows are printed
        }
        if ((running.plan == nullptr && !make_plan(running, result.get())) || !print_rows(running, result.get())) {
            return false;
        }
    }
    pipeline_.drop(pipeline_.run(("CLOSE " + cursor).c_str()));
    if (direct != nullptr) {
        direct->has_many_rows = total > most_rows_directly;
    }
    return true;
}

bool PostgreSQL_Connection::make_plan(Running& running, const pg_result* result)
{
    const std::uint64_t handler_id = running.handler != nullptr ? running.handler->id() : 0;
    const int count = PQnfields(result);
    const auto columns = static_cast<std::size_t>(count);
    running.columns = running.mode == GM_FIRST_COL ? std::min<std::size_t>(1, columns) : columns;
    running.queries.assign(running.columns, 0);
    Prepared* const prepared = running.prepared.get();
    if (prepared != nullptr && prepared->plan != nullptr && prepared->plan->handler_id == handler_id) {
        running.plan = prepared->plan;
        return true;
    }
    auto plan = std::make_shared<Plan>();
    plan->handler_id = handler_id;
    const std::vector<std::string>* keys = prepared != nullptr ? &prepared->rendered->keys : &running.rendered->keys;
    if (keys->size() != columns) {
        for (int i = 0; i < count; ++i) {
            plan->keys.emplace_back(PQfname(result, i));
        }
        keys = &plan->keys;
    }
    for (int i = 0; i < count; ++i) {
        const std::string& key = (*keys)[static_cast<std::size_t>(i)];
        const auto type = wire_type(PQftype(result, i), PQfmod(result, i));
        if (!type) {
            return report(Database_Error::STATEMENT,
                          "column \"" + key + "\" has a type that is not read, it must be cast to text",
                          running.rendered->text);
        }
        plan->columns.push_back({*type, running.sink.column(type->kind, key.c_str())});
    }
    running.plan = plan;
    if (prepared != nullptr) {
        prepared->plan = std::move(plan);
    }
    return true;
}

bool PostgreSQL_Connection::print_rows(Running& running, const pg_result* result)
{
    const bool is_row = running.mode != GM_FIRST_COL;
    const int rows = PQntuples(result);
    running.next_ahead = 0;
    for (int row = 0; row < rows; ++row) {
        if (running.has_queries) {
            look_ahead(running, result, row);
        }
        if (is_row && !running.sink.printer().begin_row()) {
            return report_refusal("a row", nullptr, *running.rendered);
        }
        if (!print_row(running, result, row)) {
            return false;
        }
        if (is_row && !running.sink.printer().end_row()) {
            return report_refusal("the end of a row", nullptr, *running.rendered);
        }
        if (running.mode == GM_ORM_FIRST_ROW) {
            break;
        }
    }
    return true;
}

bool PostgreSQL_Connection::print_row(Running& running, const pg_result* result, int row)
{
    Answers answers;
    if (!running.ahead.empty() && running.ahead.front().row == row) {
        answers = std::move(running.ahead.front().answers);
        running.ahead.pop_front();
    }
    const Scoped_Value<Answers*> scope(answers_, &answers);
    for (std::size_t i = 0; i < running.columns; ++i) {
        const std::uint64_t queries_before = inner_queries_;
        const bool is_printed = print_column(running, result, row, i, running.sink);
        if (inner_queries_ != queries_before) {
            running.queries[i] = 1;
            running.has_queries = true;
        }
        if (!is_printed || has_inner_failure()) {
            return report_refusal("column", running.plan->columns[i].column.key, *running.rendered);
        }
    }
    drop(answers); // what was asked for ahead and not now
    return true;
}

bool PostgreSQL_Connection::print_column(const Running& running, const pg_result* result, int row, std::size_t index,
                                         const Column_Sink& sink)
{
    const int i = static_cast<int>(index);
    const auto& [type, column] = running.plan->columns[index];
    if (PQgetisnull(result, row, i) != 0) {
        return sink.null(i, column);
    }
    return print_wire_value(i, type, column, PQgetvalue(result, row, i),
                            static_cast<std::size_t>(PQgetlength(result, row, i)), sink);
}

/// Asks the hooks of the rows from `row` on for their queries and sends these, so that their results come together.
void PostgreSQL_Connection::look_ahead(Running& running, const pg_result* result, int row)
{
    if (!running.looks_ahead || running.ahead.size() >= least_rows_ahead) {
        return;
    }
    const int end = std::min(PQntuples(result), row + static_cast<int>(most_rows_ahead));
    int next = std::max(running.next_ahead, row);
    if (next >= end) {
        return;
    }
    for (; next < end && running.looks_ahead; ++next) {
        running.ahead.push_back({next, {}});
        const Scoped_Value<Answers*> scope(recorded_, &running.ahead.back().answers);
        try {
            for (std::size_t i = 0; i < running.columns; ++i) {
                if (running.queries[i] != 0) {
                    print_column(running, result, next, i, running.ahead_sink);
                }
            }
        } catch (...) {
            running.looks_ahead = false; // it comes again when the row's turn comes
        }
    }
    running.next_ahead = next;
    pipeline_.flush();
}

void PostgreSQL_Connection::drop(const Answers& answers)
{
    for (const Answer& answer : answers) {
        pipeline_.drop(answer.ticket);
    }
}

// Statements that change

bool PostgreSQL_Connection::send(const SQL& sql)
{
    const Rendered_Ptr rendered = sql.rendered(dialect());
    if (!set_parameters(sql, *rendered)) {
        return false;
    }
    const Statement_Ptr about(rendered, &rendered->text);
    const Prepared_Ptr prepared = prepare(rendered->text, rendered->hash, Cut::NONE, rendered, about);
    sent_.push_back({pipeline_.run_prepared(prepared->name, parameters_, about), about});
    return true;
}

bool PostgreSQL_Connection::send(const Insert_SQL& insert)
{
    std::size_t chunk = most_insert_rows;
    while (chunk > 1 && chunk * insert.columns().size() > most_parameters) {
        chunk /= 2;
    }
    // Chunks of few sizes, so that few statements serve all numbers of rows.
    for (std::size_t begin = 0; begin < insert.rows().size();) {
        const std::size_t left = insert.rows().size() - begin;
        while (chunk > left) {
            chunk /= 2;
        }
        const auto text = std::make_shared<const std::string>(insert.str(dialect(), chunk));
        parameters_.clear(Wire_Parameters::BY_SERVER);
        for (std::size_t row = begin; row < begin + chunk; ++row) {
            for (std::size_t column = 0; column < insert.columns().size(); ++column) {
                if (!parameters_.add(insert.rows()[row][column])) {
                    return report(Database_Error::CONSTRAINT,
                                  "the text for column \"" + insert.columns()[column] + "\" holds a NUL", *text);
                }
            }
        }
        const Prepared_Ptr prepared = prepare(*text, std::hash<std::string>()(*text), Cut::NONE, nullptr, text);
        sent_.push_back({pipeline_.run_prepared(prepared->name, parameters_, text), text});
        begin += chunk;
    }
    return true;
}

/// The rows that a statement changed; what a SELECT gives does not count.
std::int64_t changed_rows(pg_result* result)
{
    if (std::strncmp(PQcmdStatus(result), "SELECT", 6) == 0) {
        return 0;
    }
    const char* const text = PQcmdTuples(result);
    std::int64_t rows = 0;
    std::from_chars(text, text + std::strlen(text), rows); // 0 where the text is empty
    return rows;
}

bool PostgreSQL_Connection::send_all(std::span<const Statement> statements)
{
    try {
        return std::ranges::all_of(statements, [this](const Statement& statement) {
            return std::visit([this](const auto& sql) { return send(sql); }, statement);
        });
    } catch (const SQL_Syntax_Error& error) {
        return report(Database_Error::STATEMENT, error.what(), {});
    }
}

bool PostgreSQL_Connection::check_sent(std::int64_t& changed)
{
    return std::ranges::all_of(sent_, [&](const Sent& sent) {
        const Result_Ptr result = pipeline_.take(sent.ticket);
        if (!check(result, sent.about)) {
            return false;
        }
        changed += changed_rows(result.get());
        return true;
    });
}

bool PostgreSQL_Connection::run_statements(std::span<const Statement> statements, std::int64_t& changed)
{
    if (!be_connected()) {
        return false;
    }
    pipeline_.begin_scope();
    Undo undo(*this, Operation::STATEMENTS);
    sent_.clear();
    sent_.push_back({pipeline_.run(is_own_transaction() ? "BEGIN" : "SAVEPOINT statements"), nullptr});
    if (!send_all(statements)) {
        return false;
    }
    const Ticket end = pipeline_.run(is_own_transaction() ? "COMMIT" : "RELEASE SAVEPOINT statements");
    pipeline_.sync();
    if (!check_sent(changed)) {
        return false;
    }
    const Result_Ptr result = pipeline_.take(end);
    if (is_own_transaction() ? !check_commit(result) : !check(result, nullptr)) {
        return false;
    }
    undo.dismiss();
    return true;
}

bool PostgreSQL_Connection::run_script(const std::string& script)
{
    if (!be_connected()) {
        return false;
    }
    pipeline_.drop_all();
    pipeline_.drain();
    const Result_Ptr result = pipeline_.run_script(script);
    forget_statements(); // their columns may have changed
    const PGTransactionStatusType status = PQtransactionStatus(pipeline_.connection());
    transaction_failed_ = !is_own_transaction() && status != PQTRANS_INTRANS;
    const bool left_open = is_own_transaction() && status != PQTRANS_IDLE && pipeline_.is_connected();
    if (left_open) {
        pipeline_.drop(pipeline_.run("ROLLBACK"));
        pipeline_.sync();
    }
    if (result == nullptr) {
        return report(Database_Error::CONNECTION_LOST, "a script cannot copy data; the connection was given up",
                      script);
    }
    if (const char* const sqlstate = PQresultErrorField(result.get(), PG_DIAG_SQLSTATE)) {
        return report(Database_Error{error_kind(sqlstate),
                                     sqlstate,
                                     without_value(sqlstate, PQresultErrorField(result.get(), PG_DIAG_MESSAGE_PRIMARY)),
                                     script,
                                     {}});
    }
    if (!pipeline_.is_connected()) {
        return report(Database_Error::CONNECTION_LOST, pipeline_.message(), script);
    }
    return !left_open || report(Database_Error::STATEMENT, "the script left a transaction open", script);
}

// Transactions

bool PostgreSQL_Connection::run_begin(Transaction kind)
{
    if (!be_connected()) {
        return false;
    }
    pipeline_.begin_scope();
    // It travels with the first statement.
    pipeline_.drop(
        pipeline_.run(kind == Transaction::WRITE ? "BEGIN" : "BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY"));
    return true;
}

bool PostgreSQL_Connection::run_commit(std::span<const Statement> statements)
{
    pipeline_.begin_scope();
    Undo undo(*this, Operation::COMMIT);
    sent_.clear();
    if (!send_all(statements)) {
        return false;
    }
    const Ticket commit = pipeline_.run("COMMIT");
    pipeline_.sync();
    std::int64_t changed = 0;
    if (!check_sent(changed) || !check_commit(pipeline_.take(commit))) {
        return false;
    }
    undo.dismiss();
    return true;
}

bool PostgreSQL_Connection::run_rollback()
{
    transaction_failed_ = false;
    if (!pipeline_.is_connected()) {
        return true; // the server has rolled back
    }
    pipeline_.begin_scope();
    const Ticket rollback = pipeline_.run("ROLLBACK");
    pipeline_.sync();
    const Result_Ptr result = pipeline_.take(rollback);
    pipeline_.drain();
    return !pipeline_.is_connected() || check(result, nullptr);
}

} // namespace

std::unique_ptr<Database_Connection> open_postgresql(const std::string& url, Database_Error& error)
{
    auto connection = std::make_unique<PostgreSQL_Connection>(url);
    if (!connection->connect()) {
        error = connection->last_error();
        return nullptr;
    }
    return connection;
}

} // namespace database_detail
