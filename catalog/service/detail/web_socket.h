// A WebSocket: each text message goes to the front, the answers go back as they come. Included by server.cpp only.
#pragma once

#include "catalog/service/detail/core.h"

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <algorithm>
#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace catalog::service::detail {

class Web_Socket final : public Connection
{
    using Close_Code = beast::websocket::close_code;

public:
    Web_Socket(std::shared_ptr<Core> core, Transport transport, std::string peer, Principal principal) :
        Connection(std::move(core), std::move(transport), std::move(peer)), principal_(std::move(principal)),
        stream_(transport_), message_deadline_(executor()), write_deadline_(executor()), ping_deadline_(executor())
    {
        ++core_->web_sockets;
        stream_.read_message_max(core_->options.frame_limit);
        stream_.auto_fragment(false); // done here, part by part
        stream_.text(true);
        stream_.set_option(beast::websocket::stream_base::decorator(
            [](beast::websocket::response_type& response) { response.set(beast::http::field::server, "backup-set"); }));
    }
    ~Web_Socket() override { --core_->web_sockets; }

    /// `request` is a handshake that is fine.
    template <class Request>
    void start(const Request& request)
    {
        write_deadline_.set(core_->options.write_stall_timeout, [self = self()] { self->finish(); });
        stream_.async_accept(request, [self = self()](error_code error) { self->on_accepted(error); });
    }

    void drain() override
    {
        draining_ = true;
        close_if_drained();
    }

    void cut() override { finish(); }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t read_size = 64UL << 10U;
    static constexpr std::size_t fragment_size = 64UL << 10U;

    std::shared_ptr<Web_Socket> self() { return std::static_pointer_cast<Web_Socket>(shared_from_this()); }

    void on_accepted(error_code error)
    {
        if (finished_) {
            return;
        }
        if (error) {
            finish();
            return;
        }
        write_deadline_.clear();
        open_ = true;
        stream_.control_callback([this](beast::websocket::frame_type, beast::string_view) { alive(); });
        alive();
        watch();
        if (draining_) {
            close_if_drained();
        }
        read();
    }

    // --- Finding peers that are gone

    void alive() { last_sign_ = Clock::now(); }

    void watch()
    {
        ping_deadline_.set(core_->options.ping_interval, [self = self()] { self->ping_if_silent(); });
    }

    void ping_if_silent()
    {
        // While nothing is read a peer cannot show that it is there.
        if (!reading_ || Clock::now() - last_sign_ < core_->options.ping_interval) {
            watch();
            return;
        }
        if (!pinging_) {
            pinging_ = true;
            stream_.async_ping({}, [self = self()](error_code) { self->pinging_ = false; });
        }
        ping_deadline_.set(core_->options.ping_timeout, [self = self(), since = Clock::now()] {
            if (self->reading_ && self->last_sign_ < since) {
                log_at(LM_NOTICE, "The WebSocket of %C is closed: the peer is gone.\n", self->peer_.c_str());
                self->finish();
            } else {
                self->watch();
            }
        });
    }

    // --- Messages

    void read()
    {
        if (finished_ || closing_ || reading_ || waiting_ || unanswered_ >= core_->options.requests_in_flight_per_peer)
        {
            return;
        }
        reading_ = true;
        alive(); // a peer's silence counts from here
        stream_.async_read_some(buffer_, read_size,
                                [self = self()](error_code error, std::size_t) { self->on_read(error); });
    }

