#include "platform/http/json_restful_client.h"

#include "platform/json/json_dump.h"
#include "platform/json/json_generator.h"
#include "platform/json/yajl_gen.h"
#include "platform/text/uuid.h"
#include "tests/support/log_capture.h"
#include "tests/support/scripted_http_peer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using Peer = Scripted_HTTP_Peer;
using Clock = std::chrono::steady_clock;
using json_spirit::Value;

constexpr const char* secret = "k3y-that-nobody-may-see";

/// A client of a peer. It repeats nothing, unless a test says so.
class Client : public JSON_RESTful_Client
{
public:
    explicit Client(const Peer& peer, const HTTP_Client_Options& options = {}) :
        JSON_RESTful_Client("127.0.0.1", peer.port(), false, options)
    {
        retries(0);
    }
};

/// Writes {"a":1}, or what a test wants to go wrong.
class Body : public JSON_Generator
{
public:
    enum Way
    {
        WELL,
        FALSE,
        THROW,
        THROW_NUMBER
    };

    explicit Body(Way way = WELL) : way_(way) {}

    bool generate(yajl_gen_t* gen) override
    {
        ++calls;
        const YAJL_Gen out(gen);
        const YAJL_Map_Guard map(out);
        out << "a"_key << 1;
        if (way_ == THROW) {
            throw std::runtime_error("no more\r\nblood");
        }
        if (way_ == THROW_NUMBER) {
            throw 7;
        }
        return way_ == WELL;
    }

    int calls = 0;

private:
    Way way_;
};

std::string text(const Value& value)
{
    return JSON_Dump(value).str();
}

bool get(JSON_RESTful_Client& client, const std::string& path = "/", Value* result = nullptr)
{
    HTTP_Request request(HTTP_GET, path);
    return client.get(request, result);
}

std::string place(const Peer& peer)
{
    return "127.0.0.1:" + std::to_string(peer.port());
}

std::string key_of(const Peer::Request& request)
{
    return request.header("idempotency-key");
}

double seconds_since(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

} // namespace

TEST(JSON_RESTful_Client, get_sends_path_and_query_without_a_body)
{
    Peer peer({Peer::answer(200, "{\"rows\":[]}")});
    Client client(peer);
    HTTP_Request request(3, "/kx/r/v2/sets/exists");
    request.query() = "uuid=1";
    Value result;
    EXPECT_TRUE(client.get(request, &result));
    EXPECT_EQ(text(result), "{\"rows\":[]}");
    ASSERT_EQ(peer.requests().size(), 1u);
    const Peer::Request sent = peer.requests()[0];
    EXPECT_EQ(sent.method, "GET");
    EXPECT_EQ(sent.target, "/kx/r/v2/sets/exists?uuid=1");
    EXPECT_EQ(sent.header("accept"), "application/json");
    EXPECT_EQ(sent.headers.count("content-length"), 0u);
    EXPECT_EQ(sent.headers.count("content-type"), 0u);
}

TEST(JSON_RESTful_Client, post_sends_what_a_generator_writes)
{
    Peer peer({Peer::answer(200)});
    Client client(peer);
    Body body;
    EXPECT_TRUE(client.post("/sets?action=Complete", body, nullptr));
    const Peer::Request sent = peer.requests().at(0);
    EXPECT_EQ(sent.method, "POST");
    EXPECT_EQ(sent.target, "/sets?action=Complete");
    EXPECT_EQ(sent.header("content-type"), "application/json");
    EXPECT_EQ(sent.body, "{\"a\":1}");
}

TEST(JSON_RESTful_Client, post_sends_a_value_with_its_secrets_in_clear)
{
    Peer peer({Peer::answer(200)});
    Client client(peer);
    const Value body(json_spirit::Object{{"p", Value(json_spirit::Secure_String("hidden"))}});
    EXPECT_TRUE(client.post("/", &body, nullptr));
    EXPECT_EQ(peer.requests().at(0).body, "{\"p\":\"hidden\"}");
}

