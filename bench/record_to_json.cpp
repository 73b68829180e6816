// One record to JSON text: the library, RapidJSON's writer with the same keys written out by hand, and nlohmann's dump of a
// value that is there already.

#include "bench/benchmarks.h"
#include "bench/sides.h"
#include "bench/workload.h"
#include "platform/json/json_generator.h"

#include <nlohmann/json.hpp>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <memory>

namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

/// The JSON members of a record as RapidJSON holds them.
struct Trees
{
    rapidjson::Document resource_tree;
    rapidjson::Document extended_attrs;
    rapidjson::Document lsb;
    rapidjson::Document uname;
    rapidjson::Document special_files;
    rapidjson::Document pdbs;
    std::vector<rapidjson::Document> pieces;
    std::vector<rapidjson::Document> storages;
};

template <class Member>
rapidjson::Document tree(const Member& member)
{
    JSON_Text text;
    yajl_gen_value(text.get(), member);
    rapidjson::Document document;
    document.Parse(text.view().data(), text.view().size());
    return document;
}

Trees trees(const Oracle_Backup_Set& set)
{
    Trees result{tree(set.resource_tree),
                 tree(set.extended_attrs),
                 tree(set.lsb),
                 tree(set.uname),
                 tree(set.special_files),
                 tree(set.pdbs),
                 {},
                 {}};
    for (const Backup_Piece& piece : set.pieces) {
        result.pieces.push_back(tree(piece.extended_attrs));
    }
    for (const Backup_Set_Storage& storage : set.storages) {
        result.storages.push_back(tree(storage.extended_attrs));
    }
    return result;
}

template <std::size_t N>
void key(Writer& writer, const char (&text)[N])
{
    writer.Key(text, N - 1);
}

