#include "bench/benchmarks.h"

#include <benchmark/benchmark.h>

#include <string_view>
#include <vector>

int main(int argc, char** argv)
{
    if (argc == 3 && std::string_view(argv[1]) == "--read-rows") {
        return read_rows_alone(argv[2]);
    }
    if (argc == 3 && std::string_view(argv[1]) == "--serve") {
        return serve_alone(argv[2]);
    }
    // Medians of nine unless told otherwise.
    char repetitions[] = "--benchmark_repetitions=9";
    std::vector<char*> arguments{argv[0], repetitions};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        return 1;
    }
    register_load_records();
    register_record_to_json();
    register_rows_to_json();
    register_commit();
    register_memory();
    register_service();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::ClearRegisteredBenchmarks(); // and all that they have opened, before the database server goes
    benchmark::Shutdown();
}
