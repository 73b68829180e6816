// The databases that the benchmarks read: made when first asked for, gone when the program ends.
#pragma once

#include "bench/workload.h"
#include "catalog/store/set_document.h"

#include <filesystem>
#include <string>

namespace databases {

/// A folder for files, beside the program.
const std::filesystem::path& folder();

/// What the catalog keeps of a set.
catalog::Set_Rows rows_of(std::uint64_t number, workload::JSON_Columns json);

/// A SQLite file with all sets.
const std::string& sqlite(workload::JSON_Columns json);

/// A database with all sets, their JSON columns filled, on a server of this program's own.
const std::string& postgresql();

/// A database without tables on that server.
std::string empty_postgresql(const std::string& name);

} // namespace databases
