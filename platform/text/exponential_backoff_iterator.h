// Waits between the attempts of a retried operation: doubling, capped, with jitter.
//
// A plain value of one thread. Nothing here throws or sleeps; callers pass the waits to ACE_OS::sleep.
#pragma once

#include "platform/export.h"

#include <cstdint>

class BACKUP_PLATFORM_EXPORT Exponential_Backoff_Iterator
{
public:
    /// The first wait is `slot_s` seconds, each next one twice as long, none longer than `cap_s`; after `steps` waits the
    /// iterator is at its end (all ones: never). With `jitter` a wait is drawn between 1 second and that length. Each wait
    /// lies between 1 second and the cap; a slot or cap of 0 is taken as 1.
    Exponential_Backoff_Iterator(std::uint32_t slot_s, std::uint32_t steps, std::uint32_t cap_s, bool jitter) noexcept;

    /// The current wait in seconds; stays the same until `++`.
    std::uint32_t operator*() const noexcept { return wait_; }

    /// Passes the current wait and draws the next.
    Exponential_Backoff_Iterator& operator++() noexcept;

    /// The sum in seconds of the waits already passed.
    std::uint64_t cumulation() const noexcept { return cumulation_; }

    bool at_end() const noexcept { return left_ == 0; }

private:
    void draw() noexcept;

    std::uint32_t left_; ///< steps; all ones are never counted down
    std::uint32_t cap_;
    std::uint32_t length_; ///< of the current step, before jitter
    bool jitter_;
    std::uint32_t wait_ = 0;
    std::uint64_t cumulation_ = 0;
};
