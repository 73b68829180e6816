#include "catalog/store/commit_queue.h"

#include "backup_set/common/column_intake.h"
#include "catalog/store/catalog_store.h"
#include "catalog/store/refusal.h"
#include "catalog/store/set_life.h"
#include "platform/text/posix_time.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace catalog {
namespace {

/// Rows "id,set_uuid,document".
class Waiting_Printer : public database::sql::Query_Result_Token_Printer
{
public:
    explicit Waiting_Printer(std::vector<Waiting_Commit>& commits) : commits_(commits) {}

    bool begin_row() override
    {
        commits_.emplace_back();
        return true;
    }
    bool print_int(int, const char*, ACE_INT64 value) override
    {
        commits_.back().id = value;
        return true;
    }
    bool print_cstr(int index, const char*, const char* value, std::size_t length) override
    {
        const std::string_view text(value, length);
        if (index == 1) {
            const auto uuid = read_uuid(text);
            commits_.back().set = uuid.value_or(UUID_Bytes{});
            return uuid.has_value();
        }
        commits_.back().document = text;
        return true;
    }

private:
    std::vector<Waiting_Commit>& commits_;
};

constexpr const char* entry_columns = "id,set_uuid,catalog_type,state,queued,message";
constexpr const char* whole_entry_columns = "id,set_uuid,catalog_type,state,queued,message,document";

/// Rows of these.
class Entry_Printer : public database::sql::Query_Result_Token_Printer
{
public:
    explicit Entry_Printer(std::vector<Queue_Entry>& entries) : entries_(entries) {}

    bool begin_row() override
    {
        entries_.emplace_back();
        return true;
    }
    bool print_int(int, const char*, ACE_INT64 value) override
    {
        entries_.back().id = value;
        return true;
    }
    bool print_cstr(int index, const char*, const char* value, std::size_t length) override
    {
        const std::string_view text(value, length);
        Queue_Entry& entry = entries_.back();
        switch (index) {
        case 1:
            entry.uuid = text;
            break;
        case 2:
            entry.type = text;
            break;
        case 3:
            entry.failed = text == "failed";
            break;
        case 4:
            return iso8601_to_posix_time(text, entry.queued);
        case 5:
            entry.message = text;
            break;
        default:
            document = text;
        }
        return true;
    }

    std::string document;

private:
    std::vector<Queue_Entry>& entries_;
};

/// Rows "state,count(*)".
class Depth_Printer : public database::sql::Query_Result_Token_Printer
{
public:
    explicit Depth_Printer(Queue_Depth& depth) : depth_(depth) {}

    bool print_cstr(int, const char*, const char* value, std::size_t length) override
    {
        failed_ = std::string_view(value, length) == "failed";
        return true;
    }
    bool print_int(int, const char*, ACE_INT64 value) override
    {
        (failed_ ? depth_.failed : depth_.waiting) = value;
        return true;
    }

private:
    Queue_Depth& depth_;
    bool failed_ = false;
};

class Found_Printer : public database::sql::Query_Result_Token_Printer
{
public:
    bool begin_row() override
    {
        found = true;
        return true;
    }

    bool found = false;
};

bool no_entry(std::int64_t id, Error& error)
{
    error = {
        .kind = Error::NOT_FOUND, .message = "the queue has no entry " + std::to_string(id), .key = {}, .database = {}};
    return false;
}

bool change(Database_Connection& connection, const SQL& sql, std::int64_t id, Error& error)
{
    error = {};
    std::int64_t changed = 0;
    if (!connection.execute(sql, &changed)) {
        return fail(error, connection.last_error());
    }
    return changed > 0 || no_entry(id, error);
}

} // namespace

bool anything_waits(Database_Connection& connection, bool& waits, Error& error)
{
    static const Select_SQL select =
        Select_SQL().table("queued_commit").select("id").where("state = 'waiting'").limit(1);
    Found_Printer printer;
    if (!connection.query_and_print(select, printer, GM_ORM_ROWS)) {
        return fail(error, connection.last_error());
    }
    waits = printer.found;
    return true;
}

