// A connection of HTTP/1.1: one request after the other, until it becomes a WebSocket or ends. Included by server.cpp only.
#pragma once

#include "catalog/service/detail/core.h"
#include "catalog/service/detail/http_text.h"
#include "catalog/service/detail/web_socket.h"

#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/rfc7230.hpp>
#include <boost/beast/http/string_body.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace catalog::service::detail {

class Http_Connection final : public Connection
{
public:
    Http_Connection(std::shared_ptr<Core> core, Transport transport, std::string peer) :
        Connection(std::move(core), std::move(transport), std::move(peer)), deadline_(executor())
    {}

    void start()
    {
        if (phase_ == Phase::DONE) {
            return;
        }
        if (!transport_.is_tls()) {
            await_request(core_->options.request_timeout);
            return;
        }
        deadline_.set(core_->options.request_timeout, [self = self()] { self->finish(); });
        transport_.tls().async_handshake(net::ssl::stream_base::server,
                                         [self = self()](error_code error) { self->on_handshake(error); });
    }

    void drain() override
    {
        draining_ = true;
        if (phase_ == Phase::HANDSHAKE || phase_ == Phase::IDLE) {
            finish();
        }
    }

    void cut() override { finish(); }

private:
    using Parser = beast::http::request_parser<beast::http::string_body>;
    using Field = beast::http::field;
    enum class Phase
    {
        HANDSHAKE, ///< of TLS
        IDLE,      ///< between requests
        READING,   ///< a request
        WORKING,   ///< the front has it
        WRITING,   ///< the reply
        LINGERING, ///< until the peer has seen the end
        DONE
    };
    static constexpr std::size_t header_read_size = 4UL << 10U;
    static constexpr std::size_t body_read_size = 64UL << 10U;
    static constexpr std::size_t chunk_header_limit = 16UL << 10U;
    static constexpr std::size_t joined_body_limit = 16UL << 10U;

    std::shared_ptr<Http_Connection> self() { return std::static_pointer_cast<Http_Connection>(shared_from_this()); }

    void on_handshake(error_code error)
    {
        if (phase_ == Phase::DONE) {
            return;
        }
        if (error) {
            log_at(LM_NOTICE, "The TLS handshake of %C fails: %C.\n", peer_.c_str(), error.message().c_str());
            finish();
            return;
        }
        await_request(core_->options.request_timeout);
    }

    // --- Reading a request

    void await_request(std::chrono::milliseconds patience)
    {
        phase_ = Phase::IDLE;
        parser_.emplace();
        parser_->header_limit(static_cast<std::uint32_t>(core_->options.header_limit));
        parser_->body_limit(core_->options.body_limit);
        header_size_ = 0;
        header_done_ = false;
        load_ = std::make_shared<Load>(Load{{}, Budget::Share(core_->budget), {}});
        is_head_ = false;
        keep_alive_ = false;
        http_1_0_ = false;
        if (buffer_.size() == 0) {
            buffer_ = beast::flat_buffer();
            deadline_.set(patience, [self = self()] { self->finish(); });
        } else {
            begin_request();
        }
        parse();
    }

    void begin_request()
    {
        phase_ = Phase::READING;
        request_end_ = std::chrono::steady_clock::now() + core_->options.request_timeout;
        await_rest();
    }

    void await_rest()
    {
        const auto left = request_end_ - std::chrono::steady_clock::now();
        deadline_.set(std::chrono::duration_cast<std::chrono::milliseconds>(left),
                      [self = self()] { self->too_slow(); });
    }

    void too_slow()
    {
        // The read under way has to end before anything else is done; it ends by this.
        is_too_slow_ = true;
        error_code ignored; // then it has ended already
        transport_.socket().cancel(ignored);
    }

    void read()
    {
        transport_.async_read_some(buffer_.prepare(header_done_ ? body_read_size : header_read_size),
                                   [self = self()](error_code error, std::size_t size) { self->on_read(error, size); });
    }

