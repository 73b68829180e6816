#include "bench/databases.h"

#include "bench/postgresql.h"
#include "bench/set_writer.h"
#include "bench/sides.h"
#include "bench/sqlite.h"
#include "catalog/schema/schema.h"

#include <cstdlib>
#include <map>
#include <stdexcept>

namespace databases {
namespace {

using workload::JSON_Columns;

/// The folder with what belongs to it: a PostgreSQL server may run there.
class Place
{
public:
    Place() : folder_(std::filesystem::read_symlink("/proc/self/exe").parent_path() / "bench_data")
    {
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directories(folder_);
    }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    ~Place()
    {
        if (!server_.empty()) {
            script("stop");
        }
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    const std::filesystem::path& folder() const { return folder_; }

    /// The server's URL up to the name of the database, and what comes behind it.
    std::string database_url(const std::string& name)
    {
        if (server_.empty()) {
            script("start");
            server_ = script("url");
        }
        const std::string standard = "/postgres?";
        return std::string(server_).replace(server_.find(standard), standard.size(), '/' + name + '?');
    }

private:
    /// Runs the script that keeps servers for tests, and gives back the line that it prints.
    std::string script(const std::string& action) const
    {
        const std::string command =
            "tests/support/postgresql_server.sh " + action + " '" + (folder_ / "postgresql").string() + "'";
        FILE* const output = popen(command.c_str(), "r");
        require(output != nullptr, "cannot run the script that starts PostgreSQL");
        std::string line;
        for (int c = std::fgetc(output); c != EOF; c = std::fgetc(output)) {
            if (c != '\n') {
                line += static_cast<char>(c);
            }
        }
        require(pclose(output) == 0, "tests/support/postgresql_server.sh failed (run from the top of the tree)");
        return line;
    }

    std::filesystem::path folder_;
    std::string server_;
};

Place& place()
{
    static Place the;
    return the;
}

std::string make_sqlite(JSON_Columns json)
{
    const std::string path = folder() / (json == JSON_Columns::EMPTY ? "columns.db" : "json.db");
    const Sqlite_Database database(path);
    database.execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = OFF; PRAGMA cache_size = -1000000");
    database.execute(catalog::create_schema(SQL_Dialect::SQLITE));
    database.execute("BEGIN");
    Sqlite_Set_Writer writer(database);
    for (std::size_t i = 0; i < workload::sets(); ++i) {
        writer.write(rows_of(i, json));
    }
    database.execute("COMMIT; ANALYZE; PRAGMA wal_checkpoint(TRUNCATE)");
    return path;
}

void append_copy_field(std::string& line, const Binding_Value& value)
{
    std::string text;
    if (!postgresql_text(value, text)) {
        line += "\\N";
        return;
    }
    for (const char c : text) {
        if (c == '\\') {
            line += '\\';
        }
        line += c;
    }
}

std::string make_postgresql()
{
    const std::string url = empty_postgresql("bench");
    const Postgresql_Database database(url);
    database.execute(catalog::create_schema(SQL_Dialect::POSTGRESQL));
    constexpr std::size_t batch = 10000;
    for (std::size_t first = 0; first < workload::sets(); first += batch) {
        std::map<const catalog::Table*, std::string> lines;
        std::vector<const catalog::Table*> tables; // parents first
        for (std::size_t i = first; i < std::min(first + batch, workload::sets()); ++i) {
            for (const auto& [table, rows] : rows_of(i, JSON_Columns::FILLED).tables) {
                if (!lines.contains(table)) {
                    tables.push_back(table);
                }
                for (const auto& row : rows) {
                    std::string& text = lines[table];
                    char separator = 0;
                    for (const Binding_Value& value : row) {
                        if (separator != 0) {
                            text += separator;
                        }
                        append_copy_field(text, value);
                        separator = '\t';
                    }
                    text += '\n';
                }
            }
        }
        for (const catalog::Table* table : tables) {
            std::string columns;
            for (const std::string& column : catalog::inserted_columns(*table)) {
                columns += (columns.empty() ? "\"" : ", \"") + column + '"';
            }
            database.copy_in("COPY \"" + std::string(table->name) + "\" (" + columns + ") FROM STDIN", lines[table]);
        }
    }
    database.execute("VACUUM ANALYZE");
    database.execute("CHECKPOINT");
    return url;
}

} // namespace

const std::filesystem::path& folder()
{
    return place().folder();
}

catalog::Set_Rows rows_of(std::uint64_t number, JSON_Columns json)
{
    Oracle_Backup_Set set = workload::make_set(number, json);
    catalog::Set_Rows rows;
    catalog::Error error;
    require(catalog::read_document(to_json(set), rows, error), error.message.c_str());
    return rows;
}

const std::string& sqlite(JSON_Columns json)
{
    static std::map<JSON_Columns, std::string> paths;
    std::string& path = paths[json];
    if (path.empty()) {
        path = make_sqlite(json);
    }
    return path;
}

const std::string& postgresql()
{
    static const std::string url = make_postgresql();
    return url;
}

std::string empty_postgresql(const std::string& name)
{
    const Postgresql_Database server(place().database_url("postgres"));
    server.execute("CREATE DATABASE \"" + name + '"');
    return place().database_url(name);
}

} // namespace databases