TEST(JSON_RESTful_Client, post_without_a_value_has_an_empty_body)
{
    Peer peer({Peer::answer(200)});
    Client client(peer);
    EXPECT_TRUE(client.post("/", static_cast<const Value*>(nullptr), nullptr));
    const Peer::Request sent = peer.requests().at(0);
    EXPECT_EQ(sent.method, "POST");
    EXPECT_EQ(sent.header("content-length"), "0");
    EXPECT_EQ(sent.headers.count("content-type"), 0u);
}

TEST(JSON_RESTful_Client, request_uses_the_method_of_its_code)
{
    Peer peer({Peer::answer(200), Peer::answer(200), Peer::answer(200)});
    Client client(peer);
    Body body;
    HTTP_Request post(8, "/", true);
    HTTP_Request put(9, "/");
    HTTP_Request remove(HTTP_DELETE, "/");
    EXPECT_TRUE(client.request(post, body, nullptr));
    EXPECT_TRUE(client.request(put, body, nullptr));
    EXPECT_TRUE(client.get(remove, nullptr));
    EXPECT_EQ(peer.requests().at(0).method, "POST");
    EXPECT_EQ(peer.requests().at(1).method, "PUT");
    EXPECT_EQ(peer.requests().at(1).body, "{\"a\":1}");
    EXPECT_EQ(peer.requests().at(2).method, "DELETE");
}

TEST(JSON_RESTful_Client, method_that_is_none_is_not_sent)
{
    Peer peer({});
    Client client(peer);
    for (const int method : {0, 12, -1, static_cast<int>(HTTP_CONNECT)}) {
        HTTP_Request request(method, "/");
        const Log_Capture log;
        EXPECT_FALSE(client.get(request, nullptr));
        EXPECT_EQ(log.count(), 1u) << log.text();
    }
    EXPECT_EQ(peer.connections(), 0u);
}

TEST(JSON_RESTful_Client, response_gets_status_and_headers)
{
    Peer peer({Peer::answer(201, "{}", "Location: /sets/1\r\n")});
    Client client(peer);
    HTTP_Request request(HTTP_POST, "/");
    HTTP_Response response;
    EXPECT_TRUE(client.request(request, Value(), nullptr, &response));
    EXPECT_EQ(response.status(), 201);
    EXPECT_EQ(*response.headers().get("location"), "/sets/1");
    EXPECT_EQ(peer.requests().at(0).body, "null");
}

TEST(JSON_RESTful_Client, response_without_an_answer_has_status_0)
{
    Peer peer({Peer::drop()});
    Client client(peer);
    HTTP_Request request(HTTP_POST, "/");
    HTTP_Response response;
    response.status(200);
    response.headers().set("Left", "over");
    const Log_Capture log;
    EXPECT_FALSE(client.request(request, Value(), nullptr, &response));
    EXPECT_EQ(response.status(), 0);
    EXPECT_TRUE(response.headers().all().empty());
}

TEST(JSON_RESTful_Client, statuses_from_200_to_299_are_success)
{
    for (const int status : {200, 201, 202, 204, 299}) {
        Peer peer({Peer::answer(status)});
        Client client(peer);
        const Log_Capture log;
        EXPECT_TRUE(get(client)) << status;
        EXPECT_EQ(log.count(), 0u) << log.text();
    }
    for (const int status : {300, 302, 304, 400, 401, 404, 409, 429, 500, 503}) {
        Peer peer({Peer::answer(status), Peer::answer(200)});
        Client client(peer);
        client.retries(5);
        const Log_Capture log;
        EXPECT_FALSE(get(client)) << status;
        EXPECT_EQ(peer.requests().size(), 1u) << "an answer ends the retries";
        EXPECT_EQ(log.text(),
                  "HTTP GET / to " + place(peer) + " failed, status " + std::to_string(status) + ": refused.\n");
        EXPECT_EQ(log.count(LM_ERROR), 1u);
    }
}

TEST(JSON_RESTful_Client, result_gets_the_body_of_a_refusal)
{
    Peer peer({Peer::answer(409, "{\"error\":\"exists\"}")});
    Client client(peer);
    Value result;
    const Log_Capture log;
    EXPECT_FALSE(get(client, "/", &result));
    EXPECT_EQ(text(result), "{\"error\":\"exists\"}");
}

