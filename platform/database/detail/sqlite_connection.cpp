#include "platform/database/detail/sqlite_connection.h"

#include "platform/database/detail/connection_core.h"
#include "platform/database/detail/sqlite_kind.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <limits>
#include <sqlite3.h>
#include <thread>
#include <unordered_map>
#include <utility>

namespace database_detail {

namespace {

constexpr std::size_t kept_statements = 128;
constexpr int usual_busy_timeout_ms = 5000;

bool is_no_space(int system_errno)
{
    return system_errno == ENOSPC || system_errno == EDQUOT || system_errno == EFBIG;
}

Database_Error::Kind error_kind(int extended_code, int system_errno)
{
    switch (extended_code) {
    case SQLITE_READONLY_DBMOVED:
        return Database_Error::CONNECTION_LOST;
    case SQLITE_IOERR_SHORT_READ:
        return Database_Error::CORRUPT;
    default:
        break;
    }
    switch (extended_code & 0xff) {
    case SQLITE_OK:
        return Database_Error::NONE;
    case SQLITE_ERROR:
    case SQLITE_SCHEMA:
    case SQLITE_RANGE:
    case SQLITE_MISUSE:
        return Database_Error::STATEMENT;
    case SQLITE_CONSTRAINT:
    case SQLITE_MISMATCH:
    case SQLITE_TOOBIG:
        return Database_Error::CONSTRAINT;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL:
        return Database_Error::BUSY;
    case SQLITE_FULL:
        return Database_Error::FULL;
    case SQLITE_IOERR:
        return is_no_space(system_errno) ? Database_Error::FULL : Database_Error::OTHER;
    case SQLITE_READONLY:
        return Database_Error::READ_ONLY;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return Database_Error::CORRUPT;
    case SQLITE_ABORT:
    case SQLITE_INTERRUPT:
        return Database_Error::CANCELLED;
    default:
        return Database_Error::OTHER;
    }
}

/// A prepared statement. One that runs is not taken again: the same text inside itself gets another one.
struct Prepared
{
    std::string text;
    std::shared_ptr<const Rendered_SQL> rendered; ///< holds the keys
    sqlite3_stmt* handle = nullptr;
    bool is_running = false;
    std::uint64_t last_use = 0;
    int preparations = 0; ///< how often SQLite had prepared it anew when the plan was made
    Result_Plan<Kind> plan;

    Prepared() = default;
    Prepared(const Prepared&) = delete;
    Prepared& operator=(const Prepared&) = delete;
    ~Prepared() { sqlite3_finalize(handle); }
};

/// A statement in use; rewound and free again at the end of the scope.
class Running
{
public:
    explicit Running(Prepared* prepared) : prepared_(prepared)
    {
        if (prepared_ != nullptr) {
            prepared_->is_running = true;
        }
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running()
    {
        if (prepared_ != nullptr) {
            sqlite3_reset(prepared_->handle);          // its result is that of the last step, which has been looked at
            sqlite3_clear_bindings(prepared_->handle); // they point to the caller's values
            prepared_->is_running = false;
        }
    }

    explicit operator bool() const { return prepared_ != nullptr; }
    Prepared* operator->() const { return prepared_; }
    Prepared& operator*() const { return *prepared_; }

private:
    Prepared* prepared_;
};

class SQLite_Connection final : public Connection_Core
{
public:
    ~SQLite_Connection() override
    {
        statements_.clear();
        sqlite3_close(db_);
    }

    bool open(const std::string& path, int busy_timeout_ms);

    SQL_Dialect dialect() const override { return SQL_Dialect::SQLITE; }

private:
    bool run_query(const SQL& sql, const Rendered_Ptr& rendered, database::sql::Query_Result_Printer& printer,
                   Generate_Mode mode, database::sql::Query_Result_Handler* handler) override;
    bool run_statements(std::span<const Statement> statements, std::int64_t& changed) override;
    bool run_script(const std::string& script) override;
    bool run_begin(Transaction kind) override;
    bool run_commit(std::span<const Statement> statements) override;
    bool run_rollback() override { return !is_in_transaction() || run("ROLLBACK"); }
    std::optional<Database_Error::Kind> transaction_loss() const override
    {
        return is_in_transaction() ? std::nullopt : std::optional(Database_Error::OTHER);
    }

