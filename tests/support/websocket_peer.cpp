#include "tests/support/websocket_peer.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/beast/websocket/ssl.hpp>
#include <openssl/ssl.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <type_traits>
#include <utility>

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;
using boost::system::error_code;
using tcp = asio::ip::tcp;

/// What tests ask for, and the sockets. Runs in its thread but for what is under the mutex.
class WebSocket_Peer::Server
{
public:
    explicit Server(Options options);
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    ~Server() = default;

    void start();
    void stop();

    void note(const Handshake& handshake)
    {
        note([&] { handshakes_.push_back(handshake); });
    }
    void note_ping()
    {
        note([&] { ++pings_; });
    }
    void note_close(std::uint16_t code)
    {
        note([&] { close_codes_.push_back(code); });
    }

    template <class What>
    auto read(What WebSocket_Peer::Server::*member) const
    {
        const std::lock_guard lock(mutex_);
        return this->*member;
    }

    bool wait_until(const std::function<bool()>& is_true) const;

    /// Keeps a client that nothing is going on with.
    void keep(Connection_var client) { kept_.push_back(std::move(client)); }

    const Options options;
    std::optional<asio::ssl::context> tls;
    asio::io_context io{1};
    tcp::acceptor acceptor;
    const std::uint16_t port;

    std::size_t accepted_ = 0;
    std::size_t pings_ = 0;
    std::vector<Handshake> handshakes_;
    std::vector<std::uint16_t> close_codes_;

private:
    void accept();

    template <class Change>
    void note(Change change)
    {
        const std::lock_guard lock(mutex_);
        change();
        ++changes_;
        changed_.notify_all();
    }

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::size_t changes_ = 0;
    std::vector<Connection_var> kept_;
    std::thread thread_;
};

namespace {

/// One client, over TCP or TLS. The operations of the interface are passed to the peer's thread.
template <class Server, class Transport>
class Client final : public WebSocket_Peer::Connection, public std::enable_shared_from_this<Client<Server, Transport>>
{
public:
    template <class... Of_Transport>
    Client(Server& server, tcp::socket&& socket, Of_Transport&... of_transport) :
        server_(server), executor_(socket.get_executor()), stream_(std::move(socket), of_transport...)
    {}

    void start()
    {
        if constexpr (std::is_same_v<Transport, beast::tcp_stream>) {
            read_request();
        } else {
            stream_.next_layer().async_handshake(asio::ssl::stream_base::server,
                                                 [self = this->shared_from_this()](error_code error) {
                                                     if (!error) {
                                                         self->read_request();
                                                     }
                                                 });
        }
    }

    void send(std::string text) override { send(std::move(text), false); }
    void send_binary(std::string bytes) override { send(std::move(bytes), true); }

    void close(std::uint16_t code) override
    {
        post([code](Client& client) {
            client.stream_.async_close(websocket::close_reason(code),
                                       [self = client.shared_from_this()](error_code) {});
        });
    }

    void drop() override
    {
        post([](Client& client) { beast::get_lowest_layer(client.stream_).close(); });
    }

    void fall_silent() override
    {
        post([](Client& client) { client.silent_ = true; });
    }

private:
    struct Message
    {
        std::string data;
        bool binary;
    };

    template <class Task>
    void post(Task task)
    {
        asio::post(executor_, [self = this->shared_from_this(), task = std::move(task)] { task(*self); });
    }

    void send(std::string data, bool binary)
    {
        post([message = Message{std::move(data), binary}](Client& client) {
            client.to_send_.push_back(message);
            if (client.to_send_.size() == 1) {
                client.write();
            }
        });
    }

    void read_request()
    {
        http::async_read(stream_.next_layer(), buffer_, request_,
                         [self = this->shared_from_this()](error_code error, std::size_t) {
                             if (!error) {
                                 self->answer_request();
                             }
                         });
    }

    void answer_request()
    {
        const auto text = [](auto view) { return std::string(view.data(), view.size()); };
        WebSocket_Peer::Handshake handshake{
            text(request_.target()), text(request_[http::field::host]), text(request_["X-Access-Key"]), {}};
        if constexpr (!std::is_same_v<Transport, beast::tcp_stream>) {
            const char* const name =
                SSL_get_servername(stream_.next_layer().native_handle(), TLSEXT_NAMETYPE_host_name);
            handshake.server_name = name == nullptr ? "" : name;
        }
        server_.note(handshake);
        if (server_.options.refused_with != 0) {
            refusal_.result(server_.options.refused_with);
            refusal_.prepare_payload();
            http::async_write(stream_.next_layer(), refusal_,
                              [self = this->shared_from_this()](error_code, std::size_t) {});
        } else if (server_.options.answers_handshake) {
            accept();
        } else {
            server_.keep(this->shared_from_this());
        }
    }

