// What the service does besides answering: it applies queued commits, counts, and forgets old answers.
//
// Each has a thread and a connection of its own, so that no client waits for it. Thread-safe.
#pragma once

#include "catalog/service/metrics.h"
#include "catalog/store/catalog_store.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace catalog::service {

/// Runs a piece of work again and again: when woken, and after the pause that the work asks for.
class Repeater
{
public:
    using Pause = std::chrono::milliseconds;

    explicit Repeater(std::function<Pause()> work);
    Repeater(const Repeater&) = delete;
    Repeater& operator=(const Repeater&) = delete;
    ~Repeater(); ///< stops

    void wake();
    void stop(); ///< lets the work end that runs

private:
    void run();

    const std::function<Pause()> work_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool woken_ = false;
    bool stopping_ = false;
    std::thread thread_;
};

using Store_Opener = std::function<std::unique_ptr<Catalog_Store>(Error& error)>;

/// Applies what waits in the queue: what is there at the start, and what comes. When the database fails it tries again
/// later.
class Queue_Worker
{
public:
    struct Options
    {
        std::size_t most_together = 64;             ///< commits of one transaction
        std::chrono::milliseconds pause{5000};      ///< between two looks when nobody says that there is more
        std::chrono::milliseconds most_pace{30000}; ///< between two tries of a database that fails
    };

    Queue_Worker(const Options& options, Store_Opener open, Metrics& metrics);

    /// There is something in the queue.
    void wake() { repeater_.wake(); }
    void stop() { repeater_.stop(); }

private:
    Repeater::Pause work();
    bool apply(Error& error);

    const Options options_;
    const Store_Opener open_;
    Metrics& metrics_;
    std::unique_ptr<Catalog_Store> store_;
    std::chrono::milliseconds pace_{0};
    Repeater repeater_; // the last: it uses all above
};

/// Counts what is in the catalog every minute, and forgets old answers every hour.
class Housekeeping
{
public:
    struct Options
    {
        std::chrono::milliseconds count_pause = std::chrono::minutes(1);
        std::chrono::milliseconds forget_pause = std::chrono::hours(1);
    };

    Housekeeping(const Options& options, Store_Opener open, Metrics& metrics);

    void stop() { repeater_.stop(); }

private:
    Repeater::Pause work();

    const Options options_;
    const Store_Opener open_;
    Metrics& metrics_;
    std::unique_ptr<Catalog_Store> store_;
    std::chrono::steady_clock::time_point next_forgetting_{};
    Repeater repeater_; // the last: it uses all above
};

} // namespace catalog::service
