#include "catalog/store/catalog_store.h"

#include "catalog/store/migration.h"
#include "catalog/store/refusal.h"
#include "catalog/store/set_document.h"
#include "catalog/store/set_listing.h"
#include "catalog/store/stored_set.h"
#include "platform/json/document.h"
#include "platform/text/uuid.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace catalog {
namespace {

/// A valid document that waits to be written.
struct Pending
{
    std::size_t index; ///< among those that were given
    std::string_view document;
    UUID_Bytes uuid;
    Set_Rows rows;
};

/// The inserts of several sets.
std::vector<Database_Connection::Statement> inserts(std::vector<Pending>& sets)
{
    Row_Collector rows;
    for (Pending& set : sets) {
        rows.add(std::move(set.rows));
    }
    return rows.take();
}

class Recorder
{
public:
    Recorder(Database_Connection& connection, std::size_t documents) : connection_(connection), results_(documents) {}

    void add(std::size_t index, std::string_view document)
    {
        Pending set{index, document, {}, {}};
        if (read_document(document, set.rows, results_[index].error)) {
            set.uuid = set.rows.uuid;
            waiting_.push_back(std::move(set));
        }
    }

    std::vector<Record_Result> run()
    {
        // Everybody writes in the same order, so that nobody waits for somebody who waits for him.
        std::ranges::stable_sort(waiting_, {}, &Pending::uuid);
        while (!waiting_.empty()) {
            std::vector<Pending> later; // sets that are given several times
            std::vector<Pending> now;
            for (Pending& set : waiting_) {
                (now.empty() || now.back().uuid != set.uuid ? now : later).push_back(std::move(set));
            }
            write(std::move(now));
            waiting_ = std::move(later);
        }
        return std::move(results_);
    }

private:
    void write(std::vector<Pending> sets)
    {
        const Expected_Constraint expected(connection_); // of a set that is there already
        while (!sets.empty()) {
            if (connection_.execute(inserts(sets))) {
                for (const Pending& set : sets) {
                    succeed(set, Record_Outcome::RECORDED);
                }
                return;
            }
            const Database_Error error = connection_.last_error();
            if (!concerns_content(error)) {
                give_up(sets, error);
                return;
            }
            const std::size_t before = sets.size();
            std::erase_if(sets, [this](const Pending& set) { return settle(set); });
            if (sets.size() == before) {
                if (before == 1) {
                    give_up(sets, error);
                    return;
                }
                one_by_one(std::move(sets));
                return;
            }
            read_again(sets);
        }
    }

    void one_by_one(std::vector<Pending> sets)
    {
        read_again(sets);
        for (Pending& set : sets) {
            std::vector<Pending> alone;
            alone.push_back(std::move(set));
            write(std::move(alone));
        }
    }

    /// The rows went into the statements that failed.
    static void read_again(std::vector<Pending>& sets)
    {
        for (Pending& set : sets) {
            Error none;
            read_document(set.document, set.rows, none);
        }
    }

    /// True when the set has its result: it is there, or that cannot be told.
    bool settle(const Pending& set)
    {
        std::string there;
        Error error;
        if (!read_back(connection_, set.uuid, there, error)) {
            if (error.kind == Error::NOT_FOUND) {
                return false;
            }
            results_[set.index].error = std::move(error);
        } else if (json_document::same_content(there, set.document)) {
            succeed(set, Record_Outcome::ALREADY_THERE);
        } else {
            results_[set.index].error = {.kind = Error::CONFLICT,
                                         .message = "the catalog has set " + uuid_text(set.uuid)
                                                    + " with other content; it was left as it is",
                                         .key = "uuid",
                                         .database = {}};
        }
        return true;
    }

    void succeed(const Pending& set, Record_Outcome outcome)
    {
        results_[set.index].uuid = uuid_text(set.uuid);
        results_[set.index].outcome = outcome;
    }

    void give_up(const std::vector<Pending>& sets, const Database_Error& error)
    {
        for (const Pending& set : sets) {
            fail(results_[set.index].error, error);
        }
    }

    Database_Connection& connection_;
    std::vector<Record_Result> results_;
    std::vector<Pending> waiting_;
};

} // namespace

Catalog_Store::Catalog_Store(std::unique_ptr<Database_Connection> connection) : connection_(std::move(connection)) {}

Catalog_Store::~Catalog_Store() = default;

std::unique_ptr<Catalog_Store> Catalog_Store::open(const std::string& url, Schema_Policy policy, Error& error)
{
    error = {};
    Database_Error database;
    std::unique_ptr<Database_Connection> connection = Database_Connection::open(url, &database);
    if (connection == nullptr) {
        fail(error, database);
        return nullptr;
    }
    auto store = std::make_unique<Catalog_Store>(std::move(connection));
    if (policy == Schema_Policy::LEAVE_ALONE) {
        return store;
    }
    int version = 0;
    if (!store->schema_version(version, error)) {
        return nullptr;
    }
    if (version == 0) {
        if (!bring_forward(store->connection(), {}, create_schema(store->connection().dialect()),
                           catalog::schema_version, version, error))
        {
            return nullptr;
        }
        // Somebody else may have been faster, with another version.
        if (!store->schema_version(version, error)) {
            return nullptr;
        }
    }
    if (!check_schema_version(version, error)) {
        return nullptr;
    }
    return store;
}