    void accept()
    {
        stream_.read_message_max(std::size_t{256} << 20);
        stream_.control_callback([this](websocket::frame_type kind, beast::string_view) {
            if (kind == websocket::frame_type::ping) {
                server_.note_ping();
            }
        });
        stream_.async_accept(request_, [self = this->shared_from_this()](error_code error) {
            if (!error) {
                if (self->server_.options.on_open) {
                    self->server_.options.on_open(self);
                }
                self->read_on();
            }
        });
    }

    void read()
    {
        if (silent_) {
            server_.keep(this->shared_from_this());
            return;
        }
        stream_.async_read(buffer_, [self = this->shared_from_this()](error_code error, std::size_t) {
            if (error == websocket::error::closed) {
                self->server_.note_close(self->stream_.reason().code);
            }
            if (error) {
                return;
            }
            std::string text = beast::buffers_to_string(self->buffer_.data());
            self->buffer_.clear();
            if (self->server_.options.on_message) {
                self->server_.options.on_message(self, std::move(text));
            }
            self->read_on();
        });
    }

    /// Reads behind what a test's function asked for.
    void read_on()
    {
        post([](Client& client) { client.read(); });
    }

    void write()
    {
        stream_.binary(to_send_.front().binary);
        stream_.async_write(asio::buffer(to_send_.front().data),
                            [self = this->shared_from_this()](error_code error, std::size_t) {
                                self->to_send_.pop_front();
                                if (!error && !self->to_send_.empty()) {
                                    self->write();
                                }
                            });
    }

    Server& server_;
    tcp::socket::executor_type executor_;
    websocket::stream<Transport> stream_;
    beast::flat_buffer buffer_;
    http::request<http::empty_body> request_;
    http::response<http::empty_body> refusal_;
    std::deque<Message> to_send_; ///< the first is on its way
    bool silent_ = false;
};

} // namespace

WebSocket_Peer::Server::Server(Options wanted) :
    options(std::move(wanted)), acceptor(io, tcp::endpoint(asio::ip::address_v4::loopback(), 0)),
    port(acceptor.local_endpoint().port())
{
    if (options.certificate.certificate.empty()) {
        return;
    }
    tls.emplace(asio::ssl::context::tls_server);
    tls->use_certificate_chain_file(options.certificate.certificate);
    tls->use_private_key_file(options.certificate.key, asio::ssl::context::pem);
    if (!options.client_authority.empty()) {
        tls->load_verify_file(options.client_authority);
        tls->set_verify_mode(asio::ssl::verify_peer | asio::ssl::verify_fail_if_no_peer_cert);
    }
}

void WebSocket_Peer::Server::start()
{
    accept();
    thread_ = std::thread([this] { io.run(); });
}

void WebSocket_Peer::Server::stop()
{
    io.stop();
    thread_.join();
    kept_.clear();
}

void WebSocket_Peer::Server::accept()
{
    acceptor.async_accept([this](error_code error, tcp::socket socket) {
        if (error) {
            return;
        }
        note([&] { ++accepted_; });
        socket.set_option(tcp::no_delay(true), error);
        if (tls) {
            std::make_shared<Client<Server, beast::ssl_stream<beast::tcp_stream>>>(*this, std::move(socket), *tls)
                ->start();
        } else {
            std::make_shared<Client<Server, beast::tcp_stream>>(*this, std::move(socket))->start();
        }
        accept();
    });
}

bool WebSocket_Peer::Server::wait_until(const std::function<bool()>& is_true) const
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    for (;;) {
        const std::size_t before = read(&Server::changes_);
        if (is_true()) {
            return true;
        }
        std::unique_lock lock(mutex_);
        if (!changed_.wait_until(lock, end, [&] { return changes_ != before; })) {
            return false;
        }
    }
}

WebSocket_Peer::WebSocket_Peer(Options options) : server_(std::make_unique<Server>(std::move(options)))
{
    server_->start();
}

WebSocket_Peer::~WebSocket_Peer()
{
    server_->stop();
}

std::uint16_t WebSocket_Peer::port() const
{
    return server_->port;
}

std::size_t WebSocket_Peer::accepted() const
{
    return server_->read(&Server::accepted_);
}

std::vector<WebSocket_Peer::Handshake> WebSocket_Peer::handshakes() const
{
    return server_->read(&Server::handshakes_);
}

std::size_t WebSocket_Peer::pings() const
{
    return server_->read(&Server::pings_);
}

std::vector<std::uint16_t> WebSocket_Peer::close_codes() const
{
    return server_->read(&Server::close_codes_);
}

bool WebSocket_Peer::wait_until(const std::function<bool(const WebSocket_Peer&)>& is_true) const
{
    return server_->wait_until([&] { return is_true(*this); });
}
