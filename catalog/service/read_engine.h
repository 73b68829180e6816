// Reads of many clients on a few threads, each with a connection of its own.
//
// A read is a piece of work that ends soon; whoever has more to read asks again, so that a client who takes his time holds
// neither a thread nor a connection. Thread-safe.
#pragma once

#include "catalog/store/catalog_store.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace catalog::service {

struct Read_Options
{
    std::size_t readers = 2; ///< threads, each with a connection
    std::size_t most_waiting = 1000;
    std::chrono::milliseconds patience{5000};  ///< how long a read waits for a database that is lost
    std::chrono::milliseconds most_pace{1000}; ///< between two attempts to open a lost database
};

class Read_Engine
{
public:
    /// Opens a store; null, with the reason, on failure. Called by the engine's threads.
    using Opener = std::function<std::unique_ptr<Catalog_Store>(Error& error)>;

    struct Read
    {
        /// Reads. Called again, perhaps with another store, after an error that may pass. NONE: done.
        std::function<Error(Catalog_Store& store)> work;

        /// Called once, by a thread of the engine, with the last outcome; must not block.
        std::function<void(const Error& error)> done;

        bool at_once = false; ///< goes on with what has begun, or asks how things are: always taken, tried once
    };

    Read_Engine(const Read_Options& options, Opener open);
    Read_Engine(const Read_Engine&) = delete;
    Read_Engine& operator=(const Read_Engine&) = delete;
    ~Read_Engine(); ///< stops

    /// False, and no call of `done`, when too many wait or the engine has stopped.
    bool submit(Read read);

    /// Takes no more, does all that waits, ends the threads.
    void stop();

    std::size_t waiting() const { return waiting_count_; }

private:
    using Clock = std::chrono::steady_clock;

    struct Pending
    {
        Read read;
        Clock::time_point deadline;
    };

    void run();
    Error work(const Pending& pending, std::unique_ptr<Catalog_Store>& store);

    const Read_Options options_;
    const Opener open_;

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Pending> waiting_;
    bool stopping_ = false;
    std::atomic<std::size_t> waiting_count_ = 0;

    std::vector<std::thread> threads_;
};

} // namespace catalog::service
