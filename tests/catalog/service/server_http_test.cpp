#include "tests/catalog/service/server_test.h"

#include <vector>

namespace {

using Server_HTTP_Test = Server_Test;

TEST_F(Server_HTTP_Test, request_reaches_the_front_taken_apart)
{
    start();
    const auto reply =
        client().ask(post("/echo%20%C3%A4/b?x=%20y&z", "the body",
                          "Content-Type: application/json\r\nIdempotency-Key: k1\r\nX-Access-Key: me\r\n"));
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.body, "POST /echo ä/b [x=%20y&z] application/json k1 me the body");
    EXPECT_EQ(reply.header("content-type"), "application/json");
    EXPECT_EQ(reply.header("connection"), "keep-alive");
}

TEST_F(Server_HTTP_Test, connection_is_kept_and_admitted_once)
{
    start();
    Raw_Client connection = client();
    for (const char* name : {"/echo/1", "/now/2", "/echo/3"}) {
        EXPECT_EQ(connection.ask(get(name, "X-Access-Key: me\r\n")).status, 200);
    }
    EXPECT_EQ(front_.admissions(), std::vector<std::string>{"127.0.0.1 me"});
    EXPECT_EQ(server_->counters().accepted, 1U);
    EXPECT_EQ(server_->counters().requests, 3U);
}

TEST_F(Server_HTTP_Test, connection_is_admitted_again_when_the_key_changes)
{
    start();
    Raw_Client connection = client();
    EXPECT_EQ(connection.ask(get("/echo", "X-Access-Key: one\r\n")).body, "GET /echo []   one ");
    EXPECT_EQ(connection.ask(get("/echo", "Authorization: Bearer two\r\n")).body, "GET /echo []   two ");
    EXPECT_EQ(connection.ask(get("/echo", "X-Access-Key: two\r\n")).body, "GET /echo []   two ");
    EXPECT_EQ(connection.ask(get("/echo", "Authorization: Basic two\r\n")).body, "GET /echo []   (none) ");
    EXPECT_EQ(front_.admissions(), (std::vector<std::string>{"127.0.0.1 one", "127.0.0.1 two", "127.0.0.1 (none)"}));
}

TEST_F(Server_HTTP_Test, unknown_key_is_refused_before_the_body_is_read)
{
    start();
    Raw_Client connection = client();
    const auto reply =
        connection.ask("POST /echo HTTP/1.1\r\nHost: test\r\nX-Access-Key: wrong\r\nContent-Length: 1000000\r\n\r\n");
    EXPECT_EQ(reply.status, 401);
    EXPECT_EQ(reply.header("www-authenticate"), "Bearer");
    EXPECT_EQ(reply.header("connection"), "close");
    EXPECT_NE(reply.body.find("\"code\":401"), std::string::npos);
    EXPECT_TRUE(connection.ends());
    EXPECT_EQ(front_.answers_asked, 0U);
}

TEST_F(Server_HTTP_Test, peer_that_has_failed_too_often_is_told_when_to_come_back)
{
    start();
    Raw_Client connection = client();
    const auto reply = connection.ask(get("/echo", "X-Access-Key: often\r\n"));
    EXPECT_EQ(reply.status, 429);
    EXPECT_NE(reply.header("retry-after"), "");
    EXPECT_TRUE(connection.ends());
}

TEST_F(Server_HTTP_Test, health_needs_no_key_and_all_else_does)
{
    front_.needs_key = true;
    start();
    Raw_Client connection = client();
    connection.send(get("/health"));
    EXPECT_EQ(connection.read_reply().status, 200);
    EXPECT_TRUE(front_.admissions().empty());
    EXPECT_EQ(connection.ask(post("/health", "x")).status, 401);
    EXPECT_EQ(client().ask(get("/healthy")).status, 401);
}

