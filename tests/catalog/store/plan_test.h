// How the engines run the catalog's selects, asked for in a catalog of many sets.
#pragma once

#include "catalog/store/set_listing.h"
#include "platform/text/uuid.h"
#include "tests/catalog/store/catalog_test.h"

#include <functional>
#include <libpq-fe.h>
#include <memory>
#include <sqlite3.h>

namespace plan_test {

using namespace catalog;

inline const std::string some_uuid = "00000000-0000-4000-8000-000000000005";
inline const std::string key = "2024-03-15T00:00:00Z/00000000-0000-4000-8000-000000000005";
inline const std::time_t february = 1706745600;
inline const std::time_t april = 1711929600;

/// A value as it stands in a statement.
inline std::string literal(const Binding_Value& value, bool on_postgresql)
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

} // namespace plan_test