void put(Writer& writer, std::string_view text)
{
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void put_time(Writer& writer, std::time_t time)
{
    put(writer, POSIX_Time_To_ISO8601(time, "%Y-%m-%d %H:%M:%S").view());
}

struct State_Name
{
    ACE_UINT64 bit;
    std::string_view name;
};

constexpr State_Name state_names[] = {{1, "online"},      {2, "offline"},     {4, "nearline"},
                                      {8, "expired"},     {16, "replicated"}, {32, "warmup"},
                                      {64, "incomplete"}, {128, "unsync"},    {256, "virtual"}};

void write(Writer& writer, const Backup_Set_Storage& storage, const rapidjson::Document& attrs)
{
    writer.StartObject();
    key(writer, "pool_uuid"), put(writer, storage.pool_uuid);
    key(writer, "size"), writer.Int64(storage.size);
    key(writer, "state");
    writer.StartArray();
    for (const State_Name& state : state_names) {
        if ((storage.state.value & state.bit) != 0) {
            put(writer, state.name);
        }
    }
    writer.EndArray();
    if (!storage.upstream_pool_uuid.empty()) {
        key(writer, "upstream_pool_uuid"), put(writer, storage.upstream_pool_uuid);
    }
    key(writer, "extended_attrs"), attrs.Accept(writer);
    writer.EndObject();
}

void write(Writer& writer, const Backup_Piece& piece, const rapidjson::Document& attrs)
{
    writer.StartObject();
    key(writer, "path"), put(writer, piece.path);
    key(writer, "object"), put(writer, piece.object);
    key(writer, "size"), writer.Int64(static_cast<ACE_INT64>(piece.size));
    key(writer, "extended_attrs"), attrs.Accept(writer);
    writer.EndObject();
}

void write(Writer& writer, const Oracle_Backup_Set& set, const Trees& trees)
{
    writer.StartObject();
    key(writer, "catalog_module"), put(writer, set.catalog_module);
    key(writer, "uuid"), put(writer, set.uuid);
    key(writer, "name"), put(writer, set.name);
    key(writer, "job_instance_uuid"), put(writer, set.activity_uuid);
    key(writer, "definition_uuid"), put(writer, set.def_uuid);
    key(writer, "uid"), put(writer, set.uid);
    key(writer, "host_uuid"), put(writer, set.host_uuid);
    key(writer, "resource_uuid"), put(writer, set.resource_uuid);
    key(writer, "minor_resource_id"), put(writer, set.minor_resource_id);
    key(writer, "minor_resource_name"), put(writer, set.minor_resource_name);
    key(writer, "agent"), put(writer, set.agent);
    key(writer, "incarnation"), put(writer, set.incarnation);
    key(writer, "type"), put(writer, set.type);
    key(writer, "backup_start_time"), put_time(writer, set.backup_start_time);
    key(writer, "uri"), put(writer, set.uri);
    key(writer, "host"), put(writer, set.host);
    key(writer, "instance"), put(writer, set.instance);
    key(writer, "instance_version"), put(writer, set.instance_version);
    key(writer, "first_scn"), writer.Int64(set.first_scn);
    key(writer, "last_scn"), writer.Int64(set.last_scn);
    if (set.first_time != 0) {
        key(writer, "first_time"), put_time(writer, set.first_time);
    }
    if (set.last_time != 0) {
        key(writer, "last_time"), put_time(writer, set.last_time);
    }
    if (set.backup_end_time != 0) {
        key(writer, "backup_end_time"), put_time(writer, set.backup_end_time);
    }
    key(writer, "size"), writer.Int64(set.size);
    key(writer, "source_size"), writer.Int64(set.source_size);
    key(writer, "resource_tree"), trees.resource_tree.Accept(writer);
    key(writer, "extended_attrs"), trees.extended_attrs.Accept(writer);
    if (set.storages.size() == 1) {
        key(writer, "storage"), write(writer, set.storages.front(), trees.storages.front());
    } else if (!set.storages.empty()) {
        key(writer, "storages");
        writer.StartArray();
        for (std::size_t i = 0; i < set.storages.size(); ++i) {
            write(writer, set.storages[i], trees.storages[i]);
        }
        writer.EndArray();
    }
    key(writer, "pieces");
    writer.StartArray();
    for (std::size_t i = 0; i < set.pieces.size(); ++i) {
        write(writer, set.pieces[i], trees.pieces[i]);
    }
    writer.EndArray();
    key(writer, "lsb"), trees.lsb.Accept(writer);
    key(writer, "uname"), trees.uname.Accept(writer);
    key(writer, "archivelog"), writer.Bool(set.archivelog);
    key(writer, "cluster"), writer.Bool(set.cluster);
    key(writer, "standby"), writer.Bool(set.standby);
    key(writer, "cdb"), writer.Bool(set.cdb);
    key(writer, "reset_time"), put_time(writer, set.reset_time);
    key(writer, "controlfile_time"), put_time(writer, set.controlfile_time);
    key(writer, "checkpoint_time"), put_time(writer, set.checkpoint_time);
    key(writer, "dbid"), writer.Uint64(set.dbid);
    key(writer, "db_incarnation"), writer.Uint64(set.db_incarnation);
    key(writer, "reset_scn"), writer.Uint64(set.reset_scn);
    key(writer, "controlfile_scn"), writer.Uint64(set.controlfile_scn);
    key(writer, "checkpoint_scn"), writer.Uint64(set.checkpoint_scn);
    key(writer, "backup_type"), put(writer, set.backup_type);
    key(writer, "database"), put(writer, set.database);
    key(writer, "compatible"), put(writer, set.compatible);
    key(writer, "scsipool_id"), put(writer, set.scsipool_id);
    key(writer, "stage_id"), put(writer, set.stage_id);
    key(writer, "snapshot_id"), put(writer, set.snapshot_id);
    key(writer, "merge_tag"), put(writer, set.merge_tag);
    key(writer, "merge_size"), writer.Uint64(set.merge_size);
    key(writer, "timezone_offset"), writer.Int64(set.timezone_offset);
    key(writer, "special_files"), trees.special_files.Accept(writer);
    key(writer, "pdbs"), trees.pdbs.Accept(writer);
    writer.EndObject();
}

constexpr std::size_t record_count = 32; // few enough to stay in the processor's cache, as a record just made is
constexpr std::size_t rounds = 100;

/// The same records for all parties. Each party writes into a buffer that it keeps.
struct Records
{
    std::vector<Oracle_Backup_Set> sets;
    std::vector<Trees> rapidjson;
    std::vector<nlohmann::ordered_json> nlohmann;
    JSON_Text ours_text;
    rapidjson::StringBuffer rapidjson_text;
    std::size_t bytes = 0;

    std::string_view ours(std::size_t i)
    {
        ours_text.clear();
        require(sets[i].generate(ours_text.get()), "a record did not write itself");
        return ours_text.view();
    }

    std::string_view by_rapidjson(std::size_t i)
    {
        rapidjson_text.Clear();
        Writer writer(rapidjson_text);
        write(writer, sets[i], rapidjson[i]);
        return {rapidjson_text.GetString(), rapidjson_text.GetSize()};
    }

    std::string by_nlohmann(std::size_t i) { return nlohmann[i].dump(); }

    template <class Party>
    Sides::Job job(Party party)
    {
        return [this, party] {
            for (std::size_t i = 0; i < rounds * record_count; ++i) {
                bytes += (this->*party)(i % record_count).size();
            }
            benchmark::DoNotOptimize(bytes);
        };
    }
};

Sides record_to_json(workload::JSON_Columns json, bool with_pieces)
{
    const auto records = std::make_shared<Records>();
    for (std::size_t i = 0; i < record_count; ++i) {
        Oracle_Backup_Set set = workload::make_set(i, json);
        if (!with_pieces) {
            set.pieces.clear();
            set.storages.clear();
        }
        records->rapidjson.push_back(trees(set));
        records->sets.push_back(std::move(set));
    }
    for (std::size_t i = 0; i < record_count; ++i) {
        const std::string text(records->ours(i));
        records->nlohmann.push_back(nlohmann::ordered_json::parse(text));
        require(records->by_rapidjson(i) == text, "RapidJSON writes another text");
        require(records->by_nlohmann(i) == text, "nlohmann writes another text");
    }
    Sides sides;
    sides.add("ours", [records, job = records->job(&Records::ours)] { job(); });
    sides.add("RapidJSON", records->job(&Records::by_rapidjson));
    sides.add("nlohmann", records->job(&Records::by_nlohmann));
    return sides;
}

} // namespace

void register_record_to_json()
{
    constexpr double items = rounds * record_count;
    register_sides("record_to_json/columns", Clock::PROCESS, items,
                   [] { return record_to_json(workload::JSON_Columns::EMPTY, false); });
    register_sides("record_to_json/json", Clock::PROCESS, items,
                   [] { return record_to_json(workload::JSON_Columns::FILLED, false); });
    register_sides("record_to_json/whole", Clock::PROCESS, items,
                   [] { return record_to_json(workload::JSON_Columns::FILLED, true); });
}
