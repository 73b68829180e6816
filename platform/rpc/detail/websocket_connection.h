// One WebSocket connection to a server, and the thread that serves it.
//
// The only source of the library that knows sockets. Owned by a channel. Thread-safe.
#pragma once

#include "platform/rpc/json_rpc_endpoint.h"

#include <memory>
#include <string>
#include <string_view>

class WebSocket_Connection
{
public:
    /// Whom the connection tells what happens; always from its own thread. `closed` comes once, as the last, unless the
    /// connection is halted before.
    class Owner
    {
    public:
        virtual void opened() = 0;

        /// The next message to send, or null.
        virtual std::shared_ptr<const std::string> next_message() = 0;

        /// A message came. What is wrong with it ends the connection; empty: nothing.
        virtual std::string received(std::string_view text) = 0;

        virtual void closed() = 0;

    protected:
        ~Owner() = default;
    };

    /// Readies what connections use for the whole process, so that what a program has done at its exit from now on is done
    /// while they can be used.
    static void prepare_process();

    /// Starts the thread, which connects. Throws std::system_error when there is no thread to be had.
    WebSocket_Connection(const JSON_RPC_Endpoint& endpoint, Owner& owner);
    WebSocket_Connection(const WebSocket_Connection&) = delete;
    WebSocket_Connection& operator=(const WebSocket_Connection&) = delete;

    /// Closes.
    ~WebSocket_Connection();

    /// Closes the connection, waiting a second at most for the peer to agree, and ends the thread.
    void close();

    /// The owner has a message to send.
    void wake();

    /// Ends the connection with a log line that says why.
    void fail(const std::string& reason);

    /// True when the thread has nothing more to do.
    bool is_over() const;

    /// Ends the thread where it stands, telling nobody. The connection stays as it is and is not to be destroyed.
    void halt();

    /// In a child after a fork, where there is no thread: closes the child's copy of the socket. Safe in a handler of
    /// pthread_atfork. The connection is not to be destroyed.
    void close_inherited_socket() const;

private:
    class Thread;

    std::unique_ptr<Thread> thread_;
};
