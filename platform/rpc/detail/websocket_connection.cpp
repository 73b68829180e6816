#include "platform/rpc/detail/websocket_connection.h"

#include "platform/text/log.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/field.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/beast/websocket/ssl.hpp>
#include <fcntl.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <mutex>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <utility>

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;
using boost::system::error_code;
using tcp = asio::ip::tcp;
using std::chrono::seconds;

namespace {

/// For the peer to answer a close.
constexpr seconds closing_time{1};

/// A buffer that one large message blew up is not kept.
constexpr std::size_t kept_buffer = std::size_t{1} << 20;

/// Bytes of one frame of a long message: pings go between them.
constexpr std::size_t frame_size = std::size_t{64} << 10;

bool is_header_text(std::string_view text)
{
    return std::ranges::none_of(text, [](unsigned char c) { return c < ' ' || c == 0x7f; });
}

/// A descriptor, and how to know that it still is the same socket.
class Socket_Mark
{
public:
    void set(int descriptor)
    {
        struct stat status = {};
        if (::fstat(descriptor, &status) == 0) {
            inode_ = status.st_ino;
            descriptor_ = descriptor;
        }
    }

    void clear() { descriptor_ = -1; }

    void close() const
    {
        const int descriptor = descriptor_;
        struct stat status = {};
        if (descriptor != -1 && ::fstat(descriptor, &status) == 0 && S_ISSOCK(status.st_mode)
            && status.st_ino == inode_) {
            ::close(descriptor);
        }
    }

private:
    std::atomic<int> descriptor_{-1};
    std::atomic<ino_t> inode_{0};
};

/// What the thread does, whatever the stream. All but the constructor runs in the thread.
class Line
{
public:
    Line(asio::io_context& io, const JSON_RPC_Endpoint& endpoint, WebSocket_Connection::Owner& owner,
         Socket_Mark& mark) :
        endpoint_(endpoint),
        owner_(owner), io_(io), mark_(mark), resolver_(io), timer_(io)
    {}
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;
    virtual ~Line() = default;

    void start()
    {
        if (!is_header_text(endpoint_.access_key) || !is_header_text(endpoint_.path) || !is_header_text(endpoint_.host))
        {
            fail("access key, path or host name holds a control character");
            return;
        }
        if (const std::string fault = prepare(); !fault.empty()) {
            fail(fault);
            return;
        }
        timer_.expires_after(seconds(std::max(endpoint_.connect_timeout_s, 1)));
        timer_.async_wait([this](error_code error) {
            if (!error && !open_) {
                fail("no connection in time");
            }
        });
        resolver_.async_resolve(endpoint_.host, std::to_string(endpoint_.port),
                                [this](error_code error, const tcp::resolver::results_type& found) {
                                    if (error) {
                                        fail(error, "name look-up");
                                    } else {
                                        found_ = found;
                                        next_ = found_.begin();
                                        connect();
                                    }
                                });
    }

    /// Sends what the owner has, unless a message is on its way already.
    void send()
    {
        if (!open_ || ended_ || sent_) {
            return;
        }
        sent_ = owner_.next_message();
        if (sent_) {
            write(asio::buffer(*sent_));
        }
    }

    /// Ends the connection. A peer that can be talked to is told `code`, unless it is `none`.
    void end(websocket::close_code code)
    {
        if (std::exchange(ended_, true)) {
            return;
        }
        owner_.closed();
        resolver_.cancel();
        if (!open_ || code == websocket::close_code::none) {
            shut();
            return;
        }
        timer_.expires_after(closing_time);
        timer_.async_wait([this](error_code error) {
            if (!error) {
                shut();
            }
        });
        close(code);
    }

    void fail(std::string_view reason, websocket::close_code code = websocket::close_code::none)
    {
        if (!ended_) {
            log_at(LM_ERROR, "JSON-RPC connection to %C:%u %C: %C.\n", endpoint_.host.c_str(), unsigned{endpoint_.port},
                   open_ ? "ended" : "failed", std::string(reason).c_str());
            end(code);
        }
    }

protected:
    /// What goes wrong before anything is connected; empty: nothing.
    virtual std::string prepare() = 0;
    virtual tcp::socket& socket() = 0;
    virtual void connect_to(const tcp::endpoint& place) = 0;
    virtual void secure() = 0;
    virtual void write(asio::const_buffer message) = 0;
    virtual void close(websocket::close_code code) = 0;

