#include "tests/support/fault_proxy.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <arpa/inet.h>
#include <chrono>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <thread>

namespace {

sockaddr_in loopback(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

/// Answers each request "GET /" on any connection with "answer" and counts them.
class Service
{
public:
    Service()
    {
        sockaddr_in address = loopback(0);
        socklen_t length = sizeof address;
        listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(::bind(listener_, reinterpret_cast<sockaddr*>(&address), length), 0);
        EXPECT_EQ(::listen(listener_, 16), 0);
        EXPECT_EQ(::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length), 0);
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { run(); });
    }
    ~Service()
    {
        stopped_ = true;
        thread_.join();
        ::close(listener_);
    }

    std::uint16_t port() const { return port_; }
    int requests() const { return requests_; }

    /// Waits for requests that nobody awaits the answer of.
    int requests_when_at_least(int expected) const
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (requests_ < expected && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return requests_;
    }

private:
    void run()
    {
        std::list<std::thread> connections;
        while (!stopped_) {
            pollfd ready{listener_, POLLIN, 0};
            if (::poll(&ready, 1, 20) > 0) {
                connections.emplace_back([this, fd = ::accept(listener_, nullptr, nullptr)] {
                    char buffer[4096];
                    ssize_t length = 0;
                    while ((length = ::recv(fd, buffer, sizeof buffer, 0)) > 0) {
                        const std::string text(buffer, static_cast<std::size_t>(length));
                        for (std::size_t at = text.find("GET /"); at != std::string::npos;
                             at = text.find("GET /", at + 1)) {
                            ++requests_;
                            ::send(fd, "answer", 6, MSG_NOSIGNAL);
                        }
                    }
                    ::close(fd);
                });
            }
        }
        for (std::thread& connection : connections) {
            connection.join();
        }
    }

    int listener_ = -1;
    std::uint16_t port_ = 0;
    std::atomic<int> requests_{0};
    std::atomic<bool> stopped_{false};
    std::thread thread_;
};

/// What a client gets for one request, until nothing more comes or the connection ends ("…|").
std::string ask(std::uint16_t port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(port);
    EXPECT_EQ(::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    const std::string_view request = "GET / HTTP/1.1\r\nHost: a\r\nContent-Length: 3\r\n\r\nabc";
    EXPECT_EQ(::send(fd, request.data(), request.size(), MSG_NOSIGNAL), static_cast<ssize_t>(request.size()));
    std::string answer;
    while (answer != "answer") {
        pollfd ready{fd, POLLIN, 0};
        char buffer[4096];
        const ssize_t length = ::poll(&ready, 1, 5000) > 0 ? ::recv(fd, buffer, sizeof buffer, 0) : 0;
        if (length <= 0) {
            answer += '|';
            break;
        }
        answer.append(buffer, static_cast<std::size_t>(length));
    }
    ::close(fd);
    return answer;
}

class Fault_Proxy_Test : public testing::Test
{
protected:
    /// The answer to a request that this happens to.
    std::string ask_with(Fault_Proxy::Fault fault)
    {
        proxy_.only(fault);
        std::string answer = ask(proxy_.port());
        EXPECT_EQ(proxy_.count(fault), 1);
        return answer;
    }

    Service service_;
    Fault_Proxy proxy_{service_.port(), 1, 0};
};

} // namespace

TEST_F(Fault_Proxy_Test, passes_requests_and_answers)
{
    EXPECT_EQ(ask_with(Fault_Proxy::NONE), "answer");
    EXPECT_EQ(service_.requests(), 1);
}

TEST_F(Fault_Proxy_Test, drop_before_the_request_keeps_it_from_the_service)
{
    EXPECT_EQ(ask_with(Fault_Proxy::DROP_BEFORE_REQUEST), "|");
    EXPECT_EQ(service_.requests(), 0);
}

TEST_F(Fault_Proxy_Test, drop_after_the_request_gives_the_service_the_request)
{
    EXPECT_EQ(ask_with(Fault_Proxy::DROP_AFTER_REQUEST), "|");
    proxy_.only(Fault_Proxy::NONE);
    EXPECT_EQ(ask(proxy_.port()), "answer");
    EXPECT_EQ(service_.requests_when_at_least(2), 2);
}

TEST_F(Fault_Proxy_Test, drop_in_the_answer_lets_one_byte_through)
{
    EXPECT_EQ(ask_with(Fault_Proxy::DROP_IN_ANSWER), "a|");
    EXPECT_EQ(service_.requests(), 1);
}

TEST_F(Fault_Proxy_Test, delayed_request_is_answered)
{
    EXPECT_EQ(ask_with(Fault_Proxy::DELAY), "answer");
}

TEST_F(Fault_Proxy_Test, duplicate_reaches_the_service_twice_and_is_answered_once)
{
    EXPECT_EQ(ask_with(Fault_Proxy::DUPLICATE), "answer");
    EXPECT_EQ(service_.requests_when_at_least(2), 2);
}

TEST_F(Fault_Proxy_Test, garbage_comes_instead_of_the_answer)
{
    const std::string answer = ask_with(Fault_Proxy::GARBAGE);
    EXPECT_GT(answer.size(), 1u);
    EXPECT_NE(answer, "answer");
    EXPECT_EQ(service_.requests(), 1);
}

TEST_F(Fault_Proxy_Test, same_seed_draws_the_same_faults)
{
    std::string draws[2];
    for (std::string& drawn : draws) {
        Fault_Proxy proxy(service_.port(), 42, 500);
        for (int i = 0; i < 20; ++i) {
            int before[Fault_Proxy::FAULTS];
            for (std::size_t fault = 0; fault < Fault_Proxy::FAULTS; ++fault) {
                before[fault] = proxy.count(static_cast<Fault_Proxy::Fault>(fault));
            }
            ask(proxy.port());
            for (std::size_t fault = 0; fault < Fault_Proxy::FAULTS; ++fault) {
                if (proxy.count(static_cast<Fault_Proxy::Fault>(fault)) != before[fault]) {
                    drawn += static_cast<char>('0' + fault);
                }
            }
        }
    }
    EXPECT_EQ(draws[0], draws[1]);
    EXPECT_EQ(draws[0].size(), 20u);
    EXPECT_NE(draws[0].find_first_not_of('0'), std::string::npos);
}
