// What all connections of a server share, and what they have in common. Included by server.cpp only.
#pragma once

#include "catalog/service/detail/slots.h"
#include "catalog/service/detail/transport.h"
#include "catalog/service/server.h"
#include "platform/text/log.h"

#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace catalog::service::detail {

class Connection;

class Core
{
public:
    Core(const Server_Options& server_options, Front& server_front) :
        options(server_options), front(server_front), slots(std::make_shared<Slots>(options.requests_in_flight)),
        budget(std::make_shared<Budget>(options.memory_limit))
    {}

    /// False when the server is stopping.
    bool add(const std::shared_ptr<Connection>& connection)
    {
        const std::lock_guard lock(mutex_);
        return !stopping_ && connections_.insert(connection).second;
    }

    /// Adds a connection that is only told that there are too many. False when the server is stopping.
    bool add_refused(const std::shared_ptr<Connection>& connection)
    {
        const std::lock_guard lock(mutex_);
        return !stopping_ && refused_.insert(connection).second;
    }

    /// Puts one connection in the place of another, also when the server is stopping. True when it is.
    bool replace(const std::shared_ptr<Connection>& old, const std::shared_ptr<Connection>& now)
    {
        const std::lock_guard lock(mutex_);
        connections_.erase(old);
        connections_.insert(now);
        return stopping_;
    }

    void remove(const std::shared_ptr<Connection>& connection)
    {
        const std::lock_guard lock(mutex_);
        connections_.erase(connection);
        refused_.erase(connection);
        if (connections_.empty() && refused_.empty()) {
            none_left_.notify_all();
        }
    }

    /// Without the refused ones.
    std::size_t count() const
    {
        const std::lock_guard lock(mutex_);
        return connections_.size();
    }

    std::size_t refused_count() const
    {
        const std::lock_guard lock(mutex_);
        return refused_.size();
    }

    /// From now on no connection is added. Those there are.
    std::vector<std::shared_ptr<Connection>> stop()
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        std::vector<std::shared_ptr<Connection>> all(connections_.begin(), connections_.end());
        all.insert(all.end(), refused_.begin(), refused_.end());
        return all;
    }

    bool wait_for_none(std::chrono::milliseconds deadline)
    {
        std::unique_lock lock(mutex_);
        return none_left_.wait_for(lock, deadline, [this] { return connections_.empty() && refused_.empty(); });
    }

    /// Notes a refusal made by the server itself.
    void refused(const std::string& peer, int status, const std::string& message)
    {
        ++refused_requests;
        log_at(LM_WARNING, "A request of %C is refused: %d, %C.\n", peer.c_str(), status, message.c_str());
    }

    /// Notes that a WebSocket is closed for a fault of its peer, or for ours.
    void closed(const std::string& peer, const std::string& reason)
    {
        ++refused_requests;
        log_at(LM_WARNING, "The WebSocket of %C is closed: %C.\n", peer.c_str(), reason.c_str());
    }

    const Server_Options options;
    Front& front;
    const std::shared_ptr<Slots> slots;
    const std::shared_ptr<Budget> budget;
    std::optional<net::ssl::context> tls = std::nullopt;
    net::io_context io;

    std::atomic<std::size_t> web_sockets = 0;
    std::atomic<std::uint64_t> accepted = 0;
    std::atomic<std::uint64_t> refused_connections = 0;
    std::atomic<std::uint64_t> requests = 0;
    std::atomic<std::uint64_t> messages = 0;
    std::atomic<std::uint64_t> refused_requests = 0;

private:
    mutable std::mutex mutex_;
    std::condition_variable none_left_;
    bool stopping_ = false;
    std::unordered_set<std::shared_ptr<Connection>> connections_;
    std::unordered_set<std::shared_ptr<Connection>> refused_;
};

/// One connection, whatever is spoken on it. It lives as long as the core lists it; all but the constructor and
/// `executor` is called on its strand.
class Connection : public std::enable_shared_from_this<Connection>
{
public:
    Connection(std::shared_ptr<Core> core, Transport transport, std::string peer) :
        core_(std::move(core)), transport_(std::move(transport)), peer_(std::move(peer)),
        executor_(transport_.get_executor())
    {}
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    virtual ~Connection() = default;

    const Transport::executor_type& executor() const { return executor_; }

    /// Ends when what is in flight has been answered.
    virtual void drain() = 0;
    /// Ends now.
    virtual void cut() = 0;

protected:
    // The core comes first, as it has to go last.
    std::shared_ptr<Core> core_;
    Transport transport_;
    std::string peer_;

private:
    Transport::executor_type executor_;
};

/// A deadline that can be set anew.
class Deadline
{
public:
    explicit Deadline(const Transport::executor_type& executor) : timer_(executor) {}

    template <class Action>
    void set(std::chrono::milliseconds from_now, Action action)
    {
        timer_.expires_after(from_now);
        timer_.async_wait([this, action = std::move(action), round = ++round_](error_code error) mutable {
            // `this` is looked at only when the owner, whom the action keeps alive, has not set another one meanwhile.
            if (!error && round == round_) {
                action();
            }
        });
    }

    void clear()
    {
        ++round_;
        timer_.cancel();
    }

private:
    net::steady_timer timer_;
    unsigned long round_ = 0;
};

/// Delivers one value, or none when it goes without having got one.
template <class Value>
class Once
{
public:
    using Deliver = std::function<void(std::optional<Value>)>;

    explicit Once(Deliver deliver) : deliver_(std::move(deliver)) {}
    Once(const Once&) = delete;
    Once& operator=(const Once&) = delete;
    ~Once() { give(std::nullopt); }

    void give(std::optional<Value> value)
    {
        if (!given_.exchange(true)) {
            const Deliver deliver = std::move(deliver_);
            deliver(std::move(value));
        }
    }

private:
    std::atomic<bool> given_ = false;
    Deliver deliver_;
};

/// A function for the front to give its value by: it reaches `member` of `self` on the strand, and nobody when `self` has
/// ended. `load` is let go as soon as the value is there, `kept` when the function itself goes.
template <class Value, class Self>
std::shared_ptr<Once<Value>> once(const std::shared_ptr<Self>& self, void (Self::*member)(std::optional<Value>),
                                  std::shared_ptr<void> load = {})
{
    return std::make_shared<Once<Value>>(
        [weak = std::weak_ptr<Self>(self), member, load = std::move(load)](std::optional<Value> value) mutable {
            load.reset();
            if (const std::shared_ptr<Self> alive = weak.lock()) {
                net::post(alive->executor(), [weak, member, value = std::move(value)]() mutable {
                    if (const std::shared_ptr<Self> still_alive = weak.lock()) {
                        (still_alive.get()->*member)(std::move(value));
                    }
                });
            }
        });
}

/// What a request in flight holds.
struct Load
{
    Slots::Slot slot;
    Budget::Share memory;
    Principal principal;
};

} // namespace catalog::service::detail
