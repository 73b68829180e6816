#include "bench/workload.h"

#include "platform/text/uuid.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace workload {
namespace {

/// Numbers that look random and depend on the seed alone (SplitMix64).
class Random
{
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    std::uint64_t next()
    {
        std::uint64_t mixed = state_ += 0x9e3779b97f4a7c15u;
        mixed = (mixed ^ mixed >> 30) * 0xbf58476d1ce4e5b9u;
        mixed = (mixed ^ mixed >> 27) * 0x94d049bb133111ebu;
        return mixed ^ mixed >> 31;
    }

    std::uint64_t below(std::uint64_t limit) { return next() % limit; }

private:
    std::uint64_t state_;
};

std::string uuid(Random& random)
{
    UUID_Bytes bytes;
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(random.next());
    }
    return uuid_text(bytes);
}

/// One of `count` uuids that many sets share: hosts, users, pools.
std::string shared_uuid(std::uint64_t kind, std::uint64_t number)
{
    Random random(kind << 32 | number);
    return uuid(random);
}

template <class... Number>
std::string format(const char* pattern, Number... number)
{
    char text[200];
    const int length = std::snprintf(text, sizeof text, pattern, number...);
    return {text, static_cast<std::size_t>(length)};
}

enum Shared : std::uint64_t
{
    DEFINITION,
    USER,
    HOST,
    RESOURCE,
    POOL,
    INCARNATION
};

json_spirit::Object resource_tree(unsigned database)
{
    using json_spirit::Array;
    using json_spirit::Object;
    Array tablespaces;
    for (const char* name : {"SYSTEM", "SYSAUX", "UNDOTBS1", "USERS"}) {
        tablespaces.push_back(Object{{"name", name}, {"files", 2}, {"online", true}});
    }
    return {{"id", format("%u", 1483900000 + database)},
            {"name", format("ORCLPRD%u", database)},
            {"type", "database"},
            {"tablespaces", std::move(tablespaces)}};
}

void fill_json(Oracle_Backup_Set& set, unsigned database, unsigned host, Random& random)
{
    using json_spirit::Array;
    using json_spirit::Object;
    set.resource_tree = resource_tree(database);
    set.extended_attrs = {{"channels", 4},
                          {"compression", "medium"},
                          {"encrypted", false},
                          {"incremental_level", 0},
                          {"nls_lang", "AMERICAN_AMERICA.AL32UTF8"},
                          {"oracle_home", "/u01/app/oracle/product/19.0.0/dbhome_1"},
                          {"ratio", 2.75},
                          {"section_size", 34359738368}};
    set.uname = {{"machine", "x86_64"},
                 {"nodename", format("ora-node-%03u.example.net", host)},
                 {"release", "4.18.0-553.16.1.el8_10.x86_64"},
                 {"sysname", "Linux"},
                 {"version", "#1 SMP Thu Aug 8 07:11:46 EDT 2024"}};
    set.lsb = {{"codename", "Ootpa"},
               {"description", "Red Hat Enterprise Linux release 8.10 (Ootpa)"},
               {"distributor_id", "RedHatEnterprise"},
               {"release", "8.10"}};
    set.special_files = {
        {"controlfile", Object{{"path", format("/backup/oracle/orclprd%u/cf_%08x.ctl", database,
                                               static_cast<unsigned>(random.below(1u << 31)))},
                               {"size", 19742720}}},
        {"spfile", Object{{"path", format("/backup/oracle/orclprd%u/spfile.ora", database)}, {"size", 98304}}},
        {"wallet", Array{"cwallet.sso", "ewallet.p12"}}};
}

} // namespace

std::size_t sets()
{
    static const std::size_t count = [] {
        const char* const given = std::getenv("BACKUP_SET_BENCH_SETS");
        return given == nullptr ? std::size_t{100000} : std::strtoul(given, nullptr, 10);
    }();
    return count;
}