TEST_F(Server_HTTP_Test, pipelined_requests_are_answered_in_order)
{
    start();
    Raw_Client connection = client();
    connection.send(get("/hold/1") + post("/now/2", "body") + "\r\n" + get("/echo/3") + get("/now/4"));
    ASSERT_TRUE(front_.wait_for_held(1));
    EXPECT_EQ(front_.answers_asked, 1U); // the others wait
    front_.release();
    EXPECT_EQ(connection.read_reply().body, "GET /hold/1 []   (none) ");
    EXPECT_EQ(connection.read_reply().body, "POST /now/2 []   (none) body");
    EXPECT_EQ(connection.read_reply().body, "GET /echo/3 []   (none) ");
    EXPECT_EQ(connection.read_reply().body, "GET /now/4 []   (none) ");
}

TEST_F(Server_HTTP_Test, many_pipelined_requests_answered_at_once_do_not_nest)
{
    start();
    Raw_Client connection = client();
    std::string all;
    for (int i = 0; i < 5000; ++i) {
        all += get("/now");
    }
    std::thread sender([&] { connection.send(all); });
    for (int i = 0; i < 5000; ++i) {
        ASSERT_EQ(connection.read_reply().status, 200);
    }
    sender.join();
}

TEST_F(Server_HTTP_Test, chunked_body_is_put_together)
{
    start();
    Raw_Client connection = client();
    connection.send("POST /echo HTTP/1.1\r\nHost: test\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n");
    connection.send("5;x=y\r\ndefgh\r\n");
    connection.send("0\r\nTrailer: 1\r\n\r\n");
    EXPECT_EQ(connection.read_reply().body, "POST /echo []   (none) abcdefgh");
    EXPECT_EQ(connection.ask(get("/echo")).status, 200); // nothing is left over
}

TEST_F(Server_HTTP_Test, large_body_arrives_whole)
{
    start();
    EXPECT_EQ(client().ask(post("/echo", std::string(20'000'000, 'x'))).body, "POST /echo []   (none) 20000000");
}

TEST_F(Server_HTTP_Test, body_over_the_limit_is_refused_by_its_length_before_it_comes)
{
    options_.body_limit = 1000;
    start();
    EXPECT_EQ(client().ask(post("/echo", std::string(1000, 'x'))).status, 200);
    Raw_Client connection = client();
    const auto reply = connection.ask("POST /echo HTTP/1.1\r\nHost: test\r\nContent-Length: 1001\r\n\r\n");
    EXPECT_EQ(reply.status, 413);
    EXPECT_EQ(reply.header("connection"), "close");
    EXPECT_TRUE(connection.ends());
    EXPECT_EQ(client().ask("POST /echo HTTP/1.1\r\nHost: test\r\nContent-Length: 18446744073709551616\r\n\r\n").status,
              400);
}

TEST_F(Server_HTTP_Test, chunked_body_over_the_limit_is_refused)
{
    options_.body_limit = 1000;
    start();
    Raw_Client connection = client();
    connection.send("POST /echo HTTP/1.1\r\nHost: test\r\nTransfer-Encoding: chunked\r\n\r\n");
    connection.send("1f4\r\n" + std::string(500, 'x') + "\r\n1f4\r\n" + std::string(500, 'x')
                    + "\r\n1\r\nx\r\n0\r\n\r\n");
    EXPECT_EQ(connection.read_reply().status, 413);
    EXPECT_TRUE(connection.ends());
    EXPECT_EQ(front_.answers_asked, 0U);
}

TEST_F(Server_HTTP_Test, refusal_is_read_although_the_peer_goes_on_sending)
{
    options_.body_limit = 1000;
    start();
    Raw_Client connection = client();
    connection.send("POST /echo HTTP/1.1\r\nHost: test\r\nContent-Length: 5000000\r\n\r\n");
    connection.send(std::string(5'000'000, 'x'));
    EXPECT_EQ(connection.read_reply().status, 413);
}

