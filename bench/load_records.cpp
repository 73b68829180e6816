// Rows of the Oracle select into records, on SQLite: the library, a loop on the C interface that copies the same columns
// into a plain struct, the same with RapidJSON trees for the JSON columns, and SOCI.

#include "platform/database/load_records.h"

#include "bench/benchmarks.h"
#include "bench/conversions.h"
#include "bench/databases.h"
#include "bench/sides.h"
#include "bench/soci_reader.h"
#include "bench/sqlite.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <memory>

namespace {

using workload::JSON_Columns;

/// An Oracle set that also keeps the common JSON columns, as most types do: all five JSON columns come into the record.
class Keeping_Set : public Oracle_Backup_Set
{
public:
    bool print_json(int index, const char* key, const json_spirit::Value& value) override
    {
        return std::string_view(key) == "special_files" ? Oracle_Backup_Set::print_json(index, key, value)
                                                        : Backup_Set::print_json(index, key, value);
    }
};

Select_SQL oracle_select()
{
    Select_SQL sql;
    Oracle_Backup_Set::init_select_sql(sql, "b");
    return sql;
}

template <class Record>
std::vector<Record> load(Database_Connection& connection)
{
    std::vector<Record> records =
        load_records<Record>(connection, oracle_select(), Oracle_Backup_Set::result_handler());
    require(records.size() == workload::sets(), "the library did not load all sets");
    return records;
}

void copy_columns(const Sqlite_Statement& from, Plain_Row& row)
{
    const auto time = [&from](int column, std::time_t& member) { iso8601_to_posix_time(from.text(column), member); };
    set_uuid(row.uuid, from.uuid(0));
    row.name = from.text(1);
    set_uuid(row.job_instance_uuid, from.uuid(2));
    set_uuid(row.definition_uuid, from.uuid(3));
    row.uid = from.text(4);
    set_uuid(row.host_uuid, from.uuid(5));
    set_uuid(row.resource_uuid, from.uuid(6));
    row.minor_resource_id = from.text(7);
    row.minor_resource_name = from.text(8);
    row.agent = from.text(9);
    row.incarnation = from.text(10);
    row.type = from.text(11);
    time(12, row.first_time);
    time(13, row.last_time);
    time(14, row.backup_start_time);
    time(15, row.backup_end_time);
    row.source_size = from.integer(16);
    row.size = from.integer(17);
    row.uri = from.text(18);
    row.host = from.text(19);
    row.instance = from.text(20);
    row.instance_version = from.text(21);
    row.first_scn = from.integer(22);
    row.last_scn = from.integer(23);
    row.archivelog = from.integer(28) != 0;
    row.cluster = from.integer(29) != 0;
    row.standby = from.integer(30) != 0;
    row.cdb = from.integer(31) != 0;
    time(32, row.reset_time);
    time(33, row.controlfile_time);
    time(34, row.checkpoint_time);
    row.timezone_offset = from.integer(35);
    row.dbid = static_cast<std::uint64_t>(from.integer(36));
    row.db_incarnation = static_cast<std::uint64_t>(from.integer(37));
    row.reset_scn = static_cast<std::uint64_t>(from.integer(38));
    row.controlfile_scn = static_cast<std::uint64_t>(from.integer(39));
    row.checkpoint_scn = static_cast<std::uint64_t>(from.integer(40));
    row.backup_type = from.text(41);
    row.database = from.text(42);
    row.compatible = from.text(43);
    row.scsipool_id = from.text(44);
    row.stage_id = from.text(45);
    row.snapshot_id = from.text(46);
    row.merge_tag = from.text(47);
}

std::vector<Text_Row> read_texts(const Sqlite_Database& database, const std::string& select)
{
    std::vector<Text_Row> rows;
    Sqlite_Statement statement(database, select);
    while (statement.step()) {
        Text_Row& row = rows.emplace_back();
        copy_columns(statement, row);
        row.resource_tree = statement.text(column::RESOURCE_TREE);
        row.extended_attrs = statement.text(column::EXTENDED_ATTRS);
        row.uname = statement.text(column::UNAME);
        row.lsb = statement.text(column::LSB);
        row.special_files = statement.text(column::SPECIAL_FILES);
    }
    return rows;
}

using Pool = rapidjson::MemoryPoolAllocator<>;

constexpr int json_columns[] = {column::RESOURCE_TREE, column::EXTENDED_ATTRS, column::UNAME, column::LSB,
                                column::SPECIAL_FILES};

struct Tree_Row : Plain_Row
{
    std::unique_ptr<Pool> pool; ///< of this row alone
    rapidjson::Value trees[std::size(json_columns)];
};

/// Each row owns its trees, as a record does.
std::vector<Tree_Row> read_trees(const Sqlite_Database& database, const std::string& select)
{
    constexpr std::size_t room = 4096; // enough for the trees of a row
    std::vector<Tree_Row> rows;
    Sqlite_Statement statement(database, select);
    while (statement.step()) {
        Tree_Row& row = rows.emplace_back();
        copy_columns(statement, row);
        row.pool = std::make_unique<Pool>(room);
        rapidjson::Document parser(row.pool.get());
        for (std::size_t i = 0; i < std::size(json_columns); ++i) {
            require(!parser.Parse(statement.text(json_columns[i]).data()).HasParseError(), "malformed JSON");
            static_cast<rapidjson::Value&>(row.trees[i]) = static_cast<rapidjson::Value&>(parser); // a move
        }
    }
    return rows;
}

/// All rows share one pool: none of them can outlive the others.
struct Pooled_Rows
{
    Pool pool;
    std::vector<Tree_Row> rows;
};

std::unique_ptr<Pooled_Rows> read_pooled_trees(const Sqlite_Database& database, const std::string& select)
{
    auto result = std::make_unique<Pooled_Rows>();
    Sqlite_Statement statement(database, select);
    rapidjson::Document parser(&result->pool);
    while (statement.step()) {
        Tree_Row& row = result->rows.emplace_back();
        copy_columns(statement, row);
        for (std::size_t i = 0; i < std::size(json_columns); ++i) {
            require(!parser.Parse(statement.text(json_columns[i]).data()).HasParseError(), "malformed JSON");
            static_cast<rapidjson::Value&>(row.trees[i]) = static_cast<rapidjson::Value&>(parser); // a move
        }
    }
    return result;
}

json_spirit::Value value_of(const rapidjson::Value& tree)
{
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    tree.Accept(writer);
    json_spirit::Value value;
    require(json_spirit::read({text.GetString(), text.GetSize()}, value), "RapidJSON holds no JSON");
    return value;
}

bool same(const Keeping_Set& set, const Tree_Row& row)
{
    return plain_row(set) == row && set.resource_tree == value_of(row.trees[0])
           && set.extended_attrs == value_of(row.trees[1]) && set.uname == value_of(row.trees[2])
           && set.lsb == value_of(row.trees[3]) && set.special_files == value_of(row.trees[4])
           && !set.resource_tree.empty() && !set.special_files.empty();
}

/// All parties' connections to one database.
struct Connections
{
    explicit Connections(JSON_Columns json) :
        ours(Database_Connection::open("sqlite:" + databases::sqlite(json))), theirs(databases::sqlite(json)),
        soci(databases::sqlite(json)), select(oracle_select().str(SQL_Dialect::SQLITE))
    {
        require(ours != nullptr, "the library cannot open the database");
    }