Oracle_Backup_Set make_set(std::uint64_t number, JSON_Columns json)
{
    Random random(number);
    const auto host = static_cast<unsigned>(random.below(200));
    const auto database = static_cast<unsigned>(random.below(40));
    const auto day = static_cast<std::time_t>(number / 100);
    const std::time_t start = 1640995200 + day * 86400 + static_cast<std::time_t>(random.below(86400));

    Oracle_Backup_Set set;
    set.uuid = uuid(random);
    set.name = format("ORCLPRD%u full backup of ora-node-%03u, run %llu", database, host,
                      static_cast<unsigned long long>(number));
    set.activity_uuid = uuid(random);
    set.def_uuid = shared_uuid(DEFINITION, random.below(500));
    set.uid = shared_uuid(USER, random.below(20));
    set.host_uuid = shared_uuid(HOST, host);
    set.resource_uuid = shared_uuid(RESOURCE, host * 100 + database);
    set.minor_resource_id = format("%u", 1483900000 + database);
    set.minor_resource_name = format("ORCLPRD%u", database);
    set.agent = "oracle";
    set.incarnation = shared_uuid(INCARNATION, host * 100 + database);
    set.type = number % 7 == 0 ? "full" : "incremental";
    set.first_time = start - 86400;
    set.last_time = start + 1800;
    set.backup_start_time = start;
    set.backup_end_time = start + 2000 + static_cast<std::time_t>(random.below(4000));
    set.source_size = static_cast<ACE_INT64>(random.below(1ull << 41));
    set.size = set.source_size / 3;
    set.uri = format("oracle://ora-node-%03u.example.net:1521/orclprd%u", host, database);
    set.host = format("ora-node-%03u.example.net", host);
    set.instance = format("ORCLPRD%u", database);
    set.instance_version = "19.24.0.0.0";
    set.first_scn = static_cast<ACE_INT64>(random.below(1ull << 44));
    set.last_scn = set.first_scn + 181220;

    set.archivelog = true;
    set.cluster = database % 4 == 0;
    set.standby = database % 5 == 0;
    set.cdb = database % 2 == 0;
    set.reset_time = 1609459200 + database;
    set.controlfile_time = start + 1700;
    set.checkpoint_time = start + 1750;
    set.timezone_offset = 28800;
    set.dbid = 1483900000 + database;
    set.db_incarnation = 2;
    set.reset_scn = 1920977;
    set.controlfile_scn = static_cast<ACE_UINT64>(set.last_scn) + 12;
    set.checkpoint_scn = static_cast<ACE_UINT64>(set.last_scn) + 7;
    set.backup_type = "database";
    set.database = format("ORCLPRD%u", database);
    set.compatible = "19.0.0";
    set.scsipool_id = "";
    set.stage_id = format("stage-%02u", database);
    set.snapshot_id = "";
    set.merge_tag = format("MERGE_%u", database);
    if (json == JSON_Columns::FILLED) {
        fill_json(set, database, host, random);
    }

    for (unsigned i = 0; i < pieces_per_set; ++i) {
        Backup_Piece piece;
        piece.path = format("/backup/oracle/orclprd%u/%08x_%02u_1_1.bkp", database,
                            static_cast<unsigned>(random.below(1u << 31)), i);
        piece.object = format("sets/%s/%02u", set.uuid.c_str(), i);
        piece.size = random.below(1ull << 35);
        set.add_piece(piece);
    }
    for (unsigned i = 0; i < storages_per_set; ++i) {
        Backup_Set_Storage storage;
        storage.set_uuid = set.uuid;
        storage.pool_uuid = shared_uuid(POOL, i * 10 + random.below(10));
        storage.size = set.size;
        storage.state.value = i == 0 ? 1 : 17;
        storage.upstream_pool_uuid = i == 0 ? std::string() : set.storages.front().pool_uuid;
        set.add_storage(storage);
    }
    return set;
}

} // namespace workload
