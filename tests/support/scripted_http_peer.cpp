#include "tests/support/scripted_http_peer.h"

#include <openssl/ssl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <system_error>
#include <utility>

namespace {

constexpr timeval patience{20, 0}; ///< with a client that stops in the middle of something

[[noreturn]] void fail(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

std::string lower(std::string text)
{
    for (char& c : text) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return text;
}

/// Takes a request off the beginning of what has come, when it has come whole.
std::optional<Scripted_HTTP_Peer::Request> take_request(std::string& bytes, bool without_body)
{
    const std::size_t head_end = bytes.find("\r\n\r\n");
    if (head_end == std::string::npos) {
        return std::nullopt;
    }
    Scripted_HTTP_Peer::Request request{};
    std::size_t begin = bytes.find("\r\n");
    const std::string line = bytes.substr(0, begin);
    const std::size_t first = line.find(' ');
    const std::size_t last = line.rfind(' ');
    request.method = line.substr(0, first);
    request.target = line.substr(first + 1, last - first - 1);
    request.version = line.substr(last + 1);
    while (begin < head_end) {
        begin += 2;
        const std::size_t end = bytes.find("\r\n", begin);
        const std::string field = bytes.substr(begin, end - begin);
        const std::size_t colon = field.find(':');
        const std::size_t value = field.find_first_not_of(' ', colon + 1);
        request.headers[lower(field.substr(0, colon))] = value == std::string::npos ? "" : field.substr(value);
        begin = end;
    }
    const std::size_t length = without_body ? 0 : std::strtoul(request.header("content-length").c_str(), nullptr, 10);
    if (bytes.size() < head_end + 4 + length) {
        return std::nullopt;
    }
    request.body = bytes.substr(head_end + 4, length);
    bytes.erase(0, head_end + 4 + length);
    return request;
}

} // namespace

/// One accepted connection.
class Scripted_HTTP_Peer::Connection
{
public:
    Connection(int socket, std::size_t number) : socket_(socket), number_(number)
    {
        ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        ::setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
        const int on = 1;
        ::setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection()
    {
        ::SSL_free(tls_);
        ::close(socket_);
    }

    bool shake_hands(SSL_CTX* context)
    {
        tls_ = ::SSL_new(context);
        return tls_ != nullptr && ::SSL_set_fd(tls_, socket_) == 1 && ::SSL_accept(tls_) == 1;
    }

    bool read()
    {
        char buffer[65536];
        do {
            const ssize_t length =
                tls_ != nullptr ? ::SSL_read(tls_, buffer, sizeof buffer) : ::recv(socket_, buffer, sizeof buffer, 0);
            if (length <= 0) {
                return false;
            }
            bytes.append(buffer, static_cast<std::size_t>(length));
        } while (tls_ != nullptr && ::SSL_pending(tls_) > 0);
        return true;
    }

    bool write(std::string_view text)
    {
        while (!text.empty()) {
            const ssize_t length = tls_ != nullptr ? ::SSL_write(tls_, text.data(), static_cast<int>(text.size()))
                                                   : ::send(socket_, text.data(), text.size(), MSG_NOSIGNAL);
            if (length <= 0) {
                return false;
            }
            text.remove_prefix(static_cast<std::size_t>(length));
        }
        return true;
    }

    /// A regular end, behind all that was sent.
    void finish()
    {
        if (tls_ != nullptr) {
            ::SSL_shutdown(tls_);
        }
        ::shutdown(socket_, SHUT_WR);
    }

    void reset_at_close() const
    {
        const linger at_once{1, 0};
        ::setsockopt(socket_, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    }

    int socket() const { return socket_; }
    std::size_t number() const { return number_; }

    std::string bytes; ///< what has come and is not part of a whole request yet

private:
    int socket_;
    std::size_t number_;
    SSL* tls_ = nullptr;
};

void Scripted_HTTP_Peer::Free_Context::operator()(void* context) const
{
    ::SSL_CTX_free(static_cast<SSL_CTX*>(context));
}

Scripted_HTTP_Peer::Reply Scripted_HTTP_Peer::answer(int status, const std::string& body, const std::string& headers)
{
    return {"HTTP/1.1 " + std::to_string(status) + " Scripted\r\nContent-Length: " + std::to_string(body.size())
            + "\r\n" + headers + "\r\n" + body};
}

Scripted_HTTP_Peer::Scripted_HTTP_Peer(std::vector<Reply> script, const Options& options) :
    is_hasty_(options.is_hasty), script_(script.begin(), script.end())
{
    if (!options.certificate.empty()) {
        tls_.reset(::SSL_CTX_new(::TLS_server_method()));
        SSL_CTX* context = static_cast<SSL_CTX*>(tls_.get());
        if (context == nullptr || ::SSL_CTX_use_certificate_chain_file(context, options.certificate.c_str()) != 1
            || ::SSL_CTX_use_PrivateKey_file(context, options.key.c_str(), SSL_FILETYPE_PEM) != 1)
        {
            throw std::runtime_error("cannot use " + options.certificate);
        }
        if (!options.client_authority.empty()) {
            if (::SSL_CTX_load_verify_locations(context, options.client_authority.c_str(), nullptr) != 1) {
                throw std::runtime_error("cannot use " + options.client_authority);
            }
            ::SSL_CTX_set_verify(context, SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT, nullptr);
        }
    }
    sockaddr_in6 v6{};
    v6.sin6_family = AF_INET6;
    v6.sin6_addr = in6addr_loopback;
    sockaddr_in v4{};
    v4.sin_family = AF_INET;
    v4.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    sockaddr* address = options.ipv6 ? reinterpret_cast<sockaddr*>(&v6) : reinterpret_cast<sockaddr*>(&v4);
    socklen_t length = options.ipv6 ? sizeof v6 : sizeof v4;
    listener_ = ::socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    wake_ = ::eventfd(0, EFD_CLOEXEC);
    if (listener_ < 0 || wake_ < 0 || ::bind(listener_, address, length) != 0 || ::listen(listener_, 16) != 0
        || ::getsockname(listener_, address, &length) != 0)
    {
        ::close(wake_);
        ::close(listener_);
        fail("cannot listen");
    }
    port_ = ::ntohs(options.ipv6 ? v6.sin6_port : v4.sin_port);
    thread_ = std::thread([this] { run(); });
}

Scripted_HTTP_Peer::~Scripted_HTTP_Peer()
{
    {
        const std::lock_guard lock(mutex_);
        is_stop_wanted_ = true;
    }
    ::eventfd_write(wake_, 1);
    thread_.join();
    ::close(wake_);
    ::close(listener_);
}

std::vector<Scripted_HTTP_Peer::Request> Scripted_HTTP_Peer::requests() const
{
    const std::lock_guard lock(mutex_);
    return requests_;
}

std::size_t Scripted_HTTP_Peer::connections() const
{
    const std::lock_guard lock(mutex_);
    return accepted_;
}

bool Scripted_HTTP_Peer::wait_for_the_end_of_all_connections()
{
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(patience.tv_sec), [this] { return open_ == 0; });
}

void Scripted_HTTP_Peer::reset_connections()
{
    std::unique_lock lock(mutex_);
    is_reset_wanted_ = true;
    ::eventfd_write(wake_, 1);
    changed_.wait(lock, [this] { return !is_reset_wanted_; });
}

void Scripted_HTTP_Peer::run()
{
    sigset_t pipe; // TLS writes without MSG_NOSIGNAL
    ::sigemptyset(&pipe);
    ::sigaddset(&pipe, SIGPIPE);
    ::pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
    for (;;) {
        std::vector<pollfd> watched{{wake_, POLLIN, 0}, {listener_, POLLIN, 0}};
        for (const std::unique_ptr<Connection>& connection : connections_) {
            watched.push_back({connection->socket(), POLLIN, 0});
        }
        if (::poll(watched.data(), watched.size(), -1) < 0) {
            continue;
        }
        if (watched[0].revents != 0) {
            const std::lock_guard lock(mutex_);
            if (is_stop_wanted_) {
                connections_.clear();
                return;
            }
            eventfd_t count;
            ::eventfd_read(wake_, &count);
            for (const std::unique_ptr<Connection>& connection : connections_) {
                connection->reset_at_close();
            }
            connections_.clear();
            open_ = 0;
            is_reset_wanted_ = false;
            changed_.notify_all();
            continue;
        }
        for (std::size_t i = connections_.size(); i-- > 0;) {
            if (watched[i + 2].revents != 0 && !take(*connections_[i])) {
                connections_.erase(connections_.begin() + static_cast<std::ptrdiff_t>(i));
                note_end();
            }
        }
        if (watched[1].revents != 0) {
            accept_connection();
        }
    }
}

void Scripted_HTTP_Peer::accept_connection()
{
    const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket < 0) {
        return;
    }
    std::size_t number;
    {
        const std::lock_guard lock(mutex_);
        number = ++accepted_;
        ++open_;
    }
    auto connection = std::make_unique<Connection>(socket, number);
    if (tls_ == nullptr || connection->shake_hands(static_cast<SSL_CTX*>(tls_.get()))) {
        connections_.push_back(std::move(connection));
    } else {
        note_end();
    }
}

void Scripted_HTTP_Peer::note_end()
{
    const std::lock_guard lock(mutex_);
    --open_;
    changed_.notify_all();
}

bool Scripted_HTTP_Peer::take(Connection& connection)
{
    if (!connection.read()) {
        return false;
    }
    while (std::optional<Request> request = take_request(connection.bytes, is_hasty_)) {
        if (!reply_to(connection, std::move(*request))) {
            return false;
        }
    }
    return true;
}

bool Scripted_HTTP_Peer::reply_to(Connection& connection, Request request)
{
    Reply reply = answer(599);
    {
        const std::lock_guard lock(mutex_);
        request.connection = connection.number();
        requests_.push_back(std::move(request));
        if (!script_.empty()) {
            reply = std::move(script_.front());
            script_.pop_front();
        }
    }
    return send(connection, reply);
}

bool Scripted_HTTP_Peer::send(Connection& connection, const Reply& reply)
{
    if (reply.drip_ms == 0) {
        if (!connection.write(reply.bytes)) {
            return false;
        }
    } else {
        for (std::size_t i = 0; i < reply.bytes.size(); ++i) {
            if ((i > 0 && wait_for_stop(reply.drip_ms))
                || !connection.write(std::string_view(reply.bytes).substr(i, 1))) {
                return false;
            }
        }
    }
    if (reply.close) {
        connection.finish();
    }
    return !reply.close;
}

bool Scripted_HTTP_Peer::wait_for_stop(int milliseconds) const
{
    pollfd wake{wake_, POLLIN, 0};
    return ::poll(&wake, 1, milliseconds) > 0;
}
