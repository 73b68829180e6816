// All sets with their storages and pieces straight from the database to JSON text: the library's result handler and JSON
// printer beside the engine's own JSON functions in one statement.

#include "bench/benchmarks.h"
#include "bench/databases.h"
#include "bench/postgresql.h"
#include "bench/sides.h"
#include "bench/sqlite.h"
#include "platform/database/database_connection.h"
#include "platform/database/json_result_printer.h"
#include "platform/json/json_dump.h"
#include "platform/json/json_generator.h"
#include "platform/json/value.h"
#include "platform/json/yajl_gen.h"

#include <yajl/yajl_gen.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

namespace {

/// Where the text goes: a buffer that is emptied when it is full, as one before a socket.
class Sink
{
public:
    void append(const char* text, std::size_t length)
    {
        if (length > sizeof buffer_ - used_) {
            used_ = 0;
            if (length > sizeof buffer_) {
                return;
            }
        }
        std::memcpy(buffer_ + used_, text, length);
        used_ += length;
    }

    static void print(void* sink, const char* text, std::size_t length)
    {
        static_cast<Sink*>(sink)->append(text, length);
    }

private:
    char buffer_[65536];
    std::size_t used_ = 0;
};

Select_SQL whole_sets()
{
    Select_SQL sql;
    Oracle_Backup_Set::init_select_sql(sql, "b");
    sql.add_key("b.uuid", "storages").add_key("b.uuid", "pieces");
    return sql;
}

void print_rows(Database_Connection& connection, const Select_SQL& sql, yajl_gen_t* gen)
{
    const YAJL_Array_Guard rows(gen);
    JSON_Result_Printer printer(gen);
    require(connection.query_and_print(sql, printer, GM_ORM_ROWS, Backup_Set::result_handler()),
            "the library did not print the sets");
}

void print_to_sink(Database_Connection& connection)
{
    Sink sink;
    yajl_gen_t* const gen = yajl_gen_alloc(nullptr);
    yajl_gen_config(gen, yajl_gen_print_callback, &Sink::print, &sink);
    print_rows(connection, whole_sets(), gen);
    yajl_gen_free(gen);
}

constexpr std::size_t compared = 500;

/// Some rows of the library as values, in the order of their uuids.
json_spirit::Array some_rows(Database_Connection& connection)
{
    JSON_Text text;
    print_rows(connection, whole_sets().order_by("b.uuid").limit(compared), text.get());
    json_spirit::Value rows;
    require(json_spirit::read(text.view(), rows), "the library printed no JSON");
    require(rows.get_array().size() == std::min(compared, workload::sets()), "the library printed too few rows");
    const json_spirit::Object& first = rows.get_array().front().get_obj();
    require(first.at("storages").get_array().size() == workload::storages_per_set
                && first.at("pieces").get_array().size() == workload::pieces_per_set,
            "the library left out storages or pieces");
    return rows.get_array();
}

/// A row whose storages and pieces are in an order of their own: no query here asks for one.
json_spirit::Value in_order(json_spirit::Value row)
{
    for (const char* const key : {"storages", "pieces"}) {
        std::ranges::sort(row.get_obj().at(key).get_array(), {},
                          [](const json_spirit::Value& value) { return std::string(JSON_Dump(value, false).c_str()); });
    }
    return row;
}

/// A row that the engine made.
json_spirit::Value value_of(std::string_view text)
{
    json_spirit::Value value;
    require(json_spirit::read(text, value), "the engine made no JSON");
    return in_order(std::move(value));
}

/// `"uuid", b."uuid", …`: each column of the select in the form that `form` gives it, with its key before or behind it.
struct Column
{
    const char* key;
    char alias;
    enum Kind
    {
        PLAIN,
        TIME,
        FLAG,
        JSON,
        ID
    } kind;
};

constexpr Column columns[] = {{"uuid", 'b', Column::ID},
                              {"name", 'b', Column::PLAIN},
                              {"job_instance_uuid", 'b', Column::ID},
                              {"definition_uuid", 'b', Column::ID},
                              {"uid", 'b', Column::PLAIN},
                              {"host_uuid", 'b', Column::ID},
                              {"resource_uuid", 'b', Column::ID},
                              {"minor_resource_id", 'b', Column::PLAIN},
                              {"minor_resource_name", 'b', Column::PLAIN},
                              {"agent", 'b', Column::PLAIN},
                              {"incarnation", 'b', Column::PLAIN},
                              {"type", 'b', Column::PLAIN},
                              {"first_time", 'b', Column::TIME},
                              {"last_time", 'b', Column::TIME},
                              {"backup_start_time", 'b', Column::TIME},
                              {"backup_end_time", 'b', Column::TIME},
                              {"source_size", 'b', Column::PLAIN},
                              {"size", 'b', Column::PLAIN},
                              {"uri", 'b', Column::PLAIN},
                              {"host", 'b', Column::PLAIN},
                              {"instance", 'b', Column::PLAIN},
                              {"instance_version", 'b', Column::PLAIN},
                              {"first_scn", 'b', Column::PLAIN},
                              {"last_scn", 'b', Column::PLAIN},
                              {"resource_tree", 'b', Column::JSON},
                              {"extended_attrs", 'b', Column::JSON},
                              {"uname", 'b', Column::JSON},
                              {"lsb", 'b', Column::JSON},
                              {"archivelog", 'o', Column::FLAG},
                              {"cluster", 'o', Column::FLAG},
                              {"standby", 'o', Column::FLAG},
                              {"cdb", 'o', Column::FLAG},
                              {"reset_time", 'o', Column::TIME},
                              {"controlfile_time", 'o', Column::TIME},
                              {"checkpoint_time", 'o', Column::TIME},
                              {"timezone_offset", 'o', Column::PLAIN},
                              {"dbid", 'o', Column::PLAIN},
                              {"db_incarnation", 'o', Column::PLAIN},
                              {"reset_scn", 'o', Column::PLAIN},
                              {"controlfile_scn", 'o', Column::PLAIN},
                              {"checkpoint_scn", 'o', Column::PLAIN},
                              {"backup_type", 'o', Column::PLAIN},
                              {"database", 'o', Column::PLAIN},
                              {"compatible", 'o', Column::PLAIN},
                              {"scsipool_id", 'o', Column::PLAIN},
                              {"stage_id", 'o', Column::PLAIN},
                              {"snapshot_id", 'o', Column::PLAIN},
                              {"merge_tag", 'o', Column::PLAIN},
                              {"special_files", 'o', Column::JSON}};

// SQLite

/// 16 bytes as a UUID's text: a function of the program, which beats the same put together by SQL functions.
void sql_uuid_text(sqlite3_context* context, int, sqlite3_value** values)
{
    const void* const bytes = sqlite3_value_blob(values[0]);
    if (bytes == nullptr || sqlite3_value_bytes(values[0]) != 16) {
        sqlite3_result_null(context);
        return;
    }
    char text[uuid_text_length + 1];
    write_uuid(static_cast<const unsigned char*>(bytes), text);
    sqlite3_result_text(context, text, uuid_text_length, SQLITE_TRANSIENT);
}

std::string sqlite_column(const Column& column)
{
    const std::string name = std::string(1, column.alias) + ".\"" + column.key + '"';
    switch (column.kind) {
    case Column::FLAG:
        return "iif(" + name + ", json('true'), json('false'))";
    case Column::JSON:
        return "json(" + name + ')';
    case Column::ID:
        return "uuid_text(" + name + ')';
    default:
        return name;
    }
}

std::string sqlite_statement()
{
    std::string sql = "SELECT json_object(";
    for (const Column& column : columns) {
        sql += '\'' + std::string(column.key) + "', " + sqlite_column(column) + ", ";
    }
    return sql + R"('storages',
    (SELECT json_group_array(json_object('pool_uuid', uuid_text(s.pool_uuid), 'state', s.state, 'size', s.size,
                                         'upstream_pool_uuid', uuid_text(s.upstream_pool_uuid)))
       FROM backup_set_storage s WHERE s.set_uuid = b.uuid), 'pieces',
    (SELECT json_group_array(json_object('object', p.object, 'size', p.size, 'path', p.path))
       FROM backup_piece p WHERE p.set_uuid = b.uuid))
  FROM backup_set b JOIN oracle_backup_set o ON b.uuid = o.set_uuid)";
}

