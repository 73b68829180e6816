// A WebSocket server whose answers a test writes down.
//
// It listens on 127.0.0.1 and runs in a thread of its own from the constructor to the destructor, which drops what is
// connected. Thread-safe. Throws std::exception derivates when it cannot be set up.
#pragma once

#include "tests/support/certificates.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class WebSocket_Peer
{
public:
    /// One client. May be kept, but not longer than the peer; when the client has gone nothing happens any more.
    class Connection
    {
    public:
        virtual ~Connection() = default;
        virtual void send(std::string text) = 0;
        virtual void send_binary(std::string bytes) = 0;
        virtual void close(std::uint16_t code) = 0;
        /// Closes the socket without a word.
        virtual void drop() = 0;
        /// Takes nothing more from the client, pings included, and keeps the socket open.
        virtual void fall_silent() = 0;
    };
    using Connection_var = std::shared_ptr<Connection>;

    struct Options
    {
        /// A message came; called in the peer's thread.
        std::function<void(const Connection_var&, std::string text)> on_message = {};
        /// A client has connected, its handshake is done; called in the peer's thread.
        std::function<void(const Connection_var&)> on_open = {};
        Certificate_Files certificate = {}; ///< with it the peer speaks TLS
        std::string client_authority = {};  ///< with it clients need a certificate
        bool answers_handshake = true;      ///< otherwise a client waits for the answer to its request for ever
        unsigned refused_with = 0;          ///< the HTTP status that answers the handshake instead
    };

    struct Handshake
    {
        std::string path;
        std::string host;
        std::string access_key;
        std::string server_name; ///< as TLS tells it; empty: none
    };

    explicit WebSocket_Peer(Options options);
    WebSocket_Peer(const WebSocket_Peer&) = delete;
    WebSocket_Peer& operator=(const WebSocket_Peer&) = delete;
    ~WebSocket_Peer();

    std::uint16_t port() const;

    /// How many clients have connected a socket so far.
    std::size_t accepted() const;
    /// The handshakes that came so far.
    std::vector<Handshake> handshakes() const;
    /// How many pings came so far, and how many connections ended with a code of the client's.
    std::size_t pings() const;
    std::vector<std::uint16_t> close_codes() const;

    /// Waits for one of the above; false when ten seconds did not make it true.
    bool wait_until(const std::function<bool(const WebSocket_Peer&)>& is_true) const;

private:
    class Server;

    std::unique_ptr<Server> server_;
};
