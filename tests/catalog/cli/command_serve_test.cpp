// The real service in a process of its own, asked as people ask it.

#include "catalog/service/access_keys.h"
#include "platform/database/database_connection.h"
#include "platform/json/object_get.h"
#include "tests/catalog/cli/child_process.h"
#include "tests/support/curl.h"
#include "tests/support/service_process.h"

#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>

using namespace cli_test;

namespace {

constexpr const char* sets = "/kx/r/v2/sets";

std::string call(const std::string& method, const std::string& params)
{
    return R"({"jsonrpc":"2.0","id":"1","method":"backup_set.)" + method + R"(","params":)" + params + "}";
}

json_spirit::Value json(const std::string& text)
{
    json_spirit::Value value;
    std::string error;
    EXPECT_TRUE(json_spirit::read(text, value, &error)) << error << ": " << text;
    return value;
}

class Serve : public On_Both_Engines
{
protected:
    std::string url() const { return catalog->url(); }

    Result refused(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), {"--database", url(), "serve"});
        return run_child(arguments);
    }
};

INSTANTIATE_TEST_SUITE_P(Engines, Serve, ::testing::Values("sqlite", "postgresql"), engine_name);

TEST_P(Serve, commits_and_selects_over_both_protocols)
{
    Service_Process service(url());
    const Curl_Answer committed = curl_post(service.url("/rpc"), call("commit", document(1)));
    EXPECT_EQ(committed.status, 200);
    EXPECT_EQ(committed.body,
              R"({"jsonrpc":"2.0","id":"1","result":{"result":true,"uuid":")" + sample_uuid(1) + R"("}})");
    EXPECT_EQ(curl_post(service.url(sets), document(2)).status, 200);

    const Curl_Answer selected =
        curl_post(service.url("/rpc"), call("select", R"({"module":"backup_set","view":"sets","param":{}})"));
    const json_spirit::Value result = json(selected.body);
    const auto& rows = json_spirit::object_get_array_or_throw(
        json_spirit::object_get_object_or_throw(result.get_obj(), "result"), "rows");
    EXPECT_EQ(rows.size(), 2u);
    const Curl_Answer rest = curl(service.url(std::string(sets) + "/select?module=backup_set&view=sets"));
    EXPECT_EQ(rest.status, 200);
    EXPECT_EQ(json(rest.body), json_spirit::Value(json_spirit::object_get_object_or_throw(result.get_obj(), "result")));

    EXPECT_EQ(curl(service.url(std::string(sets) + "/exists?uuid=" + sample_uuid(1))).status, 200);
    EXPECT_EQ(curl(service.url(std::string(sets) + "/exists?uuid=" + sample_uuid(3))).status, 404);
    EXPECT_EQ(curl(service.url(std::string(sets) + "/" + sample_uuid(1))).body, document(1));
    EXPECT_EQ(service.stop(), 0) << service.errors();
    EXPECT_EQ(catalog->run({"show", sample_uuid(2), "--format", "json"}).exit, 0);
}

TEST_P(Serve, what_was_answered_survives_a_kill)
{
    const auto steps = [&](Service_Process& service) {
        const std::vector<std::string> named = {"--header", "Idempotency-Key: abort-1"};
        return curl_post(service.url(std::string(sets) + "?action=Abort"), R"({"uuid":")" + sample_uuid(2) + "\"}",
                         named);
    };
    Curl_Answer first;
    {
        Service_Process service(url());
        ASSERT_EQ(curl_post(service.url(sets), document(1)).status, 200);
        ASSERT_EQ(curl_post(service.url(std::string(sets) + "?action=Initialize"), document(2)).status, 200);
        first = steps(service);
        EXPECT_EQ(first.status, 200);
        service.kill();
    }
    Service_Process service(url());
    EXPECT_EQ(curl(service.url(std::string(sets) + "/" + sample_uuid(1))).body, document(1));
    const Curl_Answer second = steps(service);
    EXPECT_EQ(second.status, 200);
    EXPECT_EQ(second.body, first.body);
}

TEST_P(Serve, queued_commits_survive_a_kill_and_are_applied)
{
    {
        Service_Process service(url(), {"--queue-commits"});
        const Curl_Answer queued = curl_post(service.url(sets), document(1));
        EXPECT_EQ(queued.status, 202);
        EXPECT_EQ(queued.body, R"({"result":true,"queued":true,"uuid":")" + sample_uuid(1) + "\"}");
        service.kill();
    }
    Service_Process service(url(), {"--queue-commits"});
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    int status = 404;
    while (status == 404 && std::chrono::steady_clock::now() < deadline) {
        status = curl(service.url(std::string(sets) + "/exists?uuid=" + sample_uuid(1))).status;
    }
    EXPECT_EQ(status, 200) << service.errors();
}

class Serve_From_Server : public Serve
{};