TEST(JSON_RESTful_Client, result_is_left_alone_by_a_refusal_that_is_not_json)
{
    Peer peer({Peer::answer(502, "<html>")});
    Client client(peer);
    Value result("before");
    const Log_Capture log;
    EXPECT_FALSE(get(client, "/", &result));
    EXPECT_EQ(text(result), "\"before\"");
    EXPECT_EQ(log.count(), 1u) << log.text();
    EXPECT_EQ(log.count("status 502"), 1u) << log.text();
}

TEST(JSON_RESTful_Client, result_of_an_empty_body_is_null)
{
    Peer peer({{"HTTP/1.1 204 No Content\r\n\r\n"}, Peer::answer(200)});
    Client client(peer);
    for (int i = 0; i < 2; ++i) {
        Value result("before");
        EXPECT_TRUE(get(client, "/", &result));
        EXPECT_TRUE(result.is_null());
    }
}

TEST(JSON_RESTful_Client, answer_that_is_not_json_fails_where_a_result_is_wanted)
{
    Peer peer({Peer::answer(200, "{\"a\":"), Peer::answer(200, "{\"a\":")});
    Client client(peer);
    client.retries(5);
    const Log_Capture log;
    EXPECT_TRUE(get(client));
    EXPECT_EQ(log.count(), 0u) << log.text();
    Value result("before");
    EXPECT_FALSE(get(client, "/", &result));
    EXPECT_EQ(text(result), "\"before\"");
    EXPECT_EQ(log.count(LM_ERROR, "the answer is not JSON"), 1u) << log.text();
    EXPECT_EQ(log.count(), 1u) << log.text();
    EXPECT_EQ(peer.requests().size(), 2u);
}

TEST(JSON_RESTful_Client, chunked_answer_is_read)
{
    Peer peer({{"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\n[1,2\r\n1\r\n]\r\n0\r\n\r\n"}});
    Client client(peer);
    Value result;
    EXPECT_TRUE(get(client, "/", &result));
    EXPECT_EQ(text(result), "[1,2]");
}

TEST(JSON_RESTful_Client, requests_of_a_client_go_over_one_connection)
{
    Peer peer(std::vector<Peer::Reply>(10, Peer::answer(200)));
    Client client(peer);
    Body body;
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(get(client));
        EXPECT_TRUE(client.post("/", body, nullptr));
    }
    EXPECT_EQ(peer.connections(), 1u);
}

TEST(JSON_RESTful_Client, set_headers_go_with_every_request)
{
    Peer peer({Peer::answer(200), Peer::answer(200), Peer::answer(200)});
    Client client(peer);
    client.set_header(48, secret);
    Body body;
    EXPECT_TRUE(get(client));
    EXPECT_TRUE(client.post("/", body, nullptr));
    client.set_header(48, nullptr);
    EXPECT_TRUE(get(client));
    EXPECT_EQ(peer.requests().at(0).header("x-access-key"), secret);
    EXPECT_EQ(peer.requests().at(1).header("x-access-key"), secret);
    EXPECT_EQ(peer.requests().at(2).headers.count("x-access-key"), 0u);
}

TEST(JSON_RESTful_Client, headers_of_the_request_go_before_those_of_the_client)
{
    Peer peer({Peer::answer(200)});
    Client client(peer);
    client.set_header(HTTP_Headers::ACCEPT_LANGUAGE, "de");
    client.set_header(HTTP_Headers::WARNING, "stays");
    HTTP_Request request(HTTP_GET, "/");
    request.headers().set(HTTP_Headers::ACCEPT_LANGUAGE, "en");
    request.headers().set(HTTP_Headers::ACCEPT, "text/plain");
    EXPECT_TRUE(client.get(request, nullptr));
    EXPECT_EQ(peer.requests().at(0).header("accept-language"), "en");
    EXPECT_EQ(peer.requests().at(0).header("warning"), "stays");
    EXPECT_EQ(peer.requests().at(0).header("accept"), "text/plain");
}

