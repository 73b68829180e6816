#include "platform/rpc/detail/websocket_channel.h"

#include "platform/text/log.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>

WebSocket_Channel::WebSocket_Channel(const JSON_RPC_Endpoint& endpoint) :
    process_(::getpid()), frame_limit_(endpoint.frame_limit)
{
    Owner& owner = *this; // the base is private
    connection_ = std::make_unique<WebSocket_Connection>(endpoint, owner);
}

WebSocket_Channel::~WebSocket_Channel()
{
    if (process_ != ::getpid()) {
        static_cast<void>(connection_.release()); // its thread and its peer belong to the other process
    }
}

bool WebSocket_Channel::call(const JSON_RPC_Object& request, JSON_RPC_Object_var& response, int timeout_s)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::seconds(std::max(timeout_s, 0));
    if (request.type() != JSON_RPC_Object::TYPE_REQUEST || !request.shared_text()) {
        log_at(LM_ERROR, "JSON-RPC '%C' is no request to be sent.\n", request.method().c_str());
        return false;
    }
    if (request.text().size() > frame_limit_) {
        log_at(LM_ERROR, "JSON-RPC '%C' was not sent: %B bytes are more than the limit of %B.\n",
               request.method().c_str(), request.text().size(), frame_limit_);
        return false;
    }
    if (process_ != ::getpid()) {
        return false;
    }
    Waiting waiting{request.shared_text()};
    if (!begin(request, waiting)) {
        return false;
    }
    connection_->wake();
    std::unique_lock lock(mutex_);
    waiting.done.wait_until(lock, end, [&] { return !waiting.response.null() || state_ == CLOSED; });
    if (!waiting.response.null()) {
        response = waiting.response;
        return true;
    }
    waiting_.erase(request.id());
    if (state_ == CLOSED) {
        return false;
    }
    const bool too_many = give_up(request.id(), waiting);
    lock.unlock();
    log_at(LM_WARNING, "JSON-RPC '%C' got no answer within %d second(s).\n", request.method().c_str(), timeout_s);
    if (too_many) {
        connection_->fail("too many calls got no answer");
    }
    return false;
}

bool WebSocket_Channel::begin(const JSON_RPC_Object& request, Waiting& waiting)
{
    const std::lock_guard lock(mutex_);
    if (state_ != OPEN || halted_) {
        return false;
    }
    if (!waiting_.emplace(request.id(), &waiting).second) {
        log_at(LM_ERROR, "JSON-RPC '%C' is waiting for an answer already.\n", request.method().c_str());
        return false;
    }
    to_send_.push_back(&waiting);
    return true;
}

/// A call's time is over. Returns whether there were too many of these; `mutex_` is held.
bool WebSocket_Channel::give_up(const std::string& id, const Waiting& waiting)
{
    if (!waiting.sent) {
        std::erase(to_send_, &waiting);
        return false;
    }
    ++unanswered_[id];
    return ++unanswered_count_ == unanswered_limit + 1;
}

bool WebSocket_Channel::wait_until_open()
{
    std::unique_lock lock(mutex_);
    connecting_is_over_.wait(lock, [this] { return state_ != CONNECTING; });
    return state_ == OPEN;
}

bool WebSocket_Channel::is_open()
{
    const std::lock_guard lock(mutex_);
    return state_ == OPEN;
}

bool WebSocket_Channel::is_over()
{
    return connection_->is_over();
}

void WebSocket_Channel::close()
{
    connection_->close();
}

void WebSocket_Channel::halt()
{
    {
        const std::lock_guard lock(mutex_);
        halted_ = true;
    }
    connection_->halt();
}

void WebSocket_Channel::close_inherited_socket() const
{
    connection_->close_inherited_socket();
}

void WebSocket_Channel::opened()
{
    const std::lock_guard lock(mutex_);
    state_ = OPEN;
    connecting_is_over_.notify_all();
}

std::shared_ptr<const std::string> WebSocket_Channel::next_message()
{
    const std::lock_guard lock(mutex_);
    if (to_send_.empty()) {
        return nullptr;
    }
    Waiting& next = *to_send_.front();
    to_send_.pop_front();
    next.sent = true;
    return next.text;
}

void WebSocket_Channel::closed()
{
    const std::lock_guard lock(mutex_);
    state_ = CLOSED;
    to_send_.clear();
    connecting_is_over_.notify_all();
    for (const auto& [id, waiting] : waiting_) {
        waiting->done.notify_one();
    }
}

std::string WebSocket_Channel::received(std::string_view text)
{
    std::string error;
    const JSON_RPC_Object_var message = JSON_RPC_Object::parse(text, &error);
    if (message.null()) {
        return "the peer sent what is no JSON-RPC message: " + error;
    }
    switch (message->type()) {
    case JSON_RPC_Object::TYPE_NOTIFY:
        log_at(LM_DEBUG, "JSON-RPC notification '%C' is ignored.\n", message->method().c_str());
        return {};
    case JSON_RPC_Object::TYPE_RESPONSE:
    case JSON_RPC_Object::TYPE_RESPONSE_ERROR:
        return message->id().empty() ? take_answer_to_unread(message) : take_answer(message);
    default:
        return "the peer sent a request";
    }
}

std::string WebSocket_Channel::take_answer(const JSON_RPC_Object_var& answer)
{
    const std::lock_guard lock(mutex_);
    if (!answer->id_is_number()) {
        if (const auto found = waiting_.find(answer->id()); found != waiting_.end() && found->second->sent) {
            answer_waiting(found, answer);
            return {};
        }
        if (const auto late = unanswered_.find(answer->id()); late != unanswered_.end()) {
            --unanswered_count_;
            if (--late->second == 0) {
                unanswered_.erase(late);
            }
            return {};
        }
    }
    return "the peer answered a call that was not made, or was answered";
}

/// The peer could not read a request, and cannot say which. When only one is without an answer, it is that one; otherwise
/// nobody knows who waits in vain, and all have to be sent again on another connection.
std::string WebSocket_Channel::take_answer_to_unread(const JSON_RPC_Object_var& answer)
{
    const std::lock_guard lock(mutex_);
    const auto is_sent = [](const auto& waiting) { return waiting.second->sent; };
    const auto sent = std::ranges::count_if(waiting_, is_sent);
    if (sent == 1 && unanswered_count_ == 0) {
        answer_waiting(std::ranges::find_if(waiting_, is_sent), answer);
        return {};
    }
    if (sent == 0 && unanswered_count_ == 1) {
        unanswered_.clear();
        unanswered_count_ = 0;
        return {};
    }
    return "the peer could not read a request (error " + std::to_string(answer->error_code()) + ")";
}

void WebSocket_Channel::answer_waiting(Waiting_By_Id::iterator waiting, const JSON_RPC_Object_var& answer)
{
    waiting->second->response = answer;
    waiting->second->done.notify_one();
    waiting_.erase(waiting);
}
