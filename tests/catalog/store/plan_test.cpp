// Listings are answered from an index, without reading or sorting what they do not show.

#include "tests/catalog/store/plan_test.h"

using namespace plan_test;

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