INSTANTIATE_TEST_SUITE_P(Engines, Serve_From_Server, ::testing::Values("postgresql"), engine_name);

TEST_P(Serve_From_Server, connections_that_are_lost_are_made_anew)
{
    Service_Process service(url());
    for (int number = 1; number <= 3; ++number) {
        ASSERT_EQ(curl_post(service.url(sets), document(number)).status, 200) << service.errors();
        const std::string document_url = service.url(std::string(sets) + "/" + sample_uuid(number));
        ASSERT_EQ(curl(document_url).body, document(number));
        Catalog::execute_beside("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = '"
                                + catalog->database_name() + "'");
        EXPECT_EQ(curl(document_url).body, document(number)) << service.errors();
    }
    EXPECT_EQ(curl(service.url("/health")).status, 200);
}

TEST_P(Serve, lets_in_by_key_and_role)
{
    const std::string keys = catalog->dir().file("keys");
    const auto add = [&](const char* name, const char* role) {
        const Result added = run({"access-key", "add", "--access-keys", keys, "--name", name, "--role", role});
        EXPECT_EQ(added.exit, 0) << added.err;
        return lines(added.out).at(0);
    };
    const std::string writer = add("db1", "writer");
    const std::string reader = add("report", "reader");
    const std::string owner = add("admin", "operator");
    Service_Process service(url(), {"--access-keys", keys, "--failed-attempts", "3"});
    const auto with = [](const std::string& key) {
        return std::vector<std::string>{"--header", "X-Access-Key: " + key};
    };

    EXPECT_EQ(curl_post(service.url(sets), document(1), with(writer)).status, 200);
    EXPECT_EQ(curl_post(service.url(sets), document(2), with(reader)).status, 403);
    const std::string exists = service.url(std::string(sets) + "/exists?uuid=" + sample_uuid(1));
    EXPECT_EQ(curl(exists, with(reader)).status, 200);
    EXPECT_EQ(curl(exists, {"--header", "Authorization: Bearer " + reader}).status, 200);
    EXPECT_EQ(curl(service.url("/metrics"), with(writer)).status, 403);
    EXPECT_EQ(curl(service.url("/metrics"), with(owner)).status, 200);
    EXPECT_EQ(curl(service.url("/health")).status, 200);

    EXPECT_EQ(curl(exists).status, 401);
    const std::string wrong = "db1." + std::string(64, '0');
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(curl(exists, with(wrong)).status, 401);
    }
    EXPECT_EQ(curl(exists, with(reader)).status, 429);
    EXPECT_EQ(service.stop(), 0);
    EXPECT_NE(service.errors().find("refused: 401, the access key is not known"), std::string::npos);
    for (const std::string& key : {writer, reader, owner, wrong}) {
        EXPECT_EQ(service.errors().find(key.substr(key.find('.') + 1)), std::string::npos);
    }
}

TEST_P(Serve, serves_its_health_metrics_and_description)
{
    Service_Process service(url());
    ASSERT_EQ(curl_post(service.url(sets), document(1)).status, 200);
    EXPECT_EQ(curl(service.url("/health")).body, R"({"status":"ok"})");
    const Curl_Answer metrics = curl(service.url("/metrics"));
    EXPECT_EQ(metrics.header("content-type"), "text/plain; version=0.0.4; charset=utf-8");
    EXPECT_NE(metrics.body.find(R"(backup_set_sets{state="committed",type="oracle"} 1)"), std::string::npos)
        << metrics.body;
    EXPECT_NE(metrics.body.find("\nbackup_set_connections "), std::string::npos) << metrics.body;
    const json_spirit::Value description = json(curl(service.url("/openapi.json")).body);
    EXPECT_NE(json_spirit::object_get_object(description.get_obj(), "paths"), nullptr);
}

TEST_P(Serve, without_keys_listens_on_loopback_only)
{
    const Result result = refused({"--listen", "0.0.0.0:0"});
    EXPECT_EQ(result.exit, 2);
    EXPECT_NE(result.err.find("without --access-keys it listens on a loopback address only"), std::string::npos)
        << result.err;
    Service_Process service(url());
    EXPECT_NE(service.errors().find("there is no --access-keys"), std::string::npos);
}

TEST_P(Serve, takes_its_options_from_a_file)
{
    const std::string config = catalog->dir().file("serve.conf");
    const std::string pid_file = catalog->dir().file("pid");
    std::ofstream(config) << "[serve]\nqueue-commits = true\npid-file = \"" << pid_file << "\"\nbody-limit = 100\n";
    Service_Process service(url(), {"--config", config});
    EXPECT_TRUE(std::filesystem::exists(pid_file));
    EXPECT_EQ(curl_post(service.url(sets), document(1)).status, 413);
    EXPECT_EQ(service.stop(), 0);

    std::ofstream(config) << "[serve]\nno-such-option = 1\n";
    try {
        Service_Process mistaken(url(), {"--config", config});
        FAIL() << "an option that is not known was taken";
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("no-such-option"), std::string::npos) << error.what();
    }
}

