// A server of connections before a small front, for fuzzers that play its peer.
//
// The server is the real one, on loopback, and lives as long as the process. Its front answers before it returns, so that
// one connection sees the same on each run.
#pragma once

#include "catalog/service/server.h"
#include "fuzz/fuzz.h"

#include <poll.h>
#include <unistd.h>

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <memory>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <utility>
#include <vector>

namespace fuzz {

namespace service = catalog::service;

class Front final : public service::Front
{
public:
    explicit Front(const service::Server_Options& options) : options_(options) {}

    void admit(const std::string&, const std::string* key, Admission_Taker taker) override
    {
        taker(key != nullptr && *key == "wrong" ? 401 : 200, {key != nullptr ? *key : "", service::Role::OPERATOR});
    }

    void answer(service::Web_Request request, const service::Principal&, service::Reply_Taker taker) override
    {
        check(!request.method.empty() && request.method.find_first_of(" \t\r\n") == std::string::npos,
              "a method is one word");
        check(request.path == "*" || request.path.starts_with('/'), "a path begins at the root");
        check(request.path.find('\0') == std::string::npos, "a path has no NUL");
        check(request.body.size() <= options_.body_limit, "a body is within its limit");
        check(request.path.size() + request.query.size() + request.content_type.size() + request.idempotency_key.size()
                  <= options_.header_limit,
              "a header is within its limit");
        service::Reply reply;
        reply.headers.emplace_back("X-Query", request.query);
        reply.content_type = request.content_type;
        if (request.path == "/parts") {
            reply.body = "begin ";
            reply.more = std::make_unique<Parts>(std::move(request.body));
        } else if (request.path == "/nothing") {
            reply.status = 204;
        } else {
            reply.body = std::move(request.body);
        }
        taker(std::move(reply));
    }

    void answer(std::string message, const service::Principal&, service::Reply_Taker taker) override
    {
        check(message.size() <= options_.frame_limit, "a message is within its limit");
        {
            const std::lock_guard lock(mutex_);
            messages_.push_back(message);
        }
        service::Reply reply;
        if (message.starts_with("parts")) {
            reply.more = std::make_unique<Parts>(std::move(message));
        } else {
            reply.body = std::move(message);
        }
        taker(std::move(reply));
    }

    service::Reply refusal(int status, std::string_view message) override
    {
        service::Reply reply;
        reply.status = status;
        reply.body = message;
        return reply;
    }

    /// The messages of WebSockets that have come since the last call.
    std::vector<std::string> take_messages()
    {
        const std::lock_guard lock(mutex_);
        return std::exchange(messages_, {});
    }

private:
    /// Hands out a text in three parts.
    class Parts final : public service::Body_Source
    {
    public:
        explicit Parts(std::string text) : text_(std::move(text)) {}

        void next(Taker taker) override
        {
            Part part;
            part.last = --left_ == 0;
            part.text = text_.substr(0, part.last ? text_.size() : text_.size() / 3);
            text_.erase(0, part.text.size());
            taker(std::move(part));
        }

    private:
        std::string text_;
        int left_ = 3;
    };

    const service::Server_Options options_;
    std::mutex mutex_;
    std::vector<std::string> messages_;
};

/// The front and its server, started when first asked for.
struct Served
{
    Served()
    {
        server = service::Server::start(options, front, error);
        check(server != nullptr, "the server starts");
    }

    static Served& instance()
    {
        static Served the;
        return the;
    }

    static service::Server_Options small()
    {
        service::Server_Options options;
        options.io_threads = 1;
        options.body_limit = 16UL << 10U;
        options.frame_limit = 16UL << 10U;
        options.header_limit = 2UL << 10U;
        options.close_timeout = std::chrono::milliseconds(500);
        return options;
    }

    const service::Server_Options options = small();
    Front front{options};
    std::string error;
    std::unique_ptr<service::Server> server;
};

/// A blocking connection to the server. All it waits for has to come within the deadline: else the server hangs.
class Peer
{
public:
    Peer() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(Served::instance().server->port());
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        check(::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
              "the server accepts");
        const int yes = 1;
        ::setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;
    ~Peer() { ::close(socket_); }

    /// Sends the bytes, until the server wants no more.
    void send(std::string_view bytes)
    {
        while (!bytes.empty()) {
            const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
            if (sent >= 0) {
                bytes.remove_prefix(static_cast<std::size_t>(sent));
            } else if (errno == EAGAIN) {
                wait(POLLOUT);
            } else {
                was_cut_ = true;
                return;
            }
        }
    }

    void send_no_more() { ::shutdown(socket_, SHUT_WR); }

    /// Reads until `end` has come; true when it has, false at the end of the connection.
    bool read_until(std::string_view end)
    {
        while (input_.find(end) == std::string::npos) {
            if (!receive()) {
                return false;
            }
        }
        return true;
    }

    void read_all()
    {
        while (receive()) {
        }
    }

    std::string take_input() { return std::exchange(input_, {}); }

    /// Whether the connection was cut, so that some of what was sent may not have arrived.
    bool was_cut() const { return was_cut_; }

private:
    void wait(short events) const
    {
        constexpr int patience_ms = 10'000;
        pollfd waiting{socket_, events, 0};
        int ready = 0;
        do {
            ready = ::poll(&waiting, 1, patience_ms);
        } while (ready < 0 && errno == EINTR);
        check(ready > 0, "the server goes on within ten seconds");
    }

    bool receive()
    {
        wait(POLLIN);
        char buffer[16384];
        const ssize_t size = ::recv(socket_, buffer, sizeof buffer, 0);
        if (size < 0) {
            was_cut_ = true;
        } else {
            input_.append(buffer, static_cast<std::size_t>(size));
        }
        return size > 0;
    }

    int socket_;
    std::string input_;
    bool was_cut_ = false;
};

/// Whatever a peer has done, the next one is served.
inline void check_is_serving()
{
    Peer peer;
    peer.send("POST /good HTTP/1.1\r\nHost: test\r\nContent-Length: 4\r\nConnection: close\r\n\r\ngood");
    peer.read_all();
    const std::string reply = peer.take_input();
    check(reply.starts_with("HTTP/1.1 200 ") && reply.ends_with("\r\n\r\ngood"), "a good request is answered");
}

} // namespace fuzz
