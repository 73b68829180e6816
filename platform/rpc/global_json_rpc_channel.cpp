#include "platform/rpc/global_json_rpc_channel.h"

#include "platform/rpc/detail/websocket_channel.h"
#include "platform/text/log.h"

#include <ace/Object_Manager.h>
#include <pthread.h>

#include <chrono>
#include <cstdlib>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

/// Between two attempts to connect.
constexpr std::chrono::seconds pacing{1};

/// A channel in its place.
struct Slot
{
    explicit Slot(const JSON_RPC_Channel_var& installed) : channel(installed) {}
    explicit Slot(WebSocket_Channel* made) : channel(made), own(made) {}

    JSON_RPC_Channel_var channel;
    WebSocket_Channel* own = nullptr; ///< `channel`, unless it was installed
    std::unique_ptr<Slot> older = {}; ///< of those that are left behind
};

/// What the process knows of its channel. Never destroyed, because threads may use it until the process is gone.
class Place
{
public:
    static Place& get()
    {
        static Place& place = *new Place();
        return place;
    }

    JSON_RPC_Channel_var instance();
    void configure(const JSON_RPC_Endpoint& endpoint);
    void install(JSON_RPC_Channel_var channel);
    void remove();

private:
    Place();

    std::unique_ptr<Slot> begin_to_connect();
    JSON_RPC_Channel_var installed();
    void put(std::optional<JSON_RPC_Endpoint> endpoint, std::unique_ptr<Slot> slot);
    void leave_behind();
    void after_fork_in_child();
    void stop();

    std::mutex mutex_;
    std::optional<JSON_RPC_Endpoint> endpoint_;
    std::unique_ptr<Slot> slot_;
    std::unique_ptr<Slot> left_behind_; ///< never destroyed
    Clock::time_point next_attempt_;
    bool stopped_ = false;
};

Place::Place()
{
    ::pthread_atfork([] { get().mutex_.lock(); }, [] { get().mutex_.unlock(); }, [] { get().after_fork_in_child(); });
    WebSocket_Connection::prepare_process();
    std::atexit([] { get().stop(); });
}

JSON_RPC_Channel_var Place::instance()
{
    JSON_RPC_Channel_var channel;
    WebSocket_Channel* own = nullptr;
    std::unique_ptr<Slot> old; // ends after the lock
    {
        const std::lock_guard lock(mutex_);
        if (!stopped_ && endpoint_ && (!slot_ || slot_->own->is_over()) && Clock::now() >= next_attempt_) {
            old = std::exchange(slot_, begin_to_connect());
        }
        if (stopped_ || !slot_) {
            return channel;
        }
        channel = slot_->channel;
        own = slot_->own;
    }
    return own == nullptr || own->wait_until_open() ? channel : installed();
}

/// Null, having logged, when that is not possible; `mutex_` is held.
std::unique_ptr<Slot> Place::begin_to_connect()
{
    next_attempt_ = Clock::now() + pacing;
    try {
        return std::make_unique<Slot>(new WebSocket_Channel(*endpoint_));
    } catch (const std::exception& error) {
        log_at(LM_ERROR, "JSON-RPC channel cannot be made: %C.\n", error.what());
        return nullptr;
    }
}

/// The channel that somebody put in place while this thread waited for another one, if any.
JSON_RPC_Channel_var Place::installed()
{
    const std::lock_guard lock(mutex_);
    return !stopped_ && slot_ && slot_->own == nullptr ? slot_->channel : JSON_RPC_Channel_var();
}

void Place::configure(const JSON_RPC_Endpoint& endpoint)
{
    // Before the objects of ACE go: the connection's thread logs. It is there already when this was done before.
    ACE_Object_Manager::at_exit(
        this, [](void* place, void*) { static_cast<Place*>(place)->stop(); }, nullptr);
    put(endpoint, nullptr);
}

void Place::install(JSON_RPC_Channel_var channel)
{
    put(std::nullopt, channel.null() ? nullptr : std::make_unique<Slot>(channel));
}

void Place::remove()
{
    put(std::nullopt, nullptr);
}

void Place::put(std::optional<JSON_RPC_Endpoint> endpoint, std::unique_ptr<Slot> slot)
{
    std::unique_ptr<Slot> old;
    {
        const std::lock_guard lock(mutex_);
        endpoint_ = std::move(endpoint);
        old = std::exchange(slot_, std::move(slot));
        next_attempt_ = Clock::time_point();
        stopped_ = false;
    }
    if (old && old->own != nullptr) {
        old->own->close();
    }
}

void Place::leave_behind()
{
    slot_->older = std::move(left_behind_);
    left_behind_ = std::move(slot_);
}

/// The parent's threads are not here, and their locks may be held for ever: what they used is left alone, but for the
/// socket. `mutex_` was locked before the fork.
void Place::after_fork_in_child()
{
    if (slot_) {
        if (slot_->own != nullptr) {
            slot_->own->close_inherited_socket();
        }
        leave_behind();
    }
    endpoint_.reset();
    mutex_.unlock();
}

void Place::stop()
{
    WebSocket_Channel* own = nullptr;
    {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
        if (slot_ && slot_->own != nullptr) {
            own = slot_->own;
            leave_behind();
        }
    }
    if (own != nullptr) {
        own->halt();
    }
}

} // namespace

JSON_RPC_Channel_var Global_JSON_RPC_Channel::instance()
{
    return Place::get().instance();
}

void Global_JSON_RPC_Channel::configure(const JSON_RPC_Endpoint& endpoint)
{
    Place::get().configure(endpoint);
}

void Global_JSON_RPC_Channel::install(JSON_RPC_Channel_var channel)
{
    Place::get().install(channel);
}

void Global_JSON_RPC_Channel::remove()
{
    Place::get().remove();
}
