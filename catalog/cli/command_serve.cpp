#include "catalog/cli/address.h"
#include "catalog/cli/command.h"
#include "catalog/cli/pid_file.h"
#include "catalog/cli/session.h"
#include "catalog/service/service.h"
#include "platform/text/log.h"

#include <ace/Log_Msg.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>

namespace catalog::cli {

namespace {

using Seconds = std::chrono::seconds;
using Milliseconds = std::chrono::milliseconds;

bool is_loopback(const std::string& host)
{
    return host == "localhost" || host == "::1" || host.starts_with("127.");
}

struct Log_Level
{
    const char* name;
    unsigned long priorities;
};
constexpr unsigned long errors = LM_ERROR | LM_CRITICAL | LM_ALERT | LM_EMERGENCY;
constexpr unsigned long warnings = errors | LM_WARNING | LM_NOTICE;
constexpr Log_Level log_levels[] = {
    {"error", errors},
    {"warning", warnings},
    {"info", warnings | LM_INFO | LM_STARTUP | LM_SHUTDOWN},
    {"debug", warnings | LM_INFO | LM_STARTUP | LM_SHUTDOWN | LM_DEBUG | LM_TRACE},
};

/// While it lives, what any thread logs goes to standard error with its time and level.
class Service_Log
{
public:
    explicit Service_Log(const std::string& level) :
        flags_(ACE_LOG_MSG->flags()), priorities_(ACE_LOG_MSG->priority_mask(ACE_Log_Msg::PROCESS))
    {
        ACE_LOG_MSG->clr_flags(ACE_Log_Msg::MSG_CALLBACK);
        ACE_LOG_MSG->set_flags(ACE_Log_Msg::STDERR | ACE_Log_Msg::VERBOSE_LITE);
        for (const Log_Level& known : log_levels) {
            if (level == known.name) {
                ACE_LOG_MSG->priority_mask(known.priorities, ACE_Log_Msg::PROCESS);
            }
        }
    }
    Service_Log(const Service_Log&) = delete;
    Service_Log& operator=(const Service_Log&) = delete;
    ~Service_Log()
    {
        ACE_LOG_MSG->clr_flags(ACE_Log_Msg::STDERR | ACE_Log_Msg::VERBOSE_LITE);
        ACE_LOG_MSG->set_flags(flags_);
        ACE_LOG_MSG->priority_mask(priorities_, ACE_Log_Msg::PROCESS);
    }

private:
    unsigned long flags_;
    unsigned long priorities_;
};

/// Tells the service manager, when one waits for that, how things are.
void notify(const char* state)
{
    const char* const name = std::getenv("NOTIFY_SOCKET");
    sockaddr_un address = {};
    if (name == nullptr || (name[0] != '/' && name[0] != '@') || std::strlen(name) >= sizeof address.sun_path) {
        return;
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name, std::strlen(name));
    if (name[0] == '@') {
        address.sun_path[0] = '\0'; // an abstract name
    }
    const int descriptor = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + std::strlen(name));
    if (descriptor < 0
        || ::sendto(descriptor, state, std::strlen(state), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address),
                    size)
               < 0)
    {
        log_at(LM_WARNING, "The service manager cannot be told %C: %m\n", state);
    }
    if (descriptor >= 0) {
        ::close(descriptor);
    }
}

/// The signals that end the service: blocked while the object lives, in this thread and those that it starts.
class Stop_Signals
{
public:
    Stop_Signals()
    {
        sigemptyset(&signals_);
        sigaddset(&signals_, SIGTERM);
        sigaddset(&signals_, SIGINT);
        pthread_sigmask(SIG_BLOCK, &signals_, &before_);
    }
    Stop_Signals(const Stop_Signals&) = delete;
    Stop_Signals& operator=(const Stop_Signals&) = delete;
    ~Stop_Signals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

    void wait() const
    {
        int signal = 0;
        while (sigwait(&signals_, &signal) != 0) {
        }
    }

    /// From now on a further signal ends the process at once.
    void let_through() const { pthread_sigmask(SIG_UNBLOCK, &signals_, nullptr); }

private:
    sigset_t signals_;
    sigset_t before_;
};

