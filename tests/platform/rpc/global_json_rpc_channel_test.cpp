#include "platform/rpc/global_json_rpc_channel.h"

#include "tests/support/certificates.h"
#include "tests/support/process_log.h"
#include "tests/support/sanitizer.h"
#include "tests/support/websocket_peer.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <mutex>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <utility>
#include <vector>

using json_spirit::Value;

static bool is_forked = false;

/// Asked by the leak sanitizer at the end of a process. In a forked one it takes for lost what stands on the stacks of the
/// parent's threads, which are not there.
extern "C" int __lsan_is_turned_off();
extern "C" int __lsan_is_turned_off()
{
    return is_forked ? 1 : 0;
}

namespace {

constexpr int ample_s = 30;

/// Answers "hang" never, "hanging" with how many of these there are, "drop" with the end of the connection, and all else
/// with its params.
class Scripted_Peer
{
public:
    explicit Scripted_Peer(WebSocket_Peer::Options options = {}) : peer_(with_script(std::move(options))) {}

    const WebSocket_Peer& operator*() const { return peer_; }
    const WebSocket_Peer* operator->() const { return &peer_; }

    JSON_RPC_Endpoint endpoint() const
    {
        JSON_RPC_Endpoint endpoint;
        endpoint.host = "127.0.0.1";
        endpoint.port = peer_.port();
        return endpoint;
    }

    /// Waits until a call hangs.
    bool wait_for_hanging()
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(ample_s);
        while (hanging_ == 0 && std::chrono::steady_clock::now() < end) {
            std::this_thread::yield();
        }
        return hanging_ > 0;
    }

private:
    WebSocket_Peer::Options with_script(WebSocket_Peer::Options options)
    {
        options.on_message = [this](const WebSocket_Peer::Connection_var& client, const std::string& text) {
            const JSON_RPC_Object_var request = JSON_RPC_Object::parse(text);
            if (request->method() == "hang") {
                ++hanging_;
            } else if (request->method() == "hanging") {
                client->send(JSON_RPC_Object::make_response(*request, hanging_.load())->text());
            } else if (request->method() == "drop") {
                client->drop();
            } else {
                client->send(JSON_RPC_Object::make_response(*request, request->params())->text());
            }
        };
        return options;
    }

    std::atomic<int> hanging_{0};
    WebSocket_Peer peer_;
};

class Fake_Channel : public JSON_RPC_Channel
{
public:
    bool call(const JSON_RPC_Object& request, JSON_RPC_Object_var& response, int) override
    {
        response = JSON_RPC_Object::make_response(request, "fake");
        return true;
    }
};

/// The result of a call; null when there was no channel or no answer.
Value call(const JSON_RPC_Channel_var& channel, const char* method, const Value& params = Value())
{
    JSON_RPC_Object_var request;
    JSON_RPC_Object_var response;
    JSON_RPC_Session session{JSON_RPC_Channel_weak_var(channel)};
    return JSON_RPC_Session::make_rpc_request(method, params, request) && session.request(request, response, ample_s)
               ? response->result()
               : Value();
}

bool echoes(const JSON_RPC_Channel_var& channel)
{
    const json_spirit::Array text{1, "x"};
    return call(channel, "echo", text) == Value(text);
}

/// Asks for the channel until there is one.
JSON_RPC_Channel_var wait_for_channel()
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(ample_s);
    JSON_RPC_Channel_var channel = Global_JSON_RPC_Channel::instance();
    while (channel.null() && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
        channel = Global_JSON_RPC_Channel::instance();
    }
    return channel;
}

/// Whether the process has a socket that leads to a port.
bool has_socket_to(std::uint16_t port)
{
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        sockaddr_in there = {};
        socklen_t size = sizeof there;
        if (::getpeername(std::stoi(entry.path().filename()), reinterpret_cast<sockaddr*>(&there), &size) == 0
            && there.sin_family == AF_INET && ntohs(there.sin_port) == port)
        {
            return true;
        }
    }
    return false;
}

