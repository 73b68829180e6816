#include "tests/catalog/service/server_test.h"

#include "tests/support/certificates.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <future>
#include <memory>
#include <random>
#include <sys/wait.h>
#include <vector>

namespace {

struct Output
{
    int status;
    std::string text;
};

Output run(const std::string& command)
{
    FILE* const pipe = ::popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr) {
        return {-1, "cannot run " + command};
    }
    Output output{0, {}};
    std::array<char, 4096> buffer;
    for (std::size_t size = 0; (size = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
        output.text.append(buffer.data(), size);
    }
    const int status = ::pclose(pipe);
    output.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return output;
}

class Server_Life_Test : public Server_Test
{
protected:
    std::string port() const { return std::to_string(server_->port()); }

    void use(const Certificates& certificates)
    {
        options_.certificate_file = certificates.server().certificate;
        options_.key_file = certificates.server().key;
    }

    static std::string websocket_client(const std::string& arguments)
    {
        return "/usr/bin/python3 " BACKUP_SET_SOURCE_DIR "/tests/catalog/service/websocket_client.py " + arguments;
    }
};

const std::string python_has_seen =
    "answers True\nlong python 3000000\npieces python echo in pieces ä€\nstream 10000006\n"
    "pong\nclosed 1003\n";

TEST_F(Server_Life_Test, address_in_use_is_an_error)
{
    start();
    options_.port = server_->port();
    std::string error;
    EXPECT_FALSE(Server::start(options_, front_, error));
    EXPECT_NE(error.find("cannot listen on 127.0.0.1 port " + port()), std::string::npos) << error;
}

TEST_F(Server_Life_Test, unknown_address_is_an_error)
{
    options_.host = "256.1.1.1";
    std::string error;
    EXPECT_FALSE(Server::start(options_, front_, error));
    EXPECT_NE(error.find("256.1.1.1"), std::string::npos) << error;
}

TEST_F(Server_Life_Test, listens_on_ipv6)
{
    options_.host = "[::1]";
    start();
    Raw_Client connection(server_->port(), "::1");
    EXPECT_EQ(connection.ask(get("/echo", "X-Access-Key: me\r\n")).status, 200);
    EXPECT_EQ(front_.admissions(), std::vector<std::string>{"::1 me"});
}

TEST_F(Server_Life_Test, peer_of_a_listener_for_both_families_has_its_plain_address)
{
    options_.host = "::";
    start();
    EXPECT_EQ(client().ask(get("/echo")).status, 200);
    EXPECT_EQ(front_.admissions(), std::vector<std::string>{"127.0.0.1 (none)"});
}

TEST_F(Server_Life_Test, listens_on_a_name)
{
    options_.host = "localhost";
    start();
    EXPECT_EQ(client().ask(get("/echo")).status, 200);
}

TEST_F(Server_Life_Test, connections_over_the_limit_are_told_so)
{
    options_.connections = 3;
    start();
    std::vector<Raw_Client> connections;
    for (int i = 0; i < 3; ++i) {
        connections.push_back(client());
        EXPECT_EQ(connections.back().ask(get("/echo")).status, 200);
    }
    Raw_Client refused = client();
    const auto reply = refused.ask(get("/echo"));
    EXPECT_EQ(reply.status, 503);
    EXPECT_NE(reply.header("retry-after"), "");
    EXPECT_EQ(reply.header("connection"), "close");
    EXPECT_TRUE(refused.ends());
    EXPECT_EQ(server_->counters().refused_connections, 1U);
    EXPECT_EQ(server_->counters().connections, 3U);
    connections.pop_back();
    ASSERT_TRUE(wait_for([&] { return server_->counters().connections == 2; }));
    EXPECT_EQ(client().ask(get("/echo")).status, 200);
}

TEST_F(Server_Life_Test, crowd_over_the_limit_does_not_keep_those_within_it_from_being_served)
{
    options_.connections = 1;
    start();
    Raw_Client served = client();
    EXPECT_EQ(served.ask(get("/echo")).status, 200);
    std::vector<Raw_Client> crowd;
    for (int i = 0; i < 300; ++i) {
        crowd.push_back(client());
    }
    ASSERT_TRUE(wait_for([&] { return server_->counters().refused_connections == 300; }));
    EXPECT_EQ(served.ask(get("/echo")).status, 200);
}

TEST_F(Server_Life_Test, idle_connections_take_no_threads)
{
    start();
    std::vector<Raw_Client> idle;
    for (int i = 0; i < 256; ++i) {
        idle.push_back(client());
        if (i % 3 == 1) {
            idle.back().send("POST /echo HTTP/1.1\r\nContent-Length: 5\r\n");
        } else if (i % 3 == 2) {
            EXPECT_EQ(idle.back().upgrade().status, 101);
        }
    }
    Raw_Client connection = client();
    EXPECT_EQ(connection.ask(get("/echo")).status, 200);
    EXPECT_EQ(server_->counters().connections, 257U);
    for (std::size_t i = 2; i < idle.size(); i += 3) {
        idle[i].send_text("now");
        EXPECT_EQ(idle[i].read_message(), "(none) now");
    }
}

TEST_F(Server_Life_Test, many_clients_at_once_are_all_served)
{
    start();
    std::atomic<int> wrong = 0;
    std::vector<std::thread> clients;
    for (int i = 0; i < 16; ++i) {
        clients.emplace_back([&, i] {
            Raw_Client connection = client();
            if (i % 2 == 0) {
                for (int n = 0; n < 100; ++n) {
                    wrong += connection.ask(get("/echo/" + std::to_string(n))).body
                             != "GET /echo/" + std::to_string(n) + " []   (none) ";
                }
                return;
            }
            wrong += connection.upgrade().status != 101;
            for (int n = 0; n < 100; ++n) {
                connection.send_text("echo " + std::to_string(n));
                wrong += connection.read_message() != "(none) echo " + std::to_string(n);
            }
        });
    }
    for (std::thread& thread : clients) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(Server_Life_Test, stop_lets_requests_in_flight_be_answered)
{
    options_.close_timeout = milliseconds(1000); // these clients wait for the end instead of closing
    start();
    Raw_Client request = client();
    request.send(get("/hold/1"));
    Raw_Client socket = web_socket();
    socket.send_text("hold 2");
    ASSERT_TRUE(front_.wait_for_held(2));
    Raw_Client idle = client();
    EXPECT_EQ(idle.ask(get("/echo")).status, 200);
    Raw_Client idle_socket = web_socket();

    auto stopped = std::async(std::launch::async, [&] { server_->stop(std::chrono::seconds(20)); });
    EXPECT_TRUE(idle.ends());
    EXPECT_EQ(idle_socket.read_frame().close_code(), 1001U);
    idle_socket.send_frame(8, "\x03\xe9");
    EXPECT_EQ(stopped.wait_for(milliseconds(200)), std::future_status::timeout);
    EXPECT_THROW(client(), std::runtime_error);

    front_.release();
    const auto reply = request.read_reply();
    EXPECT_EQ(reply.body, "GET /hold/1 []   (none) ");
    EXPECT_EQ(reply.header("connection"), "close");
    EXPECT_TRUE(request.ends());
    EXPECT_EQ(socket.read_message(), "(none) hold 2");
    EXPECT_EQ(socket.read_frame().close_code(), 1001U);
    socket.send_frame(8, "\x03\xe9");
    EXPECT_TRUE(socket.ends());
    EXPECT_TRUE(idle_socket.ends());
    EXPECT_EQ(stopped.wait_for(std::chrono::seconds(15)), std::future_status::ready);
    EXPECT_EQ(server_->counters().connections, 0U);
}

TEST_F(Server_Life_Test, stop_cuts_what_does_not_end_in_time)
{
    start();
    Raw_Client held = client();
    held.send(get("/hold"));
    Raw_Client socket = web_socket();
    socket.send_text("hold");
    ASSERT_TRUE(front_.wait_for_held(2));
    const auto before = std::chrono::steady_clock::now();
    server_->stop(milliseconds(200));
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(10));
    EXPECT_TRUE(held.ends());
    EXPECT_TRUE(socket.ends());
    EXPECT_EQ(server_->counters().connections, 0U);
    server_->stop(milliseconds(200)); // a second time does nothing
}

TEST_F(Server_Life_Test, answers_may_come_when_the_server_is_gone)
{
    start();
    Raw_Client held = client();
    held.send(get("/hold"));
    Raw_Client socket = web_socket();
    socket.send_text("hold");
    ASSERT_TRUE(front_.wait_for_held(2));
    server_.reset();
    EXPECT_TRUE(held.ends());
    front_.release(); // and a sanitizer looks whether that touches anything
}

TEST_F(Server_Life_Test, answer_to_a_peer_that_has_gone_is_dropped)
{
    start();
    {
        Raw_Client socket = web_socket();
        socket.send_text("hold");
        ASSERT_TRUE(front_.wait_for_held(1));
    }
    EXPECT_TRUE(wait_for([&] { return server_->counters().connections == 0; }));
    front_.release();
    EXPECT_TRUE(wait_for([&] { return server_->counters().requests_in_flight == 0; }));
    EXPECT_EQ(client().ask(get("/echo")).status, 200);
}

TEST_F(Server_Life_Test, garbage_never_kills_it)
{
    options_.connections = 4096;
    options_.close_timeout = milliseconds(100);
    start();
    std::mt19937 random(20240229); // the same each time
    const auto number = [&](std::size_t limit) { return static_cast<std::size_t>(random() % limit); };
    const std::vector<std::string> seeds = {
        get("/echo", "X-Access-Key: me\r\nAuthorization: Bearer x\r\n"),
        post("/echo", "{\"a\":1}", "Expect: 100-continue\r\n"),
        "POST /echo HTTP/1.1\r\nHost: test\r\nTransfer-Encoding: chunked\r\n\r\n3;a=\"b\"\r\nabc\r\n0\r\nA: b\r\n\r\n",
        get("/rpc", "Upgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
                    "Sec-WebSocket-Key: AAECAwQFBgcICQoLDA0ODw==\r\n"),
        Raw_Client::frame(1, "echo ä", false) + Raw_Client::frame(9, "ping") + Raw_Client::frame(0, "more")
            + Raw_Client::frame(8, "\x03\xe8"),
    };
    for (int round = 0; round < 3000; ++round) {
        Raw_Client connection = client();
        std::string bytes;
        const bool as_web_socket = round % 3 == 0;
        if (as_web_socket) {
            ASSERT_EQ(connection.upgrade().status, 101);
        }
        if (number(4) == 0) {
            bytes.resize(number(300));
            for (char& byte : bytes) {
                byte = static_cast<char>(random());
            }
        } else {
            bytes = as_web_socket ? seeds.back() : seeds[number(seeds.size())];
            for (std::size_t change = number(4); change-- > 0 && !bytes.empty();) {
                const std::size_t place = number(bytes.size());
                switch (number(4)) {
                case 0:
                    bytes[place] = static_cast<char>(random());
                    break;
                case 1:
                    bytes.erase(place, number(10));
                    break;
                case 2:
                    bytes.insert(place, bytes.substr(number(bytes.size()), number(20)));
                    break;
                default:
                    bytes.resize(place);
                }
            }
        }
        connection.send_some(bytes);
        if (number(2) == 0) {
            connection.has_input(milliseconds(number(3)));
        }
    }
    EXPECT_EQ(client().ask(get("/echo")).status, 200);
    Raw_Client socket = web_socket();
    socket.send_text("echo");
    EXPECT_EQ(socket.read_message(), "(none) echo");
    EXPECT_TRUE(wait_for([&] { return server_->counters().connections == 1; }));
    EXPECT_EQ(server_->counters().requests_in_flight, 0U);
}

// --- TLS, and other people's clients

TEST_F(Server_Life_Test, curl_is_served)
{
    start();
    const std::string url = "http://127.0.0.1:" + port();
    const Output answer =
        run("/usr/bin/curl -sS -H 'X-Access-Key: curl' '" + url + "/echo/1?a=b' '" + url + "/echo/2'");
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.text, "GET /echo/1 [a=b]   curl GET /echo/2 []   curl ");
    EXPECT_EQ(server_->counters().accepted, 1U);
    const Output long_answer = run("/usr/bin/curl -sS " + url + "/stream/100/100000 | /usr/bin/wc -c");
    EXPECT_EQ(std::stoul(long_answer.text), 10'000'006U);
    const Output head = run("/usr/bin/curl -sS -I -o /dev/null -w '%{http_code}' " + url + "/echo");
    EXPECT_EQ(head.text, "200");
    const Output upload = run("/usr/bin/head -c 3000000 /dev/zero | /usr/bin/curl -sS -T - " + url + "/echo");
    EXPECT_EQ(upload.text, "PUT /echo []   (none) 3000000");
    const Output broken = run("/usr/bin/curl -sS -o /dev/null " + url + "/break");
    EXPECT_NE(broken.status, 0) << "a reply that breaks off looks whole";
}

