// A front that does what the path or the message asks for. It answers from a thread of its own.
//
// A path or message may be
//     echo…        it comes back
//     now          answered before `answer` returns
//     hold…        comes back once `release` has been called
//     stream N S   N parts of S bytes each, counted; in a path "/stream/N/S"
//     break        two parts, then a failure
//     drop         never answered, and the function is dropped
//     throw        `answer` throws
//     silent       an empty answer
#pragma once

#include "catalog/service/front.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

class Fake_Front : public catalog::service::Front
{
public:
    using Principal = catalog::service::Principal;
    using Reply = catalog::service::Reply;
    using Role = catalog::service::Role;

    Fake_Front() : thread_([this] { run(); }) {}
    ~Fake_Front() override
    {
        {
            const std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        changed_.notify_all();
        thread_.join();
    }

    void admit(const std::string& peer, const std::string* key, Admission_Taker taker) override
    {
        const std::string name = key == nullptr ? "(none)" : *key;
        {
            const std::lock_guard lock(mutex_);
            admissions_.push_back(peer + " " + name);
        }
        const int status = name == "wrong" || (name == "(none)" && needs_key) ? 401 : name == "often" ? 429 : 200;
        later([taker = std::move(taker), status, name] { taker(status, {name, Role::READER}); });
    }

    void answer(catalog::service::Web_Request request, const Principal& principal,
                catalog::service::Reply_Taker taker) override
    {
        std::string word = request.path.substr(1);
        for (char& c : word) {
            c = c == '/' ? ' ' : c;
        }
        const std::string echo = request.method + " " + request.path + " [" + request.query + "] "
                                 + request.content_type + " " + request.idempotency_key + " " + principal.name + " "
                                 + (request.body.size() > 100 ? std::to_string(request.body.size()) : request.body);
        answer(word, echo, std::move(taker));
    }

    void answer(std::string message, const Principal& principal, catalog::service::Reply_Taker taker) override
    {
        const std::string echo =
            principal.name + " " + (message.size() > 100 ? std::to_string(message.size()) : message);
        answer(message, echo, std::move(taker));
    }

    Reply refusal(int status, std::string_view message) override
    {
        Reply reply;
        reply.status = status;
        reply.body = "{\"code\":" + std::to_string(status) + ",\"message\":\"" + std::string(message) + "\"}";
        return reply;
    }

    /// Lets all that is held, and will be, be answered.
    void release()
    {
        {
            const std::lock_guard lock(mutex_);
            released_ = true;
        }
        changed_.notify_all();
    }

    /// Waits until `count` requests have been held.
    bool wait_for_held(std::size_t count)
    {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(20), [&] { return held_.size() >= count; });
    }

    std::size_t held() const
    {
        const std::lock_guard lock(mutex_);
        return held_.size();
    }

    std::vector<std::string> admissions() const
    {
        const std::lock_guard lock(mutex_);
        return admissions_;
    }

    bool needs_key = false;
    std::atomic<std::size_t> parts_asked = 0;
    std::atomic<std::size_t> answers_asked = 0;

private:
    class Parts : public catalog::service::Body_Source
    {
    public:
        Parts(Fake_Front& front, std::size_t count, std::size_t size, bool fails) :
            front_(front), left_(count), size_(size), fails_(fails)
        {}

        void next(Taker taker) override
        {
            ++front_.parts_asked;
            Part part;
            if (left_ == 0) {
                part.failed = true;
            } else {
                --left_;
                part.text.assign(size_, static_cast<char>('a' + left_ % 26));
                part.last = left_ == 0 && !fails_;
            }
            front_.later([taker = std::move(taker), part = std::move(part)] { taker(part); });
        }

    private:
        Fake_Front& front_;
        std::size_t left_;
        std::size_t size_;
        bool fails_;
    };

    void answer(const std::string& word, const std::string& echo, catalog::service::Reply_Taker taker)
    {
        ++answers_asked;
        std::istringstream words(word);
        std::string kind;
        words >> kind;
        Reply reply;
        reply.body = echo;
        if (kind == "now") {
            taker(std::move(reply));
            return;
        }
        if (kind == "drop") {
            return;
        }
        if (kind == "throw") {
            throw std::runtime_error("the front has thrown");
        }
        if (kind == "silent") {
            reply.body.clear();
        } else if (kind == "gone") {
            reply.status = 204;
        } else if (kind == "stream") {
            std::size_t count = 0;
            std::size_t size = 0;
            words >> count >> size;
            reply.body = "begin ";
            reply.more = std::make_unique<Parts>(*this, count, size, false);
        } else if (kind == "break") {
            reply.more = std::make_unique<Parts>(*this, 2, 10, true);
        }
        auto task = [taker = std::move(taker), shared = std::make_shared<Reply>(std::move(reply))] {
            taker(std::move(*shared));
        };
        if (kind.starts_with("hold")) {
            const std::lock_guard lock(mutex_);
            held_.emplace_back(std::move(task));
            changed_.notify_all();
        } else {
            later(std::move(task));
        }
    }

    void later(std::function<void()> task)
    {
        {
            const std::lock_guard lock(mutex_);
            tasks_.push_back(std::move(task));
        }
        changed_.notify_all();
    }

    void run()
    {
        std::unique_lock lock(mutex_);
        std::size_t answered = 0; // of those held
        for (;;) {
            changed_.wait(lock, [&] { return stopping_ || !tasks_.empty() || (released_ && answered < held_.size()); });
            std::function<void()> task;
            if (!tasks_.empty()) {
                task = std::move(tasks_.front());
                tasks_.pop_front();
            } else if (released_ && answered < held_.size()) {
                task = std::exchange(held_[answered++], {});
            } else {
                return;
            }
            lock.unlock();
            task();
            task = {};
            lock.lock();
        }
    }

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    bool stopping_ = false;
    bool released_ = false;
    std::deque<std::function<void()>> tasks_;
    std::deque<std::function<void()>> held_;
    std::vector<std::string> admissions_;
    std::thread thread_;
};
