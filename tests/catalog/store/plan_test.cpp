// Listings are answered from an index, without reading or sorting what they do not show.

#include "catalog/service/view_families.h"
#include "catalog/store/set_listing.h"
#include "platform/text/uuid.h"
#include "tests/catalog/store/catalog_test.h"

#include <functional>
#include <libpq-fe.h>
#include <memory>
#include <sqlite3.h>

namespace {

using namespace catalog;

const std::string some_uuid = "00000000-0000-4000-8000-000000000005";
const std::string key = "2024-03-15T00:00:00Z/00000000-0000-4000-8000-000000000005";
const std::time_t february = 1706745600;
const std::time_t april = 1711929600;

/// A value as it stands in a statement.
std::string literal(const Binding_Value& value, bool on_postgresql)
{
    if (const auto* text = std::get_if<std::string>(&value.held())) {
        return '\'' + *text + '\'';
    }
    if (const auto* integer = std::get_if<std::int64_t>(&value.held())) {
        return std::to_string(*integer);
    }
    const std::string uuid = uuid_text(std::get<Binding_Value::UUID>(value.held()));
    if (on_postgresql) {
        return '\'' + uuid + '\'';
    }
    std::string digits;
    for (const char c : uuid) {
        if (c != '-') {
            digits += c;
        }
    }
    return "x'" + digits + '\'';
}

class Plan_Test : public Catalog_Test
{
protected:
    /// A catalog of 30,000 sets: of 100 days, 3 types, 50 hosts, 40 resources; a copy of each in one of 20 pools.
    void fill()
    {
        static_cast<void>(store());
        const bool on_server = on_postgresql();
        const std::string number = on_server ? "n" : "value";
        const std::string source =
            on_server
                ? "generate_series(1, 30000) AS numbers(n)"
                : "(WITH RECURSIVE up(value) AS (SELECT 1 UNION ALL SELECT value + 1 FROM up WHERE value < 30000) "
                  "SELECT value FROM up)";
        const auto uuid_of = [&](const std::string& expression) {
            return on_server ? "('00000000-0000-4000-8000-' || lpad(to_hex(" + expression + "), 12, '0'))::uuid"
                             : "unhexed(" + expression + ")";
        };
        const std::string time = on_server ? "timestamp '2024-01-01' + (n % 100) * interval '1 day'"
                                           : "datetime('2024-01-01', '+' || (value % 100) || ' days')";
        const auto script = [&](const std::string& text) {
            std::string plain = text;
            for (std::size_t at; !on_server && (at = plain.find("unhexed(")) != std::string::npos;) {
                // SQLite has no unhex: the bytes of a uuid are made of their pieces.
                std::size_t end = at + 8;
                for (int depth = 1; depth > 0; ++end) {
                    depth += plain[end] == '(' ? 1 : plain[end] == ')' ? -1 : 0;
                }
                const std::string inner = plain.substr(at + 8, end - at - 9);
                plain.replace(at, end - at, "CAST(printf('uuid-of-%08d', " + inner + ") AS BLOB)");
            }
            run(plain);
        };
        script("INSERT INTO backup_set (uuid, name, host, host_uuid, resource_uuid, minor_resource_id, catalog_type, "
               "backup_start_time, piece_count, copy_states) SELECT "
               + uuid_of(number) + ", 'n', 'host-' || (" + number + " % 50), " + uuid_of(number + " % 50") + ", "
               + uuid_of(number + " % 40") + ", 'minor-' || (" + number + " % 60), CASE " + number
               + " % 3 WHEN 0 THEN 'oracle' WHEN 1 THEN 'file' ELSE 'oracle_exp' END, " + time + ", 0, 1 FROM "
               + source);
        script("INSERT INTO backup_set_storage (set_uuid, pool_uuid, state, backup_start_time) SELECT "
               + uuid_of(number) + ", " + uuid_of(number + " % 20") + ", 1, " + time + " FROM " + source);
        script("INSERT INTO backup_set_state (set_uuid, state_bit, backup_start_time) SELECT " + uuid_of(number)
               + ", CASE " + number + " % 10 WHEN 0 THEN 8 ELSE 1 END, " + time + " FROM " + source);
        script("INSERT INTO backup_set_parent (set_uuid, position, parent_uuid) SELECT " + uuid_of(number) + ", 1, "
               + uuid_of(number + " + 1") + " FROM " + source);
        script("INSERT INTO oracle_backup_set (set_uuid, dbid) SELECT " + uuid_of(number) + ", 1 FROM " + source
               + " WHERE " + number + " % 3 = 0");
    }

