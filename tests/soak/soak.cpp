// The proof that nothing acknowledged is lost or doubled: many set lives through both operators, over a network that
// breaks, to a service that is killed again and again; at the end the catalog has to equal the model of every set.
//
// Exit code: 0 equal, 1 differences, 2 usage, 77 no server for that engine. PostgreSQL is the server that the environment's
// BACKUP_SET_TEST_POSTGRESQL names; a database of its own is made there.

#include "platform/http/json_restful_client.h"
#include "platform/rpc/global_json_rpc_channel.h"
#include "tests/soak/call_log.h"
#include "tests/soak/catalog_check.h"
#include "tests/support/fault_proxy.h"
#include "tests/support/postgresql_database.h"
#include "tests/support/service_process.h"
#include "tests/support/temp_dir.h"

#include <CLI/CLI.hpp>
#include <ace/ACE.h>
#include <ace/Init_ACE.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <list>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <vector>

namespace {

using namespace soak;

constexpr int exit_without_server = 77;
constexpr int stranded_commits = 3;
constexpr std::chrono::seconds longest_stall{300}; ///< without any step

struct Options
{
    std::string engine = "sqlite";
    int operations = 1000;
    std::uint64_t seed = std::random_device()();
    int faults = 60;
    int kills = 5;
    int threads = 8;
    bool queue = false;
};

/// Ends the process while threads are at work that would go on for as long as they get no answer.
[[noreturn]] void give_up(const std::string& reason)
{
    std::printf("soak: %s\n", reason.c_str());
    std::fflush(stdout);
    std::_Exit(1);
}

/// The service under test, killed and started again on its port.
class Victim
{
public:
    Victim(std::string url, bool queueing, std::vector<std::string>& differences) :
        url_(std::move(url)), queueing_(queueing), differences_(differences)
    {
        start(0);
    }

    std::uint16_t port() const { return service_->port(); }

    void kill(Fault_Proxy& proxy, const std::function<void()>& meanwhile = {})
    {
        const std::uint16_t port = service_->port();
        look();
        service_->kill();
        if (meanwhile) {
            meanwhile();
        }
        try {
            start(port);
        } catch (const std::runtime_error&) { // somebody else has the port now
            start(0);
        }
        proxy.target(service_->port());
    }

    void stop()
    {
        look();
        if (const int exit = service_->stop(); exit != 0) {
            differences_.push_back("the service ended with " + std::to_string(exit) + ": " + service_->errors());
        }
    }

    /// What the running service has said.
    std::string errors() const { return service_->errors(); }

private:
    void start(std::uint16_t port)
    {
        std::vector<std::string> arguments;
        if (queueing_) {
            arguments.emplace_back("--queue-commits");
        }
        service_.reset();
        service_ = std::make_unique<Service_Process>(url_, arguments, port);
    }

    /// It may be killed, but must not end by itself.
    void look()
    {
        siginfo_t ended{};
        ::waitid(P_PID, static_cast<id_t>(service_->pid()), &ended, WEXITED | WNOHANG | WNOWAIT);
        if (ended.si_pid != 0) {
            differences_.push_back("the service ended by itself: " + service_->errors());
        }
    }

    const std::string url_;
    const bool queueing_;
    std::vector<std::string>& differences_;
    std::unique_ptr<Service_Process> service_;
};

/// How far the threads are.
class Progress
{
public:
    Progress(int operations, int threads) : operations_(operations), running_(threads) {}

    /// Whether one more step may be taken.
    bool take_step()
    {
        const std::scoped_lock lock(mutex_);
        const bool may = taken_ < operations_;
        taken_ += may ? 1 : 0;
        changed_.notify_all();
        return may;
    }

    void step_done()
    {
        const std::scoped_lock lock(mutex_);
        ++done_;
        changed_.notify_all();
    }

    void thread_ended()
    {
        const std::scoped_lock lock(mutex_);
        --running_;
        changed_.notify_all();
    }

    /// Waits until so many steps have been begun, or all threads have ended.
    void await(int steps) const
    {
        await([&] { return taken_ >= steps || running_ == 0; });
    }
    /// Waits until one more step has been acknowledged, or all threads have ended.
    void await_next_done() const
    {
        const int before = [this] {
            const std::scoped_lock lock(mutex_);
            return done_;
        }();
        await([&] { return done_ > before || running_ == 0; });
    }
    void await_end() const
    {
        await([&] { return running_ == 0; });
    }

