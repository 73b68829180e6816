// Accepts connections, and turns away those that are too many. Included by server.cpp only.
#pragma once

#include "catalog/service/detail/core.h"
#include "catalog/service/detail/http_connection.h"

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/write.hpp>

#include <array>
#include <ctime>
#include <memory>
#include <netinet/tcp.h>
#include <string>
#include <sys/socket.h>
#include <utility>

namespace catalog::service::detail {

/// A connection that is only told that there are too many.
class Refused_Connection final : public Connection
{
public:
    Refused_Connection(std::shared_ptr<Core> core, Transport transport, std::string peer) :
        Connection(std::move(core), std::move(transport), std::move(peer)), deadline_(executor())
    {}

    void start(const std::string& text)
    {
        if (finished_) {
            return;
        }
        text_ = text;
        deadline_.set(core_->options.close_timeout, [self = self()] { self->cut(); });
        net::async_write(transport_, net::buffer(text_), [self = self()](error_code error, std::size_t) {
            if (!error && !self->finished_) {
                self->transport_.socket().shutdown(net::socket_base::shutdown_send, error);
            }
            if (error) {
                self->cut();
            } else {
                self->discard();
            }
        });
    }

    void drain() override { cut(); }

    void cut() override
    {
        if (!finished_) {
            finished_ = true;
            deadline_.clear();
            transport_.close();
            core_->remove(shared_from_this());
        }
    }

private:
    std::shared_ptr<Refused_Connection> self()
    {
        return std::static_pointer_cast<Refused_Connection>(shared_from_this());
    }

    /// Takes what the peer sends until it has seen the end; closed before that, it might not get to read the refusal.
    void discard()
    {
        if (finished_) {
            return;
        }
        transport_.async_read_some(net::buffer(discarded_), [self = self()](error_code error, std::size_t) {
            if (error) {
                self->cut();
            } else {
                self->discard();
            }
        });
    }

    std::string text_;
    std::array<char, 1024> discarded_ = {};
    Deadline deadline_;
    bool finished_ = false;
};

class Listener : public std::enable_shared_from_this<Listener>
{
public:
    explicit Listener(std::shared_ptr<Core> core) :
        core_(std::move(core)), acceptor_(net::make_strand(core_->io)), pause_(acceptor_.get_executor())
    {}

    void listen(const tcp::endpoint& endpoint, error_code& error)
    {
        acceptor_.open(endpoint.protocol(), error);
        if (!error) {
            acceptor_.set_option(net::socket_base::reuse_address(true), error);
        }
        if (!error) {
            acceptor_.bind(endpoint, error);
        }
        if (!error) {
            acceptor_.listen(net::socket_base::max_listen_connections, error);
        }
    }

    std::uint16_t port(error_code& error) const { return acceptor_.local_endpoint(error).port(); }

    void start()
    {
        net::post(acceptor_.get_executor(), [self = shared_from_this()] { self->accept(); });
    }

    void stop()
    {
        net::post(acceptor_.get_executor(), [self = shared_from_this()] {
            error_code ignored; // nothing is accepted any more in either case
            self->acceptor_.close(ignored);
            self->pause_.clear();
        });
    }

private:
    static constexpr std::size_t most_refusals_under_way = 64;

    void accept()
    {
        if (!acceptor_.is_open()) {
            return;
        }
        acceptor_.async_accept(net::any_io_executor(net::make_strand(core_->io)),
                               [self = shared_from_this()](error_code error, tcp::socket socket) {
                                   self->on_accept(error, std::move(socket));
                               });
    }

    void on_accept(error_code error, tcp::socket socket)
    {
        if (error == net::error::operation_aborted) {
            return;
        }
        if (error) {
            // There are no more file descriptors, or no memory: both may come back.
            log_at(LM_ERROR, "A connection cannot be accepted: %C.\n", error.message().c_str());
            pause_.set(std::chrono::seconds(1), [self = shared_from_this()] { self->accept(); });
            return;
        }
        take(std::move(socket));
        accept();
    }

    void take(tcp::socket socket)
    {
        ++core_->accepted;
        error_code error;
        const tcp::endpoint remote = socket.remote_endpoint(error);
        if (error) {
            return; // gone already
        }
        socket.set_option(tcp::no_delay(true), error); // without it all works, only later
        // What the peer has not taken is to stay with us, where it counts, and not in the system's buffers.
        const int most_unsent = 256 << 10U;
        ::setsockopt(socket.native_handle(), IPPROTO_TCP, TCP_NOTSENT_LOWAT, &most_unsent, sizeof most_unsent);
        std::string peer = name_of(remote.address());
        if (core_->count() >= core_->options.connections) {
            refuse(std::move(socket), std::move(peer));
            return;
        }
        const auto connection = std::make_shared<Http_Connection>(
            core_, Transport(std::move(socket), core_->tls ? &*core_->tls : nullptr), std::move(peer));
        if (core_->add(connection)) {
            net::post(connection->executor(), [connection] { connection->start(); });
        }
    }

    static std::string name_of(const net::ip::address& address)
    {
        if (address.is_v6() && address.to_v6().is_v4_mapped()) {
            return net::ip::make_address_v4(net::ip::v4_mapped, address.to_v6()).to_string();
        }
        return address.to_string();
    }

    void refuse(tcp::socket socket, std::string peer)
    {
        ++core_->refused_connections;
        log_at(LM_WARNING, "A connection of %C is refused: there are %u.\n", peer.c_str(),
               static_cast<unsigned>(core_->options.connections));
        if (core_->tls || core_->refused_count() >= most_refusals_under_way) {
            return;
        }
        const Reply reply = core_->front.refusal(503, "there are too many connections");
        Reply head = {503, reply.content_type, reply.headers};
        complete_headers(head);
        std::string text =
            reply_head(head, "Service Unavailable", Framing::LENGTH, reply.body.size(), false, std::time(nullptr))
            + reply.body;
        const auto connection =
            std::make_shared<Refused_Connection>(core_, Transport(std::move(socket), nullptr), std::move(peer));
        if (core_->add_refused(connection)) {
            net::post(connection->executor(), [connection, text = std::move(text)] { connection->start(text); });
        }
    }

    std::shared_ptr<Core> core_;
    tcp::acceptor acceptor_;
    Deadline pause_;
};

} // namespace catalog::service::detail