    /// PostgreSQL plans by its statistics; SQLite must do well with them and without.
    void expect_with_statistics(const std::function<void()>& expectations)
    {
        fill();
        if (!on_postgresql()) {
            expectations();
        }
        run("ANALYZE");
        expectations();
    }

    /// How the engine answers a statement, as it words it.
    std::string plan(const Select_SQL& sql)
    {
        const auto rendered = sql.rendered(on_postgresql() ? SQL_Dialect::POSTGRESQL : SQL_Dialect::SQLITE);
        // The values stand in the statement, so that the planner sees them as it does at the first runs.
        std::string text = rendered->text;
        for (std::size_t i = rendered->parameters.size(); i-- > 0;) {
            const std::string& name = rendered->parameters[i];
            const std::string place = on_postgresql() ? '$' + std::to_string(i + 1) : name;
            for (const auto& [bound, value] : sql.bindings()) {
                for (std::size_t at = 0; bound == name && (at = text.find(place, at)) != std::string::npos;) {
                    const char next = at + place.size() < text.size() ? text[at + place.size()] : ' ';
                    const std::string given = literal(value, on_postgresql());
                    if (next != '_' && std::isalnum(static_cast<unsigned char>(next)) == 0) {
                        text.replace(at, place.size(), given);
                    }
                    at += place.size();
                }
            }
        }
        return on_postgresql() ? postgresql_plan(text) : sqlite_plan(text);
    }

    /// Every table is entered by an index, and the rows come in order.
    void expect_by_index(const Select_SQL& sql, const std::string& index)
    {
        const std::string found = plan(sql);
        if (on_postgresql()) {
            EXPECT_EQ(found.find("Seq Scan"), std::string::npos) << found;
            EXPECT_EQ(found.find("Sort"), std::string::npos) << found;
            EXPECT_EQ(found.find("Bitmap"), std::string::npos) << found;
            EXPECT_NE(found.find("using " + index + ' '), std::string::npos) << found;
        } else {
            EXPECT_EQ(found.find("SCAN"), std::string::npos) << found;
            EXPECT_EQ(found.find("TEMP B-TREE"), std::string::npos) << found;
            EXPECT_NE(found.find("INDEX " + index + ' '), std::string::npos) << found;
        }
    }

    void expect_listing_by_index(const Set_Filter& filter, const std::string& index)
    {
        for (const std::string& after : {std::string(), key}) {
            SCOPED_TRACE(index + (after.empty() ? ", first page" : ", later page"));
            Select_SQL sql;
            Error error;
            ASSERT_TRUE(list_select(filter, 20, after, sql, error)) << error.message;
            const bool whole_index = !on_postgresql() && after.empty() && filter.type.empty() && filter.host.empty()
                                     && filter.resource.empty() && filter.minor_resource.empty() && filter.state.empty()
                                     && !filter.since && !filter.until;
            if (whole_index) {
                // SQLite calls it a scan of the index; it ends after the rows of a page.
                const std::string found = plan(sql);
                EXPECT_EQ(found, "SCAN b USING INDEX " + index + " \n");
            } else {
                expect_by_index(sql, index);
            }
        }
    }

private:
    std::string sqlite_plan(const std::string& text)
    {
        sqlite3* opened = nullptr;
        const int code = sqlite3_open(url().substr(sizeof("sqlite:") - 1).c_str(), &opened);
        const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> database(opened, sqlite3_close);
        sqlite3_stmt* prepared = nullptr;
        if (code != SQLITE_OK
            || sqlite3_prepare_v2(database.get(), ("EXPLAIN QUERY PLAN " + text).c_str(), -1, &prepared, nullptr)
                   != SQLITE_OK)
        {
            throw std::runtime_error(sqlite3_errmsg(database.get()) + (": " + text));
        }
        const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> statement(prepared, sqlite3_finalize);
        std::string lines;
        while (sqlite3_step(statement.get()) == SQLITE_ROW) {
            lines += std::string(reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 3))) + " \n";
        }
        return lines;
    }

    std::string postgresql_plan(const std::string& text)
    {
        const std::unique_ptr<PGconn, decltype(&PQfinish)> connection(PQconnectdb(url().c_str()), PQfinish);
        const std::unique_ptr<PGresult, decltype(&PQclear)> result(
            PQexec(connection.get(), ("EXPLAIN (COSTS OFF) " + text).c_str()), PQclear);
        if (PQresultStatus(result.get()) != PGRES_TUPLES_OK) {
            throw std::runtime_error(PQerrorMessage(connection.get()) + text);
        }
        std::string lines;
        for (int row = 0; row < PQntuples(result.get()); ++row) {
            lines += std::string(PQgetvalue(result.get(), row, 0)) + " \n";
        }
        return lines;
    }
};

} // namespace