    std::unique_ptr<Database_Connection> ours;
    Sqlite_Database theirs;
    Soci_Reader soci;
    std::string select;
};

Sides load_columns()
{
    const auto with = std::make_shared<Connections>(JSON_Columns::EMPTY);
    {
        const auto ours = load<Oracle_Backup_Set>(*with->ours);
        const auto same = [](const Oracle_Backup_Set& set, const Plain_Row& row) { return plain_row(set) == row; };
        const auto theirs = read_texts(with->theirs, with->select);
        const auto soci = with->soci.read(with->select);
        require(std::equal(ours.begin(), ours.end(), theirs.begin(), theirs.end(), same), "SQLite's loop reads else");
        require(std::equal(ours.begin(), ours.end(), soci.begin(), soci.end(), same), "SOCI reads else");
    }
    Sides sides;
    sides.add("ours", [with] { load<Oracle_Backup_Set>(*with->ours); });
    sides.add("sqlite3", [with] { read_texts(with->theirs, with->select); });
    sides.add("SOCI", [with] { with->soci.read(with->select); });
    return sides;
}

Sides load_json()
{
    const auto with = std::make_shared<Connections>(JSON_Columns::FILLED);
    {
        const auto ours = load<Keeping_Set>(*with->ours);
        const auto theirs = read_trees(with->theirs, with->select);
        const auto pooled = read_pooled_trees(with->theirs, with->select);
        require(std::equal(ours.begin(), ours.end(), theirs.begin(), theirs.end(), same), "RapidJSON reads else");
        require(std::equal(ours.begin(), ours.end(), pooled->rows.begin(), pooled->rows.end(), same),
                "RapidJSON reads else into one pool");
    }
    Sides sides;
    sides.add("ours", [with] { load<Keeping_Set>(*with->ours); });
    sides.add("ours_oracle", [with] { load<Oracle_Backup_Set>(*with->ours); });
    sides.add("RapidJSON", [with] { read_trees(with->theirs, with->select); });
    sides.add("RapidJSON_one_pool", [with] { read_pooled_trees(with->theirs, with->select); });
    return sides;
}

} // namespace

void register_load_records()
{
    const auto items = static_cast<double>(workload::sets());
    register_sides("load_records/columns", Clock::PROCESS, items, load_columns);
    register_sides("load_records/json", Clock::PROCESS, items, load_json);
}
