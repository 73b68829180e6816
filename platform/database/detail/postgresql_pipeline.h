// Commands to a PostgreSQL server sent ahead of their results.
//
// Each command gets a ticket, by which its result is fetched or dropped later. Results come in the order of the commands;
// what is not asked for yet is kept. After an error the server skips all commands up to the next `sync`.
#pragma once

#include "platform/database/detail/postgresql_values.h"
#include "platform/sql/sql.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

struct pg_conn;
struct pg_result;

namespace database_detail {

struct Result_Deleter
{
    void operator()(pg_result* result) const;
};
using Result_Ptr = std::unique_ptr<pg_result, Result_Deleter>;

class Pipeline
{
public:
    using Ticket = std::uint64_t;
    using Statement_Ptr = std::shared_ptr<const std::string>;

    /// An error that the server reported, or that the connection came to.
    struct Failure
    {
        bool happened = false;
        std::string sqlstate; ///< empty when it is not the server's
        std::string message;
        Statement_Ptr statement; ///< that it is about; may be null
    };

    Pipeline() = default;
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;
    ~Pipeline();

    /// Connects anew; what was under way before is forgotten. False when that fails.
    bool connect(const std::string& url);

    /// The connection works, as far as is known.
    bool is_connected() const;
    /// The same after a look whether the server has hung up meanwhile.
    bool look_connected();

    // Commands. Nothing is waited for; what cannot be sent shows when the result is fetched. `about` is the statement to
    // name in an error.
    Ticket prepare(const std::string& name, const std::string& text, const Wire_Parameters& parameters,
                   const Statement_Ptr& about);
    Ticket run_prepared(const std::string& name, const Wire_Parameters& parameters, const Statement_Ptr& about);
    Ticket run(const std::string& text, const Wire_Parameters& parameters, const Statement_Ptr& about);
    Ticket run(const char* command);
    Ticket sync();

    /// Sends what is still in the buffer.
    void flush();

    /// The result of a command is not wanted.
    void drop(Ticket ticket);

    /// No result is wanted any more.
    void drop_all();

    /// Waits for the result of a command, once per ticket. Null when the connection is lost.
    Result_Ptr take(Ticket ticket);

    /// Syncs if needed and waits until nothing is under way.
    void drain();

    /// From here on `failure` tells of commands that follow the last sync, not of what was dropped before it.
    void begin_scope();
    /// The first error of the scope, in the order of the commands.
    const Failure& failure() const { return failure_; }

    pg_conn* connection() const { return connection_; }

    /// What libpq says of the connection.
    std::string message() const;

    /// Runs a script with the simple protocol. The pipeline must be drained before. Null when it began to copy data to or
    /// from here, which is not possible: the connection is given up then.
    Result_Ptr run_script(const std::string& script);

private:
    struct Slot
    {
        bool is_sync;
        bool is_dropped;
        std::uint64_t syncs; ///< that were sent before it
        Statement_Ptr statement;
        Result_Ptr result;
    };

    void disconnect();
    Ticket push(int sent, bool is_sync, const Statement_Ptr& statement);
    Result_Ptr receive(bool is_sync);
    void read_one();
    void forget_read();

    pg_conn* connection_ = nullptr;
    std::deque<Slot> slots_;
    Ticket first_ = 0;        ///< of the slots
    std::size_t read_ = 0;    ///< how many of them have been read
    std::size_t flushed_ = 0; ///< how many of them the server has been asked to answer
    bool is_synced_ = true;   ///< no command was sent since the last sync
    std::uint64_t syncs_ = 0; ///< that were sent
    std::uint64_t scope_ = 0; ///< the same when the scope began
    Failure failure_;
};

} // namespace database_detail
