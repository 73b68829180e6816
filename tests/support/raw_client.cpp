#include "tests/support/raw_client.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <system_error>
#include <utility>

namespace {

constexpr auto patience = std::chrono::seconds(30);

[[noreturn]] void fail(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

int wait(int socket, short events, std::chrono::steady_clock::time_point deadline)
{
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
    pollfd waiting{socket, events, 0};
    const int ready = ::poll(&waiting, 1, static_cast<int>(std::max<long>(left, 0)));
    if (ready < 0 && errno != EINTR) {
        fail("poll");
    }
    return ready;
}

} // namespace

Raw_Client::Raw_Client(std::uint16_t port, const std::string& address)
{
    const bool is_v6 = address.find(':') != std::string::npos;
    socket_ = ::socket(is_v6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket_ < 0) {
        fail("socket");
    }
    sockaddr_in v4{};
    v4.sin_family = AF_INET;
    v4.sin_port = htons(port);
    sockaddr_in6 v6{};
    v6.sin6_family = AF_INET6;
    v6.sin6_port = htons(port);
    void* const target = is_v6 ? static_cast<void*>(&v6.sin6_addr) : static_cast<void*>(&v4.sin_addr);
    const auto* const name = is_v6 ? reinterpret_cast<const sockaddr*>(&v6) : reinterpret_cast<const sockaddr*>(&v4);
    const auto size = static_cast<socklen_t>(is_v6 ? sizeof v6 : sizeof v4);
    if (::inet_pton(is_v6 ? AF_INET6 : AF_INET, address.c_str(), target) != 1 || ::connect(socket_, name, size) != 0) {
        const int error = errno;
        ::close(socket_);
        throw std::system_error(error, std::generic_category(), "connect");
    }
}

Raw_Client::Raw_Client(Raw_Client&& other) noexcept :
    socket_(std::exchange(other.socket_, -1)), input_(std::move(other.input_))
{}

Raw_Client::~Raw_Client()
{
    if (socket_ >= 0) {
        ::close(socket_);
    }
}

void Raw_Client::send(std::string_view bytes)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!bytes.empty()) {
        if (wait(socket_, POLLOUT, deadline) == 0) {
            throw std::runtime_error("the server takes nothing");
        }
        const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0 && errno != EAGAIN) {
            fail("send");
        }
        bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(sent, 0)));
    }
}

std::size_t Raw_Client::send_some(std::string_view bytes)
{
    const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    return static_cast<std::size_t>(std::max<ssize_t>(sent, 0));
}

void Raw_Client::shut_down()
{
    if (::shutdown(socket_, SHUT_WR) != 0) {
        fail("shutdown");
    }
}

void Raw_Client::receive_little()
{
    const int size = 32768;
    if (::setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &size, sizeof size) != 0) {
        fail("setsockopt");
    }
}

bool Raw_Client::receive(std::chrono::steady_clock::time_point deadline)
{
    if (wait(socket_, POLLIN, deadline) == 0) {
        throw std::runtime_error("nothing comes; so far: " + input_.substr(0, 200));
    }
    std::array<char, 65536> buffer;
    const ssize_t size = ::recv(socket_, buffer.data(), buffer.size(), 0);
    if (size > 0) {
        input_.append(buffer.data(), static_cast<std::size_t>(size));
    }
    return size > 0;
}

void Raw_Client::need(std::size_t size)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (input_.size() < size) {
        if (!receive(deadline)) {
            throw std::runtime_error("the connection has ended; so far: " + input_.substr(0, 200));
        }
    }
}

std::string Raw_Client::take(std::size_t size)
{
    need(size);
    std::string taken = input_.substr(0, size);
    input_.erase(0, size);
    return taken;
}

bool Raw_Client::has_input(std::chrono::milliseconds how_long)
{
    return !input_.empty() || wait(socket_, POLLIN, std::chrono::steady_clock::now() + how_long) > 0;
}

bool Raw_Client::ends(std::chrono::milliseconds how_long)
{
    const auto deadline = std::chrono::steady_clock::now() + how_long;
    try {
        while (receive(deadline)) {
        }
    } catch (const std::runtime_error&) {
        return false;
    }
    return true;
}

