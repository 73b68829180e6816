#include "tests/backup_set/common/recorded_waits.h"

#include <cerrno>
#include <ctime>
#include <numeric>
#include <stdexcept>
#include <utility>

namespace {

thread_local Recorded_Waits* recorder = nullptr;

} // namespace

extern "C" __attribute__((visibility("default"))) int nanosleep(const timespec* wait, timespec* left)
{
    if (recorder != nullptr) {
        recorder->wait(wait->tv_sec);
        return 0;
    }
    errno = ::clock_nanosleep(CLOCK_REALTIME, 0, wait, left);
    return errno == 0 ? 0 : -1;
}

Recorded_Waits::Recorded_Waits(std::function<void(std::size_t)> meanwhile) : meanwhile_(std::move(meanwhile))
{
    if (recorder != nullptr) {
        throw std::logic_error("the waits of this thread are being written down already");
    }
    recorder = this;
}

Recorded_Waits::~Recorded_Waits()
{
    recorder = nullptr;
}

void Recorded_Waits::wait(std::time_t seconds)
{
    seconds_.push_back(static_cast<unsigned>(seconds));
    if (meanwhile_) {
        meanwhile_(seconds_.size() - 1);
    }
}

unsigned Recorded_Waits::sum(std::size_t first) const
{
    return std::accumulate(seconds_.begin() + static_cast<std::ptrdiff_t>(first), seconds_.end(), 0u);
}