struct Sqlite_Parties
{
    Sqlite_Parties() :
        path(databases::sqlite(workload::JSON_Columns::FILLED)), ours(Database_Connection::open("sqlite:" + path)),
        theirs(path)
    {
        require(ours != nullptr, "the library cannot open the database");
        constexpr int flags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
        sqlite3_create_function(theirs.get(), "uuid_text", 1, flags, nullptr, sql_uuid_text, nullptr, nullptr);
    }

    std::string path;
    std::unique_ptr<Database_Connection> ours;
    Sqlite_Database theirs;
};

Sides sqlite_rows_to_json()
{
    const auto with = std::make_shared<Sqlite_Parties>();
    Sqlite_Statement some(with->theirs, sqlite_statement() + " ORDER BY b.uuid LIMIT " + std::to_string(compared));
    for (const json_spirit::Value& row : some_rows(*with->ours)) {
        require(some.step() && value_of(some.text(0)) == in_order(row), "SQLite makes other JSON");
    }
    Sides sides;
    sides.add("ours", [with] { print_to_sink(*with->ours); });
    sides.add("json_object", [with] {
        Sink sink;
        Sqlite_Statement statement(with->theirs, sqlite_statement());
        while (statement.step()) {
            const std::string_view row = statement.text(0);
            sink.append(row.data(), row.size());
        }
    });
    return sides;
}