TEST_F(Server_HTTP_Test, bodies_over_the_memory_limit_are_refused_until_there_is_room)
{
    options_.memory_limit = 1500;
    start();
    Raw_Client first = client();
    first.send(post("/hold", std::string(1000, 'x')));
    ASSERT_TRUE(front_.wait_for_held(1));
    const auto reply = client().ask(post("/echo", std::string(1000, 'x')));
    EXPECT_EQ(reply.status, 503);
    EXPECT_NE(reply.header("retry-after"), "");
    EXPECT_EQ(client()
                  .ask("POST /echo HTTP/1.1\r\nHost: test\r\nTransfer-Encoding: chunked\r\n\r\n3e8\r\n"
                       + std::string(1000, 'x') + "\r\n0\r\n\r\n")
                  .status,
              503);
    EXPECT_EQ(client().ask(post("/echo", std::string(500, 'x'))).status, 200);
    front_.release();
    EXPECT_EQ(first.read_reply().status, 200);
    EXPECT_EQ(client().ask(post("/echo", std::string(1000, 'x'))).status, 200);
}

TEST_F(Server_HTTP_Test, peer_that_expects_to_go_on_is_told_to)
{
    start();
    Raw_Client connection = client();
    connection.send("POST /echo HTTP/1.1\r\nHost: test\r\nContent-Length: 3\r\nExpect: 100-continue\r\n\r\n");
    EXPECT_EQ(connection.read_reply().status, 100);
    connection.send("abc");
    EXPECT_EQ(connection.read_reply().body, "POST /echo []   (none) abc");
    EXPECT_EQ(connection.ask(get("/echo", "Expect: miracles\r\n")).status, 417);
}

TEST_F(Server_HTTP_Test, peer_that_expects_to_go_on_is_refused_before_the_body)
{
    options_.body_limit = 1000;
    start();
    EXPECT_EQ(client()
                  .ask("POST /echo HTTP/1.1\r\nHost: test\r\nContent-Length: 2000\r\nExpect: 100-continue\r\n\r\n")
                  .status,
              413);
}

TEST_F(Server_HTTP_Test, header_over_the_limit_is_refused)
{
    options_.header_limit = 1000;
    start();
    EXPECT_EQ(client().ask(get("/echo", "A: " + std::string(900, 'x') + "\r\n")).status, 200);
    EXPECT_EQ(client().ask(get("/echo", "A: " + std::string(1000, 'x') + "\r\n")).status, 431);
    EXPECT_EQ(client().ask(get("/" + std::string(600, 'x'), "A: " + std::string(600, 'x') + "\r\n")).status, 431);
    Raw_Client endless = client();
    endless.send("GET /" + std::string(2000, 'x'));
    EXPECT_EQ(endless.read_reply().status, 431);
    EXPECT_TRUE(endless.ends());
}

TEST_F(Server_HTTP_Test, malformed_requests_are_refused)
{
    start();
    const std::vector<std::string> requests = {
        "\x16\x03\x01\x02\x01\x01\x01\x01\x01",
        "hello\r\n\r\n",
        "GET / HTTP/9.9\r\nHost: test\r\n\r\n",
        "GET  / HTTP/1.1\r\nHost: test\r\n\r\n",
        "GET / HTTP/1.1\r\n\r\n",
        "GET / HTTP/1.1\r\nHost: test\r\nHost: test\r\n\r\n",
        "GET / HTTP/1.1\r\nHost: test\r\nno colon\r\n\r\n",
        "GET / HTTP/1.1\r\nHost: test\r\nName : value\r\n\r\n",
        "GET / HTTP/1.1\nHost: test\n\n\n\n\n\n",
        "GET /%zz HTTP/1.1\r\nHost: test\r\n\r\n",
        "GET /a%00b HTTP/1.1\r\nHost: test\r\n\r\n",
        "GET /% HTTP/1.1\r\nHost: test\r\n\r\n",
        "GET echo HTTP/1.1\r\nHost: test\r\n\r\n",
        "CONNECT test:80 HTTP/1.1\r\nHost: test\r\n\r\n",
        get("/echo", "X-Access-Key: a\r\nX-Access-Key: b\r\n"),
        get("/echo", "Idempotency-Key: a\r\nIdempotency-Key: b\r\n"),
        get("/echo", "Authorization: Bearer a\r\nAuthorization: Bearer b\r\n"),
        "POST / HTTP/1.1\r\nHost: test\r\nTransfer-Encoding: chunked\r\n\r\nxyz\r\n",
        "POST / HTTP/1.1\r\nHost: test\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabcdef\r\n",
        "POST / HTTP/1.1\r\nHost: test\r\nTransfer-Encoding: chunked\r\n\r\n1;" + std::string(20000, 'x'),
    };
    for (const std::string& request : requests) {
        Raw_Client connection = client();
        EXPECT_EQ(connection.ask(request).status, 400) << request.substr(0, 100);
        EXPECT_TRUE(connection.ends()) << request.substr(0, 100);
    }
    EXPECT_EQ(front_.answers_asked, 0U);
    EXPECT_EQ(server_->counters().refused_requests, requests.size());
}

