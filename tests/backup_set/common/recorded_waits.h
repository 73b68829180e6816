// The waits of the calling thread, written down instead of waited.
//
// The test program stands in for the system's nanosleep, by which ACE_OS::sleep waits. While an object lives, its thread's
// calls return at once; without one they wait. Belongs to the thread that made it; only one at a time.
#pragma once

#include <cstddef>
#include <ctime>
#include <functional>
#include <vector>

class Recorded_Waits
{
public:
    /// `meanwhile` is called during each wait with the number of those before it.
    explicit Recorded_Waits(std::function<void(std::size_t)> meanwhile = nullptr);
    Recorded_Waits(const Recorded_Waits&) = delete;
    Recorded_Waits& operator=(const Recorded_Waits&) = delete;
    ~Recorded_Waits();

    /// Whole seconds, in the order of the waits.
    const std::vector<unsigned>& seconds() const { return seconds_; }

    /// The sum of the waits from the one with number `first` on.
    unsigned sum(std::size_t first = 0) const;

    /// Takes one wait down.
    void wait(std::time_t seconds);

private:
    std::function<void(std::size_t)> meanwhile_;
    std::vector<unsigned> seconds_;
};