CATALOG_TEST_ENGINES(Plan_Test);

TEST_P(Plan_Test, every_choice_of_a_listing_has_its_index)
{
    expect_with_statistics([&] {
        expect_listing_by_index({}, "backup_set_by_start");
        expect_listing_by_index({.since = february}, "backup_set_by_start");
        expect_listing_by_index({.until = april}, "backup_set_by_start");
        expect_listing_by_index({.since = february, .until = april}, "backup_set_by_start");
        expect_listing_by_index({.type = "oracle"}, "backup_set_by_type");
        expect_listing_by_index({.host = "host-7"}, "backup_set_by_host");
        expect_listing_by_index({.host = some_uuid}, "backup_set_by_host_uuid");
        expect_listing_by_index({.resource = some_uuid}, "backup_set_by_resource");
        expect_listing_by_index({.minor_resource = "minor-7"}, "backup_set_by_minor_resource");
        expect_listing_by_index({.state = "expired"}, "backup_set_state_by_state");
        expect_listing_by_index({.state = "online"}, "backup_set_state_by_state");
    });
}

TEST_P(Plan_Test, a_choice_with_times_uses_the_same_index)
{
    expect_with_statistics([&] {
        expect_listing_by_index({.type = "oracle", .since = february}, "backup_set_by_type");
        expect_listing_by_index({.host = "host-7", .until = april}, "backup_set_by_host");
        expect_listing_by_index({.resource = some_uuid, .since = february, .until = april}, "backup_set_by_resource");
        expect_listing_by_index({.state = "expired", .since = february}, "backup_set_state_by_state");
    });
}

TEST_P(Plan_Test, copies_and_sets_are_found_by_index)
{
    expect_with_statistics([&] {
        const UUID_Bytes uuid = *read_uuid(some_uuid);
        expect_by_index(copies_in_pool_select(uuid, 20), "backup_set_storage_by_pool");
        expect_by_index(storages_select(uuid), "backup_set_storage_by_set");
        Select_SQL children;
        children.table("backup_set_parent").select("set_uuid").where("parent_uuid = :uuid").bind(":uuid", uuid);
        expect_by_index(children, "backup_set_parent_by_parent");
    });
}

TEST_P(Plan_Test, the_newest_sets_of_a_type_come_by_its_own_select_in_order)
{
    expect_with_statistics([&] {
        Select_SQL sql;
        Error error;
        ASSERT_TRUE(store().type_select(*find_set_type("oracle"), {}, sql, error));
        sql.limit(20);
        expect_by_index(sql, "backup_set_by_type");
    });
}

