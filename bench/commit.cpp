// Recording sets durably: the catalog's store beside the same inserts on the engine's C interface, whose values are made
// before the clock runs.

#include "bench/benchmarks.h"
#include "bench/databases.h"
#include "bench/postgresql.h"
#include "bench/set_writer.h"
#include "bench/sides.h"
#include "bench/sqlite.h"
#include "bench/supply.h"
#include "catalog/store/catalog_store.h"

#include <algorithm>
#include <memory>

namespace {

std::unique_ptr<catalog::Catalog_Store> open_store(const std::string& url)
{
    catalog::Error error;
    auto store = catalog::Catalog_Store::open(url, catalog::Catalog_Store::Schema_Policy::CREATE, error);
    require(store != nullptr, error.message);
    return store;
}

/// One party of the library.
struct Store
{
    Store(const std::string& url, std::size_t sets) : store(open_store(url)), supply(sets) {}

    void record(std::size_t per_transaction)
    {
        const std::span<const std::string> all(supply.documents);
        for (std::size_t i = 0; i < all.size(); i += per_transaction) {
            for (const catalog::Record_Result& result : store->record(all.subspan(i, per_transaction))) {
                require(!result.error, result.error.message);
            }
        }
    }

    std::unique_ptr<catalog::Catalog_Store> store;
    Supply supply;
};

/// What the tables of a set hold, line by line, so that two databases can be compared.
constexpr const char* tables[] = {"backup_set",       "oracle_backup_set",  "backup_set_document",
                                  "backup_set_state", "backup_set_storage", "backup_piece"};

std::string content(const Sqlite_Database& database)
{
    std::string text;
    for (const char* table : tables) {
        Sqlite_Statement rows(database, "SELECT * FROM \"" + std::string(table) + "\" ORDER BY 1, 2");
        while (rows.step()) {
            for (int i = 0; i < rows.columns(); ++i) {
                text += std::string(rows.text(i)) + '\x1f';
            }
            text += '\n';
        }
    }
    return text;
}

std::string content(const Postgresql_Database& database)
{
    std::string text;
    for (const char* table : tables) {
        const Postgresql_Result rows =
            database.execute("SELECT t::text FROM \"" + std::string(table) + "\" t ORDER BY 1");
        for (int i = 0; i < PQntuples(rows.get()); ++i) {
            text += std::string(PQgetvalue(rows.get(), i, 0)) + '\n';
        }
    }
    return text;
}

Sides commit_sqlite(std::size_t sets, std::size_t per_transaction)
{
    struct By_Hand
    {
        By_Hand(const std::string& path, std::size_t count) : database(path), writer(database), supply(count)
        {
            database.execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL");
            database.execute(catalog::create_schema(SQL_Dialect::SQLITE));
        }

        void record(std::size_t per_transaction)
        {
            for (std::size_t i = 0; i < supply.rows.size(); ++i) {
                if (i % per_transaction == 0) {
                    begin.run();
                }
                writer.write(supply.rows[i]);
                if (i % per_transaction == per_transaction - 1) {
                    commit.run();
                }
            }
        }

        Sqlite_Database database;
        Sqlite_Statement begin{database, "BEGIN IMMEDIATE"};
        Sqlite_Statement commit{database, "COMMIT"};
        Sqlite_Set_Writer writer;
        Supply supply;
    };

    const std::string stem = databases::folder() / ("commit" + std::to_string(per_transaction));
    const auto ours = std::make_shared<Store>("sqlite:" + stem + "-ours.db", sets);
    const auto theirs = std::make_shared<By_Hand>(stem + "-theirs.db", sets);
    ours->supply.refill();
    ours->record(per_transaction);
    theirs->supply.refill();
    theirs->record(per_transaction);
    require(content(Sqlite_Database(stem + "-ours.db")) == content(theirs->database),
            "the inserts by hand store other rows");

    Sides sides;
    sides.add(
        "ours", [=] { ours->record(per_transaction); }, [=] { ours->supply.refill(); });
    sides.add(
        "sqlite3", [=] { theirs->record(per_transaction); }, [=] { theirs->supply.refill(); });
    return sides;
}

Sides commit_postgresql(std::size_t sets, std::size_t per_transaction)
{
    struct By_Hand
    {
        By_Hand(const std::string& url, std::size_t count) : database(url), writer(database), supply(count)
        {
            database.execute(catalog::create_schema(SQL_Dialect::POSTGRESQL));
        }

        void record(std::size_t per_transaction)
        {
            for (std::size_t i = 0; i < supply.rows.size(); i += per_transaction) {
                std::vector<const catalog::Set_Rows*> together;
                for (std::size_t j = i; j < std::min(i + per_transaction, supply.rows.size()); ++j) {
                    together.push_back(&supply.rows[j]);
                }
                writer.write(together);
            }
        }

        void refill()
        {
            supply.refill();
            for (const catalog::Set_Rows& rows : supply.rows) {
                writer.prepare(rows);
            }
        }

        Postgresql_Database database;
        Postgresql_Set_Writer writer;
        Supply supply;
    };

    const std::string stem = "commit" + std::to_string(per_transaction);
    const std::string ours_url = databases::empty_postgresql(stem + "_ours");
    const auto ours = std::make_shared<Store>(ours_url, sets);
    const auto theirs = std::make_shared<By_Hand>(databases::empty_postgresql(stem + "_theirs"), sets);
    ours->supply.refill();
    ours->record(per_transaction);
    theirs->refill();
    theirs->record(per_transaction);
    require(content(Postgresql_Database(ours_url)) == content(theirs->database),
            "the inserts by hand store other rows");

    Sides sides;
    sides.add(
        "ours", [=] { ours->record(per_transaction); }, [=] { ours->supply.refill(); });
    sides.add(
        "libpq", [=] { theirs->record(per_transaction); }, [=] { theirs->refill(); });
    return sides;
}

} // namespace

void register_commit()
{
    constexpr std::size_t sets = 200;
    constexpr std::size_t many = 100;
    register_sides("commit/sqlite", Clock::WALL, sets, [] { return commit_sqlite(sets, 1); });
    register_sides("commit/postgresql", Clock::WALL, sets, [] { return commit_postgresql(sets, 1); });
    register_sides("commit_100/sqlite", Clock::WALL, 5 * many, [] { return commit_sqlite(5 * many, many); });
    register_sides("commit_100/postgresql", Clock::WALL, 5 * many, [] { return commit_postgresql(5 * many, many); });
}