TEST_F(Server_HTTP_Test, bodies_without_a_clear_end_are_refused)
{
    start();
    const std::vector<std::string> headers = {
        "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n",
        "Transfer-Encoding: chunked\r\nContent-Length: 5\r\n",
        "Content-Length: 5\r\nContent-Length: 6\r\n",
        "Content-Length: 5\r\nContent-Length: 5\r\n",
        "Content-Length: 5, 5\r\n",
        "Content-Length: +5\r\n",
        "Content-Length: -5\r\n",
        "Content-Length: 5x\r\n",
        "Content-Length: 0x5\r\n",
        "Content-Length:\r\n",
        "Transfer-Encoding: identity\r\n",
        "Transfer-Encoding: gzip, chunked\r\n",
        "Transfer-Encoding: chunked, identity\r\n",
        "Transfer-Encoding: xchunked\r\n",
        "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n",
        "Transfer-Encoding: identity\r\nTransfer-Encoding: chunked\r\n",
        "Transfer-Encoding:\r\n",
    };
    for (const std::string& header : headers) {
        Raw_Client connection = client();
        const auto reply = connection.ask("POST /echo HTTP/1.1\r\nHost: test\r\n" + header
                                          + "\r\n5\r\nabcde\r\n0\r\n\r\n" + get("/echo/smuggled"));
        EXPECT_EQ(reply.status, 400) << header;
        EXPECT_TRUE(connection.ends()) << header;
    }
    EXPECT_EQ(client().ask("POST /echo HTTP/1.0\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n").status, 400);
    EXPECT_EQ(front_.answers_asked, 0U);
}

TEST_F(Server_HTTP_Test, target_may_name_the_host)
{
    start();
    EXPECT_EQ(client().ask(get("http://test:1/echo/a?b")).body, "GET /echo/a [b]   (none) ");
    EXPECT_EQ(client().ask("OPTIONS * HTTP/1.1\r\nHost: test\r\n\r\n").status, 200); // left to the front
}

TEST_F(Server_HTTP_Test, unknown_upgrade_is_refused)
{
    start();
    const auto reply = client().ask(get("/echo", "Upgrade: tea\r\nConnection: upgrade\r\n"));
    EXPECT_EQ(reply.status, 426);
    EXPECT_EQ(reply.header("upgrade"), "websocket");
    EXPECT_EQ(reply.header("connection"), "upgrade, close");
    // Clients offer these without need, or did not mean this connection.
    EXPECT_EQ(client().ask(get("/echo", "Upgrade: h2c\r\nConnection: upgrade, http2-settings\r\n")).status, 200);
    EXPECT_EQ(client().ask(get("/echo", "Upgrade: tea\r\n")).status, 200);
}

TEST_F(Server_HTTP_Test, older_client_is_answered_and_closed)
{
    start();
    Raw_Client connection = client();
    const auto reply = connection.ask("GET /echo HTTP/1.0\r\nConnection: keep-alive\r\n\r\n");
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.body, "GET /echo []   (none) ");
    EXPECT_TRUE(connection.ends());
    const auto stream = client().ask("GET /stream/3/1000 HTTP/1.0\r\n\r\n");
    EXPECT_EQ(stream.header("transfer-encoding"), "");
    EXPECT_EQ(stream.body.size(), 3006U);
}

