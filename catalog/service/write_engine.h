// Writes of many clients at once: waiting requests share transactions.
//
// Some threads with a connection each take what waits, of distinct sets, and apply it in one transaction. Clients that wait
// for each answer come in a crowd, whose size is known from how many were here at once of late: each thread takes its share
// of it, and gives those who were just answered a moment to come again. When they do not come, the crowd is taken to be
// those who are here. Requests of one set are applied one after the other in the order in which they came. A lost database
// is opened anew; requests meanwhile wait for a while and fail then. Thread-safe.
#pragma once

#include "catalog/store/life_step.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <set>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace catalog::service {

/// Where requests are applied: a store. Belongs to one thread.
class Write_Target
{
public:
    virtual ~Write_Target() = default;

    /// One answer for each step; see `Catalog_Store::apply`.
    virtual std::vector<Write_Answer> apply(std::span<Life_Step> steps) = 0;
};

struct Write_Options
{
    std::size_t writers = 1;                      ///< threads, each with a connection
    std::size_t most_waiting = 1000;              ///< requests
    std::size_t most_waiting_bytes = 256u << 20;  ///< of their params
    std::size_t most_together = 64;               ///< requests of one transaction
    std::size_t most_together_bytes = 8u << 20;   ///< of their params; one request may have more
    std::chrono::microseconds most_company{2000}; ///< that moment; and at most half of the last transaction
    std::chrono::milliseconds patience{5000};     ///< how long a request waits for a database that is lost
    std::chrono::milliseconds most_pace{1000};    ///< between two attempts to open a lost database
};

class Write_Engine
{
public:
    /// Opens a target; null, with the reason, on failure. Called by the engine's threads.
    using Opener = std::function<std::unique_ptr<Write_Target>(Error& error)>;

    /// Called once, by a thread of the engine, and must not block it.
    using Taker = std::function<void(Write_Answer)>;

    Write_Engine(const Write_Options& options, Opener open);
    Write_Engine(const Write_Engine&) = delete;
    Write_Engine& operator=(const Write_Engine&) = delete;
    ~Write_Engine(); ///< stops

    /// The step has been read. False, and no answer, when too many wait or the engine has stopped.
    bool submit(Life_Step step, Taker taker);

    /// Takes no more, answers all that waits, ends the threads.
    void stop();

    std::size_t waiting() const { return waiting_count_; }

private:
    using Clock = std::chrono::steady_clock;

    struct Pending
    {
        Life_Step step;
        Taker taker;
        Clock::time_point came;
    };
    using Batch = std::vector<Pending>;

    void run();
    Batch take();
    void work(Batch batch, std::unique_ptr<Write_Target>& target);
    std::size_t share() const;
    bool is_time() const;
    bool await_company(std::unique_lock<std::mutex>& lock);
    void note_answers(std::size_t count, Clock::time_point begun);
    void finish(Pending& pending, Write_Answer answer);
    void fail_expired(const Error& error);

    const Write_Options options_;
    const Opener open_;

    std::mutex mutex_;
    std::condition_variable wake_;
    std::list<Pending> waiting_;
    std::size_t waiting_bytes_ = 0;
    std::set<UUID_Bytes> busy_;      ///< sets that are being written
    std::size_t in_flight_ = 0;      ///< requests that are being written
    std::size_t crowd_ = 0;          ///< most that waited or were being written at once, of late
    Clock::time_point last_answers_; ///< when a transaction's answers went out
    Clock::duration company_{};      ///< for how long those who got them are waited for
    std::size_t expecting_ = 0;      ///< writers that wait for company
    bool stopping_ = false;
    std::atomic<std::size_t> waiting_count_ = 0;

    std::vector<std::thread> threads_;
};

} // namespace catalog::service