    void on_read(error_code error, std::size_t size)
    {
        if (phase_ == Phase::DONE) {
            return;
        }
        if (is_too_slow_) {
            refuse(408, "the request took too long");
            return;
        }
        if (error) {
            finish();
            return;
        }
        buffer_.commit(size);
        if (phase_ == Phase::IDLE) {
            begin_request();
        }
        parse();
    }

    void parse()
    {
        for (;;) {
            if (header_size_ == 0) {
                skip_empty_lines();
            }
            if (buffer_.size() == 0) {
                read();
                return;
            }
            error_code error;
            const std::size_t size = parser_->put(buffer_.data(), error);
            buffer_.consume(size);
            if (!header_done_) {
                header_size_ += size;
            }
            if (error == beast::http::error::need_more) {
                error = {};
                if (!header_done_ && header_size_ + buffer_.size() > core_->options.header_limit) {
                    error = beast::http::error::header_limit;
                } else if (header_done_ && buffer_.size() > chunk_header_limit) {
                    error = beast::http::error::bad_chunk;
                } else {
                    read();
                    return;
                }
            }
            if (!error && header_size_ > core_->options.header_limit) {
                error = beast::http::error::header_limit;
            }
            if (error) {
                refuse_malformed(error);
                return;
            }
            if (!header_done_ && parser_->is_header_done()) {
                header_done_ = true;
                on_header();
                return;
            }
            if (header_done_ && !load_->memory.grow_to(parser_->get().body().size())) {
                refuse(503, "too much is being received");
                return;
            }
            if (parser_->is_done()) {
                on_request();
                return;
            }
        }
    }

    /// Empty lines before a request are to be overlooked.
    void skip_empty_lines()
    {
        const auto* text = static_cast<const char*>(buffer_.data().data());
        std::size_t size = 0;
        while (size + 1 < buffer_.size() && text[size] == '\r' && text[size + 1] == '\n') {
            size += 2;
        }
        buffer_.consume(size);
    }

    void refuse_malformed(error_code error)
    {
        if (error == beast::http::error::header_limit || error == beast::http::error::buffer_overflow) {
            refuse(431, "the header is longer than " + std::to_string(core_->options.header_limit) + " bytes");
        } else if (error == beast::http::error::body_limit) {
            refuse_body();
        } else {
            refuse(400, "malformed: " + error.message());
        }
    }

    void refuse_body()
    {
        refuse(413, "the body is longer than " + std::to_string(core_->options.body_limit) + " bytes");
    }

    // --- The header

    void on_header()
    {
        const auto& header = parser_->get().base();
        http_1_0_ = header.version() == 10;
        keep_alive_ = !http_1_0_ && parser_->keep_alive();
        is_head_ = header.method() == beast::http::verb::head;
        for (const Field once_only : {Field::host, Field::content_length, Field::transfer_encoding,
                                      Field::authorization, Field::content_type, Field::upgrade, Field::expect})
        {
            if (header.count(once_only) > 1) {
                refuse(400, "a header is given twice: " + to_string(beast::http::to_string(once_only)));
                return;
            }
        }
        for (const char* once_only : {"X-Access-Key", "Idempotency-Key"}) {
            if (header.count(once_only) > 1) {
                refuse(400, std::string("a header is given twice: ") + once_only);
                return;
            }
        }
        if (!http_1_0_ && header.count(Field::host) == 0) {
            refuse(400, "there is no Host header");
            return;
        }
        if (!is_length_clear(header)) {
            return;
        }
        std::optional<Target> target = split_target(to_view(header.target()));
        if (!target) {
            refuse(400, "the target is malformed");
            return;
        }
        request_ = {is_head_ ? "GET" : to_string(header.method_string()),
                    std::move(target->path),
                    std::move(target->query),
                    to_string(header[Field::content_type]),
                    to_string(header["Idempotency-Key"]),
                    {}};
        if (!is_upgrade_clear(header)) {
            return;
        }
        if (request_.path == "/health" && request_.method == "GET" && parser_->is_done()) {
            on_admitted({});
            return;
        }
        admit(header);
    }