Raw_Client::Reply Raw_Client::read_reply(bool head)
{
    static constexpr std::string_view end = "\r\n\r\n";
    while (input_.find(end) == std::string::npos) {
        need(input_.size() + 1);
    }
    const std::string text = take(input_.find(end) + end.size());
    Reply reply;
    reply.status = std::stoi(text.substr(text.find(' ') + 1));
    for (std::size_t line = text.find("\r\n") + 2; text.compare(line, 2, "\r\n") != 0;
         line = text.find("\r\n", line) + 2) {
        const std::size_t colon = text.find(": ", line);
        std::string name = text.substr(line, colon - line);
        std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
        reply.headers[name] = text.substr(colon + 2, text.find("\r\n", colon) - colon - 2);
    }
    const bool has_length = reply.headers.count("content-length") != 0;
    reply.is_whole = true;
    if (head || reply.status < 200 || reply.status == 204) {
        return reply;
    }
    try {
        if (reply.header("transfer-encoding") == "chunked") {
            for (;;) {
                while (input_.find("\r\n") == std::string::npos) {
                    need(input_.size() + 1);
                }
                const std::size_t size = std::stoul(take(input_.find("\r\n") + 2), nullptr, 16);
                const std::string chunk = take(size + 2);
                reply.body += chunk.substr(0, size);
                if (size == 0) {
                    return reply;
                }
            }
        } else if (has_length) {
            reply.body = take(std::stoul(reply.header("content-length")));
        } else {
            while (receive(std::chrono::steady_clock::now() + patience)) {
            }
            reply.body = std::exchange(input_, {});
        }
    } catch (const std::runtime_error&) {
        reply.is_whole = false;
    }
    return reply;
}

Raw_Client::Reply Raw_Client::ask(std::string_view request)
{
    send(request);
    return read_reply();
}

Raw_Client::Reply Raw_Client::upgrade(const std::string& path, const std::string& headers)
{
    send("GET " + path
         + " HTTP/1.1\r\nHost: test\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
           "Sec-WebSocket-Key: AAECAwQFBgcICQoLDA0ODw==\r\n"
         + headers + "\r\n");
    return read_reply();
}

std::string Raw_Client::frame(unsigned opcode, std::string_view text, bool last)
{
    static constexpr std::array<unsigned char, 4> mask = {0x5a, 0x01, 0xc3, 0x77};
    std::string bytes;
    bytes += static_cast<char>(opcode | (last ? 0x80U : 0U));
    const auto put = [&](std::uint64_t value, int size) {
        while (size-- > 0) {
            bytes += static_cast<char>(value >> (8 * size) & 0xffU);
        }
    };
    if (text.size() < 126) {
        put(text.size() | 0x80U, 1);
    } else if (text.size() < 65536) {
        put(126 | 0x80U, 1);
        put(text.size(), 2);
    } else {
        put(127 | 0x80U, 1);
        put(text.size(), 8);
    }
    bytes.append(reinterpret_cast<const char*>(mask.data()), mask.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        bytes += static_cast<char>(static_cast<unsigned char>(text[i]) ^ mask.at(i % mask.size()));
    }
    return bytes;
}

void Raw_Client::send_frame(unsigned opcode, std::string_view text, bool last)
{
    send(frame(opcode, text, last));
}

unsigned Raw_Client::Frame::close_code() const
{
    if (opcode != 8 || text.size() < 2) {
        return 0;
    }
    return static_cast<unsigned char>(text[0]) * 256U + static_cast<unsigned char>(text[1]);
}

Raw_Client::Frame Raw_Client::read_frame()
{
    const std::string head = take(2);
    Frame frame;
    frame.opcode = static_cast<unsigned char>(head[0]) & 0x0fU;
    frame.last = (static_cast<unsigned char>(head[0]) & 0x80U) != 0;
    std::size_t size = static_cast<unsigned char>(head[1]);
    if (size > 127) {
        throw std::runtime_error("a server's frame is masked");
    }
    if (size >= 126) {
        const std::string bytes = take(size == 126 ? 2 : 8);
        size = 0;
        for (const char byte : bytes) {
            size = size << 8U | static_cast<unsigned char>(byte);
        }
    }
    frame.text = take(size);
    return frame;
}

std::string Raw_Client::read_message()
{
    std::string message;
    for (;;) {
        const Frame frame = read_frame();
        if (frame.opcode == 8) {
            throw std::runtime_error("closed with " + std::to_string(frame.close_code()));
        }
        if (frame.opcode == 9) {
            send_frame(10, frame.text);
        } else if (frame.opcode < 2) {
            message += frame.text;
            if (frame.last) {
                return message;
            }
        }
    }
}
