#include "catalog/store/migration.h"

#include "catalog/schema/schema.h"
#include "catalog/store/refusal.h"

#include <cstdint>
#include <optional>

namespace catalog {
namespace {

/// Takes the number that a query of one row and one column gives.
class Number_Printer : public database::sql::Query_Result_Token_Printer
{
public:
    bool print_int(int, const char*, ACE_INT64 value) override
    {
        value_ = value;
        return true;
    }

    std::optional<std::int64_t> value() const { return value_; }

private:
    std::optional<std::int64_t> value_;
};

bool refuse_schema(Error& error, std::string message)
{
    error = {.kind = Error::SCHEMA, .message = std::move(message), .key = {}, .database = {}};
    return false;
}

bool refuse_newer(int version, int known, Error& error)
{
    return refuse_schema(error, "the catalog has schema version " + std::to_string(version)
                                    + ", this program knows up to " + std::to_string(known) + ": use a newer program");
}

bool ask(Database_Connection& connection, const char* question, std::optional<std::int64_t>& number, Error& error)
{
    Number_Printer printer;
    if (!connection.query_and_print(SQL(question), printer, GM_ORM_ROWS)) {
        return fail(error, connection.last_error());
    }
    number = printer.value();
    return true;
}

bool is_sqlite(const Database_Connection& connection)
{
    return connection.dialect() == SQL_Dialect::SQLITE;
}

bool is_empty(Database_Connection& connection, bool& empty, Error& error)
{
    const char* const question = is_sqlite(connection)
                                     ? "SELECT count(*) FROM sqlite_master WHERE type = 'table'"
                                     : "SELECT count(*) FROM pg_tables WHERE schemaname = current_schema()";
    std::optional<std::int64_t> number;
    if (!ask(connection, question, number, error)) {
        return false;
    }
    empty = number == 0;
    return true;
}

/// Only one program at a time makes or changes a schema. SQLite's write lock sees to that by itself.
bool lock(Database_Connection& connection, Error& error)
{
    return is_sqlite(connection) || connection.execute_script("SELECT pg_advisory_xact_lock(4207398213)")
           || fail(error, connection.last_error());
}

bool run(Database_Connection& connection, const std::string& script, Error& error)
{
    return connection.execute_script(script) || fail(error, connection.last_error());
}

// The steps are kept as they were when they came: databases that took them have just that.

constexpr const char* version_2_sqlite = R"sql(
CREATE INDEX "backup_set_by_resource_end" ON "backup_set" ("resource_uuid", "backup_end_time");
CREATE TABLE "backup_set_commit" (
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "digest" TEXT NOT NULL CHECK (typeof("digest") IN ('text', 'null')),
    "revision" UUID_BLOB CHECK (typeof("revision") IN ('blob', 'null') AND length("revision") = 16),
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE "open_set" (
    "uuid" UUID_BLOB NOT NULL CHECK (typeof("uuid") IN ('blob', 'null') AND length("uuid") = 16),
    "catalog_type" TEXT NOT NULL CHECK (typeof("catalog_type") IN ('text', 'null')),
    "state" TEXT NOT NULL CHECK (typeof("state") IN ('text', 'null')),
    "started" TIME_TEXT NOT NULL CHECK (datetime("started", '+0 days') = "started"),
    "initialized" TEXT NOT NULL CHECK (typeof("initialized") IN ('text', 'null')),
    "completed" TEXT CHECK (typeof("completed") IN ('text', 'null')),
    "document" TEXT NOT NULL CHECK (typeof("document") IN ('text', 'null')),
    PRIMARY KEY ("uuid")
);
CREATE INDEX "open_set_by_start" ON "open_set" ("started", "uuid");
CREATE INDEX "open_set_by_state" ON "open_set" ("state", "started", "uuid");
CREATE TABLE "open_set_pieces" (
    "id" INTEGER PRIMARY KEY,
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "piece_count" BIGINT NOT NULL CHECK (typeof("piece_count") IN ('integer', 'null')),
    "pieces" TEXT NOT NULL CHECK (typeof("pieces") IN ('text', 'null')),
    FOREIGN KEY ("set_uuid") REFERENCES "open_set" ON DELETE CASCADE
);
CREATE INDEX "open_set_pieces_by_set" ON "open_set_pieces" ("set_uuid", "id");
CREATE TABLE "queued_commit" (
    "id" INTEGER PRIMARY KEY AUTOINCREMENT,
    "set_uuid" UUID_BLOB NOT NULL CHECK (typeof("set_uuid") IN ('blob', 'null') AND length("set_uuid") = 16),
    "catalog_type" TEXT NOT NULL CHECK (typeof("catalog_type") IN ('text', 'null')),
    "state" TEXT NOT NULL CHECK (typeof("state") IN ('text', 'null')),
    "queued" TIME_TEXT NOT NULL CHECK (datetime("queued", '+0 days') = "queued"),
    "digest" TEXT NOT NULL CHECK (typeof("digest") IN ('text', 'null')),
    "message" TEXT CHECK (typeof("message") IN ('text', 'null')),
    "document" TEXT NOT NULL CHECK (typeof("document") IN ('text', 'null'))
);
CREATE INDEX "queued_commit_by_state" ON "queued_commit" ("state", "id");
CREATE INDEX "queued_commit_by_set" ON "queued_commit" ("set_uuid", "state");
CREATE TABLE "remembered_answer" (
    "request_key" UUID_BLOB NOT NULL CHECK (typeof("request_key") IN ('blob', 'null') AND length("request_key") = 16),
    "answered" TIME_TEXT NOT NULL CHECK (datetime("answered", '+0 days') = "answered"),
    "answer" TEXT NOT NULL CHECK (typeof("answer") IN ('text', 'null')),
    PRIMARY KEY ("request_key")
) WITHOUT ROWID;
CREATE INDEX "remembered_answer_by_time" ON "remembered_answer" ("answered");
)sql";

constexpr const char* version_2_postgresql = R"sql(
CREATE INDEX "backup_set_by_resource_end" ON "backup_set" ("resource_uuid", "backup_end_time");
CREATE TABLE "backup_set_commit" (
    "set_uuid" uuid NOT NULL,
    "digest" text NOT NULL,
    "revision" uuid,
    PRIMARY KEY ("set_uuid"),
    FOREIGN KEY ("set_uuid") REFERENCES "backup_set" ON DELETE CASCADE
);
CREATE TABLE "open_set" (
    "uuid" uuid NOT NULL,
    "catalog_type" text NOT NULL,
    "state" text NOT NULL,
    "started" timestamp(0) NOT NULL,
    "initialized" text NOT NULL,
    "completed" text,
    "document" text NOT NULL,
    PRIMARY KEY ("uuid")
);
CREATE INDEX "open_set_by_start" ON "open_set" ("started", "uuid");
CREATE INDEX "open_set_by_state" ON "open_set" ("state", "started", "uuid");
CREATE TABLE "open_set_pieces" (
    "id" bigint GENERATED BY DEFAULT AS IDENTITY,
    "set_uuid" uuid NOT NULL,
    "piece_count" bigint NOT NULL,
    "pieces" text NOT NULL,
    PRIMARY KEY ("id"),
    FOREIGN KEY ("set_uuid") REFERENCES "open_set" ON DELETE CASCADE
);
CREATE INDEX "open_set_pieces_by_set" ON "open_set_pieces" ("set_uuid", "id");
CREATE TABLE "queued_commit" (
    "id" bigint GENERATED BY DEFAULT AS IDENTITY,
    "set_uuid" uuid NOT NULL,
    "catalog_type" text NOT NULL,
    "state" text NOT NULL,
    "queued" timestamp(0) NOT NULL,
    "digest" text NOT NULL,
    "message" text,
    "document" text NOT NULL,
    PRIMARY KEY ("id")
);
CREATE INDEX "queued_commit_by_state" ON "queued_commit" ("state", "id");
CREATE INDEX "queued_commit_by_set" ON "queued_commit" ("set_uuid", "state");
CREATE TABLE "remembered_answer" (
    "request_key" uuid NOT NULL,
    "answered" timestamp(0) NOT NULL,
    "answer" text NOT NULL,
    PRIMARY KEY ("request_key")
);
CREATE INDEX "remembered_answer_by_time" ON "remembered_answer" ("answered");
)sql";

constexpr Migration steps[] = {
    {2, version_2_sqlite, version_2_postgresql},
};

} // namespace

