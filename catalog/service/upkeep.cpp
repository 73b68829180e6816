#include "catalog/service/upkeep.h"

#include "platform/text/log.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace catalog::service {

namespace {

constexpr std::chrono::milliseconds first_pace{200};

} // namespace

Repeater::Repeater(std::function<Pause()> work) : work_(std::move(work)), thread_([this] { run(); }) {}

Repeater::~Repeater()
{
    stop();
}

void Repeater::wake()
{
    {
        const std::lock_guard lock(mutex_);
        woken_ = true;
    }
    wake_.notify_one();
}

void Repeater::stop()
{
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_one();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void Repeater::run()
{
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        woken_ = false;
        lock.unlock();
        Pause pause{std::chrono::seconds(1)};
        try {
            pause = work_();
        } catch (const std::exception& fault) {
            log_at(LM_ERROR, "The upkeep of the catalog failed: %C\n", fault.what());
        }
        lock.lock();
        wake_.wait_for(lock, pause, [this] { return woken_ || stopping_; });
    }
}

Queue_Worker::Queue_Worker(const Options& options, Store_Opener open, Metrics& metrics) :
    options_(options), open_(std::move(open)), metrics_(metrics), repeater_([this] { return work(); })
{}

Repeater::Pause Queue_Worker::work()
{
    Error error;
    if (apply(error)) {
        pace_ = {};
        return options_.pause;
    }
    metrics_.database_failed(error.database);
    if (error.database.reconnect()) {
        store_.reset();
    }
    pace_ = std::min(std::max(pace_ * 2, first_pace), options_.most_pace);
    log_at(LM_WARNING, "The queue of commits waits for the database: %C\n", error.message.c_str());
    return pace_;
}

bool Queue_Worker::apply(Error& error)
{
    if (store_ == nullptr) {
        store_ = open_(error);
    }
    if (store_ == nullptr) {
        return false;
    }
    std::vector<Write_Answer> answers;
    bool has_changed = false;
    do {
        answers.clear();
        if (!store_->apply_queued(options_.most_together, answers, error)) {
            return false;
        }
        for (const Write_Answer& answer : answers) {
            has_changed = true;
            if (answer.committed) {
                metrics_.committed(answer);
            } else if (answer.error) {
                log_at(LM_ERROR, "A queued commit cannot be applied: set %C: %C\n", answer.uuid.c_str(),
                       answer.error.message.c_str());
            }
        }
    } while (!answers.empty());
    Queue_Depth depth;
    if (has_changed && store_->queue_depth(depth, error)) {
        metrics_.take_queue(depth);
    }
    return !error;
}

Housekeeping::Housekeeping(const Options& options, Store_Opener open, Metrics& metrics) :
    options_(options), open_(std::move(open)), metrics_(metrics), repeater_([this] { return work(); })
{}

Repeater::Pause Housekeeping::work()
{
    Error error;
    if (store_ == nullptr) {
        store_ = open_(error);
    }
    if (store_ != nullptr) {
        Catalog_Counts counts;
        metrics_.begin_catalog();
        if (count_catalog(*store_, counts, error)) {
            metrics_.take_catalog(std::move(counts));
        }
        const auto now = std::chrono::steady_clock::now();
        std::int64_t forgotten = 0;
        if (!error && now >= next_forgetting_ && store_->forget_old_answers(std::time(nullptr), forgotten, error)) {
            next_forgetting_ = now + options_.forget_pause;
        }
    }
    if (error) {
        metrics_.database_failed(error.database);
        if (error.database.reconnect()) {
            store_.reset();
        }
        log_at(LM_WARNING, "The catalog cannot be counted: %C\n", error.message.c_str());
    }
    return options_.count_pause;
}

} // namespace catalog::service
