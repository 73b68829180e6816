// What is asked of sets that are not committed, and of the catalog in numbers.

#include "catalog/store/catalog_store.h"
#include "catalog/store/piece_list.h"
#include "catalog/store/refusal.h"
#include "catalog/store/set_listing.h"
#include "catalog/store/set_state.h"
#include "catalog/store/stored_set.h"
#include "platform/text/posix_time.h"

#include <limits>
#include <optional>
#include <utility>

namespace catalog {
namespace {

/// Rows "uuid,state,catalog_type,started,pieces".
class Open_Set_Printer : public database::sql::Query_Result_Token_Printer
{
public:
    explicit Open_Set_Printer(std::vector<Open_Set>& sets) : sets_(sets) {}

    bool begin_row() override
    {
        sets_.emplace_back();
        return true;
    }
    bool print_cstr(int index, const char*, const char* value, std::size_t length) override
    {
        const std::string_view text(value, length);
        if (index == 3) {
            return iso8601_to_posix_time(text, sets_.back().started);
        }
        (index == 0 ? sets_.back().uuid : index == 1 ? sets_.back().state : sets_.back().type) = text;
        return true;
    }
    bool print_int(int, const char*, ACE_INT64 value) override
    {
        sets_.back().piece_count = value;
        return true;
    }

private:
    std::vector<Open_Set>& sets_;
};

/// The first text of each row.
class Document_Printer : public database::sql::Query_Result_Token_Printer
{
public:
    bool print_cstr(int, const char*, const char* value, std::size_t length) override
    {
        document.emplace(value, length);
        return true;
    }

    std::optional<std::string> document;
};

/// Rows of a name and a number.
class Count_Printer : public database::sql::Query_Result_Token_Printer
{
public:
    explicit Count_Printer(std::map<std::string, std::int64_t>& counts) : counts_(counts) {}

    bool print_cstr(int, const char*, const char* value, std::size_t length) override
    {
        name_.assign(value, length);
        return true;
    }
    bool print_int(int, const char*, ACE_INT64 value) override
    {
        counts_[name_] = value;
        return true;
    }

private:
    std::map<std::string, std::int64_t>& counts_;
    std::string name_;
};

/// Rows of a resource and a time.
class Resource_Printer : public database::sql::Query_Result_Token_Printer
{
public:
    explicit Resource_Printer(std::vector<Catalog_Counters::Resource>& resources) : resources_(resources) {}