    bool is_in_transaction() const { return sqlite3_get_autocommit(db_) == 0; }

    /// Begins to count the time of an operation.
    void start_clock();
    static int is_late(void* self);

    /// Outside of a transaction: the file is still where it was opened. What is written to one that was removed is lost.
    bool check_file();

    bool report_engine(const std::string& statement, Source_Location where = Source_Location::current());
    bool report_open_failure(int code, const std::string& path);
    bool use_wal(int busy_timeout_ms);

    Prepared* prepare(const std::string& text, std::size_t hash, const Rendered_Ptr& rendered);
    void forget_oldest();
    bool run(const char* text);
    bool bind(Prepared& prepared, int position, const Binding_Value& value);
    bool bind(Prepared& prepared, const SQL& sql, const Rendered_SQL& rendered);
    bool step_to_end(Prepared& prepared, std::int64_t& changed);
    bool run_each(std::span<const Statement> statements, std::int64_t& changed);
    bool run_statement(const SQL& sql, std::int64_t& changed);
    bool run_statement(const Insert_SQL& insert, std::int64_t& changed);

    void make_plan(Prepared& prepared, const Column_Sink& sink, std::uint64_t handler_id);
    bool print_row(Prepared& prepared, const Column_Sink& sink, std::size_t columns);
    bool print_column(sqlite3_stmt* handle, int index, Kind kind, const Column& column, const Column_Sink& sink);
    bool print_by_value(sqlite3_value* value, int index, const Column& column, const Column_Sink& sink);

