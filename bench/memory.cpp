// How much the process grows while a million rows pass through the library.

#include "bench/benchmarks.h"
#include "bench/databases.h"
#include "bench/sides.h"
#include "platform/database/load_records.h"

#include <unistd.h>

#include <fstream>
#include <sstream>
#include <sys/wait.h>

namespace {

constexpr std::size_t wanted_rows = 1000000;

/// The process's largest resident size so far, in MiB.
double peak()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) {
            return std::stod(line.substr(6)) / 1024;
        }
    }
    require(false, "/proc/self/status has no VmHWM");
    return 0;
}

/// Reads as many rows as wanted, by joining the sets with a list of numbers.
void read_rows(const std::string& url)
{
    const std::unique_ptr<Database_Connection> connection = Database_Connection::open(url);
    require(connection != nullptr, "the library cannot open the database");
    Select_SQL sql;
    Oracle_Backup_Set::init_select_sql(sql, "b");
    sql.join("bench_numbers", "n", "n.number > 0");
    sql.limit(wanted_rows);
    std::size_t rows = 0;
    const auto take = [&rows](Oracle_Backup_Set&& set) {
        ++rows;
        return !set.uuid.empty();
    };
    require(for_each_record<Oracle_Backup_Set>(*connection, sql, take, Backup_Set::result_handler()),
            "the library did not read the rows");
    require(rows == wanted_rows, "the library read too few rows");
}

/// In a process of its own, in which nothing else has run.
double growth(const std::string& url)
{
    const std::string program = std::filesystem::read_symlink("/proc/self/exe");
    FILE* const output = popen(("'" + program + "' --read-rows '" + url + '\'').c_str(), "r");
    require(output != nullptr, "no process");
    double grown = 0;
    const bool told = std::fscanf(output, "%lf", &grown) == 1;
    require(pclose(output) == 0 && told, "the process that reads the rows failed");
    return grown;
}

void add_numbers(const std::string& url)
{
    const std::unique_ptr<Database_Connection> connection = Database_Connection::open(url);
    require(connection != nullptr, "the library cannot open the database");
    std::string script = "CREATE TABLE bench_numbers (number bigint PRIMARY KEY);\n";
    for (std::size_t i = 0; i < wanted_rows / workload::sets() + 1; ++i) {
        script += "INSERT INTO bench_numbers VALUES (" + std::to_string(i + 1) + ");\n";
    }
    require(connection->execute_script(script), "no table of numbers");
}

void register_memory(const char* name, std::function<std::string()> url)
{
    benchmark::RegisterBenchmark(name, [url, made = false](benchmark::State& state) mutable {
        if (!made) {
            add_numbers(url());
            made = true;
        }
        for (auto _ : state) {
            state.counters["ours"] = growth(url());
        }
    })->Iterations(1);
}

} // namespace

int read_rows_alone(const char* url)
{
    const double before = peak();
    read_rows(url);
    std::printf("%.3f\n", peak() - before);
    return 0;
}

void register_memory()
{
    register_memory("memory/sqlite", [] { return "sqlite:" + databases::sqlite(workload::JSON_Columns::FILLED); });
    register_memory("memory/postgresql", [] { return databases::postgresql(); });
}