class Serve_Command final : public Command
{
public:
    Serve_Command()
    {
        name = "serve";
        summary = "Serves the catalog over JSON-RPC and REST";
        description =
            "Answers catalog operators until it is told to stop by SIGTERM or SIGINT: JSON-RPC 2.0 at /rpc (WebSocket, or "
            "POST for one call), REST below /kx/r/v2/sets, /health, /metrics for Prometheus and /openapi.json. It says "
            "\"listening on HOST:PORT\" on standard error when it is ready. A stop lets the requests that have come be "
            "answered; a second signal ends it at once.\n\n"
            "Without --access-keys whoever can connect may do everything, so it then listens on a loopback address only. "
            "Over the limits clients are refused (413, 429, or 503 with Retry-After) and nothing else happens.\n\n"
            "The options may stand in a file (--config) in the section [serve], without the hyphens: listen = "
            "\"127.0.0.1:8765\".";
        add_options();
        examples = {{"serve --database sqlite:catalog.db", "Serves a file to this host"},
                    {"serve --listen 0.0.0.0:8765 --access-keys keys --tls-certificate cert.pem --tls-key key.pem "
                     "--database postgresql:///catalog",
                     "Serves a database to the network"}};
    }

    Exit_Code run(Session& session) override
    {
        service::Service_Options options;
        std::string fault;
        if (!read_options(options, fault)) {
            return session.tell(USAGE, fault);
        }
        Exit_Code exit = DONE;
        if (session.open_catalog(exit) == nullptr) {
            return exit;
        }
        options.database = database_url(session.database);

        std::unique_ptr<Pid_File> pid_file;
        if (!pid_file_.empty()) {
            pid_file = Pid_File::take(pid_file_, fault);
            if (pid_file == nullptr) {
                return session.tell(FAILED, fault);
            }
        }
        const Stop_Signals signals;
        const Service_Log log(log_level_);
        Error error;
        const std::unique_ptr<service::Service> service = service::Service::start(options, error, fault);
        if (service == nullptr) {
            return error ? session.tell(error) : session.tell(FAILED, fault);
        }
        if (access_keys_.empty()) {
            session.diagnostics.note("there is no --access-keys: everybody on this host may do everything");
        }
        const std::string host = options.server.host;
        session.diagnostics.note("listening on " + (host.find(':') != std::string::npos ? '[' + host + ']' : host) + ":"
                                 + std::to_string(service->port()));
        notify("READY=1");
        signals.wait();
        notify("STOPPING=1");
        signals.let_through();
        service->stop(Seconds(stop_timeout_));
        return DONE;
    }

private:
    void add_options()
    {
        const auto file = [](const char* option, const char* help, std::string* target) {
            Option made{option, "FILE", help, target};
            made.kind = Option::FILE;
            return made;
        };
        Option level{"--log-level", "LEVEL", "What is logged on standard error: this and what is worse (warning)",
                     &log_level_};
        for (const Log_Level& known : log_levels) {
            level.choices.emplace_back(known.name);
        }
        options = {
            {"--listen", "HOST:PORT", "Where to listen (127.0.0.1:8765); port 0 takes any that is free", &listen_},
            file("--access-keys", "The keys that are let in; see `access-key`", &access_keys_),
            file("--tls-certificate", "Serve over TLS with this certificate, PEM with its chain", &certificate_),
            file("--tls-key", "The certificate's key, PEM", &key_),
            file("--client-authority", "Ask clients for a certificate that one of these has signed, PEM", &authority_),
            {"--queue-commits", "", "Answer a commit when it is durable in the queue, and apply it then",
             &queue_commits_},
            level,
            file("--pid-file", "Write the process's number to it; removed at the end", &pid_file_),
            number("--body-limit", "BYTES", "Largest body of a request", body_limit_),
            number("--frame-limit", "BYTES", "Largest message on a WebSocket", frame_limit_),
            number("--header-limit", "BYTES", "Largest header of a request", header_limit_),
            number("--memory-limit", "BYTES", "All bodies and messages that are held at once", memory_limit_),
            number("--connections", "N", "Connections at once", connections_),
            number("--requests", "N", "Requests at once, over all connections", requests_),
            number("--requests-per-peer", "N", "Requests at once on one WebSocket", requests_per_peer_),
            number("--request-timeout", "SECONDS", "For a client to send a whole request", request_timeout_),
            number("--idle-timeout", "SECONDS", "Between two requests on one connection", idle_timeout_),
            number("--stall-timeout", "SECONDS", "For a client that takes nothing of its answer", stall_timeout_),
            number("--ping-interval", "SECONDS", "Of silence on a WebSocket before it is pinged", ping_interval_),
            number("--statement-timeout", "SECONDS", "For one statement of a view; 0: any time", statement_timeout_),
            number("--database-patience", "SECONDS", "How long a request waits for a database that is gone", patience_),
            number("--stop-timeout", "SECONDS", "For the requests under way when it stops", stop_timeout_),
            number("--writers", "N",
                   "Connections that write; 0: one for SQLite, two to eight for PostgreSQL, by processors", writers_),
            number("--readers", "N", "Connections that read", readers_),
            number("--waiting-writes", "N", "Writes that may wait", waiting_writes_),
            number("--waiting-reads", "N", "Reads that may wait", waiting_reads_),
            number("--failed-attempts", "N", "Wrong access keys that one address may show in a minute",
                   failed_attempts_),
        };
    }