TEST(JSON_RESTful_Client, header_that_could_begin_another_line_is_refused_without_being_shown)
{
    Peer peer({Peer::answer(200)});
    Client client(peer);
    const Log_Capture log;
    client.set_header(48, (std::string(secret) + "\r\nX-Other: 1").c_str());
    EXPECT_EQ(log.count(LM_ERROR, "X-Access-Key"), 1u) << log.text();
    EXPECT_EQ(log.count(secret), 0u) << log.text();
    EXPECT_TRUE(get(client));
    EXPECT_EQ(peer.requests().at(0).headers.count("x-access-key"), 0u);
    EXPECT_EQ(peer.requests().at(0).headers.count("x-other"), 0u);
    client.set_header(0, "x");
    EXPECT_EQ(log.count(LM_ERROR), 2u) << log.text();
}

TEST(JSON_RESTful_Client, path_that_could_begin_another_line_is_not_sent_and_not_logged_as_it_is)
{
    Peer peer({});
    Client client(peer);
    client.retries(-1);
    const Log_Capture log;
    EXPECT_FALSE(get(client, "/a\r\nX-Other: b"));
    EXPECT_EQ(log.text(), "HTTP GET /a??X-Other: b to " + place(peer)
                              + " failed, status 0: the path is not one that can be sent.\n");
    EXPECT_EQ(peer.connections(), 0u);
}

TEST(JSON_RESTful_Client, body_that_cannot_be_written_is_one_line_and_nothing_sent)
{
    Peer peer({});
    Client client(peer);
    client.retries(-1);
    for (const Body::Way way : {Body::FALSE, Body::THROW, Body::THROW_NUMBER}) {
        Body body(way);
        HTTP_Request request(HTTP_PUT, "/sets?uuid=1");
        Value result("before");
        const Log_Capture log;
        EXPECT_FALSE(client.post("/sets", body, &result));
        EXPECT_EQ(log.count(LM_ERROR, "HTTP POST /sets to "), 1u) << log.text();
        EXPECT_FALSE(client.request(request, body, &result));
        EXPECT_EQ(log.count(LM_ERROR, "HTTP PUT /sets to "), 1u) << log.text();
        EXPECT_EQ(log.count(), 2u) << log.text();
        EXPECT_EQ(log.count("\r"), 0u) << log.text();
        EXPECT_EQ(text(result), "\"before\"");
    }
    const Value not_finite(std::numeric_limits<double>::quiet_NaN());
    const Log_Capture log;
    EXPECT_FALSE(client.post("/sets", &not_finite, nullptr));
    EXPECT_EQ(log.count(LM_ERROR, "the body cannot be written as JSON"), 1u) << log.text();
    EXPECT_EQ(peer.connections(), 0u);
}

TEST(JSON_RESTful_Client, what_was_not_delivered_is_sent_again_with_the_same_key_and_body)
{
    Peer peer({Peer::drop(), Peer::last_bytes("H"), Peer::answer(200, "{\"result\":true}")});
    Client client(peer);
    client.retries(2);
    Body body;
    Value result;
    const Clock::time_point begin = Clock::now();
    const Log_Capture log;
    EXPECT_TRUE(client.post("/sets?secret=query", body, &result));
    EXPECT_GE(seconds_since(begin), 2.0) << "each wait is at least a second";
    EXPECT_EQ(text(result), "{\"result\":true}");
    EXPECT_EQ(body.calls, 1);
    const std::vector<Peer::Request> sent = peer.requests();
    ASSERT_EQ(sent.size(), 3u);
    EXPECT_TRUE(read_uuid(key_of(sent[0])).has_value()) << key_of(sent[0]);
    for (const Peer::Request& request : sent) {
        EXPECT_EQ(request.body, "{\"a\":1}");
        EXPECT_EQ(key_of(request), key_of(sent[0]));
    }
    EXPECT_EQ(log.count(LM_INFO), 2u) << log.text();
    EXPECT_EQ(log.count(LM_INFO, "HTTP POST /sets to " + place(peer) + " is sent again in 1 second(s), retry 1: "), 1u)
        << log.text();
    EXPECT_EQ(log.count(), 2u) << log.text();
}

