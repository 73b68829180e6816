// A job done by several parties side by side: the library, its limit, its peers.
//
// A repetition of a benchmark lets each party do the job once, in turning order, right after each other, so that what
// disturbs the machine disturbs all of them alike. The seconds that a party takes become a counter of its name; the
// benchmark's own time is that of the party "ours".
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Ends the program when the parties do not do the same job.
void require(bool condition, const std::string& what);

enum class Clock
{
    PROCESS, ///< the time that this process has the processor: for jobs without waiting and without helpers
    WALL
};

class Sides
{
public:
    using Job = std::function<void()>;

    /// `untimed`, when given, runs before each of the party's turns and does not count.
    void add(std::string name, Job job, Job untimed = {});

    /// One repetition of the benchmark. A turn handles so many `items`; the counters are seconds per item.
    void run(benchmark::State& state, Clock clock, double items);

private:
    struct Party
    {
        std::string name;
        Job job;
        Job untimed;
    };

    std::vector<Party> parties_;
    std::size_t first_ = 0;
};

/// Registers a benchmark whose parties are made by `make` before its first repetition.
void register_sides(const char* name, Clock clock, double items, std::function<Sides()> make);