/// The exit code of a process, or what else became of it. It is killed when its time is over.
std::string outcome_of(pid_t process)
{
    const int descriptor = static_cast<int>(::syscall(SYS_pidfd_open, process, 0));
    pollfd poll = {descriptor, POLLIN, 0};
    const int ended = ::poll(&poll, 1, ample_s * 1000);
    ::close(descriptor);
    if (ended != 1) {
        ::kill(process, SIGKILL);
    }
    int status = 0;
    if (::waitpid(process, &status, 0) != process) {
        return "cannot be waited for";
    }
    if (ended != 1) {
        return "does not end";
    }
    return WIFEXITED(status) ? "exit " + std::to_string(WEXITSTATUS(status))
                             : "signal " + std::to_string(WTERMSIG(status));
}

/// Runs `task` in a forked process, which exits with 0 when it returns true.
std::string fork_and_run(const std::function<bool()>& task)
{
    const pid_t child = ::fork();
    if (child == 0) {
        is_forked = true;
        std::exit(task() ? 0 : 1);
    }
    return outcome_of(child);
}

const char* const port_variable = "BACKUP_SET_TEST_PEER_PORT";
const char* const authority_variable = "BACKUP_SET_TEST_PEER_AUTHORITY";

/// Runs one of the tests of In_Child in a process of its own, with this program started anew.
std::string run_child(const std::string& test, std::uint16_t port, const std::string& authority = "")
{
    std::vector<std::string> texts{"/proc/self/exe", "--gtest_also_run_disabled_tests",
                                   "--gtest_filter=DISABLED_In_Child." + test, "--gtest_brief=1"};
    std::vector<char*> arguments;
    for (std::string& text : texts) {
        arguments.push_back(text.data());
    }
    arguments.push_back(nullptr);
    std::vector<std::string> variables{
        std::string(port_variable) + '=' + std::to_string(port), std::string(authority_variable) + '=' + authority,
        "TSAN_OPTIONS=report_thread_leaks=0"}; // some exit with threads in the middle of a call, and are to
    std::vector<char*> environment;
    for (std::string& variable : variables) {
        environment.push_back(variable.data());
    }
    for (char** variable = environ; *variable != nullptr; ++variable) {
        environment.push_back(*variable);
    }
    environment.push_back(nullptr);
    pid_t child = 0;
    const int error = ::posix_spawn(&child, "/proc/self/exe", nullptr, nullptr, arguments.data(), environment.data());
    return error == 0 ? outcome_of(child) : "cannot be started";
}

class Global_JSON_RPC_Channel_Test : public ::testing::Test
{
protected:
    ~Global_JSON_RPC_Channel_Test() override { Global_JSON_RPC_Channel::remove(); }

    Process_Log log_;
};

} // namespace

TEST_F(Global_JSON_RPC_Channel_Test, none_without_configuration)
{
    EXPECT_TRUE(Global_JSON_RPC_Channel::instance().null());
    EXPECT_EQ(log_.text(), "");
}

TEST_F(Global_JSON_RPC_Channel_Test, configured_channel_connects_when_asked_and_stays)
{
    const Scripted_Peer peer;
    Global_JSON_RPC_Channel::configure(peer.endpoint());
    EXPECT_EQ(peer->accepted(), 0u);
    const JSON_RPC_Channel_var channel = Global_JSON_RPC_Channel::instance();
    EXPECT_TRUE(echoes(channel));
    EXPECT_TRUE(Global_JSON_RPC_Channel::instance() == channel);
    EXPECT_EQ(peer->accepted(), 1u);
}

