// A raw TCP server for tests of HTTP clients: it reads requests and sends the bytes that it was told, whatever they are.
//
// One script serves all connections: each request that has come whole takes the next reply. A request beyond the script is
// answered by the status 599. Listens on loopback only, with a thread of its own. Thread-safe.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class Scripted_HTTP_Peer
{
public:
    struct Request
    {
        std::string method;
        std::string target;
        std::string version;
        std::map<std::string, std::string> headers; ///< names in lower case
        std::string body;
        std::size_t connection; ///< counted from 1

        /// A header's value; empty when absent.
        std::string header(const std::string& name) const
        {
            const auto found = headers.find(name);
            return found == headers.end() ? std::string() : found->second;
        }
    };

    struct Reply
    {
        std::string bytes;
        bool close = false; ///< afterwards; else the connection stays as it is
        int drip_ms = 0;    ///< sent byte by byte, with so much time before each, from the second on
    };

    struct Options
    {
        bool ipv6 = false;
        bool is_hasty = false; ///< replies to the head of a request, whatever is still to come; for replies that close
        std::string certificate = {}; ///< PEM file; not empty: TLS
        std::string key = {};
        std::string client_authority = {}; ///< PEM file; not empty: clients need a certificate of it
    };

    /// A whole answer with a length; `headers` are whole lines.
    static Reply answer(int status, const std::string& body = {}, const std::string& headers = {});
    /// Sends bytes and ends the connection.
    static Reply last_bytes(const std::string& bytes) { return {bytes, true}; }
    /// Ends the connection without a byte.
    static Reply drop() { return {{}, true}; }
    /// Sends bytes and then nothing more.
    static Reply silence(const std::string& bytes = {}) { return {bytes}; }

    /// Throws std::system_error or, for files that cannot be read, std::runtime_error.
    explicit Scripted_HTTP_Peer(std::vector<Reply> script) : Scripted_HTTP_Peer(std::move(script), Options()) {}
    Scripted_HTTP_Peer(std::vector<Reply> script, const Options& options);
    Scripted_HTTP_Peer(const Scripted_HTTP_Peer&) = delete;
    Scripted_HTTP_Peer& operator=(const Scripted_HTTP_Peer&) = delete;
    ~Scripted_HTTP_Peer();

    std::uint16_t port() const { return port_; }

    std::vector<Request> requests() const;
    /// How many connections were accepted, with TLS also those whose handshake failed.
    std::size_t connections() const;

    /// Whether, within 20 seconds, the clients have closed all connections.
    bool wait_for_the_end_of_all_connections();

    /// Ends all connections by a reset and returns when that is done.
    void reset_connections();

private:
    class Connection;

    void run();
    void accept_connection();
    void note_end();
    bool take(Connection& connection);
    bool reply_to(Connection& connection, Request request);
    bool send(Connection& connection, const Reply& reply);
    bool wait_for_stop(int milliseconds) const;

    struct Free_Context
    {
        void operator()(void* context) const;
    };

    std::unique_ptr<void, Free_Context> tls_;
    const bool is_hasty_;
    int listener_ = -1;
    int wake_ = -1;
    std::uint16_t port_ = 0;
    std::vector<std::unique_ptr<Connection>> connections_; ///< of the thread

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Reply> script_;
    std::vector<Request> requests_;
    std::size_t accepted_ = 0;
    std::size_t open_ = 0;
    bool is_reset_wanted_ = false;
    bool is_stop_wanted_ = false;
    std::thread thread_;
};
