// The catalog through its service: the service runs in a process of its own, on its usual options; the clients are threads
// of this one, each with a WebSocket over loopback, and wait for each answer before the next call. So the time of the
// clients, of the sockets and of both ends of JSON-RPC counts, which the hand-written programs beside it do not have.

#include "bench/benchmarks.h"
#include "bench/databases.h"
#include "bench/postgresql.h"
#include "bench/served.h"
#include "bench/set_writer.h"
#include "bench/sides.h"
#include "bench/sqlite.h"
#include "bench/supply.h"

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

/// Lets `count` threads do `job`, each with its number.
void in_threads(std::size_t count, const std::function<void(std::size_t)>& job)
{
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < count; ++i) {
        threads.emplace_back([&job, i] { job(i); });
    }
}

/// Sets by the clients of a service, each set a call of its own.
class Through_Service
{
public:
    Through_Service(const std::string& url, std::size_t clients, std::size_t sets) : served_(url), supply_(sets)
    {
        for (std::size_t i = 0; i < clients; ++i) {
            clients_.push_back(std::make_unique<Client>(served_));
        }
    }

    void refill()
    {
        supply_.refill();
        requests_.clear();
        for (const std::string& document : supply_.documents) {
            requests_.push_back(make_request("backup_set.commit", document));
        }
    }

    void record()
    {
        in_threads(clients_.size(), [this](std::size_t client) {
            for (std::size_t i = client; i < requests_.size(); i += clients_.size()) {
                clients_[client]->call(*requests_[i]);
            }
        });
    }

private:
    Served served_;
    std::vector<std::unique_ptr<Client>> clients_;
    Supply supply_;
    std::vector<JSON_RPC_Object_var> requests_;
};

/// Sets by hand on SQLite's C interface, some in each transaction.
class Sqlite_By_Hand
{
public:
    Sqlite_By_Hand(const std::string& path, std::size_t sets, std::size_t per_transaction) :
        database_(path), supply_(sets), per_transaction_(per_transaction)
    {
        database_.execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL");
        database_.execute(catalog::create_schema(SQL_Dialect::SQLITE));
    }

    void refill() { supply_.refill(); }

    void record()
    {
        for (std::size_t i = 0; i < supply_.rows.size(); ++i) {
            if (i % per_transaction_ == 0) {
                begin_.run();
            }
            writer_.write(supply_.rows[i]);
            if (i % per_transaction_ == per_transaction_ - 1 || i + 1 == supply_.rows.size()) {
                commit_.run();
            }
        }
    }

private:
    Sqlite_Database database_;
    Sqlite_Statement begin_{database_, "BEGIN IMMEDIATE"};
    Sqlite_Statement commit_{database_, "COMMIT"};
    Sqlite_Set_Writer writer_{database_};
    Supply supply_;
    std::size_t per_transaction_;
};

/// Sets by hand on libpq, by threads with a connection each; each set is one transaction in one trip.
class Postgresql_By_Hand
{
public:
    Postgresql_By_Hand(const std::string& url, std::size_t sets, std::size_t connections) : supply_(sets)
    {
        Postgresql_Database(url).execute(catalog::create_schema(SQL_Dialect::POSTGRESQL));
        for (std::size_t i = 0; i < connections; ++i) {
            writers_.push_back(std::make_unique<Writer>(url));
        }
    }

    void refill()
    {
        supply_.refill();
        for (const auto& writer : writers_) {
            for (const catalog::Set_Rows& rows : supply_.rows) {
                writer->writer.prepare(rows);
            }
        }
    }

    void record()
    {
        in_threads(writers_.size(), [this](std::size_t number) {
            for (std::size_t i = number; i < supply_.rows.size(); i += writers_.size()) {
                writers_[number]->writer.write({&supply_.rows[i]});
            }
        });
    }

private:
    struct Writer
    {
        explicit Writer(const std::string& url) : database(url), writer(database) {}

        Postgresql_Database database;
        Postgresql_Set_Writer writer;
    };