TEST_F(Global_JSON_RPC_Channel_Test, one_attempt_serves_all_that_ask_meanwhile)
{
    const Scripted_Peer peer;
    Global_JSON_RPC_Channel::configure(peer.endpoint());
    std::atomic<int> served{0};
    std::vector<std::thread> askers;
    for (int i = 0; i < 8; ++i) {
        askers.emplace_back([&] { served += echoes(Global_JSON_RPC_Channel::instance()); });
    }
    for (std::thread& asker : askers) {
        asker.join();
    }
    EXPECT_EQ(served, 8);
    EXPECT_EQ(peer->accepted(), 1u);
}

TEST_F(Global_JSON_RPC_Channel_Test, connects_anew_after_the_connection_was_lost)
{
    const Scripted_Peer peer;
    Global_JSON_RPC_Channel::configure(peer.endpoint());
    const JSON_RPC_Channel_var first = Global_JSON_RPC_Channel::instance();
    ASSERT_TRUE(echoes(first));
    EXPECT_TRUE(call(first, "drop").is_null());
    const JSON_RPC_Channel_var second = wait_for_channel();
    EXPECT_TRUE(echoes(second));
    EXPECT_FALSE(second == first);
    EXPECT_EQ(peer->accepted(), 2u);
    EXPECT_TRUE(call(first, "echo").is_null());
}

TEST_F(Global_JSON_RPC_Channel_Test, attempts_are_a_second_apart_and_there_is_no_channel_between)
{
    const WebSocket_Peer peer({.refused_with = 503});
    JSON_RPC_Endpoint endpoint;
    endpoint.host = "127.0.0.1";
    endpoint.port = peer.port();
    Global_JSON_RPC_Channel::configure(endpoint);
    const auto begin = std::chrono::steady_clock::now();
    while (peer.accepted() < 3 && std::chrono::steady_clock::now() - begin < std::chrono::seconds(ample_s)) {
        EXPECT_TRUE(Global_JSON_RPC_Channel::instance().null());
    }
    EXPECT_EQ(peer.accepted(), 3u);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
}

TEST_F(Global_JSON_RPC_Channel_Test, live_channel_is_not_held_up_by_one_that_connects)
{
    const Scripted_Peer peer({.answers_handshake = false});
    JSON_RPC_Endpoint endpoint = peer.endpoint();
    endpoint.connect_timeout_s = 10 * ample_s;
    Global_JSON_RPC_Channel::configure(endpoint);
    JSON_RPC_Channel_var got;
    std::thread asker([&] { got = Global_JSON_RPC_Channel::instance(); });
    EXPECT_TRUE(peer->wait_until([](const WebSocket_Peer& p) { return !p.handshakes().empty(); }));
    const JSON_RPC_Channel_var fake(new Fake_Channel());
    Global_JSON_RPC_Channel::install(fake);
    EXPECT_TRUE(Global_JSON_RPC_Channel::instance() == fake);
    asker.join();
    EXPECT_TRUE(got == fake);
}

TEST_F(Global_JSON_RPC_Channel_Test, no_channel_when_connecting_takes_too_long)
{
    const Scripted_Peer peer({.answers_handshake = false});
    JSON_RPC_Endpoint endpoint = peer.endpoint();
    endpoint.connect_timeout_s = 1;
    Global_JSON_RPC_Channel::configure(endpoint);
    EXPECT_TRUE(Global_JSON_RPC_Channel::instance().null());
    EXPECT_EQ(log_.count("failed: no connection in time"), 1u) << log_.text();
}

TEST_F(Global_JSON_RPC_Channel_Test, installed_channel_takes_the_place_until_it_is_removed)
{
    const Scripted_Peer peer;
    Global_JSON_RPC_Channel::configure(peer.endpoint());
    const JSON_RPC_Channel_var first = Global_JSON_RPC_Channel::instance();
    ASSERT_TRUE(echoes(first));
    Global_JSON_RPC_Channel::install(JSON_RPC_Channel_var(new Fake_Channel()));
    EXPECT_EQ(call(Global_JSON_RPC_Channel::instance(), "m"), Value("fake"));
    EXPECT_TRUE(call(first, "echo").is_null());
    Global_JSON_RPC_Channel::remove();
    EXPECT_TRUE(Global_JSON_RPC_Channel::instance().null());
    Global_JSON_RPC_Channel::install(JSON_RPC_Channel_var(new Fake_Channel()));
    Global_JSON_RPC_Channel::install(JSON_RPC_Channel_var());
    EXPECT_TRUE(Global_JSON_RPC_Channel::instance().null());
}