    void fail(error_code error, const char* doing) { fail(std::string(doing) + ": " + error.message()); }

    void connected(error_code error)
    {
        if (ended_) {
            return;
        }
        if (error) {
            last_error_ = error;
            ++next_;
            connect();
            return;
        }
        error_code ignored; // a socket without it is slower, no more
        socket().set_option(tcp::no_delay(true), ignored);
        secure();
    }

    void opened()
    {
        timer_.cancel();
        open_ = true;
        owner_.opened();
        send();
    }

    void written(error_code error)
    {
        sent_.reset();
        if (error) {
            fail(error, "write");
        } else {
            send();
        }
    }

    bool has_ended() const { return ended_; }

    /// Closes the socket. What is under way is dropped, the thread ends.
    void shut()
    {
        mark_.clear();
        error_code ignored; // nothing is left to be done about it
        socket().close(ignored);
        io_.stop();
    }

    std::string host_header() const
    {
        const bool address_6 = endpoint_.host.find(':') != std::string::npos;
        return (address_6 ? '[' + endpoint_.host + ']' : endpoint_.host) + ':' + std::to_string(endpoint_.port);
    }

    const JSON_RPC_Endpoint& endpoint_;
    WebSocket_Connection::Owner& owner_;

private:
    void connect()
    {
        if (ended_) {
            return;
        }
        if (next_ == found_.end()) {
            fail(last_error_, "connect");
            return;
        }
        const tcp::endpoint place = next_->endpoint();
        error_code error;
        socket().close(error);
        socket().open(place.protocol(), error);
        if (error) {
            connected(error);
            return;
        }
        ::fcntl(socket().native_handle(), F_SETFD, FD_CLOEXEC); // cannot fail on an open socket
        mark_.set(socket().native_handle());
        connect_to(place);
    }

    asio::io_context& io_;
    Socket_Mark& mark_;
    tcp::resolver resolver_;
    asio::steady_timer timer_; ///< limits connecting, later closing
    tcp::resolver::results_type found_;
    tcp::resolver::results_type::const_iterator next_;
    error_code last_error_ = asio::error::host_not_found;
    std::shared_ptr<const std::string> sent_; ///< the message on its way
    bool open_ = false;
    bool ended_ = false;
};

template <class Transport>
class Stream_Line : public Line
{
public:
    template <class... Of_Stream>
    Stream_Line(asio::io_context& io, const JSON_RPC_Endpoint& endpoint, WebSocket_Connection::Owner& owner,
                Socket_Mark& mark, Of_Stream&&... of_stream) :
        Line(io, endpoint, owner, mark),
        stream_(io, std::forward<Of_Stream>(of_stream)...)
    {}

protected:
    std::string prepare() override { return {}; }

    tcp::socket& socket() override { return beast::get_lowest_layer(stream_).socket(); }

    void connect_to(const tcp::endpoint& place) override
    {
        beast::get_lowest_layer(stream_).async_connect(place, [this](error_code error) { connected(error); });
    }

    void secure() override { shake_hands(); }

    void shake_hands()
    {
        websocket::stream_base::timeout times;
        times.handshake_timeout = websocket::stream_base::none(); // the timer of the line limits it
        times.idle_timeout = 2 * seconds(std::max(endpoint_.ping_interval_s, 1));
        times.keep_alive_pings = true; // after half of the idle time
        stream_.set_option(times);
        stream_.set_option(websocket::stream_base::decorator([this](websocket::request_type& request) {
            if (!endpoint_.access_key.empty()) {
                request.set("X-Access-Key", endpoint_.access_key);
            }
        }));
        stream_.read_message_max(endpoint_.frame_limit);
        stream_.write_buffer_bytes(frame_size);
        stream_.text(true);
        stream_.async_handshake(response_, host_header(), endpoint_.path, [this](error_code error) {
            if (has_ended()) {
                return;
            }
            if (error == websocket::error::upgrade_declined) {
                fail_handshake();
            } else if (error) {
                fail(error, "WebSocket handshake");
            } else {
                opened();
                read();
            }
        });
    }

    void write(asio::const_buffer message) override
    {
        stream_.async_write(message, [this](error_code error, std::size_t) { written(error); });
    }

