// A connection's bytes, in the clear or through TLS. Included by server.cpp only.
//
// A handle: copies are the same connection. All of its operations run on the strand it was made with.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/strand.hpp>
#include <boost/beast/core/role.hpp>
#include <boost/beast/websocket/ssl.hpp>
#include <boost/beast/websocket/teardown.hpp>

#include <memory>
#include <optional>
#include <utility>

namespace catalog::service::detail {

namespace net = boost::asio;
namespace beast = boost::beast;
using boost::system::error_code;
using net::ip::tcp;

class Transport
{
public:
    using executor_type = tcp::socket::executor_type;

    Transport(tcp::socket socket, net::ssl::context* tls) : layers_(std::make_shared<Layers>(std::move(socket)))
    {
        if (tls != nullptr) {
            layers_->tls.emplace(layers_->socket, *tls);
        }
    }

    executor_type get_executor() { return layers_->socket.get_executor(); }
    tcp::socket& socket() { return layers_->socket; }
    bool is_tls() const { return layers_->tls.has_value(); }
    net::ssl::stream<tcp::socket&>& tls() { return *layers_->tls; }

    template <class Buffers, class Handler>
    void async_read_some(const Buffers& buffers, Handler&& handler)
    {
        if (is_tls()) {
            tls().async_read_some(buffers, std::forward<Handler>(handler));
        } else {
            socket().async_read_some(buffers, std::forward<Handler>(handler));
        }
    }

    template <class Buffers, class Handler>
    void async_write_some(const Buffers& buffers, Handler&& handler)
    {
        if (is_tls()) {
            tls().async_write_some(buffers, std::forward<Handler>(handler));
        } else {
            socket().async_write_some(buffers, std::forward<Handler>(handler));
        }
    }

    /// Closes at once; operations under way end with an error.
    void close()
    {
        error_code ignored; // there is nothing left that could be done
        socket().close(ignored);
    }

    /// Closes so that the peer sees a connection reset, not an orderly end.
    void reset()
    {
        error_code ignored; // then it is just closed
        socket().set_option(net::socket_base::linger(true, 0), ignored);
        close();
    }

private:
    struct Layers
    {
        explicit Layers(tcp::socket accepted) : socket(std::move(accepted)) {}

        tcp::socket socket;
        std::optional<net::ssl::stream<tcp::socket&>> tls = std::nullopt;
    };

    std::shared_ptr<Layers> layers_;
};

// What a WebSocket stream asks of the stream below it.

inline void beast_close_socket(Transport& transport)
{
    transport.close();
}

template <class Handler>
void async_teardown(beast::role_type role, Transport& transport, Handler&& handler)
{
    using beast::websocket::async_teardown;
    if (transport.is_tls()) {
        async_teardown(role, transport.tls(), std::forward<Handler>(handler));
    } else {
        async_teardown(role, transport.socket(), std::forward<Handler>(handler));
    }
}

} // namespace catalog::service::detail
