#include "bench/sides.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

double now(Clock clock)
{
    timespec time;
    clock_gettime(clock == Clock::PROCESS ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

} // namespace

void require(bool condition, const std::string& what)
{
    if (!condition) {
        std::fprintf(stderr, "backup_set_bench: %s\n", what.c_str());
        std::exit(1);
    }
}

void Sides::add(std::string name, Job job, Job untimed)
{
    parties_.push_back({std::move(name), std::move(job), std::move(untimed)});
}

void Sides::run(benchmark::State& state, Clock clock, double items)
{
    for (auto _ : state) {
        for (std::size_t i = 0; i < parties_.size(); ++i) {
            const Party& party = parties_[(first_ + i) % parties_.size()];
            if (party.untimed) {
                party.untimed();
            }
            const double begin = now(clock);
            party.job();
            const double seconds = (now(clock) - begin) / items;
            state.counters[party.name] = seconds;
            if (party.name == "ours") {
                state.SetIterationTime(seconds);
            }
        }
    }
    ++first_;
}

void register_sides(const char* name, Clock clock, double items, std::function<Sides()> make)
{
    const auto run = [clock, items, make, made = std::optional<Sides>()](benchmark::State& state) mutable {
        if (!made) {
            made = make();
        }
        made->run(state, clock, items);
    };
    benchmark::RegisterBenchmark(name, run)->Iterations(1)->UseManualTime();
}