    void close(websocket::close_code code) override
    {
        stream_.async_close(code, [this](error_code) { shut(); });
    }

    websocket::stream<Transport>& stream() { return stream_; }

private:
    void fail_handshake()
    {
        fail("the peer answered " + std::to_string(response_.result_int()) + " to the WebSocket handshake");
    }

    void read()
    {
        stream_.async_read(buffer_, [this](error_code error, std::size_t) {
            if (has_ended()) {
                return;
            }
            if (error) {
                read_failed(error);
                return;
            }
            if (stream_.got_binary()) {
                fail("the peer sent a binary message", websocket::close_code::unknown_data);
                return;
            }
            const auto data = buffer_.cdata();
            const std::string fault = owner_.received({static_cast<const char*>(data.data()), data.size()});
            if (!fault.empty()) {
                fail(fault, websocket::close_code::policy_error);
                return;
            }
            buffer_.clear();
            if (buffer_.capacity() > kept_buffer) {
                buffer_.shrink_to_fit();
            }
            read();
        });
    }

    void read_failed(error_code error)
    {
        if (error == websocket::error::closed) {
            fail("closed by the peer with code " + std::to_string(stream_.reason().code));
        } else if (error == websocket::error::message_too_big || error == websocket::error::buffer_overflow) {
            fail("the peer sent a message longer than " + std::to_string(endpoint_.frame_limit) + " bytes");
        } else if (error == beast::error::timeout) {
            fail("the peer is silent");
        } else {
            fail(error, "read");
        }
    }

    websocket::stream<Transport> stream_;
    websocket::response_type response_;
    beast::flat_buffer buffer_;
};

using Plain_Line = Stream_Line<beast::tcp_stream>;

class Secure_Line : public Stream_Line<beast::ssl_stream<beast::tcp_stream>>
{
public:
    Secure_Line(asio::io_context& io, const JSON_RPC_Endpoint& endpoint, WebSocket_Connection::Owner& owner,
                Socket_Mark& mark, asio::ssl::context& context) :
        Stream_Line(io, endpoint, owner, mark, context)
    {}

protected:
    std::string prepare() override
    {
        SSL* const ssl = stream().next_layer().native_handle();
        X509_VERIFY_PARAM* const wanted = SSL_get0_param(ssl);
        const std::string& host = endpoint_.host;
        SSL_set_verify(ssl, SSL_VERIFY_PEER, nullptr);
        if (X509_VERIFY_PARAM_set1_ip_asc(wanted, host.c_str()) != 1) {
            ERR_clear_error(); // not an address
            // Names are also told to the server, which may have several certificates.
            if (X509_VERIFY_PARAM_set1_host(wanted, host.c_str(), host.size()) != 1
                || SSL_set_tlsext_host_name(ssl, host.c_str()) != 1)
            {
                return "the host name cannot be used with TLS";
            }
        }
        return {};
    }

