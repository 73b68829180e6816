#include "platform/http/detail/http_transport.h"

#include "tests/support/certificates.h"
#include "tests/support/scripted_http_peer.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <vector>

using namespace std::string_view_literals;

namespace {

using Peer = Scripted_HTTP_Peer;
using Outcome = HTTP_Transport::Outcome;
using Clock = std::chrono::steady_clock;

/// A transport and what the last exchange brought.
struct Caller
{
    explicit Caller(const Peer& peer, const HTTP_Client_Options& options = {}) :
        transport("127.0.0.1", peer.port(), false, options)
    {}
    Caller(const std::string& host, std::uint16_t port, bool ssl, const HTTP_Client_Options& options = {}) :
        transport(host, port, ssl, options)
    {}

    Outcome send(const char* method, const std::string& target, const std::string* sent = nullptr)
    {
        const HTTP_Transport::Result result = transport.exchange({method, target, headers, sent}, response, body);
        reason = result.reason;
        return result.outcome;
    }
    Outcome get(const std::string& target = "/") { return send("GET", target); }
    Outcome post(const std::string& sent) { return send("POST", "/", &sent); }

    HTTP_Transport transport;
    HTTP_Headers headers;
    HTTP_Response response;
    std::string body;
    std::string reason;
};

double seconds_since(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

std::string value(const HTTP_Response& response, const char* name)
{
    const std::string* found = response.headers().get(name);
    return found == nullptr ? "(absent)" : *found;
}

/// An exchange here, one in a child process, one here again: the child uses a connection of its own.
void expect_connection_of_each_process(Caller& caller, const Peer& peer)
{
    ASSERT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    const pid_t child = ::fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        ::_exit(caller.get() == Outcome::ANSWERED && caller.response.status() == 201 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    ASSERT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(caller.response.status(), 202);
    ASSERT_EQ(peer.requests().size(), 3u);
    EXPECT_EQ(peer.requests()[0].connection, peer.requests()[2].connection);
    EXPECT_NE(peer.requests()[0].connection, peer.requests()[1].connection);
}

/// Sets an environment variable for the length of a scope.
class Environment
{
public:
    Environment(const char* name, const std::string& text) : name_(name) { ::setenv(name, text.c_str(), 1); }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;
    ~Environment() { ::unsetenv(name_); }

private:
    const char* name_;
};

class HTTP_Transport_TLS_Test : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { certificates = new Certificates(); }
    static void TearDownTestSuite()
    {
        delete certificates;
        certificates = nullptr;
    }

    static Peer::Options server(const Certificate_Files& files, const std::string& client_authority = {})
    {
        return {false, false, files.certificate, files.key, client_authority};
    }

    static HTTP_Client_Options trusting(const std::string& authority)
    {
        HTTP_Client_Options options;
        options.certificate_authority = authority;
        return options;
    }

    /// An exchange with a server that has this certificate never reaches it.
    static void expect_not_trusted(const Certificate_Files& files, const std::string& authority)
    {
        Peer peer({Peer::answer(200)}, server(files));
        Caller caller("localhost", peer.port(), true, trusting(authority));
        EXPECT_EQ(caller.get(), Outcome::NOT_DELIVERED);
        EXPECT_NE(caller.reason.find("certificate"), std::string::npos) << caller.reason;
        EXPECT_EQ(caller.response.status(), 0);
        EXPECT_TRUE(peer.requests().empty());
        EXPECT_GE(peer.connections(), 1u);
    }

    static inline Certificates* certificates = nullptr;
};

} // namespace

TEST(HTTP_Transport, sends_the_request_as_it_was_given)
{
    Peer peer({Peer::answer(200)});
    Caller caller(peer);
    caller.headers.set("X-One", "1");
    caller.headers.set("X-Empty", "");
    const std::string sent = "{\"a\":1}";
    ASSERT_EQ(caller.send("PUT", "/a/../b?c=%20&&d", &sent), Outcome::ANSWERED) << caller.reason;
    ASSERT_EQ(peer.requests().size(), 1u);
    const Peer::Request request = peer.requests()[0];
    EXPECT_EQ(request.method, "PUT");
    EXPECT_EQ(request.target, "/a/../b?c=%20&&d");
    EXPECT_EQ(request.version, "HTTP/1.1");
    EXPECT_EQ(request.body, sent);
    EXPECT_EQ(request.header("host"), "127.0.0.1:" + std::to_string(peer.port()));
    EXPECT_EQ(request.header("x-one"), "1");
    EXPECT_EQ(request.headers.count("x-empty"), 1u);
    EXPECT_EQ(request.header("content-length"), "7");
}

TEST(HTTP_Transport, adds_no_header_that_nobody_asked_for)
{
    Peer peer({Peer::answer(200)});
    Caller caller(peer);
    ASSERT_EQ(caller.post(std::string(2'000'000, 'x')), Outcome::ANSWERED) << caller.reason;
    const Peer::Request request = peer.requests().at(0);
    EXPECT_EQ(request.body.size(), 2'000'000u);
    EXPECT_EQ(request.headers.count("expect"), 0u);
    EXPECT_EQ(request.headers.count("content-type"), 0u);
    EXPECT_EQ(request.headers.count("transfer-encoding"), 0u);
    EXPECT_EQ(request.headers.count("upgrade"), 0u);
}

TEST(HTTP_Transport, headers_that_frame_the_message_are_its_own)
{
    Peer peer({Peer::answer(200)});
    Caller caller(peer);
    caller.headers.set("Content-Length", "1");
    caller.headers.set("Transfer-Encoding", "chunked");
    caller.headers.set("Expect", "100-continue");
    caller.headers.set("Upgrade", "h2c");
    ASSERT_EQ(caller.post("body"), Outcome::ANSWERED) << caller.reason;
    const Peer::Request request = peer.requests().at(0);
    EXPECT_EQ(request.header("content-length"), "4");
    EXPECT_EQ(request.headers.count("transfer-encoding"), 0u);
    EXPECT_EQ(request.headers.count("expect"), 0u);
    EXPECT_EQ(request.headers.count("upgrade"), 0u);
}

TEST(HTTP_Transport, empty_body_has_a_length)
{
    Peer peer({Peer::answer(200)});
    Caller caller(peer);
    ASSERT_EQ(caller.post(""), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(peer.requests().at(0).header("content-length"), "0");
}

TEST(HTTP_Transport, many_requests_go_over_one_connection)
{
    Peer peer(std::vector<Peer::Reply>(20, Peer::answer(200, "{}")));
    Caller caller(peer);
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(i % 2 == 0 ? caller.get() : caller.post("{}"), Outcome::ANSWERED) << caller.reason;
    }
    EXPECT_EQ(peer.requests().size(), 20u);
    EXPECT_EQ(peer.connections(), 1u);
}

TEST(HTTP_Transport, connection_is_kept_after_a_refusal_and_after_an_answer_without_a_body)
{
    Peer peer({Peer::answer(404, "{}"), {"HTTP/1.1 204 No Content\r\n\r\n"}, Peer::answer(200, "{}")});
    Caller caller(peer);
    for (const int status : {404, 204, 200}) {
        ASSERT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
        EXPECT_EQ(caller.response.status(), status);
    }
    EXPECT_EQ(peer.connections(), 1u);
}

TEST(HTTP_Transport, answer_that_closes_the_connection_is_followed_by_another_connection)
{
    Peer peer(
        {Peer::last_bytes("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\nto the end"), Peer::answer(200, "second")});
    Caller caller(peer);
    ASSERT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(caller.body, "to the end");
    EXPECT_FALSE(caller.response.keep_alive());
    ASSERT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(caller.body, "second");
    EXPECT_EQ(peer.connections(), 2u);
}

TEST(HTTP_Transport, connection_that_went_while_idle_is_made_anew)
{
    Peer peer({Peer::answer(200), Peer::answer(200)});
    Caller caller(peer);
    ASSERT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    peer.reset_connections();
    ASSERT_EQ(caller.post("{}"), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(peer.connections(), 2u);
    EXPECT_EQ(peer.requests().size(), 2u);
}

TEST(HTTP_Transport, answer_has_status_version_and_headers)
{
    Peer peer({Peer::answer(503, "busy", "Retry-After:  7 \r\nVia: a\r\nVIA: b\r\nX-Empty:\r\n")});
    Caller caller(peer);
    ASSERT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(caller.response.status(), 503);
    EXPECT_EQ(caller.response.minor_version(), 1);
    EXPECT_EQ(caller.response.content_length(), 4u);
    EXPECT_EQ(value(caller.response, "retry-after"), "7");
    EXPECT_EQ(value(caller.response, "via"), "a, b");
    EXPECT_EQ(value(caller.response, "x-empty"), "");
    EXPECT_EQ(caller.body, "busy");
}

TEST(HTTP_Transport, answer_of_http_1_0_says_so)
{
    Peer peer({Peer::last_bytes("HTTP/1.0 200 OK\r\n\r\nold")});
    Caller caller(peer);
    ASSERT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(caller.response.minor_version(), 0);
    EXPECT_FALSE(caller.response.keep_alive());
}

TEST(HTTP_Transport, nothing_of_an_earlier_answer_is_left)
{
    Peer peer({Peer::answer(200, "first", "X-First: 1\r\n"), Peer::answer(201)});
    Caller caller(peer);
    ASSERT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    ASSERT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(caller.response.status(), 201);
    EXPECT_EQ(value(caller.response, "X-First"), "(absent)");
    EXPECT_EQ(caller.body, "");
}

TEST(HTTP_Transport, heads_before_the_last_one_are_passed_over)
{
    Peer peer({{"HTTP/1.1 100 Continue\r\nX-Early: 1\r\n\r\nHTTP/1.1 103 Early Hints\r\nX-Hint: 1\r\n\r\n"
                + Peer::answer(200, "late").bytes}});
    Caller caller(peer);
    ASSERT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(caller.response.status(), 200);
    EXPECT_EQ(value(caller.response, "X-Early"), "(absent)");
    EXPECT_EQ(value(caller.response, "X-Hint"), "(absent)");
    EXPECT_EQ(caller.body, "late");
}

TEST(HTTP_Transport, chunks_are_joined_and_trailers_are_no_headers)
{
    Peer peer(
        {{"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\nwell\r\n5;x=y\r\n done\r\n0\r\nX-Late: 1\r\n\r\n"},
         Peer::answer(200)});
    Caller caller(peer);
    ASSERT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(caller.body, "well done");
    EXPECT_TRUE(caller.response.chunked_transfer_encoding());
    EXPECT_EQ(value(caller.response, "X-Late"), "(absent)");
    ASSERT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(peer.connections(), 1u);
}

TEST(HTTP_Transport, redirect_is_an_answer_like_any_other)
{
    Peer elsewhere({Peer::answer(200)});
    const std::string location = "http://127.0.0.1:" + std::to_string(elsewhere.port()) + "/";
    Peer peer({Peer::answer(302, "", "Location: " + location + "\r\n")});
    Caller caller(peer);
    ASSERT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(caller.response.status(), 302);
    EXPECT_EQ(value(caller.response, "Location"), location);
    EXPECT_EQ(elsewhere.connections(), 0u);
}

TEST(HTTP_Transport, answer_to_head_has_no_body)
{
    Peer peer({{"HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n"}, Peer::answer(200, "x")});
    Caller caller(peer);
    const std::string ignored = "a body";
    ASSERT_EQ(caller.send("HEAD", "/", &ignored), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(caller.response.content_length(), 1000u);
    EXPECT_EQ(caller.body, "");
    ASSERT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(peer.connections(), 1u);
}

TEST(HTTP_Transport, what_broke_off_is_not_delivered)
{
    const Peer::Reply replies[] = {
        Peer::drop(),
        Peer::last_bytes("H"),
        Peer::last_bytes("HTTP/1.1 200 OK\r\nContent-Le"),
        Peer::last_bytes("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n"),
        Peer::last_bytes("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n[1,2]"),
        Peer::last_bytes("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\n[1,2]\r\n"),
        Peer::last_bytes("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n"),
        Peer::last_bytes("HTTP/1.1 100 Continue\r\n\r\n"),
    };
    for (const Peer::Reply& reply : replies) {
        Peer peer({reply});
        Caller caller(peer);
        EXPECT_EQ(caller.post("{}"), Outcome::NOT_DELIVERED) << reply.bytes;
        EXPECT_NE(caller.reason, "") << reply.bytes;
        EXPECT_EQ(caller.response.status(), 0) << reply.bytes;
        EXPECT_TRUE(caller.response.headers().all().empty()) << reply.bytes;
        EXPECT_EQ(caller.body, "") << reply.bytes;
    }
}

TEST(HTTP_Transport, garbage_is_not_delivered)
{
    for (const std::string garbage : {"\x16\x03\x01 not HTTP at all", "{\"result\":true}", "HTTP/9.9 200 OK\r\n\r\n",
                                      "HTTP/1.1 xyz\r\n\r\n", "\r\n\r\n"})
    {
        Peer peer({Peer::last_bytes(garbage)});
        Caller caller(peer);
        EXPECT_EQ(caller.get(), Outcome::NOT_DELIVERED) << garbage;
        EXPECT_EQ(caller.body, "") << garbage;
    }
}

TEST(HTTP_Transport, answer_before_the_end_of_the_body_is_taken)
{
    Peer peer({Peer::answer(413, "{}", "Connection: close\r\n")}, {false, true});
    Caller caller(peer);
    EXPECT_EQ(caller.post(std::string(20'000'000, 'x')), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(caller.response.status(), 413);
}

TEST(HTTP_Transport, refused_connection_is_not_delivered)
{
    std::uint16_t port = 0;
    {
        const Peer peer({});
        port = peer.port();
    }
    Caller caller("127.0.0.1", port, false);
    EXPECT_EQ(caller.get(), Outcome::NOT_DELIVERED);
    EXPECT_NE(caller.reason, "");
}

TEST(HTTP_Transport, answer_as_long_as_the_limit_is_taken)
{
    Peer peer({Peer::answer(200, std::string(1000, 'x'))});
    HTTP_Client_Options options;
    options.response_limit = 1000;
    Caller caller(peer, options);
    EXPECT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(caller.body.size(), 1000u);
}

TEST(HTTP_Transport, longer_answer_is_hopeless_and_the_next_exchange_is_sound)
{
    Peer peer({Peer::answer(200, std::string(1001, 'x')),
               {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3e8\r\n" + std::string(1000, 'x')
                + "\r\n1\r\nx\r\n0\r\n\r\n"},
               Peer::answer(200, "short")});
    HTTP_Client_Options options;
    options.response_limit = 1000;
    Caller caller(peer, options);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(caller.get(), Outcome::HOPELESS);
        EXPECT_TRUE(caller.reason.starts_with("the answer is longer than 1000 bytes")) << caller.reason;
        EXPECT_EQ(caller.body, "");
    }
    EXPECT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(caller.body, "short");
}

TEST(HTTP_Transport, head_without_end_is_hopeless)
{
    std::string fields;
    std::string early;
    for (int i = 0; i < 20'000; ++i) {
        fields += "X-" + std::to_string(i) + ": 1\r\n";
        early += "HTTP/1.1 103 Early Hints\r\n\r\n";
    }
    for (const std::string& head : {"HTTP/1.1 200 OK\r\n" + fields, early}) {
        Peer peer({Peer::silence(head)});
        Caller caller(peer);
        EXPECT_EQ(caller.get(), Outcome::HOPELESS) << caller.reason;
        EXPECT_TRUE(caller.response.headers().all().empty());
    }
}

TEST(HTTP_Transport, silence_ends_with_the_stall_timeout)
{
    for (const char* begin : {"", "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n[1,"}) {
        Peer peer({Peer::silence(begin)});
        HTTP_Client_Options options;
        options.stall_timeout_s = 1;
        Caller caller(peer, options);
        const Clock::time_point start = Clock::now();
        EXPECT_EQ(caller.get(), Outcome::NOT_DELIVERED);
        EXPECT_EQ(caller.reason, "not a byte for 1 s");
        EXPECT_GE(seconds_since(start), 1.0);
        EXPECT_LT(seconds_since(start), 10.0);
    }
}

TEST(HTTP_Transport, slow_bytes_are_no_stall)
{
    const std::string slow = "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\n[1,2]";
    Peer peer({{slow, false, 50}}); // 2.1 s in all
    HTTP_Client_Options options;
    options.stall_timeout_s = 1;
    Caller caller(peer, options);
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    EXPECT_GT(seconds_since(start), 1.5) << "the answer was too fast to show anything";
    EXPECT_EQ(caller.body, "[1,2]");
}

TEST(HTTP_Transport, slow_bytes_end_with_the_request_timeout)
{
    Peer peer({{"HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n" + std::string(1000, 'x'), false, 50}});
    HTTP_Client_Options options;
    options.request_timeout_s = 1;
    Caller caller(peer, options);
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(caller.get(), Outcome::NOT_DELIVERED);
    EXPECT_GE(seconds_since(start), 0.9);
    EXPECT_LT(seconds_since(start), 10.0);
}

TEST(HTTP_Transport, handshake_that_is_not_answered_ends_with_the_connect_timeout)
{
    Peer peer({}); // takes the connection and says nothing
    HTTP_Client_Options options;
    options.connect_timeout_s = 1;
    options.request_timeout_s = 12;
    Caller caller("127.0.0.1", peer.port(), true, options);
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(caller.get(), Outcome::NOT_DELIVERED);
    EXPECT_GE(seconds_since(start), 0.9);
    EXPECT_LT(seconds_since(start), 10.0);
}

TEST(HTTP_Transport, target_that_could_begin_another_line_is_not_sent)
{
    Peer peer({});
    Caller caller(peer);
    for (const std::string_view target :
         {"/a\r\nX-Other: b"sv, "/a\nb"sv, "/a b"sv, "/a\0b"sv, ""sv, "a"sv, "http://other/"sv, "/\xc3\xbc"sv})
    {
        EXPECT_EQ(caller.get(std::string(target)), Outcome::HOPELESS) << target;
    }
    EXPECT_EQ(peer.connections(), 0u);
}

TEST(HTTP_Transport, host_that_is_none_is_hopeless)
{
    for (const char* host : {"", "a b", "a/b", "user@host", "a?b", "a#b", "[::1", "::zz", "host:80", "a\r\nb", "[]"}) {
        Caller caller(host, 80, false);
        EXPECT_EQ(caller.get(), Outcome::HOPELESS) << host;
    }
    EXPECT_EQ(Caller("localhost", 0, false).get(), Outcome::HOPELESS);
}

TEST(HTTP_Transport, ipv6_host_works_with_and_without_brackets)
{
    Peer peer({Peer::answer(200), Peer::answer(200)}, {true});
    for (const char* host : {"::1", "[::1]"}) {
        Caller caller(host, peer.port(), false);
        EXPECT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
        EXPECT_EQ(caller.transport.place(), "[::1]:" + std::to_string(peer.port()));
    }
    EXPECT_EQ(peer.requests().at(0).header("host"), "[::1]:" + std::to_string(peer.port()));
}

TEST(HTTP_Transport, proxies_of_the_environment_are_not_used)
{
    Peer proxy({Peer::answer(500)});
    const Environment http("http_proxy", "http://127.0.0.1:" + std::to_string(proxy.port()));
    const Environment all("ALL_PROXY", "http://127.0.0.1:" + std::to_string(proxy.port()));
    Peer peer({Peer::answer(200)});
    Caller caller(peer);
    EXPECT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(caller.response.status(), 200);
    EXPECT_EQ(proxy.connections(), 0u);
}

TEST(HTTP_Transport, threads_take_turns_on_one_connection)
{
    constexpr int threads = 8;
    constexpr int each = 25;
    Peer peer(std::vector<Peer::Reply>(threads * each, Peer::answer(200, "{}")));
    HTTP_Transport transport("127.0.0.1", peer.port(), false, {});
    std::atomic<int> answers{0};
    {
        std::vector<std::jthread> running;
        for (int t = 0; t < threads; ++t) {
            running.emplace_back([&] {
                const std::string target = "/";
                const HTTP_Headers headers;
                for (int i = 0; i < each; ++i) {
                    HTTP_Response response;
                    std::string body;
                    const auto result = transport.exchange({"GET", target, headers, nullptr}, response, body);
                    answers += result.outcome == Outcome::ANSWERED && body == "{}" ? 1 : 0;
                }
            });
        }
    }
    EXPECT_EQ(answers, threads * each);
    EXPECT_EQ(peer.connections(), 1u);
}

TEST(HTTP_Transport, child_process_leaves_the_connection_to_its_parent)
{
    Peer peer({Peer::answer(200), Peer::answer(201), Peer::answer(202)});
    Caller caller(peer);
    expect_connection_of_each_process(caller, peer);
}

TEST_F(HTTP_Transport_TLS_Test, trusted_server_is_reached_over_one_kept_connection)
{
    Peer peer({Peer::answer(200, "one"), Peer::answer(200, "two")}, server(certificates->server()));
    Caller caller("localhost", peer.port(), true, trusting(certificates->authority()));
    ASSERT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    ASSERT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(caller.body, "two");
    EXPECT_EQ(peer.connections(), 1u);
}

TEST_F(HTTP_Transport_TLS_Test, address_is_checked_like_a_name)
{
    Peer peer({Peer::answer(200)}, server(certificates->server()));
    Caller caller("127.0.0.1", peer.port(), true, trusting(certificates->authority()));
    EXPECT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
}

TEST_F(HTTP_Transport_TLS_Test, certificate_of_another_authority_is_refused)
{
    expect_not_trusted(certificates->server(), certificates->other_authority());
}

TEST_F(HTTP_Transport_TLS_Test, certificate_of_an_authority_that_the_system_does_not_know_is_refused)
{
    expect_not_trusted(certificates->server(), {});
}

TEST_F(HTTP_Transport_TLS_Test, certificate_for_another_host_is_refused)
{
    expect_not_trusted(certificates->wrong_host(), certificates->authority());
}

TEST_F(HTTP_Transport_TLS_Test, certificate_that_is_over_is_refused)
{
    expect_not_trusted(certificates->expired(), certificates->authority());
}

TEST_F(HTTP_Transport_TLS_Test, client_certificate_is_shown)
{
    Peer peer({Peer::answer(200)}, server(certificates->server(), certificates->authority()));
    HTTP_Client_Options options = trusting(certificates->authority());
    options.client_certificate = certificates->client().certificate;
    options.client_key = certificates->client().key;
    Caller caller("localhost", peer.port(), true, options);
    EXPECT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
}

TEST_F(HTTP_Transport_TLS_Test, server_that_wants_a_client_certificate_is_not_reached_without)
{
    Peer peer({Peer::answer(200)}, server(certificates->server(), certificates->authority()));
    Caller caller("localhost", peer.port(), true, trusting(certificates->authority()));
    EXPECT_EQ(caller.get(), Outcome::NOT_DELIVERED);
    EXPECT_TRUE(peer.requests().empty());
}

TEST_F(HTTP_Transport_TLS_Test, own_file_that_cannot_be_read_is_hopeless)
{
    Peer peer({Peer::answer(200)}, server(certificates->server()));
    Caller no_authority("localhost", peer.port(), true, trusting(certificates->dir().file("none.pem")));
    EXPECT_EQ(no_authority.get(), Outcome::HOPELESS) << no_authority.reason;
    HTTP_Client_Options options = trusting(certificates->authority());
    options.client_certificate = certificates->dir().file("none.pem");
    Caller no_certificate("localhost", peer.port(), true, options);
    EXPECT_EQ(no_certificate.get(), Outcome::HOPELESS) << no_certificate.reason;
    EXPECT_TRUE(peer.requests().empty());
}

TEST_F(HTTP_Transport_TLS_Test, connection_that_went_while_idle_is_made_anew)
{
    Peer peer({Peer::answer(200), Peer::answer(200)}, server(certificates->server()));
    Caller caller("localhost", peer.port(), true, trusting(certificates->authority()));
    ASSERT_EQ(caller.get(), Outcome::ANSWERED) << caller.reason;
    peer.reset_connections();
    EXPECT_EQ(caller.post("{}"), Outcome::ANSWERED) << caller.reason;
    EXPECT_EQ(peer.connections(), 2u);
}

TEST_F(HTTP_Transport_TLS_Test, connection_that_goes_under_a_long_body_does_not_end_the_process)
{
    const auto before = ::signal(SIGPIPE, SIG_DFL); // it may have been ignored by whoever started the tests
    Peer::Options options = server(certificates->server());
    options.is_hasty = true;
    for (int i = 0; i < 10; ++i) { // it depends on the moment whether a write meets the closed connection
        Peer peer({Peer::drop()}, options);
        Caller caller("localhost", peer.port(), true, trusting(certificates->authority()));
        EXPECT_EQ(caller.post(std::string(20'000'000, 'x')), Outcome::NOT_DELIVERED);
    }
    ::signal(SIGPIPE, before);
}

TEST_F(HTTP_Transport_TLS_Test, child_process_says_no_farewell_on_the_connection_of_its_parent)
{
    Peer peer({Peer::answer(200), Peer::answer(201), Peer::answer(202)}, server(certificates->server()));
    Caller caller("localhost", peer.port(), true, trusting(certificates->authority()));
    expect_connection_of_each_process(caller, peer);
}