    /// Whether one can tell beyond doubt where the body ends.
    template <class Header>
    bool is_length_clear(const Header& header)
    {
        const std::string_view length = to_view(header[Field::content_length]);
        if (header.count(Field::content_length) != 0
            && (header.count(Field::transfer_encoding) != 0 || length.empty()
                || length.find_first_not_of("0123456789") != std::string_view::npos))
        {
            refuse(400, "the length of the body is not clear");
            return false;
        }
        if (header.count(Field::transfer_encoding) != 0
            && (http_1_0_ || !beast::iequals(header[Field::transfer_encoding], "chunked")))
        {
            refuse(400, "the transfer encoding is not known");
            return false;
        }
        const auto expect = header[Field::expect];
        if (!expect.empty() && !beast::iequals(expect, "100-continue")) {
            refuse(417, "the expectation is not known");
            return false;
        }
        return true;
    }

    /// Finds out whether the request is for a WebSocket. False when it is refused for that.
    template <class Header>
    bool is_upgrade_clear(const Header& header)
    {
        is_web_socket_ = false;
        if (http_1_0_ || header.count(Field::upgrade) == 0
            || !beast::http::token_list{header[Field::connection]}.exists("upgrade"))
        {
            return true;
        }
        beast::http::token_list protocols{header[Field::upgrade]};
        if (!protocols.exists("websocket")) {
            if (protocols.exists("h2c")) {
                return true; // offered by clients that are content with HTTP/1.1 as well
            }
            refuse(426, "the protocol to upgrade to is not known", {{"Upgrade", "websocket"}});
            return false;
        }
        if (request_.path != "/rpc") {
            refuse(404, "there is no WebSocket at this path");
            return false;
        }
        if (header[Field::sec_websocket_version] != "13") {
            refuse(426, "the version of WebSocket is not known",
                   {{"Upgrade", "websocket"}, {"Sec-WebSocket-Version", "13"}});
            return false;
        }
        static constexpr std::size_t key_size = 24; // 16 bytes in base 64
        if (is_head_ || request_.method != "GET" || header[Field::sec_websocket_key].size() != key_size
            || !parser_->is_done() || buffer_.size() != 0)
        {
            refuse(400, "the handshake of the WebSocket is malformed");
            return false;
        }
        is_web_socket_ = true;
        return true;
    }

    // --- Admission

    template <class Header>
    void admit(const Header& header)
    {
        std::optional<std::string> key;
        if (header.count("X-Access-Key") != 0) {
            key = to_string(header["X-Access-Key"]);
        } else {
            key = bearer_key(to_view(header[Field::authorization]));
        }
        if (principal_ && key == key_) {
            on_admitted(*principal_);
            return;
        }
        principal_.reset();
        key_ = std::move(key);
        phase_ = Phase::WORKING;
        deadline_.clear();
        const auto taker = once(self(), &Http_Connection::on_admission);
        core_->front.admit(peer_, key_ ? &*key_ : nullptr, [taker](int status, Principal principal) {
            taker->give(std::pair(status, std::move(principal)));
        });
    }

    void on_admission(std::optional<std::pair<int, Principal>> admission)
    {
        if (phase_ == Phase::DONE) {
            return;
        }
        phase_ = Phase::READING;
        if (!admission) {
            refuse(500, "the access key was not looked at");
        } else if (admission->first == 200) {
            principal_ = std::move(admission->second);
            await_rest();
            on_admitted(*principal_);
        } else if (admission->first == 429) {
            refuse(429, "too many failed attempts");
        } else {
            refuse(401, key_ ? "the access key is not known" : "there is no access key");
        }
    }

    void on_admitted(const Principal& principal)
    {
        load_->principal = principal;
        if (is_web_socket_) {
            become_web_socket();
            return;
        }
        const auto length = parser_->content_length();
        if (length && !load_->memory.grow_to(static_cast<std::size_t>(*length))) {
            refuse(503, "too much is being received");
            return;
        }
        if (parser_->is_done()) {
            on_request();
        } else if (!parser_->get()[Field::expect].empty() && !http_1_0_ && buffer_.size() == 0) {
            static constexpr std::string_view go_on = "HTTP/1.1 100 Continue\r\n\r\n";
            net::async_write(transport_, net::buffer(go_on.data(), go_on.size()),
                             [self = self()](error_code error, std::size_t) {
                                 if (self->phase_ == Phase::DONE) {
                                     return;
                                 }
                                 if (self->is_too_slow_ || error) {
                                     self->finish();
                                 } else {
                                     self->parse();
                                 }
                             });
        } else {
            parse();
        }
    }

