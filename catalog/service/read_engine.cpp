#include "catalog/service/read_engine.h"

#include "platform/text/log.h"

#include <algorithm>
#include <utility>

namespace catalog::service {

namespace {

constexpr std::chrono::milliseconds first_pace{50};

Error run_work(const Read_Engine::Read& read, Catalog_Store& store)
{
    try {
        return read.work(store);
    } catch (const std::exception& fault) {
        log_at(LM_ERROR, "A read failed: %C\n", fault.what());
        Error error;
        error.kind = Error::DATABASE;
        error.message = "the read failed";
        error.database.kind = Database_Error::OTHER;
        return error;
    }
}

} // namespace

Read_Engine::Read_Engine(const Read_Options& options, Opener open) : options_(options), open_(std::move(open))
{
    for (std::size_t i = 0; i < std::max<std::size_t>(1, options_.readers); ++i) {
        threads_.emplace_back([this] { run(); });
    }
}

Read_Engine::~Read_Engine()
{
    stop();
}

bool Read_Engine::submit(Read read)
{
    {
        const std::lock_guard lock(mutex_);
        if (stopping_ || (!read.at_once && waiting_.size() >= options_.most_waiting)) {
            return false;
        }
        waiting_.push_back({std::move(read), Clock::now() + options_.patience});
        waiting_count_ = waiting_.size();
    }
    wake_.notify_one();
    return true;
}

void Read_Engine::stop()
{
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    for (std::thread& thread : threads_) {
        thread.join();
    }
    threads_.clear();
}

void Read_Engine::run()
{
    std::unique_ptr<Catalog_Store> store;
    while (true) {
        Pending pending;
        {
            std::unique_lock lock(mutex_);
            wake_.wait(lock, [this] { return stopping_ || !waiting_.empty(); });
            if (waiting_.empty()) {
                return;
            }
            pending = std::move(waiting_.front());
            waiting_.pop_front();
            waiting_count_ = waiting_.size();
        }
        const Error error = work(pending, store);
        pending.read.done(error);
    }
}

Error Read_Engine::work(const Pending& pending, std::unique_ptr<Catalog_Store>& store)
{
    std::chrono::milliseconds pace = first_pace;
    while (true) {
        Error error;
        if (store == nullptr) {
            store = open_(error);
        }
        if (store != nullptr) {
            error = run_work(pending.read, *store);
        }
        const bool is_open = store != nullptr;
        if (error.database.reconnect()) {
            store.reset();
        }
        // A database that cannot be opened may come back whatever the reason.
        const bool may_pass = !is_open || (error.kind == Error::DATABASE && error.database.retryable());
        if (!may_pass || pending.read.at_once || Clock::now() >= pending.deadline) {
            return error;
        }
        std::this_thread::sleep_for(pace);
        pace = std::min(pace * 2, options_.most_pace);
    }
}

} // namespace catalog::service
