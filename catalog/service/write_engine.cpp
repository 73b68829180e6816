#include "catalog/service/write_engine.h"

#include "platform/text/log.h"

#include <algorithm>
#include <utility>

namespace catalog::service {

namespace {

constexpr std::chrono::milliseconds first_pace{50};

Error internal_error(const char* what)
{
    Error error;
    error.kind = Error::DATABASE;
    error.message = what;
    error.database.kind = Database_Error::OTHER;
    error.database.message = what;
    return error;
}

/// Whether the same request may well succeed a little later.
bool may_pass(const Error& error)
{
    return error.kind == Error::DATABASE && error.database.retryable();
}

std::vector<Write_Answer> apply_to(Write_Target& target, std::span<Life_Step> steps)
{
    std::vector<Write_Answer> answers;
    try {
        answers = target.apply(steps);
    } catch (const std::exception& fault) {
        log_at(LM_ERROR, "A write failed: %C\n", fault.what());
        answers.clear();
    }
    while (answers.size() < steps.size()) {
        answers.push_back({.error = internal_error("the write failed"), .uuid = {}, .pieces = {}});
    }
    return answers;
}

} // namespace

Write_Engine::Write_Engine(const Write_Options& options, Opener open) : options_(options), open_(std::move(open))
{
    for (std::size_t i = 0; i < std::max<std::size_t>(1, options_.writers); ++i) {
        threads_.emplace_back([this] { run(); });
    }
}

Write_Engine::~Write_Engine()
{
    stop();
}

bool Write_Engine::submit(Life_Step step, Taker taker)
{
    {
        const std::lock_guard lock(mutex_);
        const std::size_t bytes = step.request.params.size();
        if (stopping_ || waiting_.size() >= options_.most_waiting
            || (!waiting_.empty() && waiting_bytes_ + bytes > options_.most_waiting_bytes))
        {
            return false;
        }
        waiting_bytes_ += bytes;
        waiting_.push_back({std::move(step), std::move(taker), Clock::now()});
        waiting_count_ = waiting_.size();
        crowd_ = std::max(crowd_, waiting_.size() + in_flight_);
        if (expecting_ > 0 && !is_time()) {
            return true; // a writer waits for more
        }
    }
    wake_.notify_one();
    return true;
}

void Write_Engine::stop()
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

void Write_Engine::run()
{
    std::unique_ptr<Write_Target> target;
    while (true) {
        Batch batch = take();
        if (batch.empty()) {
            return;
        }
        work(std::move(batch), target);
    }
}

/// The requests of one transaction: one writer's part of the crowd. A single writer takes half of it, so that the others
/// can come again meanwhile; but few stay together, for whom one transaction less is worth more.
std::size_t Write_Engine::share() const
{
    constexpr std::size_t few = 3;
    const std::size_t parts = options_.writers > 1 ? options_.writers : crowd_ > few ? 2 : 1;
    return std::min((crowd_ + parts - 1) / parts, options_.most_together);
}

bool Write_Engine::is_time() const
{
    return stopping_ || waiting_.size() >= share() || waiting_.size() + in_flight_ >= crowd_;
}

/// Until it is time to take what waits; false: nobody came any more.
bool Write_Engine::await_company(std::unique_lock<std::mutex>& lock)
{
    while (!waiting_.empty() && !is_time()) {
        const Clock::time_point end = std::max(waiting_.front().came, last_answers_) + company_;
        ++expecting_;
        const std::cv_status status = wake_.wait_until(lock, end);
        --expecting_;
        if (status == std::cv_status::timeout && !is_time()) {
            crowd_ = waiting_.size() + in_flight_;
            return false;
        }
    }
    return true;
}

/// What is written next; empty when there will be nothing any more.
Write_Engine::Batch Write_Engine::take()
{
    std::unique_lock lock(mutex_);
    while (true) {
        const std::size_t most = await_company(lock) ? share() : options_.most_together;
        Batch batch;
        std::size_t bytes = 0;
        std::set<UUID_Bytes> passed; // sets whose earlier request has to wait
        for (auto place = waiting_.begin(); place != waiting_.end() && batch.size() < most;) {
            const std::size_t size = place->step.request.params.size();
            if (!batch.empty() && bytes + size > options_.most_together_bytes) {
                break;
            }
            const UUID_Bytes& set = place->step.uuid;
            if (passed.contains(set) || !busy_.insert(set).second) {
                passed.insert(set);
                ++place;
                continue;
            }
            bytes += size;
            batch.push_back(std::move(*place));
            place = waiting_.erase(place);
        }
        waiting_bytes_ -= bytes;
        waiting_count_ = waiting_.size();
        in_flight_ += batch.size();
        if (stopping_ && waiting_.empty()) {
            wake_.notify_all(); // nothing will come for the others either
            return batch;
        }
        if (!batch.empty()) {
            if (!waiting_.empty()) {
                wake_.notify_one(); // another writer may be free for the rest
            }
            return batch;
        }
        wake_.wait(lock);
    }
}

void Write_Engine::work(Batch batch, std::unique_ptr<Write_Target>& target)
{
    std::chrono::milliseconds pace = first_pace;
    while (!batch.empty()) {
        Error lost;
        if (target == nullptr) {
            target = open_(lost);
        }
        const Clock::time_point begin = Clock::now();
        std::vector<Write_Answer> answers;
        if (target != nullptr) {
            std::vector<Life_Step> steps;
            steps.reserve(batch.size());
            for (Pending& pending : batch) {
                steps.push_back(std::move(pending.step));
            }
            answers = apply_to(*target, steps);
            for (std::size_t i = 0; i < batch.size(); ++i) {
                batch[i].step = std::move(steps[i]);
            }
        } else {
            Write_Answer answer;
            answer.error = lost;
            answers.assign(batch.size(), answer);
        }
        const Clock::time_point now = Clock::now();
        Batch done;
        Batch again;
        for (std::size_t i = 0; i < batch.size(); ++i) {
            // A database that cannot be opened may come back whatever the reason.
            const bool later =
                (target == nullptr || may_pass(answers[i].error)) && now < batch[i].came + options_.patience;
            if (later || answers[i].error.database.reconnect()) {
                lost = answers[i].error;
            }
            if (!later) { // its answer goes to the place of its request
                std::swap(answers[done.size()], answers[i]);
            }
            (later ? again : done).push_back(std::move(batch[i]));
        }
        note_answers(done.size(), begin);
        for (std::size_t i = 0; i < done.size(); ++i) {
            finish(done[i], std::move(answers[i]));
        }
        batch = std::move(again);
        if (lost.database.reconnect()) {
            target.reset();
        }
        if (target == nullptr) {
            fail_expired(lost);
        }
        if (!batch.empty()) {
            std::this_thread::sleep_for(pace);
            pace = std::min(pace * 2, options_.most_pace);
        }
    }
}

/// Before they go out, for who gets one may come again at once.
void Write_Engine::note_answers(std::size_t count, Clock::time_point begun)
{
    const std::lock_guard lock(mutex_);
    in_flight_ -= count;
    last_answers_ = Clock::now();
    company_ = std::min<Clock::duration>((last_answers_ - begun) / 2, options_.most_company);
}

void Write_Engine::finish(Pending& pending, Write_Answer answer)
{
    pending.taker(std::move(answer)); // before the set is free: its answers come in the order of its requests
    bool blocked = false;
    {
        const std::lock_guard lock(mutex_);
        busy_.erase(pending.step.uuid);
        blocked = !waiting_.empty();
    }
    if (blocked) {
        wake_.notify_one(); // the next request of the set may have been passed over
    }
}

/// While the database is lost nobody waits behind those who wait for it.
void Write_Engine::fail_expired(const Error& error)
{
    Batch expired;
    {
        const std::lock_guard lock(mutex_);
        const Clock::time_point now = Clock::now();
        while (!waiting_.empty() && waiting_.front().came + options_.patience <= now) {
            waiting_bytes_ -= waiting_.front().step.request.params.size();
            expired.push_back(std::move(waiting_.front()));
            waiting_.pop_front();
        }
        waiting_count_ = waiting_.size();
    }
    for (const Pending& pending : expired) {
        Write_Answer answer;
        answer.error = error;
        pending.taker(std::move(answer));
    }
}

} // namespace catalog::service