    bool print_cstr(int index, const char*, const char* value, std::size_t length) override
    {
        if (index == 1) {
            return iso8601_to_posix_time(std::string_view(value, length), resources_.back().newest_end);
        }
        UUID_Bytes bytes{};
        if (length == bytes.size()) { // SQLite does not tell what the column of a subquery is
            std::copy_n(reinterpret_cast<const unsigned char*>(value), length, bytes.begin());
            resources_.push_back({uuid_text(bytes)});
        } else {
            resources_.push_back({std::string(value, length)});
        }
        return true;
    }
    bool print_null(int, const char*) override
    {
        resources_.pop_back(); // without an end time
        return true;
    }

private:
    std::vector<Catalog_Counters::Resource>& resources_;
};

/// From one resource to the next by the index, past all their sets.
constexpr const char* newest_ends =
    "WITH RECURSIVE resources(resource_uuid) AS ("
    "SELECT (SELECT b.resource_uuid FROM backup_set b WHERE b.resource_uuid IS NOT NULL ORDER BY b.resource_uuid "
    "LIMIT 1) "
    "UNION ALL "
    "SELECT (SELECT b.resource_uuid FROM backup_set b WHERE b.resource_uuid > r.resource_uuid ORDER BY "
    "b.resource_uuid LIMIT 1) FROM resources r WHERE r.resource_uuid IS NOT NULL) "
    "SELECT r.resource_uuid, (SELECT max(b.backup_end_time) FROM backup_set b WHERE b.resource_uuid = "
    "r.resource_uuid) FROM resources r WHERE r.resource_uuid IS NOT NULL";

} // namespace

bool Catalog_Store::set_exists(std::string_view uuid, bool& exists, Error& error)
{
    error = {};
    UUID_Bytes bytes;
    return read_set_uuid(uuid, bytes, error) && is_committed(*connection_, bytes, exists, error);
}

bool Catalog_Store::open_sets(std::string_view state, std::size_t limit, std::string_view after, Open_Set_Page& page,
                              Error& error)
{
    error = {};
    page = {};
    if (!state.empty() && state != "open" && state != "complete") {
        return refuse(error, "state", shown(state) + " is no state of a set that is not committed: open, complete");
    }
    if (limit == 0) {
        return refuse(error, {}, "a listing has at least one set");
    }
    Select_SQL select;
    select.table("open_set", "s").select("s.uuid,s.state,s.catalog_type,s.started");
    select.add_key(
        "CAST((SELECT coalesce(sum(p.piece_count), 0) FROM open_set_pieces p WHERE p.set_uuid = s.uuid) AS bigint)",
        "piece_count");
    if (!state.empty()) {
        select.where("s.state = :state").bind(":state", state);
    }
    if (!after.empty()) {
        const std::optional<Page_Key> key = read_page_key(after);
        if (!key) {
            return refuse(error, {}, shown(after) + " is no key of a page");
        }
        select.where("(s.started, s.uuid) < (:started, :uuid)").bind(":started", key->start_time);
        select.bind(":uuid", key->uuid);
    }
    select.order_by("s.started DESC").order_by("s.uuid DESC");
    select.limit(limit == std::numeric_limits<std::size_t>::max() ? limit : limit + 1);
    Open_Set_Printer printer(page.sets);
    if (!connection_->query_and_print(select, printer, GM_ORM_ROWS)) {
        page = {};
        return fail(error, connection_->last_error());
    }
    if (page.sets.size() > limit) {
        page.sets.pop_back();
        page.next = page_key(page.sets.back().started, page.sets.back().uuid);
    }
    return true;
}

bool Catalog_Store::open_document(std::string_view uuid, std::string& document, Error& error)
{
    error = {};
    UUID_Bytes bytes;
    if (!read_set_uuid(uuid, bytes, error)) {
        return false;
    }
    Database_Transaction transaction(*connection_, Database_Transaction::READ);
    Select_SQL select;
    select.table("open_set").select("document").where("uuid = :uuid").bind(":uuid", bytes);
    Document_Printer stored;
    Set_States states;
    Look_Ups look_ups(*connection_);
    look_up_pieces(look_ups, std::span(&bytes, 1), states);
    if (!transaction.begun() || !connection_->query_and_print(select, stored, GM_ORM_ROWS) || !look_ups.run()
        || !transaction.commit())
    {
        return fail(error, connection_->last_error());
    }
    if (!stored.document) {
        error = {
            .kind = Error::NOT_FOUND, .message = "there is no open set " + uuid_text(bytes), .key = {}, .database = {}};
        return false;
    }
    Piece_List held;
    for (const std::string& pieces : states[bytes].pieces) {
        held.add(pieces);
    }
    document = with_pieces(*stored.document, held.array());
    return true;
}

bool Catalog_Store::read_counters(Catalog_Counters& counters, Error& error)
{
    static const SQL committed("SELECT catalog_type, count(*) FROM backup_set GROUP BY catalog_type");
    static const SQL open("SELECT state, count(*) FROM open_set GROUP BY state");
    static const SQL resources(newest_ends);
    counters = {};
    Count_Printer committed_printer(counters.committed);
    Count_Printer open_printer(counters.open);
    Resource_Printer resource_printer(counters.resources);
    Database_Transaction transaction(*connection_, Database_Transaction::READ);
    if (!transaction.begun() || !connection_->query_and_print(committed, committed_printer, GM_ORM_ROWS)
        || !connection_->query_and_print(open, open_printer, GM_ORM_ROWS)
        || !connection_->query_and_print(resources, resource_printer, GM_ORM_ROWS))
    {
        return fail(error, connection_->last_error());
    }
    return queue_depth(counters.queue, error) && (transaction.commit() || fail(error, connection_->last_error()));
}

} // namespace catalog
