// What the service counts, and its text for Prometheus.
//
// Everything is kept in memory; a scrape asks nobody. What is in the catalog is counted by queries at the start and once
// in a while (`take_catalog`), and followed commit by commit in between. Thread-safe.
#pragma once

#include "catalog/store/catalog_error.h"
#include "catalog/store/catalog_store.h"
#include "catalog/store/write_request.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace catalog::service {

/// What queries found in the catalog.
struct Catalog_Counts
{
    Catalog_Counters counters;

    /// How many committed sets have a copy in a state ("online").
    std::map<std::string, std::int64_t> copies;
};

class Metrics
{
public:
    /// A further metric, whose value is asked for at each scrape: from memory, not from a database.
    struct Gauge
    {
        const char* name;
        const char* help;
        const char* type; ///< "gauge", "counter"
        std::function<double()> value;
    };

    /// To be called before the service begins.
    void add(Gauge gauge) { gauges_.push_back(std::move(gauge)); }

    /// A request was answered. `outcome` is "done" or the name of a fault.
    void answered(std::string_view protocol, std::string_view operation, std::string_view outcome,
                  std::chrono::steady_clock::duration time);

    /// A database operation failed.
    void database_failed(const Database_Error& error);

    /// A count of the catalog begins: what is committed from here on is added to what it will have found. A set that is
    /// committed in the very moment may count twice until the next count.
    void begin_catalog();

    /// What the count has found.
    void take_catalog(Catalog_Counts counts);

    void committed(const Write_Answer& answer);
    void take_queue(const Queue_Depth& depth);

    std::string text() const;

    /// Upper ends of the latencies' classes, in seconds.
    static constexpr std::array bounds = {0.001, 0.0025, 0.005, 0.01, 0.025, 0.05, 0.1, 0.25, 0.5, 1.0, 2.5, 5.0, 10.0};

private:
    /// Committed sets.
    struct Commits
    {
        void add(const Write_Answer& answer);
        void add(const Commits& others);

        std::map<std::string, std::int64_t> count; ///< by the type's id
        std::map<std::string, std::time_t> newest; ///< by the resource's uuid
    };

    struct Histogram
    {
        std::array<std::uint64_t, bounds.size()> counts{}; ///< those of a class alone
        std::uint64_t count = 0;
        double sum = 0;
    };

    mutable std::mutex mutex_;
    std::map<std::tuple<std::string, std::string, std::string>, std::uint64_t> requests_;
    std::map<std::pair<std::string, std::string>, Histogram> latencies_; ///< by (protocol, operation)
    std::map<std::string, std::uint64_t> database_errors_;               ///< by kind
    Commits committed_;
    Commits recently_committed_;                 ///< since a count began
    std::map<std::string, std::int64_t> open_;   ///< by the state of the set's life
    std::map<std::string, std::int64_t> copies_; ///< by the state of the copy
    Queue_Depth queue_;
    std::vector<Gauge> gauges_;
};

/// Counts what is in the catalog, by queries that read indexes of all of it.
bool count_catalog(Catalog_Store& store, Catalog_Counts& counts, Error& error);

} // namespace catalog::service