    void become_web_socket()
    {
        const auto web_socket = std::make_shared<Web_Socket>(core_, transport_, peer_, load_->principal);
        deadline_.clear();
        phase_ = Phase::DONE;
        const bool stopping = core_->replace(shared_from_this(), web_socket);
        web_socket->start(parser_->get());
        if (stopping) {
            web_socket->drain();
        }
    }

    // --- The request, whole

    void on_request()
    {
        std::optional<Slots::Slot> slot = core_->slots->try_take();
        if (!slot) {
            refuse(503, "too many requests are in flight", {}, keep_alive_);
            return;
        }
        load_->slot = std::move(*slot);
        phase_ = Phase::WORKING;
        deadline_.clear();
        ++core_->requests;
        request_.body = std::move(parser_->get().body());
        const auto load = std::move(load_);
        const auto taker = once(self(), &Http_Connection::on_reply, std::static_pointer_cast<void>(load));
        core_->front.answer(std::move(request_), load->principal,
                            [taker](Reply reply) { taker->give(std::move(reply)); });
    }

    void on_reply(std::optional<Reply> reply)
    {
        if (phase_ == Phase::DONE) {
            return;
        }
        if (reply) {
            write_reply(std::move(*reply), keep_alive_);
        } else {
            refuse(500, "the request was not answered", {}, keep_alive_);
        }
    }

    /// Refuses in the words of the front. The connection ends with it unless the request has been read to its end.
    void refuse(int status, const std::string& message,
                std::initializer_list<std::pair<std::string, std::string>> headers = {}, bool keep_alive = false)
    {
        core_->refused(peer_, status, message);
        Reply reply = core_->front.refusal(status, message);
        reply.status = status;
        reply.headers.insert(reply.headers.end(), headers);
        write_reply(std::move(reply), keep_alive);
    }

    // --- The reply

    void write_reply(Reply reply, bool keep_alive)
    {
        complete_headers(reply);
        keep_alive_ = keep_alive && !draining_;
        source_ = std::move(reply.more);
        Framing framing = Framing::LENGTH;
        if (reply.status == 204 || reply.status == 304) {
            framing = Framing::NONE;
        } else if (source_) {
            framing = http_1_0_ ? Framing::CLOSE : Framing::CHUNKED;
        }
        chunked_ = framing == Framing::CHUNKED;
        const auto reason =
            beast::http::obsolete_reason(beast::http::int_to_status(static_cast<unsigned>(reply.status)));
        before_ = reply_head(reply, to_view(reason), framing, reply.body.size(), keep_alive_, std::time(nullptr));
        body_.clear();
        after_.clear();
        if (framing == Framing::NONE || is_head_) {
            source_.reset();
        } else {
            put_part(std::move(reply.body), source_ == nullptr);
        }
        phase_ = Phase::WRITING;
        write();
    }

    /// Puts a part of the body after what is to be written before it.
    void put_part(std::string text, bool last)
    {
        if (chunked_ && !text.empty()) {
            std::array<char, 20> size{};
            const int digits = std::snprintf(size.data(), size.size(), "%zx\r\n", text.size());
            before_.append(size.data(), static_cast<std::size_t>(digits));
            after_ = "\r\n";
        }
        if (chunked_ && last) {
            after_ += "0\r\n\r\n";
        }
        if (text.size() <= joined_body_limit) {
            before_ += text + std::exchange(after_, {});
        } else {
            body_ = std::move(text);
        }
        if (last) {
            source_.reset();
        }
    }

    void write()
    {
        if (before_.empty() && body_.empty() && after_.empty()) {
            on_written();
            return;
        }
        written_ = 0;
        write_rest();
    }

