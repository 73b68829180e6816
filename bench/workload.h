// The sets that all benchmarks work on: number for number the same on every run.
#pragma once

#include "backup_set/common/oracle_backup_set.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace workload {

constexpr std::size_t pieces_per_set = 8;
constexpr std::size_t storages_per_set = 2;

/// How many sets the databases hold: 100,000, or what the environment variable BACKUP_SET_BENCH_SETS says.
std::size_t sets();

enum class JSON_Columns
{
    EMPTY, ///< `{}` in each
    FILLED ///< content of realistic size in all five
};

/// Set number `number` with its pieces and storages.
Oracle_Backup_Set make_set(std::uint64_t number, JSON_Columns json);

} // namespace workload