    void secure() override
    {
        stream().next_layer().async_handshake(asio::ssl::stream_base::client, [this](error_code error) {
            if (has_ended()) {
                return;
            }
            if (!error) {
                shake_hands();
                return;
            }
            const long verified = SSL_get_verify_result(stream().next_layer().native_handle());
            fail("TLS handshake: "
                 + (verified == X509_V_OK ? error.message() : X509_verify_cert_error_string(verified)));
        });
    }
};

/// Fills a context as the endpoint says. Returns what is wrong; empty: nothing.
std::string fill(asio::ssl::context& context, const JSON_RPC_Endpoint& endpoint)
{
    error_code error;
    const auto fault = [&error](const std::string& what) { return what + ": " + error.message(); };
    SSL_CTX_set_min_proto_version(context.native_handle(), TLS1_2_VERSION);
    // A key behind a password is refused instead of asking for the password on the terminal.
    context.set_password_callback([](std::size_t, asio::ssl::context::password_purpose) { return std::string(); },
                                  error);
    if (endpoint.certificate_authority.empty()) {
        if (context.set_default_verify_paths(error)) {
            return fault("the system's certificate authorities");
        }
    } else if (context.load_verify_file(endpoint.certificate_authority, error)) {
        return fault(endpoint.certificate_authority);
    }
    if (endpoint.client_certificate.empty()) {
        return {};
    }
    if (context.use_certificate_chain_file(endpoint.client_certificate, error)) {
        return fault(endpoint.client_certificate);
    }
    const std::string& key = endpoint.client_key.empty() ? endpoint.client_certificate : endpoint.client_key;
    if (context.use_private_key_file(key, asio::ssl::context::pem, error)) {
        return fault(key);
    }
    return {};
}

/// All that lives in the thread.
struct Workplace
{
    asio::io_context io{1};
    std::optional<asio::ssl::context> context = {}; ///< with TLS
    std::unique_ptr<Line> line = {};
};

/// Signals are for the program's own threads.
class All_Signals_Blocked
{
public:
    All_Signals_Blocked()
    {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    All_Signals_Blocked(const All_Signals_Blocked&) = delete;
    All_Signals_Blocked& operator=(const All_Signals_Blocked&) = delete;
    ~All_Signals_Blocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_;
};

} // namespace

class WebSocket_Connection::Thread
{
public:
    Thread(const JSON_RPC_Endpoint& endpoint, Owner& owner) : endpoint_(endpoint)
    {
        work_ = std::make_unique<Workplace>();
        std::string fault;
        if (endpoint_.tls) {
            asio::ssl::context& context = work_->context.emplace(asio::ssl::context::tls_client);
            fault = fill(context, endpoint_);
            work_->line = std::make_unique<Secure_Line>(work_->io, endpoint_, owner, mark_, context);
        } else {
            work_->line = std::make_unique<Plain_Line>(work_->io, endpoint_, owner, mark_);
        }
        asio::post(work_->io, [line = work_->line.get(), fault] {
            if (fault.empty()) {
                line->start();
            } else {
                line->fail(fault);
            }
        });
        const All_Signals_Blocked blocked;
        thread_ = std::thread([this] { run(); });
    }
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    ~Thread() { close(); }

    void close()
    {
        post([](Line& line) { line.end(websocket::close_code::normal); });
        join();
    }

    template <class Task>
    void post(Task task)
    {
        const std::lock_guard lock(mutex_);
        if (work_) {
            asio::post(work_->io, [line = work_->line.get(), task = std::move(task)] { task(*line); });
        }
    }

    bool is_over() const { return over_; }

    void halt()
    {
        {
            const std::lock_guard lock(mutex_);
            halted_ = true;
            if (work_) {
                work_->io.stop();
            }
        }
        join();
    }

    void close_inherited_socket() const { mark_.close(); }

private:
    void run()
    {
        Workplace& work = *work_;
        for (;;) {
            try {
                work.io.run();
                break;
            } catch (const std::exception& error) {
                work.line->fail(error.what());
            }
        }
        std::unique_ptr<Workplace> done;
        {
            const std::lock_guard lock(mutex_);
            if (halted_) {
                return;
            }
            done = std::move(work_);
        }
        done.reset(); // waits for a name look-up that nobody waits for any more
        over_ = true;
    }

    void join()
    {
        const std::lock_guard lock(join_mutex_);
        if (thread_.joinable()) {
            thread_.join();
        }
    }

    const JSON_RPC_Endpoint endpoint_;
    Socket_Mark mark_;
    std::mutex mutex_; ///< of the next two, which the thread takes away at its end
    std::unique_ptr<Workplace> work_;
    bool halted_ = false;
    std::atomic<bool> over_{false};
    std::mutex join_mutex_;
    std::thread thread_;
};

void WebSocket_Connection::prepare_process()
{
    OPENSSL_init_ssl(0, nullptr);
}

WebSocket_Connection::WebSocket_Connection(const JSON_RPC_Endpoint& endpoint, Owner& owner) :
    thread_(std::make_unique<Thread>(endpoint, owner))
{}

WebSocket_Connection::~WebSocket_Connection() = default;

void WebSocket_Connection::close()
{
    thread_->close();
}

void WebSocket_Connection::wake()
{
    thread_->post([](Line& line) { line.send(); });
}

void WebSocket_Connection::fail(const std::string& reason)
{
    thread_->post([reason](Line& line) { line.fail(reason, websocket::close_code::policy_error); });
}

bool WebSocket_Connection::is_over() const
{
    return thread_->is_over();
}

void WebSocket_Connection::halt()
{
    thread_->halt();
}

void WebSocket_Connection::close_inherited_socket() const
{
    thread_->close_inherited_socket();
}
