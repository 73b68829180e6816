// Two things that all connections share: places for requests in flight, and the memory that requests may take.
//
// Thread-safe. Both are held by objects that give back what they hold when they end, from whichever thread.
#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace catalog::service::detail {

class Slots : public std::enable_shared_from_this<Slots>
{
public:
    class Slot
    {
    public:
        Slot() = default;
        explicit Slot(std::shared_ptr<Slots> slots) : slots_(std::move(slots)) {}
        Slot(Slot&& other) noexcept : slots_(std::move(other.slots_)) {}
        Slot& operator=(Slot&& other) noexcept
        {
            std::swap(slots_, other.slots_);
            return *this;
        }
        Slot(const Slot&) = delete;
        Slot& operator=(const Slot&) = delete;
        ~Slot()
        {
            if (slots_) {
                slots_->give_back();
            }
        }

    private:
        std::shared_ptr<Slots> slots_;
    };
    using Waiter = std::function<void(Slot)>;

    explicit Slots(std::size_t limit) : limit_(limit) {}

    std::optional<Slot> try_take()
    {
        const std::lock_guard lock(mutex_);
        if (used_ >= limit_) {
            return std::nullopt;
        }
        ++used_;
        return Slot(shared_from_this());
    }

    /// A slot at once, or else `waiter` is called with the next one that becomes free, by the thread that frees it.
    std::optional<Slot> take(Waiter waiter)
    {
        const std::lock_guard lock(mutex_);
        if (used_ >= limit_) {
            waiters_.push_back(std::move(waiter));
            return std::nullopt;
        }
        ++used_;
        return Slot(shared_from_this());
    }

    std::size_t used() const
    {
        const std::lock_guard lock(mutex_);
        return used_;
    }

private:
    void give_back()
    {
        Waiter next;
        {
            const std::lock_guard lock(mutex_);
            if (waiters_.empty()) {
                --used_;
                return;
            }
            next = std::move(waiters_.front());
            waiters_.pop_front();
        }
        next(Slot(shared_from_this()));
    }

    mutable std::mutex mutex_;
    std::size_t limit_;
    std::size_t used_ = 0;
    std::deque<Waiter> waiters_;
};

class Budget
{
public:
    explicit Budget(std::size_t limit) : limit_(limit) {}

    /// What one request holds of the budget.
    class Share
    {
    public:
        Share() = default;
        explicit Share(std::shared_ptr<Budget> budget) : budget_(std::move(budget)) {}
        Share(Share&& other) noexcept { swap(other); }
        Share& operator=(Share&& other) noexcept
        {
            swap(other);
            return *this;
        }
        Share(const Share&) = delete;
        Share& operator=(const Share&) = delete;
        ~Share()
        {
            if (budget_) {
                budget_->used_ -= size_;
            }
        }

        /// Holds at least `size` bytes from now on. False, and nothing changes, when that is too much.
        bool grow_to(std::size_t size)
        {
            if (size <= size_) {
                return true;
            }
            const std::size_t more = size - size_;
            if (budget_->used_.fetch_add(more) + more > budget_->limit_) {
                budget_->used_ -= more;
                return false;
            }
            size_ = size;
            return true;
        }

    private:
        void swap(Share& other) noexcept
        {
            std::swap(budget_, other.budget_);
            std::swap(size_, other.size_);
        }

        std::shared_ptr<Budget> budget_;
        std::size_t size_ = 0;
    };

private:
    std::atomic<std::size_t> used_ = 0;
    std::size_t limit_;
};

} // namespace catalog::service::detail