std::span<const Migration> migrations()
{
    return steps;
}

bool read_schema_version(Database_Connection& connection, int& version, Error& error)
{
    error = {};
    version = 0;
    const char* const question =
        is_sqlite(connection)
            ? "SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name = 'catalog_schema'"
            : "SELECT count(*) FROM pg_tables WHERE tablename = 'catalog_schema' AND schemaname = current_schema()";
    std::optional<std::int64_t> number;
    if (!ask(connection, question, number, error)) {
        return false;
    }
    if (number == 0) {
        return true;
    }
    if (!ask(connection, "SELECT version FROM catalog_schema", number, error)) {
        return false;
    }
    if (!number || *number < 1 || *number > 1'000'000) {
        return refuse_schema(error, "the table catalog_schema does not say which version the schema has");
    }
    version = static_cast<int>(*number);
    return true;
}

bool check_schema_version(int version, Error& error)
{
    if (version > schema_version) {
        return refuse_newer(version, schema_version, error);
    }
    if (version < schema_version) {
        return refuse_schema(error, version == 0 ? std::string("the database has no catalog yet: make the schema first")
                                                 : "the catalog has schema version " + std::to_string(version)
                                                       + ", this program works with " + std::to_string(schema_version)
                                                       + ": migrate it first");
    }
    return true;
}

bool bring_forward(Database_Connection& connection, std::span<const Migration> steps, const std::string& create,
                   int wanted, int& from, Error& error)
{
    error = {};
    Database_Transaction transaction(connection, Database_Transaction::WRITE);
    if (!transaction.begun()) {
        return fail(error, connection.last_error());
    }
    if (!lock(connection, error) || !read_schema_version(connection, from, error)) {
        return false;
    }
    if (from > wanted) {
        return refuse_newer(from, wanted, error);
    }
    if (from == 0) {
        bool empty = false;
        if (!is_empty(connection, empty, error)) {
            return false;
        }
        if (!empty) {
            return refuse_schema(error,
                                 "the database holds tables, and none of a catalog: give the catalog an empty one");
        }
        if (!run(connection, create, error)) {
            return false;
        }
    }
    for (const Migration& step : steps) {
        if (from != 0 && step.version > from && step.version <= wanted
            && !run(connection,
                    std::string(is_sqlite(connection) ? step.sqlite : step.postgresql)
                        + "\nUPDATE \"catalog_schema\" SET \"version\" = " + std::to_string(step.version) + ';',
                    error))
        {
            return false;
        }
    }
    return transaction.commit() || fail(error, connection.last_error());
}

} // namespace catalog