    void write_rest()
    {
        std::array<net::const_buffer, 3> rest;
        std::size_t skip = written_;
        std::size_t left = 0;
        std::size_t count = 0;
        for (const std::string* text : {&before_, &body_, &after_}) {
            const std::size_t skipped = std::min(skip, text->size());
            skip -= skipped;
            left += text->size() - skipped;
            rest.at(count++) = net::const_buffer(text->data() + skipped, text->size() - skipped);
        }
        if (left == 0) {
            on_written();
            return;
        }
        deadline_.set(core_->options.write_stall_timeout, [self = self()] {
            log_at(LM_NOTICE, "The connection of %C is closed: the peer takes no reply.\n", self->peer_.c_str());
            self->finish();
        });
        transport_.async_write_some(rest, [self = self()](error_code error, std::size_t size) {
            if (self->phase_ == Phase::DONE) {
                return;
            }
            if (error) {
                self->finish();
                return;
            }
            self->written_ += size;
            self->write_rest();
        });
    }

    void on_written()
    {
        deadline_.clear();
        before_.clear();
        body_ = {};
        after_.clear();
        if (source_) {
            const auto taker = once(self(), &Http_Connection::on_part);
            source_->next([taker, kept = source_](Body_Source::Part part) { taker->give(std::move(part)); });
        } else if (keep_alive_ && !draining_) {
            await_request(core_->options.idle_timeout);
        } else {
            linger();
        }
    }

    void on_part(std::optional<Body_Source::Part> part)
    {
        if (phase_ == Phase::DONE) {
            return;
        }
        if (!part || part->failed) {
            log_at(LM_ERROR, "The reply to %C breaks off: the rest cannot be made.\n", peer_.c_str());
            transport_.reset(); // not even a body that ends with its connection may look whole
            finish();
            return;
        }
        put_part(std::move(part->text), part->last);
        write();
    }

    // --- The end

    /// Says that no more comes and takes what still does, so that the peer gets to read the reply.
    void linger()
    {
        phase_ = Phase::LINGERING;
        deadline_.set(core_->options.close_timeout, [self = self()] { self->finish(); });
        if (transport_.is_tls()) {
            transport_.tls().async_shutdown([self = self()](error_code) { self->shut_down(); });
        } else {
            shut_down();
        }
    }

    void shut_down()
    {
        if (phase_ == Phase::DONE) {
            return;
        }
        error_code error;
        transport_.socket().shutdown(net::socket_base::shutdown_send, error);
        if (error) {
            finish();
            return;
        }
        buffer_.clear();
        discard();
    }

    void discard()
    {
        transport_.socket().async_read_some(buffer_.prepare(body_read_size),
                                            [self = self()](error_code error, std::size_t) {
                                                if (self->phase_ == Phase::DONE) {
                                                    return;
                                                }
                                                if (error) {
                                                    self->finish();
                                                } else {
                                                    self->discard();
                                                }
                                            });
    }

    void finish()
    {
        if (phase_ == Phase::DONE) {
            return;
        }
        phase_ = Phase::DONE;
        deadline_.clear();
        source_.reset();
        transport_.close();
        core_->remove(shared_from_this());
    }

    static std::string_view to_view(beast::string_view text) { return {text.data(), text.size()}; }
    static std::string to_string(beast::string_view text) { return {text.data(), text.size()}; }

    Phase phase_ = Phase::HANDSHAKE;
    bool draining_ = false;
    Deadline deadline_;

    beast::flat_buffer buffer_;
    std::optional<Parser> parser_;
    std::size_t header_size_ = 0;
    bool header_done_ = false;
    bool is_too_slow_ = false;
    std::chrono::steady_clock::time_point request_end_ = {};
    Web_Request request_;
    std::shared_ptr<Load> load_;
    bool is_head_ = false;
    bool http_1_0_ = false;
    bool is_web_socket_ = false;
    bool keep_alive_ = false;

    std::optional<std::string> key_ = std::nullopt;     ///< that the connection has been admitted with
    std::optional<Principal> principal_ = std::nullopt; ///< when it has been

    std::string before_; ///< head of the reply or of a chunk
    std::string body_;
    std::string after_; ///< end of a chunk
    std::size_t written_ = 0;
    bool chunked_ = false;
    std::shared_ptr<Body_Source> source_;
};

} // namespace catalog::service::detail
