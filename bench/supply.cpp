#include "bench/supply.h"

#include "bench/sides.h"
#include "bench/workload.h"

#include <algorithm>
#include <numeric>

void Supply::refill()
{
    std::vector<Oracle_Backup_Set> sets;
    for (std::size_t i = 0; i < count_; ++i) {
        sets.push_back(workload::make_set(next_++, workload::JSON_Columns::FILLED));
    }
    std::vector<std::size_t> order(count_);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::sort(order, {}, [&sets](std::size_t i) -> const std::string& { return sets[i].uuid; });
    documents.clear();
    rows.clear();
    for (const std::size_t i : order) {
        documents.push_back(to_json(sets[i]));
        catalog::Error error;
        require(catalog::read_document(documents.back(), rows.emplace_back(), error), error.message);
    }
}