TEST_F(Server_HTTP_Test, connection_ends_when_the_client_says_so)
{
    start();
    Raw_Client connection = client();
    const auto reply = connection.ask(get("/echo", "Connection: close\r\n"));
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.header("connection"), "close");
    EXPECT_TRUE(connection.ends());
    EXPECT_TRUE(wait_for([&] { return server_->counters().connections == 0; }));
}

TEST_F(Server_HTTP_Test, client_that_has_said_all_still_gets_its_answer)
{
    start();
    Raw_Client connection = client();
    connection.send(get("/echo"));
    connection.shut_down();
    EXPECT_EQ(connection.read_reply().status, 200);
    EXPECT_TRUE(connection.ends());
}

TEST_F(Server_HTTP_Test, head_is_answered_like_get_without_the_body)
{
    start();
    Raw_Client connection = client();
    connection.send("HEAD /echo HTTP/1.1\r\nHost: test\r\n\r\nHEAD /stream/3/1000 HTTP/1.1\r\nHost: test\r\n\r\n"
                    + get("/echo/after"));
    EXPECT_EQ(connection.read_reply(true).header("content-length"), "22");
    EXPECT_EQ(connection.read_reply(true).status, 200);
    EXPECT_EQ(connection.read_reply().body, "GET /echo/after []   (none) ");
    EXPECT_EQ(front_.parts_asked, 0U);
}

TEST_F(Server_HTTP_Test, reply_without_content_has_neither_body_nor_length)
{
    start();
    Raw_Client connection = client();
    const auto reply = connection.ask(get("/gone"));
    EXPECT_EQ(reply.status, 204);
    EXPECT_EQ(reply.headers.count("content-length"), 0U);
    EXPECT_EQ(connection.ask(get("/echo")).body, "GET /echo []   (none) ");
}

TEST_F(Server_HTTP_Test, long_reply_comes_in_chunks)
{
    start();
    Raw_Client connection = client();
    const auto reply = connection.ask(get("/stream/50/100000"));
    EXPECT_EQ(reply.header("transfer-encoding"), "chunked");
    ASSERT_EQ(reply.body.size(), 5'000'006U);
    EXPECT_EQ(reply.body.substr(0, 7), "begin x"); // 49 % 26 letters after 'a'
    EXPECT_EQ(reply.body.back(), 'a');
    EXPECT_EQ(front_.parts_asked, 50U);
    EXPECT_EQ(connection.ask(get("/echo")).status, 200);
}

TEST_F(Server_HTTP_Test, parts_are_not_asked_for_while_the_peer_does_not_read)
{
    start();
    Raw_Client stalled(server_->port());
    stalled.receive_little();
    stalled.send(get("/stream/600/100000"));
    // The count stands still when what the system buffers on both sides is full.
    std::size_t before = 0;
    ASSERT_TRUE(wait_for([&] {
        const std::size_t now = front_.parts_asked;
        std::this_thread::sleep_for(milliseconds(100));
        return now > 0 && now == std::exchange(before, front_.parts_asked);
    }));
    EXPECT_LT(front_.parts_asked, 60U);
    EXPECT_EQ(client().ask(get("/echo")).status, 200); // nobody else is kept from anything
    const auto reply = stalled.read_reply();
    EXPECT_TRUE(reply.is_whole);
    EXPECT_EQ(reply.body.size(), 60'000'006U);
}

TEST_F(Server_HTTP_Test, reply_whose_rest_cannot_be_made_has_no_proper_end)
{
    start();
    const auto reply = client().ask(get("/break"));
    EXPECT_EQ(reply.status, 200);
    EXPECT_FALSE(reply.is_whole);
    Raw_Client older = client();
    older.send("GET /break HTTP/1.0\r\n\r\n");
    EXPECT_TRUE(older.ends());
    EXPECT_EQ(client().ask(get("/echo")).status, 200);
}

