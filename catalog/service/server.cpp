#include "catalog/service/server.h"

#include "catalog/service/detail/listener.h"

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <exception>
#include <thread>

namespace catalog::service {

namespace {

using detail::error_code;
using detail::tcp;
namespace net = boost::asio;

/// The names in `file` of authorities, for clients to choose their certificate by. False when there are none.
bool name_authorities(net::ssl::context& context, const std::string& file)
{
    STACK_OF(X509_NAME)* names = ::SSL_load_client_CA_file(file.c_str());
    if (names == nullptr) {
        return false;
    }
    ::SSL_CTX_set_client_CA_list(context.native_handle(), names);
    return true;
}

bool load_tls(const Server_Options& options, std::optional<net::ssl::context>& tls, std::string& error)
{
    if (options.certificate_file.empty()) {
        if (!options.key_file.empty() || !options.client_authority_file.empty()) {
            error = "a key or a client authority is given, but no certificate";
            return false;
        }
        return true;
    }
    net::ssl::context& context = tls.emplace(net::ssl::context::tls_server);
    ::SSL_CTX_set_min_proto_version(context.native_handle(), TLS1_2_VERSION);
    ::SSL_CTX_set_options(context.native_handle(), SSL_OP_NO_COMPRESSION | SSL_OP_NO_RENEGOTIATION);
    ::SSL_CTX_set_mode(context.native_handle(), SSL_MODE_RELEASE_BUFFERS);

    error_code failed;
    // A pass phrase would be asked for on the terminal.
    context.set_password_callback([](std::size_t, net::ssl::context::password_purpose) { return std::string(); },
                                  failed);
    context.use_certificate_chain_file(options.certificate_file, failed);
    if (failed) {
        error = "the certificate in " + options.certificate_file + " cannot be used: " + failed.message();
        return false;
    }
    context.use_private_key_file(options.key_file, net::ssl::context::pem, failed);
    if (failed) {
        error = "the key in " + options.key_file + " cannot be used: " + failed.message();
        return false;
    }
    if (options.client_authority_file.empty()) {
        return true;
    }
    context.load_verify_file(options.client_authority_file, failed);
    if (failed || !name_authorities(context, options.client_authority_file)) {
        error = "the client authority in " + options.client_authority_file + " cannot be used"
                + (failed ? ": " + failed.message() : std::string());
        return false;
    }
    context.set_verify_mode(net::ssl::verify_peer | net::ssl::verify_fail_if_no_peer_cert, failed);
    // Without a name for its sessions a server that asks for certificates cannot take one up again.
    static constexpr unsigned char session_name[] = "backup-set";
    ::SSL_CTX_set_session_id_context(context.native_handle(), session_name, sizeof session_name - 1);
    return true;
}

std::string without_brackets(const std::string& host)
{
    return host.size() > 2 && host.front() == '[' && host.back() == ']' ? host.substr(1, host.size() - 2) : host;
}

} // namespace

class Server::Impl
{
public:
    Impl(const Server_Options& options, Front& front) :
        core_(std::make_shared<detail::Core>(options, front)), work_(net::make_work_guard(core_->io))
    {}
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;
    ~Impl() { stop({}); }

    bool start(std::string& error)
    {
        if (!load_tls(core_->options, core_->tls, error) || !listen(error)) {
            return false;
        }
        for (const auto& listener : listeners_) {
            listener->start();
        }
        for (unsigned i = 0; i < std::max(core_->options.io_threads, 1U); ++i) {
            threads_.emplace_back([this] { run(); });
        }
        return true;
    }

    std::uint16_t port() const { return port_; }

    Server_Counters counters() const
    {
        Server_Counters counters;
        counters.connections = core_->count();
        counters.web_sockets = core_->web_sockets;
        counters.requests_in_flight = core_->slots->used();
        counters.accepted = core_->accepted;
        counters.refused_connections = core_->refused_connections;
        counters.requests = core_->requests;
        counters.messages = core_->messages;
        counters.refused_requests = core_->refused_requests;
        return counters;
    }

    void stop(std::chrono::milliseconds deadline)
    {
        if (threads_.empty()) {
            return; // never started, or stopped already
        }
        for (const auto& listener : listeners_) {
            listener->stop();
        }
        for (const auto& connection : core_->stop()) {
            net::post(connection->executor(), [connection] { connection->drain(); });
        }
        if (!core_->wait_for_none(deadline)) {
            const auto rest = core_->stop();
            log_at(LM_WARNING, "%u connections are cut: they did not end in time.\n",
                   static_cast<unsigned>(rest.size()));
            for (const auto& connection : rest) {
                net::post(connection->executor(), [connection] { connection->cut(); });
            }
        }
        listeners_.clear();
        work_.reset();
        for (std::thread& thread : threads_) {
            thread.join(); // all operations come to their end, as their connections are closed
        }
        threads_.clear();
    }

private:
    bool listen(std::string& error)
    {
        const std::string& host = core_->options.host;
        error_code failed;
        tcp::resolver resolver(core_->io);
        const auto addresses = resolver.resolve(without_brackets(host), std::to_string(core_->options.port),
                                                tcp::resolver::passive | tcp::resolver::numeric_service, failed);
        if (failed) {
            error = "the address " + host + " is not known: " + failed.message();
            return false;
        }
        port_ = core_->options.port;
        for (const auto& address : addresses) {
            const auto listener = std::make_shared<detail::Listener>(core_);
            listener->listen(tcp::endpoint(address.endpoint().address(), port_), failed);
            if (!failed) {
                port_ = listener->port(failed);
            }
            if (failed) {
                error = "cannot listen on " + host + " port " + std::to_string(port_) + ": " + failed.message();
                return false;
            }
            listeners_.push_back(listener);
        }
        return true;
    }

    void run()
    {
        for (;;) {
            try {
                core_->io.run();
                return;
            } catch (const std::exception& exception) {
                log_at(LM_ERROR, "A connection fails: %C.\n", exception.what());
            }
        }
    }

    std::shared_ptr<detail::Core> core_;
    net::executor_work_guard<net::io_context::executor_type> work_;
    std::vector<std::shared_ptr<detail::Listener>> listeners_;
    std::vector<std::thread> threads_;
    std::uint16_t port_ = 0;
};

Server::Server(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

Server::~Server() = default;

std::unique_ptr<Server> Server::start(const Server_Options& options, Front& front, std::string& error)
{
    auto impl = std::make_unique<Impl>(options, front);
    if (!impl->start(error)) {
        return nullptr;
    }
    return std::unique_ptr<Server>(new Server(std::move(impl)));
}

std::uint16_t Server::port() const
{
    return impl_->port();
}

Server_Counters Server::counters() const
{
    return impl_->counters();
}

void Server::stop(std::chrono::milliseconds deadline)
{
    impl_->stop(deadline);
}

} // namespace catalog::service