TEST_F(Server_Life_Test, curl_is_refused_a_body_over_the_limit_without_sending_it)
{
    options_.body_limit = 1000;
    start();
    const Output refused =
        run("/usr/bin/head -c 3000000 /dev/zero | /usr/bin/curl -sS --data-binary @- -o /dev/null -w "
            "'%{http_code} %{size_upload}' http://127.0.0.1:"
            + port() + "/echo");
    EXPECT_EQ(refused.text, "413 0");
}

TEST_F(Server_Life_Test, another_implementation_of_web_sockets_is_served)
{
    start();
    const Output seen = run(websocket_client("ws://127.0.0.1:" + port() + "/rpc"));
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.text, python_has_seen);
}

TEST_F(Server_Life_Test, tls_is_served)
{
    const Certificates certificates;
    use(certificates);
    start();
    const std::string curl = "/usr/bin/curl -sS --cacert " + certificates.authority() + " https://127.0.0.1:" + port();
    EXPECT_EQ(run(curl + "/echo").text, "GET /echo []   (none) ");
    EXPECT_EQ(std::stoul(run(curl + "/stream/100/100000 | /usr/bin/wc -c").text), 10'000'006U);
    EXPECT_NE(run(curl + "/break").status, 0);
    EXPECT_EQ(run(curl + "/echo --tls-max 1.2").text, "GET /echo []   (none) ");
    EXPECT_NE(run(curl + "/echo --tls-max 1.1").status, 0);
    const Output seen = run(websocket_client("wss://127.0.0.1:" + port() + "/rpc " + certificates.authority()));
    EXPECT_EQ(seen.status, 0);
    EXPECT_EQ(seen.text, python_has_seen);
}

