#include "tests/catalog/service/server_test.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <set>
#include <vector>

namespace {

using Server_Web_Socket_Test = Server_Test;

std::string message_of(unsigned number)
{
    return "echo " + std::to_string(number);
}

TEST_F(Server_Web_Socket_Test, message_is_answered_in_the_name_of_the_key)
{
    start();
    Raw_Client socket = client();
    const auto reply = socket.upgrade("/rpc", "X-Access-Key: me\r\n");
    ASSERT_EQ(reply.status, 101);
    EXPECT_EQ(reply.header("sec-websocket-accept"), "Bz3qJYTGdOe8gUSpLosEdiLKDrk=");
    EXPECT_EQ(reply.header("server"), "backup-set");
    socket.send_text("echo");
    EXPECT_EQ(socket.read_message(), "me echo");
    socket.send_text("now");
    EXPECT_EQ(socket.read_message(), "me now");
    EXPECT_EQ(front_.admissions(), std::vector<std::string>{"127.0.0.1 me"});
    EXPECT_EQ(server_->counters().web_sockets, 1U);
    EXPECT_EQ(server_->counters().connections, 1U);
    EXPECT_EQ(server_->counters().messages, 2U);
}

TEST_F(Server_Web_Socket_Test, connection_may_have_spoken_http_before)
{
    start();
    Raw_Client socket = client();
    EXPECT_EQ(socket.ask(get("/echo")).status, 200);
    ASSERT_EQ(socket.upgrade().status, 101);
    socket.send_text("echo");
    EXPECT_EQ(socket.read_message(), "(none) echo");
}

TEST_F(Server_Web_Socket_Test, handshake_without_a_known_key_is_refused)
{
    start();
    Raw_Client wrong = client();
    EXPECT_EQ(wrong.upgrade("/rpc", "X-Access-Key: wrong\r\n").status, 401);
    EXPECT_TRUE(wrong.ends());
    Raw_Client often = client();
    const auto reply = often.upgrade("/rpc", "Authorization: Bearer often\r\n");
    EXPECT_EQ(reply.status, 429);
    EXPECT_NE(reply.header("retry-after"), "");
    EXPECT_TRUE(often.ends());
}

TEST_F(Server_Web_Socket_Test, other_paths_have_none)
{
    start();
    Raw_Client socket = client();
    EXPECT_EQ(socket.upgrade("/other").status, 404);
    EXPECT_TRUE(socket.ends());
    EXPECT_EQ(client().upgrade("/health").status, 404);
}

TEST_F(Server_Web_Socket_Test, malformed_handshakes_are_refused)
{
    start();
    const std::string upgrade = "Upgrade: websocket\r\nConnection: upgrade\r\n";
    const std::string key = "Sec-WebSocket-Key: AAECAwQFBgcICQoLDA0ODw==\r\n";
    const auto version = client().ask(get("/rpc", upgrade + key + "Sec-WebSocket-Version: 8\r\n"));
    EXPECT_EQ(version.status, 426);
    EXPECT_EQ(version.header("sec-websocket-version"), "13");
    EXPECT_EQ(client().ask(get("/rpc", upgrade + key)).status, 426);
    EXPECT_EQ(client().ask(get("/rpc", upgrade + "Sec-WebSocket-Version: 13\r\n")).status, 400);
    EXPECT_EQ(client()
                  .ask(get("/rpc", upgrade + "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: " + std::string(500, 'x')
                                       + "\r\n"))
                  .status,
              400);
    EXPECT_EQ(client().ask(post("/rpc", "", upgrade + key + "Sec-WebSocket-Version: 13\r\n")).status, 400);
    EXPECT_EQ(client().ask(post("/rpc", "x", upgrade + key + "Sec-WebSocket-Version: 13\r\n")).status, 400);
    EXPECT_EQ(server_->counters().web_sockets, 0U);
}

TEST_F(Server_Web_Socket_Test, many_messages_are_answered_on_one_connection)
{
    start();
    Raw_Client socket = web_socket();
    std::set<std::string> expected;
    std::set<std::string> answers;
    std::string frames;
    for (unsigned i = 0; i < 2000; ++i) {
        frames += Raw_Client::frame(1, message_of(i));
        expected.insert("(none) " + message_of(i));
    }
    std::thread sender([&] { socket.send(frames); });
    for (unsigned i = 0; i < 2000; ++i) {
        answers.insert(socket.read_message());
    }
    sender.join();
    EXPECT_EQ(answers, expected);
}

TEST_F(Server_Web_Socket_Test, slow_answer_does_not_keep_others_back)
{
    start();
    Raw_Client socket = web_socket();
    socket.send_text("hold");
    ASSERT_TRUE(front_.wait_for_held(1));
    socket.send_text("echo");
    EXPECT_EQ(socket.read_message(), "(none) echo");
    front_.release();
    EXPECT_EQ(socket.read_message(), "(none) hold");
}

TEST_F(Server_Web_Socket_Test, fragments_are_put_together)
{
    start();
    Raw_Client socket = web_socket();
    socket.send_frame(1, "ec", false);
    socket.send_frame(9, "ping");
    socket.send_frame(0, "ho \xc3", false);
    socket.send_frame(0, "\xa4", true);
    const auto pong = socket.read_frame();
    EXPECT_EQ(pong.opcode, 10U);
    EXPECT_EQ(pong.text, "ping");
    EXPECT_EQ(socket.read_message(), "(none) echo \xc3\xa4");
}

TEST_F(Server_Web_Socket_Test, long_message_arrives_whole)
{
    start();
    Raw_Client socket = web_socket();
    socket.send_text(std::string(20'000'000, 'x'));
    EXPECT_EQ(socket.read_message(), "(none) 20000000");
    socket.send_text("echo");
    EXPECT_EQ(socket.read_message(), "(none) echo");
}

TEST_F(Server_Web_Socket_Test, nothing_is_sent_for_an_empty_answer)
{
    start();
    Raw_Client socket = web_socket();
    for (int i = 0; i < 200; ++i) { // more than may be unanswered
        socket.send_text("silent");
    }
    socket.send_text("echo");
    EXPECT_EQ(socket.read_message(), "(none) echo");
    EXPECT_EQ(front_.answers_asked, 201U);
    EXPECT_EQ(server_->counters().requests_in_flight, 0U);
}

TEST_F(Server_Web_Socket_Test, long_answer_is_one_message_that_pings_may_interrupt)
{
    start();
    Raw_Client socket = web_socket();
    socket.receive_little();
    socket.send_text("stream 400 100000");
    ASSERT_TRUE(wait_for([&] { return front_.parts_asked > 0; }));
    socket.send_text("now");
    socket.send_frame(9, "still there?");
    std::string text;
    unsigned frames = 0;
    bool ponged = false;
    for (;;) {
        const auto frame = socket.read_frame();
        if (frame.opcode == 10) {
            ponged = true;
            continue;
        }
        ASSERT_EQ(frame.opcode, frames == 0 ? 1U : 0U);
        ++frames;
        EXPECT_LE(frame.text.size(), 65536U);
        text += frame.text;
        if (frame.last) {
            break;
        }
    }
    EXPECT_TRUE(ponged);
    EXPECT_EQ(text.size(), 40'000'006U);
    EXPECT_GT(frames, 600U);
    EXPECT_EQ(socket.read_message(), "(none) now");
}

TEST_F(Server_Web_Socket_Test, parts_are_not_asked_for_while_the_peer_does_not_read)
{
    start();
    Raw_Client socket = web_socket();
    socket.receive_little();
    socket.send_text("stream 600 100000");
    std::size_t before = 0;
    ASSERT_TRUE(wait_for([&] {
        const std::size_t now = front_.parts_asked;
        std::this_thread::sleep_for(milliseconds(100));
        return now > 0 && now == std::exchange(before, front_.parts_asked);
    }));
    EXPECT_LT(front_.parts_asked, 60U);
    EXPECT_EQ(socket.read_message().size(), 60'000'006U);
}

TEST_F(Server_Web_Socket_Test, answer_whose_rest_cannot_be_made_closes)
{
    start();
    Raw_Client socket = web_socket();
    socket.send_text("break");
    auto frame = socket.read_frame();
    while (frame.opcode != 8) {
        EXPECT_FALSE(frame.last);
        frame = socket.read_frame();
    }
    EXPECT_EQ(frame.close_code(), 1011U);
}

TEST_F(Server_Web_Socket_Test, message_that_the_front_drops_closes)
{
    start();
    Raw_Client socket = web_socket();
    socket.send_text("drop");
    EXPECT_EQ(socket.read_frame().close_code(), 1011U);
    Raw_Client other = web_socket();
    other.send_text("throw");
    EXPECT_EQ(other.read_frame().close_code(), 1011U);
    EXPECT_EQ(server_->counters().requests_in_flight, 0U);
}

TEST_F(Server_Web_Socket_Test, closing_is_answered)
{
    start();
    Raw_Client socket = web_socket();
    socket.send_frame(8, "\x03\xe8");
    EXPECT_EQ(socket.read_frame().close_code(), 1000U);
    EXPECT_TRUE(socket.ends());
    EXPECT_EQ(server_->counters().refused_requests, 0U);
}

TEST_F(Server_Web_Socket_Test, faults_of_the_peer_close_with_their_code)
{
    options_.frame_limit = 1000;
    start();
    struct Fault
    {
        const char* what;
        std::string bytes;
        unsigned code;
    };
    const std::vector<Fault> faults = {
        {"binary", Raw_Client::frame(2, "binary"), 1003},
        {"binary, only begun", Raw_Client::frame(2, "binary", false), 1003},
        {"too long", Raw_Client::frame(1, std::string(1001, 'x')), 1009},
        {"too long, only said so", Raw_Client::frame(1, std::string(70'000, 'x')).substr(0, 14), 1009},
        {"too long in pieces",
         Raw_Client::frame(1, std::string(600, 'x'), false) + Raw_Client::frame(0, std::string(600, 'x')), 1009},
        {"not UTF-8", Raw_Client::frame(1, "\xff\xfe"), 1007},
        {"broken off in a character", Raw_Client::frame(1, "\xe2\x82"), 1007},
        {"broken off in a character before an empty piece",
         Raw_Client::frame(1, "x\xf0\x9f\x98", false) + Raw_Client::frame(0, ""), 1007},
        {"not masked", std::string("\x81\x01x"), 1002},
        {"reserved bits", std::string("\xf1") + Raw_Client::frame(1, "x").substr(1), 1002},
        {"unknown kind", Raw_Client::frame(3, "x"), 1002},
        {"continuation of nothing", Raw_Client::frame(0, "x"), 1002},
        {"message within a message", Raw_Client::frame(1, "x", false) + Raw_Client::frame(1, "x"), 1002},
        {"long ping", Raw_Client::frame(9, std::string(126, 'x')), 1002},
        {"ping in pieces", Raw_Client::frame(9, "x", false), 1002},
    };
    for (const Fault& fault : faults) {
        Raw_Client socket = web_socket();
        socket.send(fault.bytes);
        EXPECT_EQ(socket.read_frame().close_code(), fault.code) << fault.what;
        socket.send_frame(8, "");
        socket.shut_down();
        EXPECT_TRUE(socket.ends()) << fault.what;
    }
    EXPECT_TRUE(wait_for([&] { return server_->counters().connections == 0; }));
    EXPECT_EQ(server_->counters().refused_requests, faults.size());
}

TEST_F(Server_Web_Socket_Test, closing_ends_although_the_peer_does_not_take_part)
{
    options_.close_timeout = milliseconds(200);
    options_.ping_interval = milliseconds(200);
    options_.ping_timeout = milliseconds(200);
    start();
    Raw_Client binary = web_socket();
    binary.send_frame(2, "binary");
    Raw_Client unmasked = web_socket();
    unmasked.send("\x81\x01x");
    EXPECT_TRUE(wait_for([&] { return server_->counters().connections == 0; }));
}

TEST_F(Server_Web_Socket_Test, connection_with_too_many_unanswered_messages_is_not_read)
{
    options_.requests_in_flight_per_peer = 3;
    start();
    Raw_Client socket = web_socket();
    for (unsigned i = 0; i < 10; ++i) {
        socket.send_text("hold " + std::to_string(i));
    }
    ASSERT_TRUE(front_.wait_for_held(3));
    Raw_Client other = web_socket();
    other.send_text("echo");
    EXPECT_EQ(other.read_message(), "(none) echo");
    EXPECT_EQ(front_.held(), 3U);
    front_.release();
    for (unsigned i = 0; i < 10; ++i) {
        EXPECT_EQ(socket.read_message(), "(none) hold " + std::to_string(i));
    }
}

TEST_F(Server_Web_Socket_Test, peer_that_takes_no_answers_is_not_read_and_cut_in_the_end)
{
    options_.write_stall_timeout = milliseconds(500);
    start();
    Raw_Client socket = web_socket();
    socket.receive_little();
    const std::string frame = Raw_Client::frame(1, "stream 20 100000");
    std::string frames;
    for (unsigned i = 0; i < 200; ++i) {
        frames += frame;
    }
    socket.send(frames);
    EXPECT_TRUE(wait_for([&] { return server_->counters().connections == 0; }));
    EXPECT_EQ(front_.answers_asked, options_.requests_in_flight_per_peer);
}

TEST_F(Server_Web_Socket_Test, messages_over_the_number_in_flight_wait)
{
    options_.requests_in_flight = 2;
    start();
    Raw_Client first = web_socket();
    Raw_Client second = web_socket();
    Raw_Client third = web_socket();
    first.send_text("hold 1");
    first.send_text("hold 2");
    ASSERT_TRUE(front_.wait_for_held(2));
    second.send_text("echo 3");
    third.send_text("echo 4");
    third.send_text("echo 5");
    EXPECT_FALSE(second.has_input(milliseconds(200)));
    EXPECT_EQ(front_.answers_asked, 2U);
    front_.release();
    EXPECT_EQ(second.read_message(), "(none) echo 3");
    EXPECT_EQ(third.read_message(), "(none) echo 4");
    EXPECT_EQ(third.read_message(), "(none) echo 5");
    EXPECT_EQ(first.read_message(), "(none) hold 1");
    EXPECT_EQ(first.read_message(), "(none) hold 2");
    EXPECT_EQ(server_->counters().requests_in_flight, 0U);
}

TEST_F(Server_Web_Socket_Test, peer_that_is_gone_while_it_waits_takes_no_place)
{
    options_.requests_in_flight = 1;
    options_.ping_interval = milliseconds(50);
    start();
    Raw_Client first = web_socket();
    first.send_text("hold 1");
    ASSERT_TRUE(front_.wait_for_held(1));
    {
        Raw_Client gone = web_socket();
        gone.send_text("echo 2");
    }
    Raw_Client last = web_socket();
    last.send_text("echo 3");
    front_.release();
    EXPECT_EQ(first.read_message(), "(none) hold 1");
    EXPECT_EQ(last.read_message(), "(none) echo 3");
    EXPECT_TRUE(wait_for([&] { return server_->counters().requests_in_flight == 0; }));
}

TEST_F(Server_Web_Socket_Test, message_over_the_memory_limit_is_put_off)
{
    options_.memory_limit = 1500;
    start();
    Raw_Client first = web_socket();
    first.send_text("hold " + std::string(90, 'x') + std::string(900, ' '));
    ASSERT_TRUE(front_.wait_for_held(1));
    Raw_Client second = web_socket();
    second.send_text(std::string(1000, 'x'));
    EXPECT_EQ(second.read_frame().close_code(), 1013U);
}

TEST_F(Server_Web_Socket_Test, message_that_takes_too_long_closes)
{
    options_.request_timeout = milliseconds(200);
    start();
    Raw_Client socket = web_socket();
    socket.send_frame(1, "begun", false);
    EXPECT_EQ(socket.read_frame().close_code(), 1008U);
}

TEST_F(Server_Web_Socket_Test, silent_peer_is_pinged_and_stays_when_it_answers)
{
    options_.ping_interval = milliseconds(100);
    options_.ping_timeout = milliseconds(5000);
    start();
    Raw_Client socket = web_socket();
    for (int i = 0; i < 3; ++i) {
        const auto ping = socket.read_frame();
        ASSERT_EQ(ping.opcode, 9U);
        socket.send_frame(10, ping.text);
    }
    socket.send_text("echo");
    EXPECT_EQ(socket.read_message(), "(none) echo");
}

TEST_F(Server_Web_Socket_Test, peer_that_answers_no_ping_is_cut)
{
    options_.ping_interval = milliseconds(100);
    options_.ping_timeout = milliseconds(100);
    start();
    Raw_Client socket = web_socket();
    EXPECT_EQ(socket.read_frame().opcode, 9U);
    EXPECT_TRUE(socket.ends());
}

TEST_F(Server_Web_Socket_Test, peer_is_not_held_gone_while_it_is_not_read)
{
    options_.ping_interval = milliseconds(50);
    options_.ping_timeout = milliseconds(50);
    options_.requests_in_flight_per_peer = 1;
    start();
    Raw_Client socket = web_socket();
    socket.send_text("hold");
    ASSERT_TRUE(front_.wait_for_held(1));
    EXPECT_FALSE(socket.has_input(milliseconds(500)));
    front_.release();
    EXPECT_EQ(socket.read_message(), "(none) hold");
}

} // namespace