TEST_F(Global_JSON_RPC_Channel_Test, configuring_anew_closes_the_channel_and_leads_elsewhere)
{
    const Scripted_Peer first;
    const Scripted_Peer second;
    Global_JSON_RPC_Channel::configure(first.endpoint());
    ASSERT_TRUE(echoes(Global_JSON_RPC_Channel::instance()));
    Global_JSON_RPC_Channel::configure(second.endpoint());
    EXPECT_TRUE(first->wait_until([](const WebSocket_Peer& p) { return !p.close_codes().empty(); }));
    EXPECT_TRUE(echoes(Global_JSON_RPC_Channel::instance())); // at once: the pacing is of one place
    EXPECT_EQ(second->accepted(), 1u);
}

TEST_F(Global_JSON_RPC_Channel_Test, remove_ends_calls_in_flight)
{
    Scripted_Peer peer;
    Global_JSON_RPC_Channel::configure(peer.endpoint());
    std::thread caller([] { EXPECT_TRUE(call(Global_JSON_RPC_Channel::instance(), "hang").is_null()); });
    EXPECT_TRUE(peer.wait_for_hanging());
    Global_JSON_RPC_Channel::remove();
    caller.join();
}

TEST_F(Global_JSON_RPC_Channel_Test, threads_may_ask_configure_and_remove_at_once)
{
    const Scripted_Peer peer;
    std::atomic<bool> done{false};
    std::atomic<int> answered{0};
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i) {
        callers.emplace_back([&] {
            while (!done) {
                answered += echoes(Global_JSON_RPC_Channel::instance());
            }
        });
    }
    for (int i = 0; i < 50; ++i) {
        const int before = answered;
        Global_JSON_RPC_Channel::configure(peer.endpoint());
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(ample_s);
        while (answered < before + 4 && std::chrono::steady_clock::now() < end) {
            std::this_thread::yield();
        }
        EXPECT_GE(answered, before + 4);
        if (i % 2 == 0) {
            Global_JSON_RPC_Channel::remove();
        }
    }
    done = true;
    for (std::thread& caller : callers) {
        caller.join();
    }
}

TEST_F(Global_JSON_RPC_Channel_Test, forked_child_has_no_channel_and_the_parent_keeps_its_own)
{
    const Scripted_Peer peer;
    Global_JSON_RPC_Channel::configure(peer.endpoint());
    JSON_RPC_Channel_var channel = Global_JSON_RPC_Channel::instance();
    ASSERT_TRUE(echoes(channel));
    ASSERT_TRUE(has_socket_to(peer->port()));
    const std::string outcome = fork_and_run([&] {
        const bool none = Global_JSON_RPC_Channel::instance().null();
        const bool dead = call(channel, "echo").is_null();
        channel.reset();
        return none && dead && !has_socket_to(peer->port());
    });
    EXPECT_EQ(outcome, "exit 0");
    EXPECT_TRUE(Global_JSON_RPC_Channel::instance() == channel);
    EXPECT_TRUE(echoes(channel));
    EXPECT_EQ(peer->accepted(), 1u);
}

TEST_F(Global_JSON_RPC_Channel_Test, forked_child_may_drop_a_channel_that_the_parent_had_replaced)
{
    const Scripted_Peer peer;
    Global_JSON_RPC_Channel::configure(peer.endpoint());
    JSON_RPC_Channel_var channel = Global_JSON_RPC_Channel::instance();
    ASSERT_TRUE(echoes(channel));
    Global_JSON_RPC_Channel::remove(); // now the only pointer is here
    EXPECT_EQ(fork_and_run([&] {
                  channel.reset();
                  return true;
              }),
              "exit 0");
}