    void on_read(error_code error)
    {
        reading_ = false;
        if (finished_ || closing_) {
            return; // the end of closing ends it
        }
        if (error) {
            note_fault(error);
            finish();
            return;
        }
        alive();
        if (stream_.got_binary()) {
            close(Close_Code::unknown_data, "a message must be text");
            return;
        }
        if (draining_) {
            buffer_.clear();
            read();
            return;
        }
        if (!share_) {
            share_.emplace(core_->budget);
        }
        if (!share_->grow_to(buffer_.size())) {
            close(Close_Code::try_again_later, "too much is being received");
            return;
        }
        if (!stream_.is_message_done()) {
            if (!receiving_) {
                receiving_ = true;
                message_deadline_.set(core_->options.request_timeout, [self = self()] {
                    self->close(Close_Code::policy_error, "the message took too long");
                });
            }
            read();
            return;
        }
        receiving_ = false;
        message_deadline_.clear();
        if (is_broken_off()) {
            close(Close_Code::bad_payload, "a message breaks off within a character");
            return;
        }
        take_message();
        read();
    }

    /// Whether the message ends within a character of UTF-8, which the stream overlooks where an empty frame is the last.
    bool is_broken_off() const
    {
        const auto* const text = static_cast<const unsigned char*>(buffer_.data().data());
        for (std::size_t back = 1; back <= std::min<std::size_t>(buffer_.size(), 3); ++back) {
            const unsigned char byte = text[buffer_.size() - back];
            if (byte < 0x80) {
                return false;
            }
            if (byte >= 0xc0) {
                const std::size_t length = byte >= 0xf0 ? 4 : byte >= 0xe0 ? 3 : 2;
                return back < length;
            }
        }
        return false;
    }

    /// The stream has closed itself on what the peer sent, or the connection has gone.
    void note_fault(error_code error)
    {
        if (error == beast::websocket::condition::protocol_violation
            || error == beast::websocket::error::message_too_big) {
            core_->closed(peer_, error.message());
        }
    }

    void take_message()
    {
        message_.assign(static_cast<const char*>(buffer_.data().data()), buffer_.size());
        if (buffer_.capacity() > 4 * read_size) {
            buffer_ = beast::flat_buffer();
        } else {
            buffer_.clear();
        }
        std::optional<Slots::Slot> slot =
            core_->slots->take([weak = std::weak_ptr<Web_Socket>(self())](Slots::Slot free) {
                if (const std::shared_ptr<Web_Socket> alive = weak.lock()) {
                    net::post(alive->executor(), [weak, free = std::move(free)]() mutable {
                        if (const std::shared_ptr<Web_Socket> still_alive = weak.lock()) {
                            still_alive->on_slot(std::move(free));
                        }
                    });
                }
            });
        waiting_ = !slot;
        if (slot) {
            ask(std::move(*slot));
        }
    }

    void on_slot(Slots::Slot slot)
    {
        if (finished_ || closing_) {
            return;
        }
        waiting_ = false;
        ask(std::move(slot));
        read();
    }

    void ask(Slots::Slot slot)
    {
        ++unanswered_;
        ++core_->messages;
        const auto load = std::make_shared<Load>(Load{std::move(slot), std::move(*share_), principal_});
        share_.reset();
        const auto taker = once(self(), &Web_Socket::on_reply, std::static_pointer_cast<void>(load));
        core_->front.answer(std::exchange(message_, {}), load->principal,
                            [taker](Reply reply) { taker->give(std::move(reply)); });
    }

    // --- Answers

    void on_reply(std::optional<Reply> reply)
    {
        if (finished_ || closing_) {
            return;
        }
        if (!reply) {
            close(Close_Code::internal_error, "a message was not answered");
            return;
        }
        if (reply->body.empty() && !reply->more) {
            answered();
            return;
        }
        replies_.push_back(std::move(*reply));
        if (!writing_) {
            write_next_reply();
        }
    }

    void answered()
    {
        --unanswered_;
        close_if_drained();
        read();
    }

    void write_next_reply()
    {
        if (replies_.empty()) {
            return;
        }
        writing_ = true;
        text_ = std::move(replies_.front().body);
        source_ = std::move(replies_.front().more);
        replies_.pop_front();
        written_ = 0;
        if (text_.empty()) {
            ask_for_part();
        } else {
            write(source_ == nullptr);
        }
    }