    sqlite3* db_ = nullptr;
    std::unordered_multimap<std::size_t, Prepared> statements_; ///< by the hash of their text
    std::uint64_t uses_ = 0;
    std::chrono::steady_clock::time_point deadline_{};
};

bool SQLite_Connection::report_engine(const std::string& statement, Source_Location where)
{
    const int call_errno = errno; // SQLite does not keep that of a commit
    const int system_errno = is_no_space(call_errno) ? call_errno : sqlite3_system_errno(db_);
    const int code = sqlite3_extended_errcode(db_);
    return report(
        Database_Error{error_kind(code, system_errno), std::to_string(code), sqlite3_errmsg(db_), statement, {}},
        where);
}

bool SQLite_Connection::report_open_failure(int code, const std::string& path)
{
    std::error_code ignored; // the reason is looked for, nothing more
    std::string message = "cannot open " + path + ": ";
    const std::filesystem::path parent = std::filesystem::path(path).parent_path();
    if ((code & 0xff) == SQLITE_CANTOPEN && !parent.empty() && !std::filesystem::is_directory(parent, ignored)) {
        message += "there is no directory " + parent.string();
    } else if (std::filesystem::is_directory(path, ignored)) {
        message += "it is a directory";
    } else {
        message += sqlite3_errmsg(db_);
    }
    const int system_errno = db_ != nullptr ? sqlite3_system_errno(db_) : 0;
    return report(Database_Error{error_kind(code, system_errno), std::to_string(code), std::move(message), {}, {}});
}

bool SQLite_Connection::open(const std::string& path, int busy_timeout_ms)
{
    // A relative path gets a prefix, for some names (":x:", "file:x") mean something else to SQLite.
    const bool is_memory = path == ":memory:";
    const std::string name = is_memory || path.starts_with('/') ? path : "./" + path;
    if (path.empty() || path.find('\0') != std::string::npos) {
        return report(Database_Error::OTHER, "the path of the database is empty or holds a NUL", {});
    }
    constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
    const int code = sqlite3_open_v2(name.c_str(), &db_, flags, nullptr);
    if (code != SQLITE_OK) {
        return report_open_failure(code, path);
    }
    sqlite3_busy_timeout(db_, busy_timeout_ms);
    // A name in double quotes that is no column must not become a text.
    sqlite3_db_config(db_, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
    sqlite3_db_config(db_, SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
    if (!use_wal(busy_timeout_ms)
        || sqlite3_exec(db_, "PRAGMA synchronous=FULL; PRAGMA foreign_keys=ON", nullptr, nullptr, nullptr) != SQLITE_OK)
    {
        return report_open_failure(sqlite3_extended_errcode(db_), path);
    }
    return true;
}

/// Where several processes make the same new file, SQLite may refuse the change of mode at once.
bool SQLite_Connection::use_wal(int busy_timeout_ms)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(busy_timeout_ms);
    for (;;) {
        const int code = sqlite3_exec(db_, "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr) & 0xff;
        if (code == SQLITE_OK || code == SQLITE_READONLY) {
            return true; // a file that cannot be written is read in the mode that it has
        }
        if (code != SQLITE_BUSY || std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

void SQLite_Connection::start_clock()
{
    constexpr int steps_between_looks = 2000; // of the engine's machine: some ten microseconds
    const bool is_limited = time_limit_.count() > 0;
    deadline_ = std::chrono::steady_clock::now() + time_limit_;
    sqlite3_progress_handler(db_, is_limited ? steps_between_looks : 0, is_limited ? is_late : nullptr, this);
}

int SQLite_Connection::is_late(void* self)
{
    return std::chrono::steady_clock::now() > static_cast<SQLite_Connection*>(self)->deadline_ ? 1 : 0;
}

bool SQLite_Connection::check_file()
{
    int has_moved = 0;
    sqlite3_file_control(db_, nullptr, SQLITE_FCNTL_HAS_MOVED, &has_moved); // leaves it 0 where there is no file
    return is_in_transaction() || has_moved == 0
           || report(Database_Error::CONNECTION_LOST, "the database file was removed or replaced", {});
}

Prepared* SQLite_Connection::prepare(const std::string& text, std::size_t hash, const Rendered_Ptr& rendered)
{
    const auto [first, last] = statements_.equal_range(hash);
    for (auto place = first; place != last; ++place) {
        Prepared& prepared = place->second;
        if (!prepared.is_running && prepared.text == text) {
            prepared.last_use = ++uses_;
            return &prepared;
        }
    }
    if (statements_.size() >= kept_statements) {
        forget_oldest();
    }
    sqlite3_stmt* handle = nullptr;
    const int code = sqlite3_prepare_v3(db_, text.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &handle, nullptr);
    if (code != SQLITE_OK) {
        report_engine(text);
        return nullptr;
    }
    Prepared& prepared =
        statements_.emplace(std::piecewise_construct, std::forward_as_tuple(hash), std::tuple())->second;
    prepared.text = text;
    prepared.rendered = rendered;
    prepared.handle = handle;
    prepared.last_use = ++uses_;
    return &prepared;
}

void SQLite_Connection::forget_oldest()
{
    auto oldest = statements_.end();
    for (auto place = statements_.begin(); place != statements_.end(); ++place) {
        if (!place->second.is_running
            && (oldest == statements_.end() || place->second.last_use < oldest->second.last_use)) {
            oldest = place;
        }
    }
    if (oldest != statements_.end()) {
        statements_.erase(oldest);
    }
}

bool SQLite_Connection::run(const char* text)
{
    return sqlite3_exec(db_, text, nullptr, nullptr, nullptr) == SQLITE_OK || report_engine(text);
}

/// The statement points to the value, which must stay until the statement is rewound.
bool SQLite_Connection::bind(Prepared& prepared, int position, const Binding_Value& value)
{
    struct Binder
    {
        sqlite3_stmt* handle;
        int position;

        int operator()(std::monostate) const { return sqlite3_bind_null(handle, position); }
        int operator()(bool boolean) const { return sqlite3_bind_int(handle, position, boolean ? 1 : 0); }
        int operator()(std::int64_t integer) const { return sqlite3_bind_int64(handle, position, integer); }
        int operator()(std::uint64_t integer) const
        {
            return sqlite3_bind_int64(handle, position, static_cast<std::int64_t>(integer)); // two's complement
        }
        int operator()(double real) const { return sqlite3_bind_double(handle, position, real); }
        int operator()(const Binding_Value::UUID& uuid) const
        {
            return sqlite3_bind_blob64(handle, position, uuid.data(), uuid.size(), SQLITE_STATIC);
        }
        int operator()(const std::string& text) const
        {
            return sqlite3_bind_text64(handle, position, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
        }
        int operator()(const Binding_Value::Bytes& bytes) const
        {
            return sqlite3_bind_blob64(handle, position, bytes.bytes.data(), bytes.bytes.size(), SQLITE_STATIC);
        }
    };
    return std::visit(Binder{prepared.handle, position}, value.held()) == SQLITE_OK || report_engine(prepared.text);
}

bool SQLite_Connection::bind(Prepared& prepared, const SQL& sql, const Rendered_SQL& rendered)
{
    for (std::size_t i = 0; i < rendered.parameters.size(); ++i) {
        const Binding_Value* const value = find_value(sql, rendered, i);
        if (value == nullptr) {
            return report_missing_value(rendered, i);
        }
        if (!bind(prepared, static_cast<int>(i) + 1, *value)) {
            return false;
        }
    }
    return true;
}

bool SQLite_Connection::step_to_end(Prepared& prepared, std::int64_t& changed)
{
    const std::int64_t before = sqlite3_total_changes64(db_);
    int code = SQLITE_ROW;
    while (code == SQLITE_ROW) {
        code = sqlite3_step(prepared.handle);
    }
    if (code != SQLITE_DONE) {
        return report_engine(prepared.text);
    }
    if (sqlite3_total_changes64(db_) != before) {
        changed += sqlite3_changes64(db_); // which is of the last statement that changed rows
    }
    return true;
}

bool SQLite_Connection::run_statement(const SQL& sql, std::int64_t& changed)
{
    const Rendered_Ptr rendered = sql.rendered(dialect());
    const Running prepared(prepare(rendered->text, rendered->hash, rendered));
    return prepared && bind(*prepared, sql, *rendered) && step_to_end(*prepared, changed);
}

bool SQLite_Connection::run_statement(const Insert_SQL& insert, std::int64_t& changed)
{
    if (insert.rows().empty()) {
        return true;
    }
    const std::string text = insert.str(dialect());
    const Running prepared(prepare(text, std::hash<std::string>()(text), nullptr));
    if (!prepared) {
        return false;
    }
    for (const std::vector<Binding_Value>& row : insert.rows()) {
        int position = 0;
        for (const Binding_Value& value : row) {
            if (!bind(*prepared, ++position, value)) {
                return false;
            }
        }
        if (!step_to_end(*prepared, changed)) {
            return false;
        }
        sqlite3_reset(prepared->handle);
    }
    return true;
}

bool SQLite_Connection::run_each(std::span<const Statement> statements, std::int64_t& changed)
{
    try {
        return std::ranges::all_of(statements, [&](const Statement& statement) {
            return std::visit([&](const auto& sql) { return run_statement(sql, changed); }, statement);
        });
    } catch (const SQL_Syntax_Error& error) {
        return report(Database_Error::STATEMENT, error.what(), {});
    }
}

bool SQLite_Connection::run_statements(std::span<const Statement> statements, std::int64_t& changed)
{
    const bool is_inner = transaction() != Transaction::NONE;
    start_clock();
    if (!check_file() || !run(is_inner ? "SAVEPOINT statements" : "BEGIN IMMEDIATE")) {
        return false;
    }
    const bool succeeded = run_each(statements, changed) && run(is_inner ? "RELEASE statements" : "COMMIT");
    if (!succeeded && is_in_transaction()) { // the engine may have rolled back by itself
        const char* const undo = is_inner ? "ROLLBACK TO statements; RELEASE statements" : "ROLLBACK";
        sqlite3_exec(db_, undo, nullptr, nullptr, nullptr); // the reason has been reported
    }
    return succeeded;
}

bool SQLite_Connection::run_script(const std::string& script)
{
    start_clock();
    if (!check_file()) {
        return false;
    }
    const bool was_in_transaction = is_in_transaction();
    const int code = sqlite3_exec(db_, script.c_str(), nullptr, nullptr, nullptr);
    const bool succeeded = code == SQLITE_OK || report_engine(script);
    if (!was_in_transaction && is_in_transaction()) {
        sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
        return succeeded && report(Database_Error::STATEMENT, "the script left a transaction open", script);
    }
    return succeeded;
}

bool SQLite_Connection::run_begin(Transaction kind)
{
    return check_file() && run(kind == Transaction::WRITE ? "BEGIN IMMEDIATE" : "BEGIN");
}

bool SQLite_Connection::run_commit(std::span<const Statement> statements)
{
    start_clock();
    std::int64_t changed = 0;
    if (run_each(statements, changed) && run("COMMIT")) {
        return true;
    }
    if (is_in_transaction()) {
        sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr); // the reason has been reported
    }
    return false;
}

void SQLite_Connection::make_plan(Prepared& prepared, const Column_Sink& sink, std::uint64_t handler_id)
{
    const int preparations = sqlite3_stmt_status(prepared.handle, SQLITE_STMTSTATUS_REPREPARE, 0);
    Result_Plan<Kind>& plan = prepared.plan;
    if (plan.is_made && plan.handler_id == handler_id && prepared.preparations == preparations) {
        return;
    }
    const int count = sqlite3_column_count(prepared.handle);
    const auto columns = static_cast<std::size_t>(count);
    const std::vector<std::string>* keys = prepared.rendered != nullptr ? &prepared.rendered->keys : nullptr;
    if (keys == nullptr || keys->size() != columns) {
        plan.keys.resize(columns);
        for (int i = 0; i < count; ++i) {
            const char* const name = sqlite3_column_name(prepared.handle, i);
            plan.keys[static_cast<std::size_t>(i)] = name != nullptr ? name : "";
        }
        keys = &plan.keys;
    }
    plan.columns.clear();
    for (int i = 0; i < count; ++i) {
        const Kind kind = sqlite_kind(sqlite3_column_decltype(prepared.handle, i));
        plan.columns.push_back({kind, sink.column(kind, (*keys)[static_cast<std::size_t>(i)].c_str())});
    }
    plan.handler_id = handler_id;
    prepared.preparations = preparations;
    plan.is_made = true;
}

bool SQLite_Connection::run_query(const SQL& sql, const Rendered_Ptr& rendered,
                                  database::sql::Query_Result_Printer& printer, Generate_Mode mode,
                                  database::sql::Query_Result_Handler* handler)
{
    if (depth() == 1) {
        start_clock();
        if (!check_file()) {
            return false;
        }
    }
    const Running prepared(prepare(rendered->text, rendered->hash, rendered));
    if (!prepared || !bind(*prepared, sql, *rendered)) {
        return false;
    }
    if (transaction() == Transaction::READ && sqlite3_stmt_readonly(prepared->handle) == 0) {
        return report(Database_Error::READ_ONLY, "the open transaction is for reading", rendered->text);
    }
    const Column_Sink sink(*this, printer, handler);
    int code = sqlite3_step(prepared->handle);
    if (code == SQLITE_ROW) {
        make_plan(*prepared, sink, handler != nullptr ? handler->id() : 0);
    }
    const std::size_t columns =
        mode == GM_FIRST_COL ? std::min<std::size_t>(1, prepared->plan.columns.size()) : prepared->plan.columns.size();
    for (; code == SQLITE_ROW; code = sqlite3_step(prepared->handle)) {
        if (mode != GM_FIRST_COL && !printer.begin_row()) {
            return report_refusal("a row", nullptr, *rendered);
        }
        if (!print_row(*prepared, sink, columns)) {
            return false;
        }
        if (mode != GM_FIRST_COL && !printer.end_row()) {
            return report_refusal("the end of a row", nullptr, *rendered);
        }
        if (mode == GM_ORM_FIRST_ROW) {
            return true;
        }
    }
    return code == SQLITE_DONE || report_engine(rendered->text);
}

bool SQLite_Connection::print_row(Prepared& prepared, const Column_Sink& sink, std::size_t columns)
{
    for (std::size_t i = 0; i < columns; ++i) {
        const auto& [kind, column] = prepared.plan.columns[i];
        if (!print_column(prepared.handle, static_cast<int>(i), kind, column, sink) || has_inner_failure()) {
            return report_refusal("column", column.key, *prepared.rendered);
        }
    }
    return true;
}

const char* text_of(sqlite3_value* value)
{
    const auto* const text = reinterpret_cast<const char*>(sqlite3_value_text(value));
    if (text == nullptr) {
        throw std::bad_alloc(); // of a value that is not NULL
    }
    return text;
}

std::size_t length_of(sqlite3_value* value)
{
    return static_cast<std::size_t>(sqlite3_value_bytes(value));
}

bool SQLite_Connection::print_column(sqlite3_stmt* handle, int index, Kind kind, const Column& column,
                                     const Column_Sink& sink)
{
    // Each question to the statement would look the column up anew. The value is "unprotected": asking it directly is
    // safe as long as no other thread uses the connection, which has no mutex and belongs to this thread.
    sqlite3_value* const value = sqlite3_column_value(handle, index);
    const int type = sqlite3_value_type(value);
    if (type == SQLITE_NULL) {
        return sink.null(index, column);
    }
    switch (kind) {
    case Kind::TEXT:
        if (type == SQLITE_TEXT) {
            const char* const text = text_of(value);
            return sink.text(index, column, text, length_of(value));
        }
        break;
    case Kind::INTEGER:
        if (type == SQLITE_INTEGER) {
            return sink.integer(index, column, sqlite3_value_int64(value));
        }
        break;
    case Kind::UNSIGNED:
        if (type == SQLITE_INTEGER) {
            return sink.unsigned_integer(index, column, static_cast<std::uint64_t>(sqlite3_value_int64(value)));
        }
        break;
    case Kind::BOOLEAN:
        if (type == SQLITE_INTEGER) {
            return sink.boolean(index, column, sqlite3_value_int64(value) != 0);
        }
        break;
    case Kind::JSON:
        if (type != SQLITE_BLOB) { // a number is JSON too
            const char* const text = text_of(value);
            return sink.json(index, column, text, length_of(value));
        }
        break;
    case Kind::UUID:
        if (type == SQLITE_BLOB && length_of(value) == std::tuple_size_v<UUID_Bytes>) {
            return sink.uuid(index, column, static_cast<const unsigned char*>(sqlite3_value_blob(value)));
        }
        break;
    case Kind::BYTES:
    case Kind::REAL:
    case Kind::BY_VALUE:
        break;
    }
    return print_by_value(value, index, column, sink);
}

bool SQLite_Connection::print_by_value(sqlite3_value* value, int index, const Column& column, const Column_Sink& sink)
{
    switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
        return sink.integer(index, column, sqlite3_value_int64(value));
    case SQLITE_FLOAT:
        return sink.real(index, column, sqlite3_value_double(value));
    case SQLITE_BLOB: {
        const auto* const bytes = static_cast<const char*>(sqlite3_value_blob(value));
        const std::string with_nul(bytes != nullptr ? bytes : "", length_of(value));
        return sink.bytes(index, column, with_nul.c_str(), with_nul.size());
    }
    default: {
        const char* const text = text_of(value);
        return sink.text(index, column, text, length_of(value));
    }
    }
}

} // namespace

std::unique_ptr<Database_Connection> open_sqlite(const std::string& location, Database_Error& error)
{
    constexpr std::string_view option = "?busy_timeout=";
    std::string path = location;
    int busy_timeout_ms = usual_busy_timeout_ms;
    if (const std::size_t place = location.rfind(option); place != std::string::npos) {
        const char* const begin = location.data() + place + option.size();
        const char* const end = location.data() + location.size();
        int number = 0;
        const auto [stop, code] = std::from_chars(begin, end, number);
        if (code == std::errc() && stop == end && number >= 0) {
            busy_timeout_ms = number;
            path.resize(place);
        }
    }
    auto connection = std::make_unique<SQLite_Connection>();
    if (!connection->open(path, busy_timeout_ms)) {
        error = connection->last_error();
        return nullptr;
    }
    return connection;
}

} // namespace database_detail