    int taken() const
    {
        const std::scoped_lock lock(mutex_);
        return taken_;
    }

private:
    template <class Condition>
    void await(Condition condition) const
    {
        std::unique_lock lock(mutex_);
        for (int before = -1; !condition(); before = taken_) {
            const bool moved = changed_.wait_for(lock, longest_stall, [&] { return condition() || taken_ != before; });
            if (!moved) {
                give_up("no step for " + std::to_string(longest_stall.count()) + " seconds");
            }
        }
    }

    const int operations_;
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    int taken_ = 0;
    int done_ = 0;
    int running_;
};

/// The lives that the threads lead, one after the other.
class Crowd
{
public:
    Crowd(const Options& options, const Surroundings& surroundings, Progress& progress) :
        seed_(options.seed), surroundings_(surroundings), progress_(progress)
    {
        for (int i = 0; i < options.threads; ++i) {
            threads_.emplace_back([this] { live(); });
        }
    }
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;
    ~Crowd() { join(); }

    void join()
    {
        for (std::thread& thread : threads_) {
            thread.join();
        }
        threads_.clear();
    }

    Set_Life& next_life()
    {
        const std::scoped_lock lock(mutex_);
        const auto number = static_cast<unsigned>(lives_.size());
        std::seed_seq seeds{static_cast<std::uint32_t>(seed_), static_cast<std::uint32_t>(seed_ >> 32), number};
        std::uint32_t seed[2];
        seeds.generate(seed, seed + 2);
        return lives_.emplace_back(number, std::uint64_t{seed[0]} << 32 | seed[1], surroundings_);
    }

    /// After `join`.
    const std::list<Set_Life>& lives() const { return lives_; }
    const std::vector<std::string>& faults() const { return faults_; }

private:
    void live()
    {
        try {
            while (progress_.take_step()) {
                bool is_first = true; // that step has just been taken
                next_life().run([&] { return std::exchange(is_first, false) || progress_.take_step(); });
            }
        } catch (const std::exception& error) {
            const std::scoped_lock lock(mutex_);
            faults_.emplace_back(error.what());
        }
        progress_.thread_ended();
    }

