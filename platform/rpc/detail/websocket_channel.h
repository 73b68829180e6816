// A JSON-RPC channel over one WebSocket connection.
//
// Calls of many threads travel on the connection at the same time; answers come in any order. A channel connects once;
// when its connection has ended it stays closed. Thread-safe.
#pragma once

#include "platform/rpc/detail/websocket_connection.h"
#include "platform/rpc/json_rpc_channel.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <unordered_map>

class WebSocket_Channel final : public JSON_RPC_Channel, private WebSocket_Connection::Owner
{
public:
    /// Begins to connect. Throws std::system_error when there is no thread to be had.
    explicit WebSocket_Channel(const JSON_RPC_Endpoint& endpoint);
    WebSocket_Channel(const WebSocket_Channel&) = delete;
    WebSocket_Channel& operator=(const WebSocket_Channel&) = delete;

    /// Closes the connection. In a process forked from the one that made the channel nothing is closed or freed.
    ~WebSocket_Channel() override;

    bool call(const JSON_RPC_Object& request, JSON_RPC_Object_var& response, int timeout_s) override;

    /// Waits for the connection, and says whether it is there.
    bool wait_until_open();

    bool is_open();

    /// True when the connection has ended and its thread has nothing more to do: the destructor will not wait.
    bool is_over();

    /// Ends the connection, waiting a second at most for the peer to agree; calls in flight return false.
    void close();

    /// For the process's exit: ends the thread where it stands. Calls in flight stay where they are, further ones return
    /// false. The channel is not to be destroyed.
    void halt();

    /// For the child after a fork: see `WebSocket_Connection::close_inherited_socket`.
    void close_inherited_socket() const;

    /// So many calls may have got no answer in time while the connection lives; with one more it is given up.
    static constexpr std::size_t unanswered_limit = 10'000;

private:
    enum State
    {
        CONNECTING,
        OPEN,
        CLOSED
    };
    struct Waiting
    {
        std::shared_ptr<const std::string> text;
        bool sent = false;
        JSON_RPC_Object_var response = JSON_RPC_Object_var();
        std::condition_variable done = {};
    };
    using Waiting_By_Id = std::unordered_map<std::string_view, Waiting*>;

    void opened() override;
    std::shared_ptr<const std::string> next_message() override;
    std::string received(std::string_view text) override;
    void closed() override;

    bool begin(const JSON_RPC_Object& request, Waiting& waiting);
    bool give_up(const std::string& id, const Waiting& waiting);
    std::string take_answer(const JSON_RPC_Object_var& answer);
    std::string take_answer_to_unread(const JSON_RPC_Object_var& answer);
    void answer_waiting(Waiting_By_Id::iterator waiting, const JSON_RPC_Object_var& answer);

    const pid_t process_;
    const std::size_t frame_limit_;
    std::mutex mutex_; ///< of all that follows but the connection
    State state_ = CONNECTING;
    std::condition_variable connecting_is_over_;
    bool halted_ = false;
    Waiting_By_Id waiting_;                                   ///< by the ids of the requests; the answered have left
    std::deque<Waiting*> to_send_;                            ///< those of them that were not sent yet
    std::unordered_map<std::string, std::size_t> unanswered_; ///< ids of sent calls that were given up: how often
    std::size_t unanswered_count_ = 0;
    std::unique_ptr<WebSocket_Connection> connection_;
};