    std::vector<std::unique_ptr<Writer>> writers_;
    Supply supply_;
};

template <class Party>
void add_party(Sides& sides, const char* name, const std::shared_ptr<Party>& party)
{
    party->refill();
    party->record(); // what is done once only is done now
    sides.add(
        name, [party] { party->record(); }, [party] { party->refill(); });
}

Sides commits_on_sqlite(std::size_t clients, std::size_t sets)
{
    const std::string stem = databases::folder() / ("service" + std::to_string(clients));
    Sides sides;
    const auto ours = std::make_shared<Through_Service>("sqlite:" + stem + "-ours.db", clients, sets);
    add_party(sides, "ours", ours);
    add_party(sides, "sqlite3_by_10", std::make_shared<Sqlite_By_Hand>(stem + "-by_10.db", sets, 10));
    add_party(sides, "sqlite3_by_1", std::make_shared<Sqlite_By_Hand>(stem + "-by_1.db", sets, 1));
    const Sqlite_Database database(stem + "-ours.db");
    Sqlite_Statement count(database, "SELECT count(*) FROM backup_set_document");
    require(count.step() && count.integer(0) == static_cast<std::int64_t>(sets), "the service has lost sets");
    return sides;
}

Sides commits_on_postgresql(std::size_t clients, std::size_t sets)
{
    constexpr std::size_t connections = 8;
    const std::string stem = "service" + std::to_string(clients);
    Sides sides;
    const std::string url = databases::empty_postgresql(stem + "_ours");
    add_party(sides, "ours", std::make_shared<Through_Service>(url, clients, sets));
    add_party(sides, "libpq",
              std::make_shared<Postgresql_By_Hand>(databases::empty_postgresql(stem + "_theirs"), sets, connections));
    const Postgresql_Result count = Postgresql_Database(url).execute("SELECT count(*) FROM backup_set_document");
    require(PQgetvalue(count.get(), 0, 0) == std::to_string(sets), "the service has lost sets");
    return sides;
}

// Catalogs of many small sets: rows of "backup_set" alone, which is what a list of sets reads.

const std::string insert_small_sets =
    "INSERT INTO backup_set (uuid, name, host_uuid, resource_uuid, minor_resource_id, minor_resource_name, agent, type, "
    "backup_start_time, backup_end_time, source_size, size, host, catalog_type, piece_count, copy_states) ";

/// The file is kept beside the benchmarks' folder for the next run, under a name that changes with the schema.
std::string sqlite_catalog_of(std::size_t sets)
{
    const std::string schema = catalog::create_schema(SQL_Dialect::SQLITE);
    const std::string rows =
        "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i + 1 < " + std::to_string(sets) + ") "
        + insert_small_sets
        + "SELECT randomblob(16), 'set ' || i, CAST(printf('host%012d', i % 200) AS BLOB), "
          "CAST(printf('resource%08d', i % 5000) AS BLOB), i % 5000, 'database ' || i % 5000, 'oracle', 'full', "
          "datetime(1500000000 + i * 60, 'unixepoch'), datetime(1500000000 + i * 60 + 50, 'unixepoch'), i * 3, i, "
          "'host' || i % 200, 'oracle', 0, 1 FROM n";
    const std::filesystem::path folder = databases::folder().parent_path() / "bench_pages";
    const std::filesystem::path path =
        folder / (std::to_string(sets) + '-' + std::to_string(std::hash<std::string>()(schema + rows)) + ".db");
    if (!std::filesystem::exists(path)) {
        std::filesystem::create_directories(folder);
        const std::filesystem::path unfinished = path.string() + ".unfinished";
        std::filesystem::remove(unfinished);
        {
            const Sqlite_Database database(unfinished);
            database.execute("PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF; PRAGMA cache_size = -1000000");
            database.execute(schema);
            database.execute("BEGIN; " + rows + "; COMMIT");
        }
        std::filesystem::rename(unfinished, path);
    }
    return "sqlite:" + path.string();
}