    /// Writes the next fragment of the text; `last` when nothing comes after the text.
    void write(bool last)
    {
        const std::size_t size = std::min(text_.size() - written_, fragment_size);
        const bool end = last && written_ + size == text_.size();
        write_deadline_.set(core_->options.write_stall_timeout, [self = self()] {
            log_at(LM_NOTICE, "The WebSocket of %C is closed: the peer takes no answers.\n", self->peer_.c_str());
            self->finish();
        });
        stream_.async_write_some(end, net::buffer(text_.data() + written_, size),
                                 [self = self(), last, end, size](error_code error, std::size_t) {
                                     self->written_ += size;
                                     self->on_written(error, last, end);
                                 });
    }

    void on_written(error_code error, bool last, bool end)
    {
        if (finished_ || closing_) {
            return;
        }
        if (error) {
            // The closing that the reading side may be about is let come to its end.
            if (!reading_) {
                finish();
            } else {
                write_deadline_.set(core_->options.close_timeout, [self = self()] { self->finish(); });
            }
            return;
        }
        alive();
        write_deadline_.clear();
        if (end) {
            writing_ = false;
            text_ = {};
            source_.reset();
            answered();
            write_next_reply();
        } else if (written_ < text_.size()) {
            write(last);
        } else {
            ask_for_part();
        }
    }

    void ask_for_part()
    {
        const auto taker = once(self(), &Web_Socket::on_part);
        source_->next([taker, kept = source_](Body_Source::Part part) { taker->give(std::move(part)); });
    }

    void on_part(std::optional<Body_Source::Part> part)
    {
        if (finished_ || closing_) {
            return;
        }
        if (!part || part->failed) {
            close(Close_Code::internal_error, "the rest of an answer cannot be made");
            return;
        }
        text_ = std::move(part->text);
        written_ = 0;
        if (text_.empty() && !part->last) {
            ask_for_part();
        } else {
            write(part->last);
        }
    }

    // --- The end

    void close_if_drained()
    {
        if (draining_ && open_ && unanswered_ == 0 && !waiting_) {
            close(Close_Code::going_away, "the service stops");
        }
    }

    void close(Close_Code code, const char* reason)
    {
        if (finished_ || closing_) {
            return;
        }
        closing_ = true;
        if (code != Close_Code::going_away) {
            core_->closed(peer_, reason);
        }
        message_deadline_.clear();
        ping_deadline_.clear();
        write_deadline_.set(core_->options.close_timeout, [self = self()] { self->finish(); });
        stream_.async_close({code, reason}, [self = self()](error_code) { self->finish(); });
    }

    void finish()
    {
        if (finished_) {
            return;
        }
        finished_ = true;
        message_deadline_.clear();
        write_deadline_.clear();
        ping_deadline_.clear();
        replies_.clear();
        source_.reset();
        transport_.close();
        core_->remove(shared_from_this());
    }

    const Principal principal_;
    beast::websocket::stream<Transport, false> stream_;
    Deadline message_deadline_; ///< for the rest of a message
    Deadline write_deadline_;   ///< for the peer to take something
    Deadline ping_deadline_;

    Clock::time_point last_sign_ = {};
    bool open_ = false;
    bool draining_ = false;
    bool closing_ = false;
    bool finished_ = false;
    bool pinging_ = false;

    bool reading_ = false;
    bool receiving_ = false; ///< a message has begun
    bool waiting_ = false;   ///< a message has come, and there is no slot for it
    beast::flat_buffer buffer_;
    std::string message_;
    std::optional<Budget::Share> share_ = std::nullopt; ///< what the message being received holds
    std::size_t unanswered_ = 0;

    bool writing_ = false;
    std::deque<Reply> replies_;
    std::string text_;
    std::size_t written_ = 0;
    std::shared_ptr<Body_Source> source_;
};

} // namespace catalog::service::detail