TEST_F(Server_HTTP_Test, peer_that_takes_no_reply_is_cut)
{
    options_.write_stall_timeout = milliseconds(300);
    start();
    Raw_Client stalled(server_->port());
    stalled.receive_little();
    stalled.send(get("/stream/600/100000"));
    EXPECT_TRUE(wait_for([&] { return front_.parts_asked > 0 && server_->counters().connections == 0; }));
    EXPECT_LT(front_.parts_asked, 60U);
}

TEST_F(Server_HTTP_Test, front_that_fails_to_answer_counts_as_an_error)
{
    start();
    Raw_Client connection = client();
    EXPECT_EQ(connection.ask(get("/drop")).status, 500);
    EXPECT_EQ(connection.ask(get("/throw")).status, 500);
    EXPECT_EQ(connection.ask(get("/echo")).status, 200);
    EXPECT_EQ(server_->counters().requests_in_flight, 0U);
}

TEST_F(Server_HTTP_Test, slow_request_is_refused)
{
    options_.request_timeout = milliseconds(200);
    start();
    Raw_Client head = client();
    head.send("GET /echo HTTP/1.1\r\nHost: te");
    EXPECT_EQ(head.read_reply().status, 408);
    EXPECT_TRUE(head.ends());
    Raw_Client body = client();
    body.send("POST /echo HTTP/1.1\r\nHost: test\r\nContent-Length: 10\r\n\r\nabc");
    EXPECT_EQ(body.read_reply().status, 408);
    EXPECT_TRUE(body.ends());
    Raw_Client nothing = client();
    EXPECT_TRUE(nothing.ends());
}

TEST_F(Server_HTTP_Test, request_that_trickles_in_has_no_more_time_than_another)
{
    options_.request_timeout = milliseconds(300);
    start();
    Raw_Client connection = client();
    bool was_cut = false;
    for (const char c : get("/echo", "A: " + std::string(1000, 'x') + "\r\n")) {
        if (connection.has_input(milliseconds(10))) {
            was_cut = true;
            break;
        }
        connection.send({&c, 1});
    }
    ASSERT_TRUE(was_cut);
    EXPECT_EQ(connection.read_reply().status, 408);
}

TEST_F(Server_HTTP_Test, idle_connection_is_closed_without_a_word)
{
    options_.idle_timeout = milliseconds(200);
    start();
    Raw_Client connection = client();
    EXPECT_EQ(connection.ask(get("/echo")).status, 200);
    EXPECT_TRUE(connection.ends());
    EXPECT_EQ(server_->counters().refused_requests, 0U);
}

TEST_F(Server_HTTP_Test, work_of_the_front_is_no_slowness_of_the_peer)
{
    options_.request_timeout = milliseconds(100);
    options_.idle_timeout = milliseconds(100);
    options_.write_stall_timeout = milliseconds(100);
    start();
    Raw_Client connection = client();
    connection.send(get("/hold"));
    ASSERT_TRUE(front_.wait_for_held(1));
    EXPECT_FALSE(connection.has_input(milliseconds(500)));
    front_.release();
    EXPECT_EQ(connection.read_reply().status, 200);
}

TEST_F(Server_HTTP_Test, requests_over_the_number_in_flight_are_refused)
{
    options_.requests_in_flight = 2;
    start();
    Raw_Client first = client();
    Raw_Client second = client();
    first.send(get("/hold/1"));
    second.send(get("/hold/2"));
    ASSERT_TRUE(front_.wait_for_held(2));
    EXPECT_EQ(server_->counters().requests_in_flight, 2U);
    Raw_Client third = client();
    const auto reply = third.ask(get("/echo"));
    EXPECT_EQ(reply.status, 503);
    EXPECT_NE(reply.header("retry-after"), "");
    EXPECT_EQ(reply.header("connection"), "keep-alive");
    front_.release();
    EXPECT_EQ(first.read_reply().status, 200);
    EXPECT_EQ(second.read_reply().status, 200);
    EXPECT_EQ(third.ask(get("/echo")).status, 200);
}

} // namespace
