#include "catalog/store/set_listing.h"

#include "backup_set/common/backup_set_state.h"
#include "backup_set/common/column_intake.h"
#include "catalog/store/refusal.h"
#include "catalog/store/set_document.h"
#include "platform/text/posix_time.h"
#include "platform/text/uuid.h"

#include <cstdint>

namespace catalog {
namespace {

std::string names_of(std::uint64_t bits)
{
    std::string names;
    for (const json_spirit::Value& name : Backup_Set_State(bits).states()) {
        names += (names.empty() ? "" : ", ") + name.get_str();
    }
    return names;
}

void write_time(const YAJL_Gen& gen, std::time_t time)
{
    if (time == 0) {
        gen << json_spirit::Value();
    } else {
        gen << POSIX_Time_To_ISO8601(time, "%Y-%m-%d %H:%M:%S");
    }
}

bool take_states(Set_Summary& set, ACE_INT64 bits)
{
    for (const json_spirit::Value& state : Backup_Set_State(static_cast<ACE_UINT64>(bits)).states()) {
        set.states.push_back(state.get_str());
    }
    return true;
}

using namespace column_intake;

constexpr auto summary_texts = text_columns<Set_Summary>({
    {"uuid", into<&Set_Summary::uuid>},
    {"catalog_type", into<&Set_Summary::type>},
    {"name", into<&Set_Summary::name>},
    {"host", into<&Set_Summary::host>},
    {"host_uuid", into<&Set_Summary::host_uuid>},
    {"resource_uuid", into<&Set_Summary::resource_uuid>},
    {"minor_resource_name", into<&Set_Summary::minor_resource_name>},
    {"type", into<&Set_Summary::backup_type>},
    {"backup_start_time", into<&Set_Summary::backup_start_time>},
    {"backup_end_time", into<&Set_Summary::backup_end_time>},
});

constexpr auto summary_integers = integer_columns<Set_Summary>({
    {"size", into<&Set_Summary::size>},
    {"source_size", into<&Set_Summary::source_size>},
    {"piece_count", into<&Set_Summary::piece_count>},
    {"copy_states", take_states},
});

constexpr const char* copy_columns = "pool_uuid,set_uuid,size,state,upstream_pool_uuid";

constexpr auto copy_texts = text_columns<Storage_Copy>({
    {"pool_uuid", into<&Storage_Copy::pool_uuid>},
    {"set_uuid", into<&Storage_Copy::set_uuid>},
    {"upstream_pool_uuid", into<&Storage_Copy::upstream_pool_uuid>},
});

constexpr auto copy_integers = integer_columns<Storage_Copy>({
    {"size", into<&Storage_Copy::size>},
    {"state", into<&Storage_Copy::state>},
});

} // namespace

std::string page_key(std::time_t start_time, const std::string& uuid)
{
    return std::string(POSIX_Time_To_ISO8601(start_time, "%Y-%m-%dT%H:%M:%SZ").view()) + '/' + uuid;
}

std::string page_key(const Set_Summary& last)
{
    return page_key(last.backup_start_time, last.uuid);
}

std::optional<Page_Key> read_page_key(std::string_view text)
{
    const std::size_t slash = text.find('/');
    if (slash == std::string_view::npos) {
        return std::nullopt;
    }
    std::time_t time = 0;
    const std::optional<UUID_Bytes> uuid = read_uuid(text.substr(slash + 1));
    if (!uuid || !iso8601_to_posix_time(text.substr(0, slash), time)) {
        return std::nullopt;
    }
    std::optional<std::string> stored = stored_time(time);
    // Only what a listing has given is taken.
    if (!stored || page_key(time, uuid_text(*uuid)) != text) {
        return std::nullopt;
    }
    return Page_Key{std::move(*stored), *uuid};
}

void write_summary(const YAJL_Gen& gen, const Set_Summary& set)
{
    const YAJL_Map_Guard map(gen);
    write_summary_members(gen, set);
}

void write_summary_members(const YAJL_Gen& gen, const Set_Summary& set)
{
    gen << "uuid"_key << set.uuid;
    gen << "type"_key << set.type;
    gen << "name"_key << set.name;
    gen << "host"_key << set.host;
    gen << "host_uuid"_key << set.host_uuid;
    gen << "resource_uuid"_key << set.resource_uuid;
    gen << "minor_resource_name"_key << set.minor_resource_name;
    gen << "backup_type"_key << set.backup_type;
    gen << "backup_start_time"_key;
    write_time(gen, set.backup_start_time);
    gen << "backup_end_time"_key;
    write_time(gen, set.backup_end_time);
    gen << "size"_key << set.size;
    gen << "source_size"_key << set.source_size;
    gen << "piece_count"_key << set.piece_count;
    gen << "states"_key;
    const YAJL_Array_Guard array(gen);
    for (const std::string& state : set.states) {
        gen << state;
    }
}

void add_summary_columns(Select_SQL& sql, const std::string& alias)
{
    for (const auto& column : summary_texts.rows()) {
        sql.add_key(alias + '.' + column.key, column.key);
    }
    for (const auto& column : summary_integers.rows()) {
        sql.add_key(alias + '.' + column.key, column.key);
    }
}

bool list_select(const Set_Filter& filter, std::size_t limit, std::string_view after, Select_SQL& sql, Error& error)
{
    error = {};
    sql = {};
    std::uint64_t state = 0;
    if (!filter.state.empty()) {
        to_value(filter.state, state);
        if (state == 0) {
            return refuse(error, {}, shown(filter.state) + " is no state; known are: " + names_of(~std::uint64_t{0}));
        }
    }
    if (!filter.type.empty() && find_set_type(filter.type) == nullptr) {
        return refuse(error, {}, shown(filter.type) + " is no type of set; known are: " + known_set_types());
    }
    std::optional<UUID_Bytes> resource;
    if (!filter.resource.empty() && !(resource = read_uuid(filter.resource))) {
        return refuse(error, {}, shown(filter.resource) + " is no UUID of a resource");
    }
    std::optional<UUID_Bytes> set;
    if (!filter.uuid.empty() && !(set = read_uuid(filter.uuid))) {
        return refuse(error, {}, shown(filter.uuid) + " is no UUID of a set");
    }
    std::optional<Page_Key> key;
    if (!after.empty() && !(key = read_page_key(after))) {
        return refuse(error, {}, shown(after) + " is no key of a page: a listing gives one as \"next\"");
    }
    if (limit == 0) {
        return refuse(error, {}, "a page has at least one set");
    }

    // Where nothing but the state chooses, the index of the states leads; else that of the other choice does.
    const bool by_state = state != 0 && filter.type.empty() && filter.host.empty() && filter.resource.empty()
                          && filter.minor_resource.empty() && !set;
    if (by_state) {
        sql.table("backup_set_state", "s").join("backup_set", "b", "b.uuid = s.set_uuid");
        sql.where("s.state_bit = :state").bind(":state", static_cast<std::int64_t>(state));
    } else {
        sql.table("backup_set", "b");
        if (state != 0) {
            sql.where("(b.copy_states & :state) <> 0").bind(":state", static_cast<std::int64_t>(state));
        }
    }
    add_summary_columns(sql, "b");
    if (!filter.type.empty()) {
        sql.where("b.catalog_type = :type").bind(":type", filter.type);
    }
    if (!filter.host.empty()) {
        if (const std::optional<UUID_Bytes> host = read_uuid(filter.host)) {
            sql.where("b.host_uuid = :host").bind(":host", *host);
        } else {
            sql.where("b.host = :host").bind(":host", filter.host);
        }
    }
    if (resource) {
        sql.where("b.resource_uuid = :resource").bind(":resource", *resource);
    }
    if (set) {
        sql.where("b.uuid = :uuid").bind(":uuid", *set);
    }
    if (!filter.minor_resource.empty()) {
        sql.where("b.minor_resource_id = :minor_resource").bind(":minor_resource", filter.minor_resource);
    }

    const std::string start_time = by_state ? "s.backup_start_time" : "b.backup_start_time";
    const std::string uuid = by_state ? "s.set_uuid" : "b.uuid";
    if (filter.since) {
        const std::optional<std::string> since = stored_time(*filter.since);
        if (since) {
            sql.where(start_time + " >= :since").bind(":since", *since);
        } else if (*filter.since > 0) {
            sql = {}; // after all times
            return true;
        }
    }
    if (filter.until) {
        const std::optional<std::string> until = stored_time(*filter.until);
        if (until) {
            sql.where(start_time + " < :until").bind(":until", *until);
        } else if (*filter.until < 0) {
            sql = {}; // before all times
            return true;
        }
    }
    if (key) {
        sql.where("(" + start_time + ", " + uuid + ") < (:after_time, :after_uuid)")
            .bind(":after_time", std::move(key->start_time))
            .bind(":after_uuid", key->uuid);
    }
    sql.order_by(start_time + " DESC").order_by(uuid + " DESC").limit(limit);
    return true;
}

bool Summary_Printer::begin_row()
{
    sets_.emplace_back();
    return true;
}

bool Summary_Printer::print_cstr(int, const char* key, const char* value, std::size_t length)
{
    summary_texts.store(sets_.back(), key, value, length);
    return true;
}

bool Summary_Printer::print_int(int, const char* key, ACE_INT64 value)
{
    summary_integers.store(sets_.back(), key, value);
    return true;
}

bool Copy_Printer::begin_row()
{
    copies_.emplace_back();
    return true;
}

bool Copy_Printer::print_cstr(int, const char* key, const char* value, std::size_t length)
{
    copy_texts.store(copies_.back(), key, value, length);
    return true;
}

bool Copy_Printer::print_int(int, const char* key, ACE_INT64 value)
{
    copy_integers.store(copies_.back(), key, value);
    return true;
}

Select_SQL copies_in_pool_select(const UUID_Bytes& pool, std::size_t limit)
{
    Select_SQL sql;
    sql.table("backup_set_storage")
        .select(copy_columns)
        .where("pool_uuid = :pool_uuid")
        .bind(":pool_uuid", pool)
        .order_by("backup_start_time DESC")
        .order_by("set_uuid DESC")
        .order_by("id DESC")
        .limit(limit);
    return sql;
}

Select_SQL storages_select(const UUID_Bytes& set)
{
    Select_SQL sql;
    sql.table("backup_set_storage")
        .select(copy_columns)
        .where("set_uuid = :set_uuid")
        .bind(":set_uuid", set)
        .order_by("id");
    return sql;
}

} // namespace catalog
