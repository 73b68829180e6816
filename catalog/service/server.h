// A server of connections on one port: HTTP/1.1 and, at "/rpc", WebSocket, over TCP or TLS, for a front that answers.
//
// All is asynchronous: a connection costs memory but no thread, and a peer that does not read is not written for: of a
// long reply the next part is asked for when the one before has left, and a WebSocket with too many unanswered messages
// is not read. What a peer may ask of the server is bounded by the limits below.
//
// The front is called from the server's threads and must outlive the server; its answers may come from any thread, also
// when the connection or the server is gone: then they are dropped. A function that the front drops without having called
// it counts as an answer 500. A principal stays until the function given with it has been called; a body's source stays
// as long as the function given to its `next`, and should not be touched once that has been called.
//
// The server itself is used by one thread; `port` and `counters` by any.
#pragma once

#include "catalog/service/front.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace catalog::service {

struct Server_Options
{
    std::string host = "127.0.0.1"; ///< address or name to listen on, all addresses that it has; "::1" or "[::1]"
    std::uint16_t port = 0;         ///< 0: any that is free

    std::string certificate_file = {}; ///< PEM, with the chain; empty: no TLS
    std::string key_file = {};         ///< PEM, without a pass phrase
    std::string client_authority_file =
        {}; ///< PEM; when given, a client has to show a certificate signed by one of these

    unsigned io_threads = 2;

    std::size_t body_limit = 64UL << 20U;   ///< bytes of a request's body
    std::size_t frame_limit = 64UL << 20U;  ///< bytes of a WebSocket's message
    std::size_t header_limit = 16UL << 10U; ///< bytes of a request's line and header
    std::size_t memory_limit = 1UL << 30U;  ///< bytes of all requests that are being received or answered
    std::size_t connections = 1024;
    std::size_t requests_in_flight = 256;         ///< over all connections
    std::size_t requests_in_flight_per_peer = 64; ///< of one WebSocket

    std::chrono::milliseconds request_timeout =
        std::chrono::seconds(30); ///< for a whole request or message, or a TLS handshake
    std::chrono::milliseconds idle_timeout = std::chrono::seconds(60);        ///< between requests of HTTP
    std::chrono::milliseconds write_stall_timeout = std::chrono::seconds(60); ///< without the peer taking anything
    std::chrono::milliseconds ping_interval = std::chrono::seconds(30); ///< of silence, before a WebSocket is pinged
    std::chrono::milliseconds ping_timeout = std::chrono::seconds(30);  ///< for the answer to a ping
    std::chrono::milliseconds close_timeout =
        std::chrono::seconds(5); ///< for the peer to take note that we are closing
};

/// What has happened since the start; the first three are as of now.
struct Server_Counters
{
    std::size_t connections = 0;
    std::size_t web_sockets = 0; ///< of the connections
    std::size_t requests_in_flight = 0;
    std::uint64_t accepted = 0;
    std::uint64_t refused_connections = 0; ///< over the limit
    std::uint64_t requests = 0;            ///< of HTTP, handed to the front
    std::uint64_t messages = 0;            ///< of WebSockets, handed to the front
    std::uint64_t refused_requests = 0;    ///< refused by the server itself, or closed for a fault of the peer
};

class Server
{
public:
    /// Listens and serves. Null with the reason in `error` when that cannot be.
    static std::unique_ptr<Server> start(const Server_Options& options, Front& front, std::string& error);

    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    /// Stops without waiting for answers, if it has not been stopped before.
    ~Server();

    std::uint16_t port() const;
    Server_Counters counters() const;

    /// Accepts no more, lets the requests in flight be answered, closes WebSockets as going away, and returns when all
    /// connections are closed; those that are not by the deadline are cut. Not to be called by the front's functions.
    void stop(std::chrono::milliseconds deadline);

private:
    class Impl;
    explicit Server(std::unique_ptr<Impl> impl);

    std::unique_ptr<Impl> impl_;
};

} // namespace catalog::service