bool take_waiting(Database_Connection& connection, std::size_t limit, std::vector<Waiting_Commit>& commits)
{
    const std::string select = "SELECT id, set_uuid, document FROM queued_commit WHERE state = 'waiting' ORDER BY id "
                               "LIMIT :most";
    static const SQL on_sqlite(select);
    static const SQL on_server(select + " FOR UPDATE SKIP LOCKED");
    SQL sql = connection.dialect() == SQL_Dialect::POSTGRESQL ? on_server : on_sqlite;
    sql.bind(":most",
             static_cast<std::int64_t>(std::min<std::size_t>(limit, std::numeric_limits<std::int32_t>::max())));
    Waiting_Printer printer(commits);
    return connection.query_and_print(sql, printer, GM_ORM_ROWS);
}

SQL remove_queued(std::int64_t id)
{
    static const SQL sql("DELETE FROM queued_commit WHERE id = :id");
    SQL bound = sql;
    bound.bind(":id", id);
    return bound;
}

SQL fail_queued(std::int64_t id, const std::string& message)
{
    static const SQL sql("UPDATE queued_commit SET state = 'failed', message = :message WHERE id = :id");
    SQL bound = sql;
    bound.bind(":message", message).bind(":id", id);
    return bound;
}

std::vector<Write_Answer> Catalog_Store::apply(std::span<const Write_Request> requests, std::time_t now)
{
    prepare_to_write();
    return Set_Life(*connection_, now).apply(requests);
}

std::vector<Write_Answer> Catalog_Store::apply(std::span<Life_Step> steps, std::time_t now)
{
    prepare_to_write();
    return Set_Life(*connection_, now).apply(steps);
}

bool Catalog_Store::apply_queued(std::size_t limit, std::vector<Write_Answer>& answers, Error& error)
{
    prepare_to_write();
    return Set_Life(*connection_, 0).apply_queued(limit, answers, error);
}

bool Catalog_Store::queue_depth(Queue_Depth& depth, Error& error)
{
    error = {};
    depth = {};
    static const SQL sql("SELECT state, count(*) FROM queued_commit GROUP BY state");
    Depth_Printer printer(depth);
    return connection_->query_and_print(sql, printer, GM_ORM_ROWS) || fail(error, connection_->last_error());
}

bool Catalog_Store::queue_entries(std::size_t limit, std::int64_t after, std::vector<Queue_Entry>& entries,
                                  Error& error)
{
    error = {};
    entries.clear();
    if (limit == 0) {
        return refuse(error, {}, "a listing has at least one entry");
    }
    Select_SQL select;
    select.table("queued_commit").select(entry_columns).where("id > :after").order_by("id").limit(limit);
    select.bind(":after", after);
    Entry_Printer printer(entries);
    if (!connection_->query_and_print(select, printer, GM_ORM_ROWS)) {
        entries.clear();
        return fail(error, connection_->last_error());
    }
    return true;
}

bool Catalog_Store::queue_entry(std::int64_t id, Queue_Entry& entry, std::string& document, Error& error)
{
    error = {};
    Select_SQL select;
    select.table("queued_commit").select(whole_entry_columns).where("id = :id").bind(":id", id);
    std::vector<Queue_Entry> entries;
    Entry_Printer printer(entries);
    if (!connection_->query_and_print(select, printer, GM_ORM_ROWS)) {
        return fail(error, connection_->last_error());
    }
    if (entries.empty()) {
        return no_entry(id, error);
    }
    entry = std::move(entries.front());
    document = std::move(printer.document);
    return true;
}

bool Catalog_Store::queue_retry(std::int64_t id, Error& error)
{
    static const SQL sql("UPDATE queued_commit SET state = 'waiting', message = NULL WHERE id = :id");
    return change(*connection_, SQL(sql).bind(":id", id), id, error);
}

bool Catalog_Store::queue_drop(std::int64_t id, Error& error)
{
    return change(*connection_, remove_queued(id), id, error);
}

} // namespace catalog