TEST_F(Global_JSON_RPC_Channel_Test, forked_child_has_no_installed_channel_either)
{
    Global_JSON_RPC_Channel::install(JSON_RPC_Channel_var(new Fake_Channel()));
    EXPECT_EQ(fork_and_run([] { return Global_JSON_RPC_Channel::instance().null(); }), "exit 0");
    EXPECT_EQ(call(Global_JSON_RPC_Channel::instance(), "m"), Value("fake"));
}

TEST_F(Global_JSON_RPC_Channel_Test, forked_child_may_configure_a_channel_of_its_own)
{
    if (is_thread_sanitized) {
        GTEST_SKIP() << "the thread sanitizer allows no threads after a fork";
    }
    const Scripted_Peer peer;
    Global_JSON_RPC_Channel::configure(peer.endpoint());
    const JSON_RPC_Channel_var channel = Global_JSON_RPC_Channel::instance();
    ASSERT_TRUE(echoes(channel));
    EXPECT_EQ(fork_and_run([&] {
                  Global_JSON_RPC_Channel::configure(peer.endpoint());
                  return echoes(Global_JSON_RPC_Channel::instance());
              }),
              "exit 0");
    EXPECT_TRUE(echoes(channel));
    EXPECT_EQ(peer->accepted(), 2u);
}

TEST_F(Global_JSON_RPC_Channel_Test, forks_amid_calls_of_other_threads_disturb_neither_side)
{
    const Scripted_Peer peer;
    Global_JSON_RPC_Channel::configure(peer.endpoint());
    ASSERT_TRUE(echoes(Global_JSON_RPC_Channel::instance()));
    std::atomic<bool> done{false};
    std::atomic<int> lost{0};
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i) {
        callers.emplace_back([&] {
            while (!done) {
                lost += !echoes(Global_JSON_RPC_Channel::instance());
            }
        });
    }
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(fork_and_run([] { return Global_JSON_RPC_Channel::instance().null(); }), "exit 0");
    }
    done = true;
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_EQ(lost, 0);
    EXPECT_EQ(peer->accepted(), 1u);
}

TEST_F(Global_JSON_RPC_Channel_Test, program_that_is_started_inherits_no_socket)
{
    const Scripted_Peer peer;
    Global_JSON_RPC_Channel::configure(peer.endpoint());
    ASSERT_TRUE(echoes(Global_JSON_RPC_Channel::instance()));
    ASSERT_TRUE(has_socket_to(peer->port()));
    EXPECT_EQ(run_child("has_no_socket_to_the_peer", peer->port()), "exit 0");
}

TEST_F(Global_JSON_RPC_Channel_Test, process_that_never_configures_has_no_thread_of_ours)
{
    EXPECT_EQ(run_child("never_configures", 0), "exit 0");
}

TEST_F(Global_JSON_RPC_Channel_Test, process_exits_with_calls_in_flight)
{
    for (int i = 0; i < 5; ++i) {
        const Scripted_Peer peer;
        EXPECT_EQ(run_child("exits_with_calls_in_flight", peer->port()), "exit 0");
    }
}

TEST_F(Global_JSON_RPC_Channel_Test, process_exits_with_calls_in_flight_over_tls)
{
    const Certificates certificates;
    for (int i = 0; i < 5; ++i) {
        const Scripted_Peer peer({.certificate = certificates.server()});
        EXPECT_EQ(run_child("exits_with_calls_in_flight", peer->port(), certificates.authority()), "exit 0");
    }
}

TEST_F(Global_JSON_RPC_Channel_Test, process_exits_amid_answers)
{
    const Certificates certificates;
    for (int i = 0; i < 10; ++i) {
        const Scripted_Peer peer({.certificate = certificates.server()});
        EXPECT_EQ(run_child("exits_amid_answers", peer->port(), certificates.authority()), "exit 0");
    }
}