TEST(JSON_RESTful_Client, put_without_the_flag_is_sent_again_with_the_same_key)
{
    Peer peer({Peer::drop(), Peer::answer(200)});
    Client client(peer);
    client.retries(1);
    Body body;
    HTTP_Request request(9, "/sets?uuid=1");
    const Log_Capture log;
    EXPECT_TRUE(client.request(request, body, nullptr));
    ASSERT_EQ(peer.requests().size(), 2u);
    EXPECT_TRUE(read_uuid(key_of(peer.requests()[0])).has_value());
    EXPECT_EQ(key_of(peer.requests()[0]), key_of(peer.requests()[1]));
}

TEST(JSON_RESTful_Client, each_request_has_a_key_of_its_own)
{
    Peer peer(std::vector<Peer::Reply>(4, Peer::answer(200)));
    Client client(peer);
    Body body;
    HTTP_Request again(HTTP_POST, "/", true);
    EXPECT_TRUE(client.post("/", body, nullptr));
    EXPECT_TRUE(client.post("/", body, nullptr));
    EXPECT_TRUE(client.request(again, body, nullptr));
    EXPECT_TRUE(client.request(again, body, nullptr));
    const std::vector<Peer::Request> sent = peer.requests();
    for (std::size_t i = 0; i < sent.size(); ++i) {
        EXPECT_TRUE(read_uuid(key_of(sent[i])).has_value());
        for (std::size_t j = 0; j < i; ++j) {
            EXPECT_NE(key_of(sent[i]), key_of(sent[j]));
        }
    }
}

TEST(JSON_RESTful_Client, get_has_no_key_unless_it_is_flagged)
{
    Peer peer({Peer::answer(200), Peer::answer(200)});
    Client client(peer);
    EXPECT_TRUE(get(client));
    HTTP_Request flagged(HTTP_GET, "/", true);
    EXPECT_TRUE(client.get(flagged, nullptr));
    EXPECT_EQ(peer.requests().at(0).headers.count("idempotency-key"), 0u);
    EXPECT_TRUE(read_uuid(key_of(peer.requests().at(1))).has_value());
}

TEST(JSON_RESTful_Client, key_that_the_caller_gave_is_kept)
{
    Peer peer({Peer::answer(200)});
    Client client(peer);
    HTTP_Request request(HTTP_POST, "/");
    request.headers().set(HTTP_Headers::IDEMPOTENCY_KEY, "mine");
    EXPECT_TRUE(client.request(request, Value(), nullptr, nullptr));
    EXPECT_EQ(key_of(peer.requests().at(0)), "mine");
}

TEST(JSON_RESTful_Client, retries_count_the_attempts_after_the_first)
{
    for (const int retries : {0, 1}) {
        Peer peer({Peer::drop(), Peer::drop(), Peer::drop()});
        Client client(peer);
        client.retries(retries);
        const Log_Capture log;
        EXPECT_FALSE(get(client));
        EXPECT_EQ(peer.requests().size(), static_cast<std::size_t>(retries) + 1);
        EXPECT_EQ(log.count(LM_ERROR), 1u) << log.text();
        EXPECT_EQ(log.count(LM_INFO), static_cast<std::size_t>(retries)) << log.text();
    }
}

TEST(JSON_RESTful_Client, retry_timeout_limits_the_summed_waits)
{
    for (const int seconds : {0, 1}) { // the first wait is exactly one second
        Peer peer({Peer::drop(), Peer::drop(), Peer::drop()});
        Client client(peer);
        client.retries(-1);
        client.retry_timeout(seconds);
        const Log_Capture log;
        EXPECT_FALSE(get(client));
        EXPECT_EQ(peer.requests().size(), static_cast<std::size_t>(seconds) + 1);
    }
}

TEST(JSON_RESTful_Client, fresh_client_repeats_without_a_limit)
{
    Peer peer({Peer::drop(), Peer::drop(), Peer::answer(200)});
    JSON_RESTful_Client client("127.0.0.1", peer.port(), false);
    EXPECT_EQ(client.retries(), -1);
    EXPECT_EQ(client.retry_timeout(), -1);
    const Log_Capture log;
    EXPECT_TRUE(get(client));
    EXPECT_EQ(peer.requests().size(), 3u);
}

