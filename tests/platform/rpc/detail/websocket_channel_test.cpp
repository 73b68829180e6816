#include "platform/rpc/detail/websocket_channel.h"

#include "tests/support/certificates.h"
#include "tests/support/process_log.h"
#include "tests/support/websocket_peer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using json_spirit::Value;

namespace {

/// Long enough for everything; no test waits so long when all is well.
constexpr int ample_s = 30;

const std::string answered_twice = "the peer answered a call that was not made, or was answered";

JSON_RPC_Object_var request_of(const std::string& text)
{
    return JSON_RPC_Object::parse(text);
}

JSON_RPC_Object_var make_request(const std::string& method, const Value& params = Value())
{
    return JSON_RPC_Object::make_request(JSON_RPC_Object::new_id(), method, params);
}

std::string response_to(const std::string& text, const Value& result)
{
    return JSON_RPC_Object::make_response(*request_of(text), result)->text();
}

/// Answers each request with its params.
void echo(const WebSocket_Peer::Connection_var& client, const std::string& text)
{
    client->send(response_to(text, request_of(text)->params()));
}

JSON_RPC_Endpoint endpoint_of(const WebSocket_Peer& peer)
{
    JSON_RPC_Endpoint endpoint;
    endpoint.host = "127.0.0.1";
    endpoint.port = peer.port();
    return endpoint;
}

/// Makes a call and gives its result; null when there was no answer.
Value call(WebSocket_Channel& channel, const std::string& method, const Value& params = Value(),
           int timeout_s = ample_s)
{
    JSON_RPC_Object_var response;
    return channel.call(*make_request(method, params), response, timeout_s) ? response->result() : Value();
}

/// Requests that the peer's script keeps until a test is ready for them.
class Kept
{
public:
    void add(const std::string& text)
    {
        const std::lock_guard lock(mutex_);
        texts_.push_back(text);
    }
    std::vector<std::string> take()
    {
        const std::lock_guard lock(mutex_);
        return std::exchange(texts_, {});
    }
    std::size_t count() const
    {
        const std::lock_guard lock(mutex_);
        return texts_.size();
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> texts_;
};

} // namespace

TEST(WebSocket_Channel, call_gets_its_answer)
{
    const WebSocket_Peer peer({.on_message = echo});
    WebSocket_Channel channel(endpoint_of(peer));
    ASSERT_TRUE(channel.wait_until_open());
    EXPECT_EQ(call(channel, "echo", json_spirit::Array{1, "ä"}), (json_spirit::Array{1, "ä"}));
    EXPECT_EQ(call(channel, "echo", json_spirit::Array{2}), json_spirit::Array{2});
    EXPECT_EQ(peer.accepted(), 1u);
}

TEST(WebSocket_Channel, sends_the_request_as_it_was_made_to_the_path_with_the_access_key)
{
    std::mutex mutex;
    std::string seen;
    const WebSocket_Peer peer(
        {.on_message = [&](const WebSocket_Peer::Connection_var& client, const std::string& text) {
            {
                const std::lock_guard lock(mutex);
                seen = text;
            }
            echo(client, text);
        }});
    JSON_RPC_Endpoint endpoint = endpoint_of(peer);
    endpoint.access_key = "k-123";
    WebSocket_Channel channel(endpoint);
    ASSERT_TRUE(channel.wait_until_open());
    const JSON_RPC_Object_var request =
        make_request("m", json_spirit::Object{{"password", json_spirit::Secure_String("geheim")}});
    JSON_RPC_Object_var response;
    ASSERT_TRUE(channel.call(*request, response, ample_s));
    const std::lock_guard lock(mutex);
    EXPECT_EQ(seen, R"({"jsonrpc":"2.0","id":")" + request->id() + R"(","method":"m","params":{"password":"geheim"}})");
    ASSERT_EQ(peer.handshakes().size(), 1u);
    EXPECT_EQ(peer.handshakes()[0].path, "/rpc");
    EXPECT_EQ(peer.handshakes()[0].access_key, "k-123");
    EXPECT_EQ(peer.handshakes()[0].host, "127.0.0.1:" + std::to_string(peer.port()));
}

TEST(WebSocket_Channel, error_response_is_an_answer)
{
    const WebSocket_Peer peer({.on_message = [](const WebSocket_Peer::Connection_var& client, const std::string& text) {
        client->send(JSON_RPC_Object::make_error(*request_of(text), -32601, "no such method")->text());
    }});
    WebSocket_Channel channel(endpoint_of(peer));
    ASSERT_TRUE(channel.wait_until_open());
    JSON_RPC_Object_var response;
    ASSERT_TRUE(channel.call(*make_request("m"), response, ample_s));
    EXPECT_EQ(response->type(), JSON_RPC_Object::TYPE_RESPONSE_ERROR);
    EXPECT_EQ(response->error_code(), -32601);
    EXPECT_EQ(response->error_message(), "no such method");
}

TEST(WebSocket_Channel, answers_in_reverse_order_reach_the_threads_that_wait_for_them)
{
    constexpr std::size_t threads = 16;
    constexpr int rounds = 20;
    std::vector<std::string> kept; // of the peer's thread
    const WebSocket_Peer peer(
        {.on_message = [&](const WebSocket_Peer::Connection_var& client, const std::string& text) {
            kept.push_back(text);
            if (kept.size() == threads) {
                while (!kept.empty()) {
                    echo(client, kept.back());
                    kept.pop_back();
                }
            }
        }});
    WebSocket_Channel channel(endpoint_of(peer));
    ASSERT_TRUE(channel.wait_until_open());
    std::atomic<int> right{0};
    std::vector<std::thread> callers;
    for (std::size_t i = 0; i < threads; ++i) {
        callers.emplace_back([&, i] {
            for (int round = 0; round < rounds; ++round) {
                const json_spirit::Array mine{i, round};
                right += call(channel, "echo", mine) == mine;
            }
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_EQ(right, int{threads} * rounds);
    EXPECT_EQ(peer.accepted(), 1u);
}

TEST(WebSocket_Channel, long_messages_pass_both_ways)
{
    const WebSocket_Peer peer({.on_message = echo});
    WebSocket_Channel channel(endpoint_of(peer));
    ASSERT_TRUE(channel.wait_until_open());
    const json_spirit::Array text{std::string(std::size_t{5} << 20, 'x')};
    EXPECT_EQ(call(channel, "echo", text), text);
    EXPECT_EQ(call(channel, "echo", json_spirit::Array{1}), json_spirit::Array{1});
}

TEST(WebSocket_Channel, late_answer_is_dropped_and_others_are_left_alone)
{
    const Process_Log log;
    std::string late; // of the peer's thread
    const WebSocket_Peer peer(
        {.on_message = [&](const WebSocket_Peer::Connection_var& client, const std::string& text) {
            if (request_of(text)->method() == "late") {
                late = text;
                return;
            }
            client->send(response_to(late, "too late"));
            echo(client, text);
        }});
    WebSocket_Channel channel(endpoint_of(peer));
    ASSERT_TRUE(channel.wait_until_open());
    JSON_RPC_Object_var response;
    EXPECT_FALSE(channel.call(*make_request("late"), response, 1));
    EXPECT_TRUE(response.null());
    EXPECT_EQ(call(channel, "echo", json_spirit::Array{1}), json_spirit::Array{1});
    EXPECT_TRUE(channel.is_open());
    EXPECT_EQ(log.text(), "JSON-RPC 'late' got no answer within 1 second(s).\n");
}

TEST(WebSocket_Channel, request_sent_again_takes_the_answer_to_the_first)
{
    const Process_Log log;
    std::vector<std::string> kept; // of the peer's thread
    const WebSocket_Peer peer(
        {.on_message = [&](const WebSocket_Peer::Connection_var& client, const std::string& text) {
            if (request_of(text)->method() == "echo") {
                echo(client, text);
                return;
            }
            kept.push_back(text);
            if (kept.size() == 2) {
                client->send(response_to(kept[0], "first"));
                client->send(response_to(kept[1], "second"));
            }
        }});
    WebSocket_Channel channel(endpoint_of(peer));
    ASSERT_TRUE(channel.wait_until_open());
    const JSON_RPC_Object_var request = make_request("m");
    JSON_RPC_Object_var response;
    EXPECT_FALSE(channel.call(*request, response, 1));
    ASSERT_TRUE(channel.call(*request, response, ample_s));
    EXPECT_EQ(response->result(), Value("first"));
    EXPECT_EQ(call(channel, "echo", json_spirit::Array{1}), json_spirit::Array{1}); // so the second was dropped
}

TEST(WebSocket_Channel, request_cannot_wait_twice_at_once)
{
    const Process_Log log;
    Kept kept;
    const WebSocket_Peer peer(
        {.on_message = [&](const WebSocket_Peer::Connection_var& client, const std::string& text) {
            if (request_of(text)->method() != "answer") {
                kept.add(text);
                return;
            }
            for (const std::string& one : kept.take()) {
                echo(client, one);
            }
            client->send(response_to(text, true));
        }});
    WebSocket_Channel channel(endpoint_of(peer));
    ASSERT_TRUE(channel.wait_until_open());
    const JSON_RPC_Object_var request = make_request("m", json_spirit::Array{7});
    JSON_RPC_Object_var first;
    bool delivered = false;
    std::thread caller([&] { delivered = channel.call(*request, first, ample_s); });
    while (kept.count() == 0) {
        std::this_thread::yield();
    }
    JSON_RPC_Object_var second;
    EXPECT_FALSE(channel.call(*request, second, ample_s));
    EXPECT_EQ(call(channel, "answer"), Value(true));
    caller.join();
    ASSERT_TRUE(delivered);
    EXPECT_EQ(first->result(), json_spirit::Array{7});
    EXPECT_EQ(log.text(), "JSON-RPC 'm' is waiting for an answer already.\n");
}

TEST(WebSocket_Channel, too_many_calls_without_an_answer_end_the_connection)
{
    const Process_Log log;
    const WebSocket_Peer peer({.on_message = [](const WebSocket_Peer::Connection_var& client, const std::string& text) {
        if (request_of(text)->method() == "echo") {
            echo(client, text);
        }
    }});
    WebSocket_Channel channel(endpoint_of(peer));
    ASSERT_TRUE(channel.wait_until_open());
    JSON_RPC_Object_var response;
    // A call that waits no time may be given up before it is sent; then it does not count.
    for (std::size_t i = 0; i < 100 * WebSocket_Channel::unanswered_limit && channel.is_open(); ++i) {
        EXPECT_FALSE(channel.call(*make_request("m"), response, 0));
        if (i % 100 == 0 && channel.is_open()) {
            call(channel, "echo");
        }
    }
    EXPECT_FALSE(channel.is_open());
    EXPECT_EQ(log.count("ended: too many calls got no answer"), 1u);
}

namespace {

/// What a peer does with the first request, and why the connection ends of it.
struct Misbehaviour
{
    const char* name;
    std::function<void(const WebSocket_Peer::Connection_var&, const std::string&)> act;
    std::string reason;
};

class WebSocket_Channel_With_Bad_Peer : public ::testing::TestWithParam<Misbehaviour>
{};

} // namespace

TEST_P(WebSocket_Channel_With_Bad_Peer, call_is_not_delivered_and_the_reason_is_logged)
{
    const Process_Log log;
    const WebSocket_Peer peer({.on_message = GetParam().act});
    JSON_RPC_Endpoint endpoint = endpoint_of(peer);
    endpoint.frame_limit = 1000;
    endpoint.ping_interval_s = 1;
    endpoint.access_key = "k-123";
    WebSocket_Channel channel(endpoint);
    ASSERT_TRUE(channel.wait_until_open());
    JSON_RPC_Object_var response;
    EXPECT_FALSE(channel.call(*make_request("m"), response, ample_s));
    EXPECT_TRUE(response.null());
    EXPECT_FALSE(channel.is_open());
    EXPECT_FALSE(channel.call(*make_request("m"), response, ample_s));
    const std::string expected =
        "JSON-RPC connection to 127.0.0.1:" + std::to_string(peer.port()) + " ended: " + GetParam().reason;
    EXPECT_EQ(log.text().substr(0, expected.size()), expected);
    EXPECT_EQ(log.count(""), 1u) << log.text();
    EXPECT_EQ(log.count("k-123"), 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Ways, WebSocket_Channel_With_Bad_Peer,
    ::testing::Values(
        Misbehaviour{"unknown_id",
                     [](const auto& client, const auto&) {
                         client->send(JSON_RPC_Object::make_response("unheard-of", 1)->text());
                     },
                     answered_twice},
        Misbehaviour{"number_for_id",
                     [](const auto& client, const auto&) { client->send(R"({"jsonrpc":"2.0","id":1,"result":1})"); },
                     answered_twice},
        Misbehaviour{"no_json", [](const auto& client, const auto&) { client->send("hello"); },
                     "the peer sent what is no JSON-RPC message: "},
        Misbehaviour{"no_json_rpc", [](const auto& client, const auto&) { client->send("{}"); },
                     "the peer sent what is no JSON-RPC message: \"jsonrpc\" is not \"2.0\""},
        Misbehaviour{"empty", [](const auto& client, const auto&) { client->send(""); },
                     "the peer sent what is no JSON-RPC message: "},
        Misbehaviour{"request", [](const auto& client, const auto& text) { client->send(text); },
                     "the peer sent a request"},
        Misbehaviour{"binary", [](const auto& client, const auto& text) { client->send_binary(response_to(text, 1)); },
                     "the peer sent a binary message"},
        Misbehaviour{
            "oversized",
            [](const auto& client, const auto& text) { client->send(response_to(text, std::string(1000, 'x'))); },
            "the peer sent a message longer than 1000 bytes"},
        Misbehaviour{"silent", [](const auto& client, const auto&) { client->fall_silent(); }, "the peer is silent"},
        Misbehaviour{"dropped", [](const auto& client, const auto&) { client->drop(); }, "read: End of file"},
        Misbehaviour{"closed", [](const auto& client, const auto&) { client->close(1001); },
                     "closed by the peer with code 1001"}),
    [](const auto& info) { return info.param.name; });

TEST(WebSocket_Channel, message_of_just_the_limit_passes)
{
    const WebSocket_Peer peer({.on_message = [](const WebSocket_Peer::Connection_var& client, const std::string& text) {
        const std::size_t rest = response_to(text, "").size();
        client->send(response_to(text, std::string(1000 - rest, 'x')));
    }});
    JSON_RPC_Endpoint endpoint = endpoint_of(peer);
    endpoint.frame_limit = 1000;
    WebSocket_Channel channel(endpoint);
    ASSERT_TRUE(channel.wait_until_open());
    EXPECT_GT(call(channel, "m").get_str().size(), 900u);
}

TEST(WebSocket_Channel, request_over_the_limit_is_not_sent_and_hurts_nobody)
{
    const Process_Log log;
    const WebSocket_Peer peer({.on_message = echo});
    JSON_RPC_Endpoint endpoint = endpoint_of(peer);
    endpoint.frame_limit = 1000;
    WebSocket_Channel channel(endpoint);
    ASSERT_TRUE(channel.wait_until_open());
    const JSON_RPC_Object_var request = make_request("long", json_spirit::Array{std::string(1000, 'x')});
    JSON_RPC_Object_var response;
    EXPECT_FALSE(channel.call(*request, response, ample_s));
    EXPECT_EQ(log.text(), "JSON-RPC 'long' was not sent: " + std::to_string(request->text().size())
                              + " bytes are more than the limit of 1000.\n");
    EXPECT_EQ(call(channel, "echo", json_spirit::Array{1}), json_spirit::Array{1});
}

TEST(WebSocket_Channel, only_requests_can_be_called)
{
    const Process_Log log;
    const WebSocket_Peer peer({.on_message = echo});
    WebSocket_Channel channel(endpoint_of(peer));
    ASSERT_TRUE(channel.wait_until_open());
    JSON_RPC_Object_var response;
    EXPECT_FALSE(channel.call(*JSON_RPC_Object::make_notify("m", Value()), response, ample_s));
    EXPECT_FALSE(channel.call(JSON_RPC_Object(), response, ample_s));
    EXPECT_EQ(log.count("is no request to be sent"), 2u);
}

TEST(WebSocket_Channel, notification_of_the_peer_is_ignored)
{
    const Process_Log log;
    const WebSocket_Peer peer({.on_message = [](const WebSocket_Peer::Connection_var& client, const std::string& text) {
        client->send(JSON_RPC_Object::make_notify("news", Value())->text());
        echo(client, text);
    }});
    WebSocket_Channel channel(endpoint_of(peer));
    ASSERT_TRUE(channel.wait_until_open());
    EXPECT_EQ(call(channel, "echo", json_spirit::Array{1}), json_spirit::Array{1});
}

TEST(WebSocket_Channel, error_without_an_id_answers_the_only_call)
{
    const WebSocket_Peer peer({.on_message = [](const WebSocket_Peer::Connection_var& client, const std::string&) {
        client->send(JSON_RPC_Object::make_error("", -32700, "cannot read")->text());
    }});
    WebSocket_Channel channel(endpoint_of(peer));
    ASSERT_TRUE(channel.wait_until_open());
    JSON_RPC_Object_var response;
    ASSERT_TRUE(channel.call(*make_request("m"), response, ample_s));
    EXPECT_EQ(response->error_code(), -32700);
    EXPECT_TRUE(channel.is_open());
}

TEST(WebSocket_Channel, error_without_an_id_answers_the_only_call_that_was_given_up)
{
    const Process_Log log;
    const WebSocket_Peer peer({.on_message = [](const WebSocket_Peer::Connection_var& client, const std::string& text) {
        if (request_of(text)->method() == "echo") {
            echo(client, text);
        } else if (request_of(text)->method() == "fail") {
            client->send(JSON_RPC_Object::make_error("", -32700, "cannot read")->text());
        }
    }});
    WebSocket_Channel channel(endpoint_of(peer));
    ASSERT_TRUE(channel.wait_until_open());
    JSON_RPC_Object_var response;
    EXPECT_FALSE(channel.call(*make_request("silence"), response, 1));
    // Two are without an answer now: nobody can tell which one it is about.
    EXPECT_FALSE(channel.call(*make_request("fail"), response, ample_s));
    EXPECT_EQ(log.count("ended: the peer could not read a request (error -32700)"), 1u);
    EXPECT_FALSE(channel.is_open());
}

TEST(WebSocket_Channel, error_without_an_id_ends_the_connection_when_several_wait)
{
    const Process_Log log;
    int count = 0; // of the peer's thread
    const WebSocket_Peer peer({.on_message = [&](const WebSocket_Peer::Connection_var& client, const std::string&) {
        if (++count == 2) {
            client->send(JSON_RPC_Object::make_error("", -32700, "cannot read")->text());
        }
    }});
    WebSocket_Channel channel(endpoint_of(peer));
    ASSERT_TRUE(channel.wait_until_open());
    std::atomic<int> delivered{0};
    std::vector<std::thread> callers;
    for (int i = 0; i < 2; ++i) {
        callers.emplace_back([&] {
            JSON_RPC_Object_var response;
            delivered += channel.call(*make_request("m"), response, ample_s);
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_EQ(delivered, 0);
    EXPECT_EQ(log.count("the peer could not read a request (error -32700)"), 1u);
}

TEST(WebSocket_Channel, pings_keep_a_quiet_connection_alive)
{
    const WebSocket_Peer peer({.on_message = echo});
    JSON_RPC_Endpoint endpoint = endpoint_of(peer);
    endpoint.ping_interval_s = 1;
    WebSocket_Channel channel(endpoint);
    ASSERT_TRUE(channel.wait_until_open());
    // With none of them answered the connection would end after the second.
    ASSERT_TRUE(peer.wait_until([](const WebSocket_Peer& p) { return p.pings() >= 3; }));
    EXPECT_EQ(call(channel, "echo", json_spirit::Array{1}), json_spirit::Array{1});
}

TEST(WebSocket_Channel, silent_peer_is_found_while_nobody_calls)
{
    const Process_Log log;
    const WebSocket_Peer peer({.on_open = [](const WebSocket_Peer::Connection_var& client) { client->fall_silent(); }});
    JSON_RPC_Endpoint endpoint = endpoint_of(peer);
    endpoint.ping_interval_s = 1;
    WebSocket_Channel channel(endpoint);
    ASSERT_TRUE(channel.wait_until_open());
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(ample_s);
    while (!channel.is_over() && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(channel.is_over());
    EXPECT_EQ(log.count("ended: the peer is silent"), 1u);
}

TEST(WebSocket_Channel, close_tells_the_peer_and_ends_the_calls)
{
    Kept kept;
    const WebSocket_Peer peer(
        {.on_message = [&](const WebSocket_Peer::Connection_var&, const std::string& text) { kept.add(text); }});
    WebSocket_Channel channel(endpoint_of(peer));
    ASSERT_TRUE(channel.wait_until_open());
    bool delivered = true;
    std::thread caller([&] {
        JSON_RPC_Object_var response;
        delivered = channel.call(*make_request("m"), response, ample_s);
    });
    while (kept.count() == 0) {
        std::this_thread::yield();
    }
    channel.close();
    caller.join();
    EXPECT_FALSE(delivered);
    EXPECT_TRUE(channel.is_over());
    ASSERT_TRUE(peer.wait_until([](const WebSocket_Peer& p) { return !p.close_codes().empty(); }));
    EXPECT_EQ(peer.close_codes()[0], 1000);
}

TEST(WebSocket_Channel, close_does_not_wait_for_a_peer_that_is_silent)
{
    const WebSocket_Peer peer({.on_open = [](const WebSocket_Peer::Connection_var& client) { client->fall_silent(); }});
    WebSocket_Channel channel(endpoint_of(peer)); // pings every ten seconds
    ASSERT_TRUE(channel.wait_until_open());
    const auto begin = std::chrono::steady_clock::now();
    channel.close();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(8));
    EXPECT_TRUE(channel.is_over());
}

TEST(WebSocket_Channel, connecting_ends_at_its_time_out)
{
    const Process_Log log;
    const WebSocket_Peer peer({.answers_handshake = false});
    JSON_RPC_Endpoint endpoint = endpoint_of(peer);
    endpoint.connect_timeout_s = 1;
    WebSocket_Channel channel(endpoint);
    EXPECT_FALSE(channel.wait_until_open());
    EXPECT_EQ(log.count("failed: no connection in time"), 1u) << log.text();
    JSON_RPC_Object_var response;
    EXPECT_FALSE(channel.call(*make_request("m"), response, ample_s));
}

TEST(WebSocket_Channel, close_ends_connecting)
{
    const WebSocket_Peer peer({.answers_handshake = false});
    WebSocket_Channel channel(endpoint_of(peer));
    ASSERT_TRUE(peer.wait_until([](const WebSocket_Peer& p) { return !p.handshakes().empty(); }));
    channel.close();
    EXPECT_FALSE(channel.wait_until_open());
}

TEST(WebSocket_Channel, refused_handshake_is_logged_with_its_status_and_without_the_key)
{
    const Process_Log log;
    const WebSocket_Peer peer({.refused_with = 401});
    JSON_RPC_Endpoint endpoint = endpoint_of(peer);
    endpoint.access_key = "k-123";
    WebSocket_Channel channel(endpoint);
    EXPECT_FALSE(channel.wait_until_open());
    EXPECT_EQ(log.text(), "JSON-RPC connection to 127.0.0.1:" + std::to_string(peer.port())
                              + " failed: the peer answered 401 to the WebSocket handshake.\n");
}

TEST(WebSocket_Channel, nobody_listening_is_logged)
{
    const Process_Log log;
    JSON_RPC_Endpoint endpoint;
    {
        const WebSocket_Peer peer({});
        endpoint = endpoint_of(peer);
    }
    WebSocket_Channel channel(endpoint);
    EXPECT_FALSE(channel.wait_until_open());
    EXPECT_EQ(log.count("failed: connect: Connection refused"), 1u) << log.text();
}

TEST(WebSocket_Channel, key_that_a_header_cannot_carry_is_refused_and_not_shown)
{
    const Process_Log log;
    const WebSocket_Peer peer({});
    JSON_RPC_Endpoint endpoint = endpoint_of(peer);
    endpoint.access_key = "k-123\r\nX-Other: 1";
    WebSocket_Channel channel(endpoint);
    EXPECT_FALSE(channel.wait_until_open());
    EXPECT_EQ(log.count("holds a control character"), 1u);
    EXPECT_EQ(log.count("k-123"), 0u);
    EXPECT_EQ(peer.accepted(), 0u);
}

namespace {

class WebSocket_Channel_Over_TLS : public ::testing::Test
{
protected:
    static JSON_RPC_Endpoint endpoint_of(const WebSocket_Peer& peer)
    {
        JSON_RPC_Endpoint endpoint = ::endpoint_of(peer);
        endpoint.tls = true;
        endpoint.certificate_authority = certificates().authority();
        return endpoint;
    }

    static const Certificates& certificates()
    {
        static const Certificates made;
        return made;
    }

    /// Why a connection fails; empty: it does not.
    static std::string fault_of(const JSON_RPC_Endpoint& endpoint)
    {
        const Process_Log log;
        WebSocket_Channel channel(endpoint);
        if (channel.wait_until_open()) {
            return call(channel, "echo", json_spirit::Array{1}) == json_spirit::Array{1} ? "" : log.text();
        }
        return log.text();
    }
};

} // namespace

TEST_F(WebSocket_Channel_Over_TLS, call_gets_its_answer_by_address_and_by_name)
{
    const WebSocket_Peer peer({.on_message = echo, .certificate = certificates().server()});
    JSON_RPC_Endpoint endpoint = endpoint_of(peer);
    EXPECT_EQ(fault_of(endpoint), "");
    endpoint.host = "localhost";
    EXPECT_EQ(fault_of(endpoint), "");
    ASSERT_EQ(peer.handshakes().size(), 2u);
    EXPECT_EQ(peer.handshakes()[0].server_name, "");
    EXPECT_EQ(peer.handshakes()[1].server_name, "localhost");
}

TEST_F(WebSocket_Channel_Over_TLS, long_messages_pass_both_ways)
{
    const WebSocket_Peer peer({.on_message = echo, .certificate = certificates().server()});
    WebSocket_Channel channel(endpoint_of(peer));
    ASSERT_TRUE(channel.wait_until_open());
    const json_spirit::Array text{std::string(std::size_t{3} << 20, 'x')};
    EXPECT_EQ(call(channel, "echo", text), text);
}

TEST_F(WebSocket_Channel_Over_TLS, server_of_another_authority_is_refused)
{
    const WebSocket_Peer peer({.on_message = echo, .certificate = certificates().server()});
    JSON_RPC_Endpoint endpoint = endpoint_of(peer);
    endpoint.certificate_authority = certificates().other_authority();
    EXPECT_NE(fault_of(endpoint).find("TLS handshake: unable to get local issuer certificate"), std::string::npos)
        << fault_of(endpoint);
    EXPECT_EQ(peer.handshakes().size(), 0u);
}

TEST_F(WebSocket_Channel_Over_TLS, server_that_the_system_does_not_trust_is_refused)
{
    const WebSocket_Peer peer({.on_message = echo, .certificate = certificates().server()});
    JSON_RPC_Endpoint endpoint = endpoint_of(peer);
    endpoint.certificate_authority.clear();
    EXPECT_NE(fault_of(endpoint).find("TLS handshake: unable to get local issuer certificate"), std::string::npos)
        << fault_of(endpoint);
}

TEST_F(WebSocket_Channel_Over_TLS, server_of_another_host_is_refused)
{
    const WebSocket_Peer peer({.on_message = echo, .certificate = certificates().wrong_host()});
    JSON_RPC_Endpoint endpoint = endpoint_of(peer);
    EXPECT_NE(fault_of(endpoint).find("TLS handshake: IP address mismatch"), std::string::npos) << fault_of(endpoint);
    endpoint.host = "localhost";
    EXPECT_NE(fault_of(endpoint).find("TLS handshake: hostname mismatch"), std::string::npos) << fault_of(endpoint);
    EXPECT_EQ(peer.handshakes().size(), 0u);
}

TEST_F(WebSocket_Channel_Over_TLS, server_whose_certificate_is_over_is_refused)
{
    const WebSocket_Peer peer({.on_message = echo, .certificate = certificates().expired()});
    EXPECT_NE(fault_of(endpoint_of(peer)).find("TLS handshake: certificate has expired"), std::string::npos)
        << fault_of(endpoint_of(peer));
}

TEST_F(WebSocket_Channel_Over_TLS, client_shows_its_certificate_to_a_server_that_asks)
{
    const WebSocket_Peer peer(
        {.on_message = echo, .certificate = certificates().server(), .client_authority = certificates().authority()});
    JSON_RPC_Endpoint endpoint = endpoint_of(peer);
    EXPECT_NE(fault_of(endpoint), "");
    endpoint.client_certificate = certificates().other_client().certificate;
    endpoint.client_key = certificates().other_client().key;
    EXPECT_NE(fault_of(endpoint), "");
    EXPECT_EQ(peer.handshakes().size(), 0u);
    endpoint.client_certificate = certificates().client().certificate;
    endpoint.client_key = certificates().client().key;
    EXPECT_EQ(fault_of(endpoint), "");
}

TEST_F(WebSocket_Channel_Over_TLS, files_that_cannot_be_read_are_named)
{
    const WebSocket_Peer peer({.on_message = echo, .certificate = certificates().server()});
    JSON_RPC_Endpoint endpoint = endpoint_of(peer);
    endpoint.client_certificate = certificates().dir().file("absent.crt");
    EXPECT_NE(fault_of(endpoint).find("absent.crt: "), std::string::npos) << fault_of(endpoint);
    endpoint.client_certificate = certificates().client().certificate;
    endpoint.client_key = certificates().server().key; // of another certificate
    EXPECT_NE(fault_of(endpoint).find("server.key: "), std::string::npos) << fault_of(endpoint);
    endpoint.certificate_authority = certificates().dir().file("absent.ca");
    EXPECT_NE(fault_of(endpoint).find("absent.ca: "), std::string::npos) << fault_of(endpoint);
    EXPECT_EQ(peer.accepted(), 0u);
}

TEST_F(WebSocket_Channel_Over_TLS, plain_server_is_refused)
{
    const WebSocket_Peer peer({.on_message = echo});
    EXPECT_NE(fault_of(endpoint_of(peer)), "");
}
