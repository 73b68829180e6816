#include "platform/text/exponential_backoff_iterator.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <sys/random.h>

namespace {

constexpr std::uint32_t without_end = std::numeric_limits<std::uint32_t>::max();

/// Not a secret, but different in every process and thread, also after a fork: peers must not come back in step.
std::uint64_t random_number() noexcept
{
    std::uint64_t number = 0;
    if (::getrandom(&number, sizeof(number), GRND_NONBLOCK) != static_cast<ssize_t>(sizeof(number))) {
        number = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
    }
    return number;
}

} // namespace

Exponential_Backoff_Iterator::Exponential_Backoff_Iterator(std::uint32_t slot_s, std::uint32_t steps,
                                                           std::uint32_t cap_s, bool jitter) noexcept :
    left_(steps),
    cap_(std::max(cap_s, 1u)), length_(std::clamp(slot_s, 1u, cap_)), jitter_(jitter)
{
    draw();
}

Exponential_Backoff_Iterator& Exponential_Backoff_Iterator::operator++() noexcept
{
    if (left_ != 0 && left_ != without_end) {
        --left_;
    }
    cumulation_ += wait_;
    length_ = length_ > cap_ / 2 ? cap_ : length_ * 2;
    draw();
    return *this;
}

void Exponential_Backoff_Iterator::draw() noexcept
{
    wait_ = jitter_ ? static_cast<std::uint32_t>(1 + random_number() % length_) : length_;
}