    const std::uint64_t seed_;
    const Surroundings surroundings_;
    Progress& progress_;
    std::mutex mutex_;
    std::list<Set_Life> lives_;
    std::vector<std::string> faults_;
    std::vector<std::thread> threads_;
};

/// Ends the channel of the process with the scope.
struct Channel
{
    explicit Channel(std::uint16_t port)
    {
        JSON_RPC_Endpoint endpoint;
        endpoint.host = "127.0.0.1";
        endpoint.port = port;
        Global_JSON_RPC_Channel::configure(endpoint);
        Upstream_JSON_RESTful_Client::configure("127.0.0.1", port, false, "");
    }
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;
    ~Channel() { Global_JSON_RPC_Channel::remove(); }
};

void print(const Totals& totals, const Fault_Proxy& proxy, std::size_t sets)
{
    constexpr const char* faults[] = {
        "none", "drop before request", "drop after request", "drop in answer", "delay", "duplicate", "garbage"};
    std::printf("  %-12s %8s %8s %10s\n", "", "done", "refused", "no answer");
    for (std::size_t i = 0; i < operation_count; ++i) {
        const auto& outcomes = totals.outcomes[i];
        std::printf("  %-12s %8d %8d %10d\n", operation_name(static_cast<Operation>(i)), outcomes[0].load(),
                    outcomes[1].load(), outcomes[2].load());
    }
    std::printf("  sets %zu, repeated requests %d, commits that met another %d\n  messages without a fault %d", sets,
                totals.repeats.load(), totals.contests.load(), proxy.count(Fault_Proxy::NONE));
    for (std::size_t i = 1; i < Fault_Proxy::FAULTS; ++i) {
        std::printf(", %s %d", faults[i], proxy.count(static_cast<Fault_Proxy::Fault>(i)));
    }
    std::printf("\n");
}

int count_faults(const Fault_Proxy& proxy)
{
    int faults = 0;
    for (std::size_t i = 1; i < Fault_Proxy::FAULTS; ++i) {
        faults += proxy.count(static_cast<Fault_Proxy::Fault>(i));
    }
    return faults;
}

int run(const Options& options)
{
    std::optional<Postgresql_Database> server;
    const Temp_Dir dir;
    std::string url = "sqlite:" + dir.file("catalog.db");
    if (options.engine == "postgresql") {
        if (!Postgresql_Database::available()) {
            std::printf("soak: BACKUP_SET_TEST_POSTGRESQL names no server\n");
            const char* const required = std::getenv("BACKUP_SET_REQUIRE_POSTGRESQL");
            return required != nullptr && std::string_view(required) == "1" ? 1 : exit_without_server;
        }
        url = server.emplace().url();
    }
    std::printf("soak: --engine %s --operations %d --seed %llu --faults %d --kills %d --threads %d%s\n",
                options.engine.c_str(), options.operations, static_cast<unsigned long long>(options.seed),
                options.faults, options.kills, options.threads, options.queue ? " --queue" : "");
    std::fflush(stdout);

    const Call_Log log;
    std::vector<std::string> differences;
    Totals totals;
    std::mt19937_64 random(options.seed);
    Victim service(url, options.queue, differences);
    Fault_Proxy proxy(service.port(), options.seed, options.faults);
    const Channel channel(proxy.port());

    Progress progress(options.operations, options.threads);
    Crowd crowd(options, {proxy.port(), options.queue, &totals, [&] { progress.step_done(); }}, progress);
    try {
        for (int kills = 0; kills < options.kills; ++kills) {
            // Somewhere in its part of the run, and in the midst of steps.
            const int part = options.operations / (options.kills + 1);
            progress.await(kills * part + std::uniform_int_distribution<int>(part / 2, part + part / 2)(random));
            if (kills % 2 == 0) {
                progress.await_next_done(); // to come upon what has just been acknowledged
            } else {
                std::this_thread::sleep_for(
                    std::chrono::microseconds(std::uniform_int_distribution<int>(0, 50000)(random)));
            }
            service.kill(proxy);
        }
    } catch (const std::exception& error) {
        give_up(error.what());
    }
    progress.await_end();
    crowd.join();
    const std::list<Set_Life>& lives = crowd.lives();

    proxy.per_mille(0);
    std::set<std::string> stranded;
    service.kill(proxy, [&] {
        for (int i = 0; options.queue && i < stranded_commits; ++i) {
            Set_Life& life = crowd.next_life();
            strand_commit(url, life);
            stranded.insert(life.subject().uuid);
        }
    });
    await_empty_queue(url, stranded, differences);
    check_views(proxy.port(), lives, differences);
    service.stop();
    check_catalog(url, lives, stranded.size(), differences);
    for (const Set_Life& life : lives) {
        if (!life.fault().empty()) {
            std::string text = "set " + life.subject().uuid + ": " + life.fault();
            for (const std::string& line : life.history()) {
                text += "\n    " + line;
            }
            differences.push_back(std::move(text));
        }
    }
    differences.insert(differences.end(), crowd.faults().begin(), crowd.faults().end());

    print(totals, proxy, lives.size());
    for (const std::string& difference : differences) {
        std::printf("difference: %s\n", difference.c_str());
    }
    std::printf("soak: %d operations, %d faults, %d kills: ", progress.taken(), count_faults(proxy), options.kills + 1);
    if (differences.empty()) {
        std::printf("catalog equals the model\n");
    } else {
        std::printf("%zu differences\n", differences.size());
    }
    return differences.empty() ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    CLI::App app("Leads many sets' lives over a network that breaks, to a service that is killed, and compares the "
                 "catalog with what was acknowledged.");
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast); // a script's caller has the last word
    app.add_option("--engine", options.engine, "sqlite or postgresql")->check(CLI::IsMember({"sqlite", "postgresql"}));
    app.add_option("--operations", options.operations, "Steps of sets' lives")->check(CLI::PositiveNumber);
    app.add_option("--seed", options.seed, "Repeats a run, as far as threads allow");
    app.add_option("--faults", options.faults, "Of 1000 messages so many get a fault")->check(CLI::Range(0, 1000));
    app.add_option("--kills", options.kills, "How often the service is killed meanwhile")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--threads", options.threads, "Sets that live at the same time")->check(CLI::PositiveNumber);
    app.add_flag("--queue", options.queue, "The service puts commits into its queue");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    if (ACE::init() == -1) {
        return 1;
    }
    int exit = 1;
    try {
        exit = run(options);
    } catch (const std::exception& error) {
        std::printf("soak: %s\n", error.what());
    }
    return ACE::fini() == -1 ? 1 : exit;
}
