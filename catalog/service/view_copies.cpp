#include "backup_set/common/backup_set_storage.h"
#include "catalog/service/view_families.h"
#include "catalog/service/view_parts.h"
#include "catalog/store/refusal.h"
#include "catalog/store/set_listing.h"
#include "platform/database/load_records.h"
#include "platform/json/json_generator.h"
#include "platform/json/yajl_gen.h"
#include "platform/text/posix_time.h"

#include <charconv>
#include <functional>
#include <utility>

namespace catalog::service {
namespace {

/// A copy of a set with what its place among others is known by. Its attributes stay as they were written.
class Copy : public Backup_Set_Storage
{
public:
    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override
    {
        if (std::string_view(key) == "backup_start_time") {
            start_time.assign(value, length);
            return true;
        }
        return Backup_Set_Storage::print_cstr(index, key, value, length);
    }
    bool print_int(int index, const char* key, ACE_INT64 value) override
    {
        if (std::string_view(key) == "id") {
            id = value;
            return true;
        }
        return Backup_Set_Storage::print_int(index, key, value);
    }

    bool print_json_text(int index, const char* key, const char* text, std::size_t length) override
    {
        if (std::string_view(key) == "extended_attrs") {
            attributes.assign(text, length);
            return true;
        }
        return Backup_Set_Storage::print_json_text(index, key, text, length);
    }

    /// The members that documents write.
    void write(const YAJL_Gen& gen) const
    {
        gen << "pool_uuid"_key << pool_uuid;
        gen << "size"_key << size;
        gen << "state"_key << state.states();
        if (!upstream_pool_uuid.empty()) {
            gen << "upstream_pool_uuid"_key << upstream_pool_uuid;
        }
        gen << "extended_attrs"_key;
        yajl_gen_raw(gen.get(), attributes);
    }

    std::int64_t id = 0;
    std::string attributes = "{}"; ///< JSON
    std::string start_time;        ///< of the set, as the database has it
};

bool query_copies(Database_Connection& connection, const Select_SQL& sql, const std::function<void(Copy&)>& take,
                  Error& error)
{
    return for_each_record<Copy>(
               connection, sql,
               [&take](Copy&& copy) {
                   take(copy);
                   return true;
               },
               Backup_Set_Storage::result_handler())
           || fail(error, connection.last_error());
}

class Storages_View final : public Row_View
{
public:
    Storages_View(const View_Limits& limits, const UUID_Bytes& set) : Row_View(limits, 0), watch_(set) {}

private:
    bool query(Catalog_Store& store, std::size_t rows, Error& error) override
    {
        Database_Connection& connection = store.connection();
        Database_Transaction snapshot(connection, Database_Transaction::READ);
        if (!snapshot.begun()) {
            return fail(error, connection.last_error());
        }
        if (!watch_.check(connection, error)) {
            return false;
        }
        Select_SQL sql;
        Backup_Set_Storage::init_select_sql(sql, "s");
        sql.where("s.set_uuid = :set_uuid")
            .where("s.id > :after")
            .bind(":set_uuid", watch_.set())
            .bind(":after", id_)
            .order_by("s.id")
            .limit(rows);
        JSON_Text text;
        return query_copies(
            connection, sql,
            [&](Copy& copy) {
                text.clear();
                {
                    const YAJL_Gen gen(text.get());
                    const YAJL_Map_Guard map(gen);
                    copy.write(gen);
                }
                take(text.view());
                id_ = copy.id;
            },
            error);
    }

    std::string next_key() const override { return std::to_string(id_); }

    Set_Watch watch_;
    std::int64_t id_ = 0;
};

std::optional<Pool_Key> read_pool_key(std::string_view text)
{
    const std::size_t slash = text.rfind('/');
    if (slash == std::string_view::npos) {
        return std::nullopt;
    }
    std::optional<Page_Key> set = read_page_key(text.substr(0, slash));
    const std::string_view number = text.substr(slash + 1);
    std::int64_t id = 0;
    const auto [stop, fault] = std::from_chars(number.data(), number.data() + number.size(), id);
    if (!set || fault != std::errc() || stop != number.data() + number.size()) {
        return std::nullopt;
    }
    return Pool_Key{std::move(*set), id};
}

class Pool_View final : public Row_View
{
public:
    Pool_View(const View_Limits& limits, std::uint64_t limit, const UUID_Bytes& pool, std::optional<Pool_Key> after) :
        Row_View(limits, limit), pool_(pool), key_(std::move(after))
    {}

private:
    bool query(Catalog_Store& store, std::size_t rows, Error& error) override
    {
        JSON_Text text;
        return query_copies(
            store.connection(), pool_select(pool_, key_ ? &*key_ : nullptr, rows),
            [&](Copy& copy) {
                text.clear();
                {
                    const YAJL_Gen gen(text.get());
                    const YAJL_Map_Guard map(gen);
                    gen << "set_uuid"_key << copy.set_uuid;
                    gen << "backup_start_time"_key << copy.start_time;
                    copy.write(gen);
                }
                take(text.view());
                key_ = Pool_Key{{copy.start_time, read_uuid(copy.set_uuid).value_or(UUID_Bytes{})}, copy.id};
            },
            error);
    }

    std::string next_key() const override
    {
        std::time_t time = 0;
        iso8601_to_posix_time(std::string_view(key_->set.start_time), time);
        return page_key(time, uuid_text(key_->set.uuid)) + '/' + std::to_string(key_->id);
    }

    UUID_Bytes pool_;
    std::optional<Pool_Key> key_;
};

} // namespace

Select_SQL pool_select(const UUID_Bytes& pool, const Pool_Key* after, std::size_t rows)
{
    Select_SQL sql;
    Backup_Set_Storage::init_select_sql(sql, "s");
    sql.add_key("s.backup_start_time", "backup_start_time");
    sql.where("s.pool_uuid = :pool").bind(":pool", pool);
    if (after != nullptr) {
        sql.where("(s.backup_start_time, s.set_uuid, s.id) < (:after_time, :after_uuid, :after_id)")
            .bind(":after_time", after->set.start_time)
            .bind(":after_uuid", after->set.uuid)
            .bind(":after_id", after->id);
    }
    sql.order_by("s.backup_start_time DESC").order_by("s.set_uuid DESC").order_by("s.id DESC").limit(rows);
    return sql;
}

Opened_View open_storages(const View_Description&, const View_Arguments& arguments, const View_Limits& limits, Error&)
{
    return std::make_unique<Storages_View>(limits, *arguments.uuid("uuid"));
}

Opened_View open_pool(const View_Description&, const View_Arguments& arguments, const View_Limits& limits, Error& error)
{
    const std::string after = arguments.text("after");
    std::optional<Pool_Key> key;
    if (!after.empty() && !(key = read_pool_key(after))) {
        return refuse_key(error, arguments);
    }
    return std::make_unique<Pool_View>(limits, arguments.count("limit"), *arguments.uuid("pool"), std::move(key));
}

} // namespace catalog::service