    /// An option whose help tells what holds without it.
    static Option number(const char* option, const char* unit, const char* help, std::size_t& target)
    {
        return {option, unit, std::string(help) + " (" + std::to_string(target) + ")", &target};
    }

    bool read_options(service::Service_Options& options, std::string& fault) const
    {
        service::Server_Options& server = options.server;
        if (!read_address(listen_, server.host, server.port)) {
            fault = "--listen is HOST:PORT, with an IPv6 address in brackets";
            return false;
        }
        if (server.host.empty()) {
            server.host = "127.0.0.1";
        }
        if (access_keys_.empty() && !is_loopback(server.host)) {
            fault = "without --access-keys it listens on a loopback address only, not on " + server.host;
            return false;
        }
        if (certificate_.empty() != key_.empty() || (certificate_.empty() && !authority_.empty())) {
            fault = "--tls-certificate and --tls-key go together, and --client-authority with them";
            return false;
        }
        server.certificate_file = certificate_;
        server.key_file = key_;
        server.client_authority_file = authority_;
        server.body_limit = body_limit_;
        server.frame_limit = frame_limit_;
        server.header_limit = header_limit_;
        server.memory_limit = memory_limit_;
        server.connections = connections_;
        server.requests_in_flight = requests_;
        server.requests_in_flight_per_peer = requests_per_peer_;
        server.request_timeout = Seconds(request_timeout_);
        server.idle_timeout = Seconds(idle_timeout_);
        server.write_stall_timeout = Seconds(stall_timeout_);
        server.ping_interval = Seconds(ping_interval_);
        options.access_keys_file = access_keys_;
        options.queue_commits = queue_commits_;
        options.statement_limit = Seconds(statement_timeout_);
        options.writes.writers = writers_;
        options.writes.most_waiting = waiting_writes_;
        options.writes.patience = Seconds(patience_);
        options.reads.readers = readers_;
        options.reads.most_waiting = waiting_reads_;
        options.reads.patience = Seconds(patience_);
        options.admission.most_failures = failed_attempts_;
        return true;
    }

    static std::size_t seconds(Milliseconds time)
    {
        return static_cast<std::size_t>(std::chrono::duration_cast<Seconds>(time).count());
    }

    static const service::Service_Options& usual()
    {
        static const service::Service_Options options{};
        return options;
    }

    std::string listen_ = "127.0.0.1:8765";
    std::string access_keys_;
    std::string certificate_;
    std::string key_;
    std::string authority_;
    bool queue_commits_ = false;
    std::string log_level_ = "warning";
    std::string pid_file_;
    std::size_t body_limit_ = usual().server.body_limit;
    std::size_t frame_limit_ = usual().server.frame_limit;
    std::size_t header_limit_ = usual().server.header_limit;
    std::size_t memory_limit_ = usual().server.memory_limit;
    std::size_t connections_ = usual().server.connections;
    std::size_t requests_ = usual().server.requests_in_flight;
    std::size_t requests_per_peer_ = usual().server.requests_in_flight_per_peer;
    std::size_t request_timeout_ = seconds(usual().server.request_timeout);
    std::size_t idle_timeout_ = seconds(usual().server.idle_timeout);
    std::size_t stall_timeout_ = seconds(usual().server.write_stall_timeout);
    std::size_t ping_interval_ = seconds(usual().server.ping_interval);
    std::size_t statement_timeout_ = seconds(usual().statement_limit);
    std::size_t patience_ = seconds(usual().writes.patience);
    std::size_t stop_timeout_ = 30;
    std::size_t writers_ = 0;
    std::size_t readers_ = usual().reads.readers;
    std::size_t waiting_writes_ = usual().writes.most_waiting;
    std::size_t waiting_reads_ = usual().reads.most_waiting;
    std::size_t failed_attempts_ = usual().admission.most_failures;
};

} // namespace

std::unique_ptr<Command> make_serve_command()
{
    return std::make_unique<Serve_Command>();
}

} // namespace catalog::cli
