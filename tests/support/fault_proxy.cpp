#include "tests/support/fault_proxy.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <optional>
#include <string_view>
#include <sys/socket.h>
#include <system_error>
#include <utility>

namespace {

constexpr int poll_ms = 50; ///< how long a thread goes without looking whether it has to stop

class Socket
{
public:
    explicit Socket(int fd = -1) : fd_(fd) {}
    Socket(Socket&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Socket& operator=(Socket&& other) noexcept
    {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Socket() { close(); }

    int fd() const { return fd_; }
    explicit operator bool() const { return fd_ != -1; }

    int release() { return std::exchange(fd_, -1); }

    void close()
    {
        if (fd_ != -1) {
            ::close(std::exchange(fd_, -1));
        }
    }

    bool write(std::string_view bytes) const
    {
        while (!bytes.empty()) {
            const ssize_t written = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (written <= 0) {
                return false;
            }
            bytes.remove_prefix(static_cast<std::size_t>(written));
        }
        return true;
    }

    /// Appends what has come. False at the end of the stream.
    bool read(std::string& bytes) const
    {
        char buffer[65536];
        const ssize_t length = ::recv(fd_, buffer, sizeof buffer, 0);
        if (length <= 0) {
            return false;
        }
        bytes.append(buffer, static_cast<std::size_t>(length));
        return true;
    }

private:
    int fd_;
};

sockaddr_in loopback(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

Socket connect_to(std::uint16_t port)
{
    Socket socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in address = loopback(port);
    if (!socket || ::connect(socket.fd(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return Socket();
    }
    const int on = 1;
    ::setsockopt(socket.fd(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return socket;
}

bool is_same_name(std::string_view left, std::string_view right)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    return std::ranges::equal(left, right, {}, lower, lower);
}

/// The value of a header in a message's head.
std::string_view header(std::string_view head, std::string_view name)
{
    for (std::size_t begin = head.find("\r\n"); begin != std::string_view::npos; begin = head.find("\r\n", begin)) {
        begin += 2;
        const std::string_view line = head.substr(begin, head.find("\r\n", begin) - begin);
        const std::size_t colon = line.find(':');
        if (colon != std::string_view::npos && is_same_name(line.substr(0, colon), name)) {
            const std::size_t value = line.find_first_not_of(' ', colon + 1);
            return value == std::string_view::npos ? std::string_view() : line.substr(value);
        }
    }
    return {};
}

struct Message
{
    std::size_t length;
    bool is_upgrade = false;
    bool is_request = true; ///< that a fault may happen to
};

/// The HTTP request at the beginning of what has come, when it has come whole.
std::optional<Message> http_request(std::string_view bytes)
{
    const std::size_t end = bytes.find("\r\n\r\n");
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view head = bytes.substr(0, end + 2);
    const std::string_view length = header(head, "Content-Length");
    std::size_t body = 0;
    std::from_chars(length.data(), length.data() + length.size(), body);
    Message message{end + 4 + body};
    message.is_upgrade = is_same_name(header(head, "Upgrade"), "websocket");
    message.is_request = !message.is_upgrade;
    return bytes.size() < message.length ? std::nullopt : std::optional(message);
}

/// The WebSocket frame at the beginning of what has come, when it has come whole.
std::optional<Message> websocket_frame(std::string_view bytes)
{
    const auto byte = [bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    if (bytes.size() < 2) {
        return std::nullopt;
    }
    std::size_t length = byte(1) & 0x7fu;
    std::size_t head = 2;
    if (length >= 126) {
        const std::size_t bytes_of_length = length == 126 ? 2 : 8;
        if (bytes.size() < head + bytes_of_length) {
            return std::nullopt;
        }
        length = 0;
        for (std::size_t i = 0; i < bytes_of_length; ++i) {
            length = length << 8 | byte(head + i);
        }
        head += bytes_of_length;
    }
    head += (byte(1) & 0x80u) != 0 ? 4 : 0; // the mask
    Message message{head + length};
    message.is_request = (byte(0) & 0x08u) == 0; // not a ping, pong or close
    return bytes.size() < message.length ? std::nullopt : std::optional(message);
}

} // namespace

/// One connection of a client and the one to the service behind it.
class Fault_Proxy::Connection
{
public:
    Connection(Fault_Proxy& proxy, Socket client) :
        proxy_(proxy), client_(std::move(client)), service_(connect_to(proxy.target_))
    {}

    void run()
    {
        while (service_ && !proxy_.stopped_) {
            pollfd sockets[] = {{client_.fd(), POLLIN, 0}, {service_.fd(), POLLIN, 0}};
            if (::poll(sockets, 2, poll_ms) < 0) {
                return;
            }
            if ((sockets[0].revents != 0 && !take_from_client()) || (sockets[1].revents != 0 && !take_from_service())) {
                return;
            }
        }
    }

private:
    bool take_from_client()
    {
        if (!client_.read(bytes_)) {
            return false;
        }
        while (const std::optional<Message> message = is_websocket_ ? websocket_frame(bytes_) : http_request(bytes_)) {
            const std::string text = bytes_.substr(0, message->length);
            bytes_.erase(0, message->length);
            is_websocket_ = is_websocket_ || message->is_upgrade;
            if (!(message->is_request ? pass(text) : service_.write(text))) {
                return false;
            }
        }
        return true;
    }

    bool take_from_service()
    {
        std::string answer;
        return service_.read(answer) && client_.write(answer);
    }

    /// False: the connection has ended.
    bool pass(const std::string& message)
    {
        switch (proxy_.draw()) {
        case DROP_BEFORE_REQUEST:
            return false;
        case DROP_AFTER_REQUEST:
            if (service_.write(message)) {
                client_.close();
                drain();
            }
            return false;
        case DROP_IN_ANSWER: {
            std::string answer;
            if (service_.write(message) && await_answer(answer)) {
                client_.write(answer.substr(0, 1));
            }
            return false;
        }
        case GARBAGE: {
            std::string answer;
            if (service_.write(message) && await_answer(answer)) {
                client_.write(proxy_.garbage());
            }
            return false;
        }
        case DELAY:
            std::this_thread::sleep_for(std::chrono::milliseconds(proxy_.random_delay_ms()));
            return service_.write(message);
        case DUPLICATE:
            return (is_websocket_ ? service_.write(message) : send_beside(message)) && service_.write(message);
        default:
            return service_.write(message);
        }
    }

    /// A network's duplicate of an HTTP request comes on a connection of its own, and nobody reads its answer.
    bool send_beside(const std::string& message) const
    {
        const Socket other = connect_to(proxy_.target_);
        if (other && other.write(message)) {
            ::shutdown(other.fd(), SHUT_WR);
            drain(other);
        }
        return true;
    }

    bool await_answer(std::string& answer) const
    {
        while (!proxy_.stopped_) {
            pollfd socket{service_.fd(), POLLIN, 0};
            if (::poll(&socket, 1, poll_ms) != 0) {
                return service_.read(answer);
            }
        }
        return false;
    }

    /// Reads until the service has answered, so that closing does not take the request away from it.
    void drain() const { drain(service_); }

    void drain(const Socket& socket) const
    {
        std::string ignored;
        for (int waited_ms = 0; waited_ms < 1000 && !proxy_.stopped_; waited_ms += poll_ms) {
            pollfd ready{socket.fd(), POLLIN, 0};
            if (::poll(&ready, 1, poll_ms) != 0) {
                socket.read(ignored);
                return;
            }
        }
    }

    Fault_Proxy& proxy_;
    Socket client_;
    Socket service_;
    std::string bytes_; ///< of a message that has not come whole
    bool is_websocket_ = false;
};

Fault_Proxy::Fault_Proxy(std::uint16_t target_port, std::uint64_t seed, int per_mille) :
    target_(target_port), per_mille_(per_mille), random_(seed)
{
    Socket listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    if (!listener || ::bind(listener.fd(), plain, length) != 0 || ::listen(listener.fd(), 64) != 0
        || ::getsockname(listener.fd(), plain, &length) != 0)
    {
        throw std::system_error(errno, std::generic_category(), "cannot listen");
    }
    port_ = ntohs(address.sin_port);
    listener_ = listener.release();
    acceptor_ = std::thread([this] { accept_connections(); });
}

Fault_Proxy::~Fault_Proxy()
{
    stopped_ = true;
    acceptor_.join();
    for (Running& connection : connections_) {
        connection.thread.join();
    }
    ::close(listener_);
}

void Fault_Proxy::accept_connections()
{
    while (!stopped_) {
        pollfd ready{listener_, POLLIN, 0};
        if (::poll(&ready, 1, poll_ms) <= 0) {
            continue;
        }
        Socket client(::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC));
        if (!client) {
            continue;
        }
        const int on = 1;
        ::setsockopt(client.fd(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        connections_.remove_if([](Running& connection) {
            const bool is_done = connection.is_done;
            if (is_done) {
                connection.thread.join();
            }
            return is_done;
        });
        Running& running = connections_.emplace_back();
        running.thread = std::thread(
            [this, &running](Socket socket) {
                Connection(*this, std::move(socket)).run();
                running.is_done = true;
            },
            std::move(client));
    }
}

Fault_Proxy::Fault Fault_Proxy::draw()
{
    Fault fault = only_;
    if (fault == FAULTS) {
        const std::scoped_lock lock(random_mutex_);
        fault = std::uniform_int_distribution<int>(0, 999)(random_) >= per_mille_
                    ? NONE
                    : static_cast<Fault>(std::uniform_int_distribution<std::size_t>(1, FAULTS - 1)(random_));
    }
    ++counts_[fault];
    return fault;
}

std::string Fault_Proxy::garbage()
{
    const std::scoped_lock lock(random_mutex_);
    std::string bytes(std::uniform_int_distribution<std::size_t>(1, 200)(random_), '\0');
    std::ranges::generate(bytes, [this] { return static_cast<char>(random_()); });
    return bytes;
}

int Fault_Proxy::random_delay_ms()
{
    const std::scoped_lock lock(random_mutex_);
    return std::uniform_int_distribution<int>(1, 200)(random_);
}