std::string postgresql_catalog_of(std::size_t sets)
{
    const std::string url = databases::empty_postgresql("pages" + std::to_string(sets));
    const Postgresql_Database database(url);
    database.execute(catalog::create_schema(SQL_Dialect::POSTGRESQL));
    const std::string rows =
        insert_small_sets
        + "SELECT gen_random_uuid(), 'set ' || i, CAST(md5('host' || i % 200) AS uuid), "
          "CAST(md5('resource' || i % 5000) AS uuid), i % 5000, 'database ' || i % 5000, 'oracle', 'full', "
          "timestamp '2017-07-14 02:40:00' + i * interval '1 minute', "
          "timestamp '2017-07-14 02:40:50' + i * interval '1 minute', i * 3, i, 'host' || i % 200, 'oracle', 0, 1 "
          "FROM generate_series(0, "
        + std::to_string(sets - 1) + ") AS n(i)";
    database.execute(rows);
    database.execute("VACUUM ANALYZE backup_set");
    return url;
}

constexpr std::size_t pages = 50;
constexpr std::size_t rows_of_page = 100;

/// The first page of all sets, in a small catalog and in a large one.
Sides first_pages(std::string (*catalog_of)(std::size_t sets))
{
    class Pages
    {
    public:
        explicit Pages(const std::string& url) : served_(url) {}

        void read()
        {
            for (std::size_t i = 0; i < pages; ++i) {
                const JSON_RPC_Object_var page = client_.call(*request_);
                require(page->result().get_obj().at("rows").get_array().size() == rows_of_page, "no whole page");
            }
        }

    private:
        Served served_;
        Client client_{served_};
        JSON_RPC_Object_var request_ =
            make_request("backup_set.select", R"({"module":"backup_set","view":"sets","param":{"limit":100}})");
    };

    const auto large = std::make_shared<Pages>(catalog_of(1000000));
    const auto small = std::make_shared<Pages>(catalog_of(10000));
    large->read();
    small->read();
    Sides sides;
    sides.add("ours", [large] { large->read(); });
    sides.add("small", [small] { small->read(); });
    return sides;
}

void register_memory_of_service()
{
    benchmark::RegisterBenchmark("service/memory", [](benchmark::State& state) {
        constexpr std::size_t count = 256;
        for (auto _ : state) {
            const std::filesystem::path path = databases::folder() / "service_memory.db";
            std::filesystem::remove(path);
            const Served served("sqlite:" + path.string());
            {
                Client client(served); // so that it has done what it does once
                client.call(*make_request("backup_set.select", R"({"module":"backup_set","view":"sets"})"));
            }
            state.counters["idle"] = served.resident();
            Supply supply(count);
            supply.refill();
            std::vector<std::unique_ptr<Client>> clients;
            for (const std::string& document : supply.documents) {
                clients.push_back(std::make_unique<Client>(served));
                clients.back()->call(*make_request("backup_set.commit", document));
            }
            state.counters["clients"] = served.resident();
        }
    })->Iterations(1);
}

} // namespace

void register_service()
{
    constexpr struct
    {
        std::size_t clients;
        std::size_t sets;
    } loads[] = {{1, 100}, {8, 400}, {32, 960}};
    for (const auto [clients, sets] : loads) {
        const std::string name = std::to_string(clients);
        register_sides(("service/sqlite/" + name).c_str(), Clock::WALL, static_cast<double>(sets),
                       [clients = clients, sets = sets] { return commits_on_sqlite(clients, sets); });
        register_sides(("service/postgresql/" + name).c_str(), Clock::WALL, static_cast<double>(sets),
                       [clients = clients, sets = sets] { return commits_on_postgresql(clients, sets); });
    }
    register_sides("service/first_page/sqlite", Clock::WALL, pages, [] { return first_pages(sqlite_catalog_of); });
    register_sides("service/first_page/postgresql", Clock::WALL, pages,
                   [] { return first_pages(postgresql_catalog_of); });
    register_memory_of_service();
}