TEST_F(Server_Life_Test, client_without_a_certificate_of_the_authority_is_refused)
{
    const Certificates certificates;
    use(certificates);
    options_.client_authority_file = certificates.authority();
    start();
    const std::string curl =
        "/usr/bin/curl -sS --cacert " + certificates.authority() + " https://127.0.0.1:" + port() + "/echo";
    const auto with = [](const Certificate_Files& files) {
        return " --cert " + files.certificate + " --key " + files.key;
    };
    EXPECT_NE(run(curl).status, 0);
    EXPECT_NE(run(curl + with(certificates.other_client())).status, 0);
    EXPECT_EQ(front_.answers_asked, 0U);
    EXPECT_EQ(run(curl + with(certificates.client())).text, "GET /echo []   (none) ");
    const Output seen = run(websocket_client("wss://127.0.0.1:" + port() + "/rpc " + certificates.authority() + " "
                                             + certificates.client().certificate + " " + certificates.client().key));
    EXPECT_EQ(seen.text, python_has_seen);
}

TEST_F(Server_Life_Test, peer_that_never_ends_its_tls_handshake_is_cut)
{
    const Certificates certificates;
    use(certificates);
    options_.request_timeout = milliseconds(200);
    start();
    Raw_Client silent = client();
    EXPECT_TRUE(silent.ends());
    Raw_Client plain = client();
    plain.send(get("/echo"));
    EXPECT_TRUE(plain.ends());
    EXPECT_EQ(front_.answers_asked, 0U);
}