TEST_P(Serve, keeps_its_pid_file_while_it_runs)
{
    const std::string pid_file = catalog->dir().file("pid");
    {
        Service_Process service(url(), {"--pid-file", pid_file});
        std::ifstream in(pid_file);
        pid_t pid = 0;
        in >> pid;
        EXPECT_EQ(pid, service.pid());
        const Result second = refused({"--listen", "127.0.0.1:0", "--pid-file", pid_file});
        EXPECT_EQ(second.exit, 1);
        EXPECT_NE(second.err.find("belongs to a process that runs (" + std::to_string(pid) + ")"), std::string::npos)
            << second.err;
        EXPECT_EQ(service.stop(), 0);
        EXPECT_FALSE(std::filesystem::exists(pid_file));
    }
    Service_Process killed(url(), {"--pid-file", pid_file});
    killed.kill();
    EXPECT_TRUE(std::filesystem::exists(pid_file));
    Service_Process after(url(), {"--pid-file", pid_file}); // what a dead process left is in nobody's way
}

TEST_P(Serve, tells_the_service_manager_when_it_is_ready)
{
    const std::string name = catalog->dir().file("notify");
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.c_str(), name.size());
    ASSERT_EQ(::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ::setenv("NOTIFY_SOCKET", name.c_str(), 1);
    Service_Process service(url());
    ::unsetenv("NOTIFY_SOCKET");
    char text[64] = {};
    pollfd readable = {socket, POLLIN, 0};
    ASSERT_EQ(::poll(&readable, 1, 30000), 1);
    const ssize_t length = ::recv(socket, text, sizeof text, 0);
    EXPECT_EQ(std::string(text, static_cast<std::size_t>(length)), "READY=1");
    ::close(socket);
}

TEST(Serve_Command, says_what_is_wrong_with_its_options)
{
    const Temp_Dir dir;
    const std::string url = "sqlite:" + dir.file("c.db");
    struct Case
    {
        std::vector<std::string> arguments;
        int exit;
        const char* message;
    };
    const Case cases[] = {
        {{"--listen", "127.0.0.1"}, 2, "--listen is HOST:PORT"},
        {{"--listen", "127.0.0.1:99999"}, 2, "--listen is HOST:PORT"},
        {{"--listen", "::1:0"}, 2, "--listen is HOST:PORT"},
        {{"--tls-key", "k"}, 2, "--tls-certificate and --tls-key go together"},
        {{"--client-authority", "a"}, 2, "--tls-certificate and --tls-key go together"},
        {{"--log-level", "loud"}, 2, "--log-level"},
        {{"--access-keys", dir.file("none")}, 1, "cannot read the access keys"},
        {{"--pid-file", dir.file("no/pid")}, 1, "cannot write"},
    };
    for (const Case& each : cases) {
        std::vector<std::string> arguments = {"--database", url, "serve"};
        arguments.insert(arguments.end(), each.arguments.begin(), each.arguments.end());
        const Result result = run_child(arguments);
        EXPECT_EQ(result.exit, each.exit) << result.err;
        EXPECT_NE(result.err.find(each.message), std::string::npos) << result.err;
    }
    const Result lost = run_child({"--database", "sqlite:" + dir.file("no/c.db"), "serve", "--listen", "127.0.0.1:0"});
    EXPECT_EQ(lost.exit, 1);
    EXPECT_NE(lost.err.find("there is no directory"), std::string::npos) << lost.err;
}

TEST(Serve_Command, ends_by_an_interrupt_as_by_a_termination)
{
    const Temp_Dir dir;
    Service_Process service("sqlite:" + dir.file("c.db"));
    EXPECT_EQ(service.stop(SIGINT), 0);
}

TEST(Serve_Command, ends_by_a_second_signal_though_a_request_is_under_way)
{
    const Temp_Dir dir;
    const std::string url = "sqlite:" + dir.file("c.db");
    Service_Process service(url);
    const auto blocker = Database_Connection::open(url);
    ASSERT_TRUE(blocker->begin_write()); // a commit has to wait for this
    std::thread client([&service] { curl_post(service.url(sets), document(1)); });
    const auto wait_for = [](const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!condition() && std::chrono::steady_clock::now() < deadline) {
        }
        return condition();
    };
    EXPECT_TRUE(wait_for([&] {
        return curl(service.url("/metrics")).body.find("\nbackup_set_requests_in_flight 2\n") != std::string::npos;
    }));
    ::kill(service.pid(), SIGTERM);
    EXPECT_TRUE(wait_for([&] { return curl(service.url("/health")).status == 0; })); // it takes no more
    EXPECT_EQ(service.stop(SIGTERM), -SIGTERM);
    client.join();
}

} // namespace