TEST(JSON_RESTful_Client, answer_beyond_the_limit_is_not_asked_for_again)
{
    Peer peer({Peer::answer(200, "\"" + std::string(1000, 'x') + "\""), Peer::answer(200, "{}")});
    HTTP_Client_Options options;
    options.response_limit = 1000;
    Client client(peer, options);
    client.retries(-1);
    const Log_Capture log;
    Value result;
    EXPECT_FALSE(get(client, "/", &result));
    EXPECT_EQ(peer.requests().size(), 1u);
    EXPECT_EQ(log.count("the answer is longer than 1000 bytes"), 1u) << log.text();
}

TEST(JSON_RESTful_Client, without_log_errors_nothing_is_logged)
{
    Peer peer({Peer::drop(), Peer::drop(), Peer::answer(500), Peer::answer(200, "x"), Peer::answer(404)});
    Client client(peer);
    client.log_errors(false);
    EXPECT_FALSE(client.log_errors());
    client.retries(1);
    Body unwritable(Body::FALSE);
    Value result;
    Log_Capture log;
    EXPECT_FALSE(get(client));
    EXPECT_FALSE(get(client));
    EXPECT_FALSE(get(client, "/", &result));
    EXPECT_FALSE(client.post("/", unwritable, nullptr));
    EXPECT_EQ(log.count(), 0u) << log.text();
    client.log_errors(true);
    EXPECT_FALSE(get(client));
    EXPECT_EQ(log.count(LM_ERROR), 1u) << log.text();
}

TEST(JSON_RESTful_Client, no_log_line_shows_keys_queries_or_bodies)
{
    const std::string hidden = secret;
    Peer peer({Peer::drop(), Peer::last_bytes("garbage " + hidden), Peer::answer(401, "{\"key\":\"" + hidden + "\"}"),
               Peer::answer(200, hidden), Peer::last_bytes("HTTP/1.1 200 " + hidden + "\r\n" + hidden),
               Peer::answer(200, std::string(2000, 'x'))});
    HTTP_Client_Options options;
    options.response_limit = 1000;
    Client client(peer, options);
    client.set_header(48, secret);
    const Value body(hidden);
    Value result;
    const Log_Capture log;
    for (int i = 0; i < 6; ++i) {
        EXPECT_FALSE(client.post("/sets?key=" + hidden, &body, &result));
    }
    HTTP_Request request(HTTP_GET, "/sets");
    request.query() = "key=" + hidden;
    EXPECT_FALSE(client.get(request, &result)); // beyond the script
    EXPECT_EQ(peer.requests().size(), 7u);
    EXPECT_EQ(peer.requests().at(0).header("x-access-key"), secret);
    EXPECT_EQ(log.count(LM_ERROR), 7u) << log.text();
    EXPECT_EQ(log.count(hidden), 0u) << log.text();
    EXPECT_EQ(log.count("?"), 0u) << log.text();
}

TEST(JSON_RESTful_Client, host_that_is_none_is_one_line_whatever_the_retries)
{
    JSON_RESTful_Client client("no host", 80, false);
    const Log_Capture log;
    EXPECT_FALSE(get(client));
    EXPECT_EQ(log.text(), "HTTP GET / to (no host):80 failed, status 0: there is no such host or port.\n");
}

TEST(Upstream_JSON_RESTful_Client, goes_where_it_was_configured_last)
{
    {
        Upstream_JSON_RESTful_Client early; // no other test configures
        Log_Capture log;
        EXPECT_FALSE(get(early));
        EXPECT_EQ(log.text(), "HTTP GET / to (no server) failed, status 0: no server is configured.\n");
        EXPECT_EQ(log.count(LM_ERROR), 1u);
    }
    Peer first({Peer::answer(200), Peer::answer(200)});
    Peer second({Peer::answer(200)});
    Upstream_JSON_RESTful_Client::configure("127.0.0.1", first.port(), false, secret);
    Upstream_JSON_RESTful_Client of_first;
    EXPECT_TRUE(get(of_first));
    Upstream_JSON_RESTful_Client::configure("127.0.0.1", second.port(), false, "");
    Upstream_JSON_RESTful_Client of_second;
    EXPECT_TRUE(get(of_second));
    EXPECT_TRUE(get(of_first));
    ASSERT_EQ(first.requests().size(), 2u);
    EXPECT_EQ(first.requests()[1].header("x-access-key"), secret);
    ASSERT_EQ(second.requests().size(), 1u);
    EXPECT_EQ(second.requests()[0].headers.count("x-access-key"), 0u);
}