TEST_F(Server_Life_Test, stop_ends_tls_connections)
{
    const Certificates certificates;
    use(certificates);
    start();
    auto answer = std::async(std::launch::async, [&] {
        return run("/usr/bin/curl -sS --cacert " + certificates.authority() + " https://127.0.0.1:" + port() + "/hold");
    });
    ASSERT_TRUE(front_.wait_for_held(1));
    auto stopped = std::async(std::launch::async, [&] { server_->stop(std::chrono::seconds(20)); });
    front_.release();
    EXPECT_EQ(answer.get().text, "GET /hold []   (none) ");
    EXPECT_EQ(stopped.wait_for(std::chrono::seconds(15)), std::future_status::ready);
}

TEST_F(Server_Life_Test, tls_files_that_cannot_be_used_are_an_error)
{
    const Certificates certificates;
    const std::string missing = certificates.dir().file("missing.pem");
    const auto error_of = [&](const std::string& certificate, const std::string& key, const std::string& authority) {
        options_.certificate_file = certificate;
        options_.key_file = key;
        options_.client_authority_file = authority;
        std::string error;
        EXPECT_FALSE(Server::start(options_, front_, error));
        return error;
    };
    const Certificate_Files& server = certificates.server();
    EXPECT_NE(error_of(missing, server.key, "").find("the certificate in " + missing), std::string::npos);
    EXPECT_NE(error_of(server.certificate, missing, "").find("the key in " + missing), std::string::npos);
    EXPECT_NE(error_of(server.certificate, certificates.client().key, "").find("the key in"), std::string::npos);
    EXPECT_NE(error_of(server.certificate, server.key, missing).find("the client authority in " + missing),
              std::string::npos);
    EXPECT_NE(error_of("", server.key, "").find("no certificate"), std::string::npos);
}

} // namespace