TEST_P(Plan_Test, open_sets_queue_and_answers_are_found_by_index)
{
    static_cast<void>(store());
    const bool on_server = on_postgresql();
    const std::string up = on_server
                               ? "generate_series(1, 5000) AS numbers(n)"
                               : "(WITH RECURSIVE up(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM up WHERE n < 5000) "
                                 "SELECT n FROM up)";
    const std::string uuid_of = on_server ? "md5(n::text)::uuid" : "CAST(printf('uuid-of-%08d', n) AS BLOB)";
    const std::string time = on_server ? "timestamp '2024-01-01' + n * interval '1 second'"
                                       : "datetime('2024-01-01', '+' || n || ' seconds')";
    run("INSERT INTO open_set SELECT " + uuid_of + ", 'file', CASE n % 9 WHEN 0 THEN 'complete' ELSE 'open' END, "
        + time + ", 'i', NULL, '{}' FROM " + up);
    run("INSERT INTO open_set_pieces (set_uuid, piece_count, pieces) SELECT " + uuid_of + ", 1, '[{}]' FROM " + up);
    run("INSERT INTO queued_commit (set_uuid, catalog_type, state, queued, digest, document) SELECT " + uuid_of
        + ", 'file', CASE n % 9 WHEN 0 THEN 'waiting' ELSE 'failed' END, " + time + ", 'd', '{}' FROM " + up);
    run("INSERT INTO remembered_answer SELECT " + uuid_of + ", " + time + ", '{}' FROM " + up);
    run("ANALYZE");
    const UUID_Bytes uuid = *read_uuid(some_uuid);
    const auto select = [](const char* table, const char* columns, const std::string& condition) {
        Select_SQL sql;
        sql.table(table).select(columns).where(condition);
        return sql;
    };
    const std::string primary_key_of_open = on_server ? "open_set_pkey" : "sqlite_autoindex_open_set_1";
    expect_by_index(select("open_set", "state", "uuid = :uuid").bind(":uuid", uuid), primary_key_of_open);
    expect_by_index(select("open_set_pieces", "pieces", "set_uuid = :uuid").bind(":uuid", uuid).order_by("id"),
                    "open_set_pieces_by_set");
    expect_by_index(select("queued_commit", "digest", "state = 'waiting' AND set_uuid = :uuid").bind(":uuid", uuid),
                    "queued_commit_by_set");
    expect_by_index(select("queued_commit", "document", "state = 'waiting'").order_by("id").limit(10),
                    "queued_commit_by_state");
    expect_by_index(
        select("open_set", "uuid", "state = 'complete'").order_by("started DESC").order_by("uuid DESC").limit(10),
        "open_set_by_state");
    expect_by_index(select("open_set", "uuid", "(started, uuid) < ('2024-01-01 00:10:00', :uuid)")
                        .bind(":uuid", uuid)
                        .order_by("started DESC")
                        .order_by("uuid DESC")
                        .limit(10),
                    "open_set_by_start");
    expect_by_index(
        select("remembered_answer", "request_key", "answered < '2024-01-01 00:10:00'").order_by("answered").limit(10),
        "remembered_answer_by_time");
}

TEST_P(Plan_Test, the_newest_end_of_a_resource_comes_from_the_index)
{
    fill();
    run("ANALYZE");
    Select_SQL sql;
    sql.table("backup_set").add_key("max(backup_end_time)", "newest").where("resource_uuid = :uuid");
    sql.bind(":uuid", *read_uuid(some_uuid));
    const std::string found = plan(sql);
    EXPECT_EQ(found.find("Seq Scan"), std::string::npos) << found;
    EXPECT_NE(found.find(on_postgresql() ? "using backup_set_by_resource_end "
                                         : "COVERING INDEX backup_set_by_resource_end "),
              std::string::npos)
        << found;
}

TEST_P(Plan_Test, the_places_of_a_type_s_sets_and_of_a_pool_s_copies_come_by_index_in_order)
{
    expect_with_statistics([&] {
        const Set_Type& oracle = *find_set_type("oracle");
        const UUID_Bytes uuid = *read_uuid(some_uuid);
        const service::Type_Place place{"2024-03-15 00:00:00", uuid};
        expect_by_index(service::type_places_select(oracle, {}, {}, 20), "backup_set_by_type");
        expect_by_index(service::type_places_select(oracle, {}, place, 20), "backup_set_by_type");
        const service::Pool_Key key{{"2024-03-15 00:00:00", uuid}, 7};
        expect_by_index(service::pool_select(uuid, nullptr, 20), "backup_set_storage_by_pool");
        expect_by_index(service::pool_select(uuid, &key, 20), "backup_set_storage_by_pool");
    });
}

TEST_P(Plan_Test, the_newest_set_of_a_resource_is_found_by_index)
{
    expect_with_statistics([&] {
        const UUID_Bytes uuid = *read_uuid(some_uuid);
        const std::string by_end = plan(service::latest_select(uuid, {}, true));
        EXPECT_NE(by_end.find("backup_set_by_resource_end "), std::string::npos) << by_end;
        EXPECT_EQ(by_end.find("Seq Scan"), std::string::npos) << by_end;
        if (!on_postgresql()) {
            EXPECT_EQ(by_end.find("TEMP B-TREE FOR ORDER BY"), std::string::npos) << by_end; // only among equal ends
        }
        expect_by_index(service::latest_select(uuid, {}, false), "backup_set_by_resource");
    });
}