TEST_F(Global_JSON_RPC_Channel_Test, process_exits_while_it_connects)
{
    const Scripted_Peer peer({.answers_handshake = false});
    EXPECT_EQ(run_child("exits_while_it_connects", peer->port()), "exit 0");
}

TEST_F(Global_JSON_RPC_Channel_Test, main_returns_with_calls_in_flight)
{
    const Scripted_Peer peer;
    EXPECT_EQ(run_child("main_returns_with_calls_in_flight", peer->port()), "exit 0");
}

TEST_F(Global_JSON_RPC_Channel_Test, process_exits_while_the_peer_ends_the_connection)
{
    for (int i = 0; i < 10; ++i) {
        const Scripted_Peer peer;
        EXPECT_EQ(run_child("exits_while_the_peer_drops", peer->port()), "exit 0");
    }
}

namespace {

/// What runs in processes of their own; see run_child.
class DISABLED_In_Child : public ::testing::Test
{
protected:
    static std::uint16_t port()
    {
        const char* const text = std::getenv(port_variable);
        return static_cast<std::uint16_t>(text == nullptr ? 0 : std::stoi(text));
    }

    static void configure()
    {
        JSON_RPC_Endpoint endpoint;
        endpoint.host = "127.0.0.1";
        endpoint.port = port();
        const char* const authority = std::getenv(authority_variable);
        endpoint.certificate_authority = authority == nullptr ? "" : authority;
        endpoint.tls = !endpoint.certificate_authority.empty();
        Global_JSON_RPC_Channel::configure(endpoint);
    }

    /// Starts a thread that the process ends with; nobody joins it.
    template <class Task>
    static void start(Task task)
    {
        static auto& threads = *new std::vector<std::thread*>();
        threads.push_back(new std::thread(task));
    }

    /// Makes three calls that are never answered, and waits until the peer has them.
    static void hang()
    {
        for (int i = 0; i < 3; ++i) {
            start([] { call(Global_JSON_RPC_Channel::instance(), "hang"); });
        }
        while (call(wait_for_channel(), "hanging") != Value(3)) {
        }
    }
};

} // namespace

TEST_F(DISABLED_In_Child, has_no_socket_to_the_peer)
{
    ASSERT_NE(port(), 0);
    EXPECT_FALSE(has_socket_to(port()));
}

TEST_F(DISABLED_In_Child, never_configures)
{
    EXPECT_TRUE(Global_JSON_RPC_Channel::instance().null());
    const std::filesystem::directory_iterator tasks("/proc/self/task");
#ifndef IS_THREAD_SANITIZED // which has a thread of its own
    EXPECT_EQ(std::distance(begin(tasks), end(tasks)), 1);
#endif
}

TEST_F(DISABLED_In_Child, exits_with_calls_in_flight)
{
    configure();
    hang();
    std::exit(0);
}

TEST_F(DISABLED_In_Child, exits_amid_answers)
{
    configure();
    static std::atomic<int> answered{0};
    for (int i = 0; i < 3; ++i) {
        start([] {
            for (;;) {
                answered += echoes(Global_JSON_RPC_Channel::instance());
            }
        });
    }
    while (answered < 100) {
        std::this_thread::yield();
    }
    std::exit(0);
}

TEST_F(DISABLED_In_Child, exits_while_it_connects)
{
    configure();
    start([] { Global_JSON_RPC_Channel::instance(); });
    while (!has_socket_to(port())) {
        std::this_thread::yield();
    }
    std::exit(0);
}

TEST_F(DISABLED_In_Child, main_returns_with_calls_in_flight)
{
    configure();
    hang();
}

TEST_F(DISABLED_In_Child, exits_while_the_peer_drops)
{
    configure();
    hang();
    start([] { call(Global_JSON_RPC_Channel::instance(), "drop"); });
    std::exit(0);
}