// PostgreSQL

std::string postgresql_column(const Column& column)
{
    const std::string name = std::string(1, column.alias) + ".\"" + column.key + '"';
    return column.kind == Column::TIME ? name + "::text AS \"" + column.key + '"' : name;
}

/// The whole row by `row_to_json`: `json_build_object` takes no more than 50 members.
std::string postgresql_statement(const char* nested, const char* joined)
{
    std::string sql = "SELECT row_to_json(t) FROM (SELECT ";
    for (const Column& column : columns) {
        sql += postgresql_column(column) + ", ";
    }
    return sql + nested + " FROM backup_set b JOIN oracle_backup_set o ON b.uuid = o.set_uuid " + joined + ") t";
}

/// The nested arrays by a sub-query a row.
std::string correlated()
{
    return postgresql_statement(R"(
    (SELECT coalesce(json_agg(json_build_object('pool_uuid', s.pool_uuid, 'state', s.state, 'size', s.size,
                                                'upstream_pool_uuid', s.upstream_pool_uuid)), '[]')
       FROM backup_set_storage s WHERE s.set_uuid = b.uuid) AS storages,
    (SELECT coalesce(json_agg(json_build_object('object', p.object, 'size', p.size, 'path', p.path)), '[]')
       FROM backup_piece p WHERE p.set_uuid = b.uuid) AS pieces)",
                                "");
}

/// The nested arrays of all sets made first, then joined.
std::string grouped()
{
    return postgresql_statement("coalesce(s.list, '[]') AS storages, coalesce(p.list, '[]') AS pieces", R"(
    LEFT JOIN (SELECT set_uuid, json_agg(json_build_object('pool_uuid', pool_uuid, 'state', state, 'size', size,
                                                           'upstream_pool_uuid', upstream_pool_uuid)) AS list
                 FROM backup_set_storage GROUP BY set_uuid) s ON s.set_uuid = b.uuid
    LEFT JOIN (SELECT set_uuid, json_agg(json_build_object('object', object, 'size', size, 'path', path)) AS list
                 FROM backup_piece GROUP BY set_uuid) p ON p.set_uuid = b.uuid)");
}

void append(const PGresult* result, Sink& sink)
{
    for (int i = 0; i < PQntuples(result); ++i) {
        sink.append(PQgetvalue(result, i, 0), static_cast<std::size_t>(PQgetlength(result, i, 0)));
    }
}

/// The whole result at once.
void fetch_whole(const Postgresql_Database& database, const std::string& statement)
{
    Sink sink;
    append(database.execute(statement).get(), sink);
}

/// A row at a time, as it arrives.
void fetch_rows(const Postgresql_Database& database, const std::string& statement)
{
    Sink sink;
    if (PQsendQuery(database.get(), statement.c_str()) != 1 || PQsetSingleRowMode(database.get()) != 1) {
        database.fail();
    }
    while (PGresult* result = PQgetResult(database.get())) {
        const ExecStatusType status = PQresultStatus(result);
        append(result, sink);
        PQclear(result);
        if (status != PGRES_SINGLE_TUPLE && status != PGRES_TUPLES_OK) {
            database.fail();
        }
    }
}

struct Postgresql_Parties
{
    Postgresql_Parties() : ours(Database_Connection::open(databases::postgresql())), theirs(databases::postgresql())
    {
        require(ours != nullptr, "the library cannot open the database");
    }

    std::unique_ptr<Database_Connection> ours;
    Postgresql_Database theirs;
};

Sides postgresql_rows_to_json()
{
    const auto with = std::make_shared<Postgresql_Parties>();
    const json_spirit::Array ours = some_rows(*with->ours);
    for (const std::string& statement : {correlated(), grouped()}) {
        const Postgresql_Result theirs =
            with->theirs.execute(statement + " ORDER BY uuid LIMIT " + std::to_string(compared));
        for (std::size_t i = 0; i < ours.size(); ++i) {
            require(value_of(PQgetvalue(theirs.get(), static_cast<int>(i), 0)) == in_order(ours[i]),
                    "PostgreSQL makes other JSON");
        }
    }
    Sides sides;
    sides.add("ours", [with] { print_to_sink(*with->ours); });
    sides.add("json_agg", [with] { fetch_rows(with->theirs, correlated()); });
    sides.add("json_agg_grouped", [with] { fetch_rows(with->theirs, grouped()); });
    sides.add("json_agg_whole", [with] { fetch_whole(with->theirs, correlated()); });
    return sides;
}

} // namespace

void register_rows_to_json()
{
    const auto items = static_cast<double>(workload::sets());
    register_sides("rows_to_json/sqlite", Clock::PROCESS, items, sqlite_rows_to_json);
    register_sides("rows_to_json/postgresql", Clock::WALL, items, postgresql_rows_to_json);
}