TEST(Network_JSON_RESTful_Client, sends_the_keys_of_network_and_tenant)
{
    Peer peer({Peer::answer(200), Peer::answer(200), Peer::answer(200)});
    const HTTP_Session_var session(new HTTP_Session("127.0.0.1", peer.port(), false));
    Network_JSON_RESTful_Client network("net", session, true);
    Network_JSON_RESTful_Client tenant("net", "ten", session, true);
    Network_JSON_RESTful_Client nobody("", "", session, true);
    EXPECT_TRUE(get(network));
    EXPECT_TRUE(get(tenant));
    EXPECT_TRUE(get(nobody));
    const std::vector<Peer::Request> sent = peer.requests();
    ASSERT_EQ(sent.size(), 3u);
    EXPECT_EQ(sent[0].header("x-network-access-key"), "net");
    EXPECT_EQ(sent[0].headers.count("x-tenant-access-key"), 0u);
    EXPECT_EQ(sent[1].header("x-network-access-key"), "net");
    EXPECT_EQ(sent[1].header("x-tenant-access-key"), "ten");
    EXPECT_EQ(sent[2].headers.count("x-network-access-key"), 0u);
    EXPECT_EQ(sent[2].headers.count("x-tenant-access-key"), 0u);
}

TEST(Network_JSON_RESTful_Client, looks_at_the_status_only_when_it_was_told_to)
{
    Peer peer({Peer::answer(404, "{\"a\":1}"), Peer::answer(404, "{\"a\":1}"), Peer::answer(404, "x")});
    const HTTP_Session_var session(new HTTP_Session("127.0.0.1", peer.port(), false));
    Network_JSON_RESTful_Client strict("net", session, true);
    Network_JSON_RESTful_Client lax("net", session, false);
    Value result;
    const Log_Capture log;
    EXPECT_FALSE(get(strict));
    EXPECT_EQ(log.count(), 1u) << log.text();
    EXPECT_TRUE(get(lax, "/", &result));
    EXPECT_EQ(text(result), "{\"a\":1}");
    EXPECT_EQ(log.count(), 1u) << log.text();
    EXPECT_FALSE(get(lax, "/", &result));
    EXPECT_EQ(log.count("the answer is not JSON"), 1u) << log.text();
}

TEST(Network_JSON_RESTful_Client, clients_of_one_session_share_its_connection_also_between_threads)
{
    constexpr int each = 20;
    Peer peer(std::vector<Peer::Reply>(4 * each, Peer::answer(200, "{}")));
    HTTP_Session_var session(new HTTP_Session("127.0.0.1", peer.port(), false));
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([session] {
                Network_JSON_RESTful_Client client("net", session, true);
                Body body;
                for (int i = 0; i < each; ++i) {
                    EXPECT_TRUE(client.post("/", body, nullptr));
                }
            });
        }
        session = HTTP_Session_var(); // the clients keep it
    }
    EXPECT_EQ(peer.requests().size(), static_cast<std::size_t>(4 * each));
    EXPECT_EQ(peer.connections(), 1u);
}

TEST(Network_JSON_RESTful_Client, without_a_session_every_request_is_one_line)
{
    Network_JSON_RESTful_Client client("net", HTTP_Session_var(), false);
    const Log_Capture log;
    EXPECT_FALSE(get(client));
    EXPECT_EQ(log.count(LM_ERROR, "no server is configured"), 1u) << log.text();
    EXPECT_EQ(log.count(), 1u) << log.text();
}