bool Catalog_Store::schema_version(int& version, Error& error)
{
    return read_schema_version(*connection_, version, error);
}

bool Catalog_Store::migrate(int& from, int& to, Error& error)
{
    to = catalog::schema_version;
    return bring_forward(*connection_, migrations(), create_schema(connection_->dialect()), to, from, error);
}

void Catalog_Store::prepare_to_write()
{
    if (std::exchange(is_prepared_to_write_, true)) {
        return;
    }
    // SQLite: what is kept of pages to take a statement back need not go through a temporary file, and pages that many sets
    // share need not go from the log to the database every few transactions. PostgreSQL: sets are looked up by their keys,
    // for which there is nothing to plan anew each time. Where this fails, which the connection logs, or is lost with a
    // connection that was made anew, writing is slower and no more.
    const bool is_sqlite = connection_->dialect() == SQL_Dialect::SQLITE;
    connection_->execute_script(is_sqlite ? "PRAGMA temp_store = MEMORY; PRAGMA wal_autocheckpoint = 4000"
                                          : "SET plan_cache_mode = force_generic_plan");
}

Record_Result Catalog_Store::record(std::string_view document)
{
    prepare_to_write();
    Recorder recorder(*connection_, 1);
    recorder.add(0, document);
    return recorder.run().front();
}

std::vector<Record_Result> Catalog_Store::record(std::span<const std::string> documents)
{
    prepare_to_write();
    Recorder recorder(*connection_, documents.size());
    for (std::size_t i = 0; i < documents.size(); ++i) {
        recorder.add(i, documents[i]);
    }
    return recorder.run();
}

bool Catalog_Store::document(std::string_view uuid, std::string& document, Error& error)
{
    error = {};
    UUID_Bytes bytes;
    return read_set_uuid(uuid, bytes, error) && read_back(*connection_, bytes, document, error);
}

bool Catalog_Store::list(const Set_Filter& filter, std::size_t limit, std::string_view after, Set_Page& page,
                         Error& error)
{
    page = {};
    Select_SQL sql;
    // One more than asked for tells whether there is a next page.
    const std::size_t rows = limit == 0 || limit == std::numeric_limits<std::size_t>::max() ? limit : limit + 1;
    if (!list_select(filter, rows, after, sql, error)) {
        return false;
    }
    if (sql.empty()) {
        return true;
    }
    Summary_Printer printer(page.sets);
    if (!connection_->query_and_print(sql, printer, GM_ORM_ROWS)) {
        page = {};
        return fail(error, connection_->last_error());
    }
    if (page.sets.size() > limit) {
        page.sets.pop_back();
        page.next = page_key(page.sets.back());
    }
    return true;
}

bool Catalog_Store::storages(std::string_view uuid, std::vector<Storage_Copy>& copies, Error& error)
{
    error = {};
    copies.clear();
    UUID_Bytes bytes;
    if (!read_set_uuid(uuid, bytes, error)) {
        return false;
    }
    Copy_Printer printer(copies);
    if (!connection_->query_and_print(storages_select(bytes), printer, GM_ORM_ROWS)) {
        copies.clear();
        return fail(error, connection_->last_error());
    }
    if (!copies.empty()) {
        return true;
    }
    bool there = false;
    return is_committed(*connection_, bytes, there, error) && (there || not_found(error, bytes));
}

bool Catalog_Store::copies_in_pool(std::string_view pool_uuid, std::size_t limit, std::vector<Storage_Copy>& copies,
                                   Error& error)
{
    error = {};
    copies.clear();
    const std::optional<UUID_Bytes> pool = read_uuid(pool_uuid);
    if (!pool) {
        return refuse(error, {}, shown(pool_uuid) + " is no UUID of a pool");
    }
    if (limit == 0) {
        return refuse(error, {}, "a listing has at least one copy");
    }
    Copy_Printer printer(copies);
    if (!connection_->query_and_print(copies_in_pool_select(*pool, limit), printer, GM_ORM_ROWS)) {
        copies.clear();
        return fail(error, connection_->last_error());
    }
    return true;
}

bool Catalog_Store::type_select(const Set_Type& type, std::string_view uuid, Select_SQL& sql, Error& error)
{
    error = {};
    sql = {};
    type.init_select(sql, type.aliases);
    if (sql.empty()) {
        return refuse(error, {}, "the select of type " + std::string(type.id) + " reads nothing");
    }
    const char* const base = type.base_alias(type.aliases);
    const std::string prefix = std::string(base != nullptr ? base : type.aliases.front()) + '.';
    const std::string key = prefix + (base != nullptr ? "uuid" : "set_uuid");
    if (type.unrelated) {
        sql.where(key + " = " + type.aliases.front() + ".set_uuid");
    }
    if (base != nullptr) {
        sql.where(prefix + "catalog_type = :catalog_type").bind(":catalog_type", type.id);
        sql.order_by(prefix + "backup_start_time DESC");
    }
    if (!uuid.empty()) {
        UUID_Bytes bytes;
        if (!read_set_uuid(uuid, bytes, error)) {
            sql = {};
            return false;
        }
        sql.where(key + " = :uuid").bind(":uuid", bytes);
    }
    sql.order_by(key + " DESC");
    return true;
}

} // namespace catalog
