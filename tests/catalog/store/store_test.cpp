#include "backup_set/common/file_backup_set.h"
#include "backup_set/common/oracle_arch_backup_set.h"
#include "backup_set/common/oracle_backup_set.h"
#include "backup_set/common/oracle_exp_backup_set.h"
#include "catalog/store/catalog_store.h"
#include "platform/database/load_records.h"
#include "platform/json/json_generator.h"
#include "tests/catalog/store/catalog_test.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

namespace {

using namespace catalog;

const std::string pool_1 = "11111111-0000-4000-8000-000000000001";
const std::string pool_2 = "22222222-0000-4000-8000-000000000002";

class Store_Test : public Catalog_Test
{
protected:
    Record_Result try_to(const std::string& document) { return store().record(document); }
};

/// All common fields set.
template <class Set>
Set filled(const std::string& uuid)
{
    Set set;
    set.uuid = uuid;
    set.name = "nightly";
    set.def_uuid = "dddddddd-0000-4000-8000-000000000001";
    set.activity_uuid = "aaaaaaaa-0000-4000-8000-000000000002";
    set.uid = "operator";
    set.host_uuid = "bbbbbbbb-0000-4000-8000-000000000003";
    set.resource_uuid = "cccccccc-0000-4000-8000-000000000004";
    set.minor_resource_id = "minor";
    set.minor_resource_name = "minor name";
    set.agent = "agent";
    set.incarnation = "7";
    set.type = "full";
    set.first_time = 1700000000;
    set.last_time = 1700000100;
    set.backup_start_time = 1700000200;
    set.backup_end_time = 1700000300;
    set.source_size = 9223372036854775807;
    set.size = -9223372036854775807 - 1;
    set.uri = "uri://x";
    set.host = "host-a";
    set.instance = "instance";
    set.instance_version = "1.2";
    set.first_scn = 11;
    set.last_scn = 12;
    set.resource_tree["tree"] = 1;
    set.extended_attrs["attr"] = "x";
    set.uname["sysname"] = "Linux";
    set.lsb["id"] = "Debian";
    return set;
}

} // namespace

CATALOG_TEST_ENGINES(Store_Test);

TEST_P(Store_Test, records_a_set_and_names_it_in_lower_case)
{
    const Record_Result result = try_to(small("{00000001-AAAA-4BBB-8CCC-0123456789AB}"));
    EXPECT_FALSE(result.error);
    EXPECT_EQ(result.outcome, Record_Outcome::RECORDED);
    EXPECT_EQ(result.uuid, uuid(1));
    EXPECT_EQ(document(uuid(1)), small("{00000001-AAAA-4BBB-8CCC-0123456789AB}"));
}

TEST_P(Store_Test, finds_a_document_by_any_spelling_of_its_uuid)
{
    record(small(uuid(1)));
    EXPECT_EQ(document("00000001AAAA4BBB8CCC0123456789AB"), small(uuid(1)));
    EXPECT_EQ(document("urn:uuid:" + uuid(1)), small(uuid(1)));
}

TEST_P(Store_Test, says_when_there_is_no_such_set)
{
    std::string text = "as it was";
    Error error;
    EXPECT_FALSE(store().document(uuid(9), text, error));
    EXPECT_EQ(error.kind, Error::NOT_FOUND);
    EXPECT_EQ(error.message, "the catalog has no set " + uuid(9));
    EXPECT_EQ(text, "as it was");
    EXPECT_FALSE(store().document("9", text, error));
    EXPECT_EQ(error.kind, Error::REFUSED);
    EXPECT_EQ(error.message, "\"9\" is no UUID of a set");
}

TEST_P(Store_Test, the_same_content_again_is_already_there)
{
    const std::string text = small(uuid(1), R"("name":"a","size":5,"pieces":[{"path":"p"}],"storage":{"size":1})");
    record(text);
    Log_Capture log;
    const Record_Result again = try_to(text);
    EXPECT_FALSE(again.error) << again.error.message;
    EXPECT_EQ(again.outcome, Record_Outcome::ALREADY_THERE);
    EXPECT_EQ(again.uuid, uuid(1));
    EXPECT_EQ(log.count(LM_ERROR), 0u) << log.text();
    EXPECT_EQ(count("backup_set"), 1);
    EXPECT_EQ(count("backup_piece"), 1);
    EXPECT_EQ(count("backup_set_storage"), 1);
}

TEST_P(Store_Test, content_is_compared_by_meaning)
{
    record(small(uuid(1), R"("name":"a","size":5,"pieces":[{"path":"p","object":"","size":1,"extended_attrs":{}}])"));
    Log_Capture log;
    const Record_Result again =
        try_to("{ \"pieces\":[{\"size\":1, \"path\":\"\\u0070\",\"object\":\"\",\"extended_attrs\":{}}],\n"
               "\"name\":\"a\",\"uuid\":\""
               + uuid(1) + "\",\"size\":5.0e0,\"catalog_module\":\"oracle_exp\"}");
    // 5.0e0 is the same number, but not one that can be recorded.
    EXPECT_EQ(again.error.kind, Error::REFUSED);
    const Record_Result equal =
        try_to("{ \"pieces\":[{\"size\":1, \"path\":\"\\u0070\",\"object\":\"\",\"extended_attrs\":{}}],\n"
               "\"name\":\"a\",\"uuid\":\""
               + uuid(1) + "\",\"size\":5,\"catalog_module\":\"oracle_exp\"}");
    EXPECT_EQ(equal.outcome, Record_Outcome::ALREADY_THERE) << equal.error.message;
}

TEST_P(Store_Test, other_content_is_a_conflict_and_changes_nothing)
{
    const std::string text = small(uuid(1), R"("name":"a","pieces":[{"path":"p"}])");
    record(text);
    Log_Capture log;
    for (const char* members : {R"("name":"b","pieces":[{"path":"p"}])", R"("name":"a","pieces":[{"path":"q"}])",
                                R"("name":"a","pieces":[{"path":"p"},{"path":"p"}])", R"("name":"a")",
                                R"("name":"a","pieces":[{"path":"p"}],"x":null)"})
    {
        const Record_Result result = try_to(small(uuid(1), members));
        EXPECT_EQ(result.error.kind, Error::CONFLICT) << members;
        EXPECT_EQ(result.error.key, "uuid");
        EXPECT_EQ(result.error.message, "the catalog has set " + uuid(1) + " with other content; it was left as it is");
        EXPECT_EQ(result.uuid, "");
    }
    EXPECT_EQ(document(uuid(1)), text);
    EXPECT_EQ(count("backup_piece"), 1);
}

TEST_P(Store_Test, another_type_under_the_same_uuid_is_a_conflict)
{
    record(small(uuid(1)));
    Log_Capture log;
    const Record_Result result = try_to(R"({"catalog_module":"file","uuid":")" + uuid(1) + "\"}");
    EXPECT_EQ(result.error.kind, Error::CONFLICT);
    EXPECT_EQ(count("dmdb_backup_set"), 0);
}

TEST_P(Store_Test, records_many_in_one_transaction_in_the_order_that_was_given)
{
    const std::vector<std::string> documents = {small(uuid(3)), small(uuid(1), R"("pieces":[{"path":"p"}])"),
                                                small(uuid(2), R"("parents":[")" + uuid(1) + "\"]")};
    const std::vector<Record_Result> results = store().record(documents);
    ASSERT_EQ(results.size(), 3u);
    EXPECT_EQ(results[0].uuid, uuid(3));
    EXPECT_EQ(results[1].uuid, uuid(1));
    EXPECT_EQ(results[2].uuid, uuid(2));
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(results[i].outcome, Record_Outcome::RECORDED);
        EXPECT_EQ(document(results[i].uuid), documents[i]);
    }
}

TEST_P(Store_Test, one_bad_document_does_not_keep_the_others_out)
{
    record(small(uuid(1), R"("name":"a")"));
    record(small(uuid(2), R"("name":"b")"));
    Log_Capture log;
    const std::vector<std::string> documents = {
        small(uuid(5)),                  // new
        "{",                             // malformed
        small(uuid(1), R"("name":"a")"), // there
        small(uuid(2), R"("name":"x")"), // conflict
        small("no-uuid"),                // refused
        small(uuid(6)),                  // new
        small(uuid(6)),                  // twice, the same
        small(uuid(5), R"("name":"y")"), // twice, another
    };
    const std::vector<Record_Result> results = store().record(documents);
    ASSERT_EQ(results.size(), 8u);
    EXPECT_EQ(results[0].uuid, uuid(5));
    EXPECT_EQ(results[0].outcome, Record_Outcome::RECORDED);
    EXPECT_EQ(results[1].error.kind, Error::REFUSED);
    EXPECT_EQ(results[2].outcome, Record_Outcome::ALREADY_THERE);
    EXPECT_FALSE(results[2].error);
    EXPECT_EQ(results[3].error.kind, Error::CONFLICT);
    EXPECT_EQ(results[4].error.kind, Error::REFUSED);
    EXPECT_EQ(results[5].outcome, Record_Outcome::RECORDED);
    EXPECT_EQ(results[6].outcome, Record_Outcome::ALREADY_THERE);
    EXPECT_EQ(results[6].uuid, uuid(6));
    EXPECT_EQ(results[7].error.kind, Error::CONFLICT);
    EXPECT_EQ(count("backup_set"), 4);
}

TEST_P(Store_Test, recording_nothing_gives_nothing)
{
    EXPECT_TRUE(store().record(std::span<const std::string>()).empty());
}

TEST_P(Store_Test, refuses_what_the_database_alone_finds_wrong_for_that_document_only)
{
    run("CREATE UNIQUE INDEX one_name ON backup_set (name)");
    record(small(uuid(1), R"("name":"taken")"));
    Log_Capture log;
    const std::vector<std::string> documents = {small(uuid(2), R"("name":"x")"), small(uuid(3), R"("name":"taken")"),
                                                small(uuid(4), R"("name":"y")")};
    const std::vector<Record_Result> results = store().record(documents);
    EXPECT_FALSE(results[0].error);
    EXPECT_EQ(results[1].error.kind, Error::DATABASE);
    EXPECT_EQ(results[1].error.database.kind, Database_Error::CONSTRAINT);
    EXPECT_FALSE(results[2].error);
    EXPECT_EQ(count("backup_set"), 3);
    EXPECT_EQ(count("backup_set_document"), 3);
}

/// What only SQLite has.
class Embedded_Store_Test : public Store_Test
{};

INSTANTIATE_TEST_SUITE_P(engines, Embedded_Store_Test, ::testing::Values(Engine::SQLITE), engine_name);

TEST_P(Embedded_Store_Test, a_store_that_writes_empties_its_log_every_four_thousand_pages)
{
    constexpr std::uintmax_t usual = 1000 * 4096; // bytes at which SQLite empties it by itself
    const std::string filler(100000, 'x');
    for (unsigned i = 1; i <= 60; ++i) {
        record(small(uuid(i), R"("filler":")" + filler + '"'));
    }
    const std::uintmax_t bytes = std::filesystem::file_size(url().substr(std::strlen("sqlite:")) + "-wal");
    EXPECT_GT(bytes, usual + usual / 4);
    EXPECT_LT(bytes, 5 * usual);
}

TEST_P(Store_Test, a_set_s_rows_go_with_it)
{
    record(small(uuid(1), R"("parents":[")" + uuid(7) + R"("],"pieces":[{"path":"p"}],"storage":{"pool_uuid":")"
                              + pool_1 + R"(","state":["online"]})"));
    run("INSERT INTO backup_set_media (set_storage_id, media_tag) SELECT id, 'T1' FROM backup_set_storage");
    run("DELETE FROM backup_set");
    for (const Table* table : tables()) {
        if (std::string_view(table->name) != "catalog_schema") {
            EXPECT_EQ(count(table->name), 0) << table->name;
        }
    }
}

TEST_P(Store_Test, lists_the_copies_of_a_set_in_the_order_of_its_document)
{
    record(small(uuid(1), R"("storages":[{"pool_uuid":")" + pool_2
                              + R"(","size":5,"state":["replicated","online","odd"],)" + R"("upstream_pool_uuid":")"
                              + pool_1 + R"("},{"pool_uuid":")" + pool_1 + R"(","size":6,"state":[]},{}])"));
    std::vector<Storage_Copy> copies;
    Error error;
    ASSERT_TRUE(store().storages(uuid(1), copies, error)) << error.message;
    ASSERT_EQ(copies.size(), 3u);
    EXPECT_EQ(copies[0].pool_uuid, pool_2);
    EXPECT_EQ(copies[0].set_uuid, uuid(1));
    EXPECT_EQ(copies[0].size, 5);
    EXPECT_EQ(copies[0].state, 17u);
    EXPECT_EQ(copies[0].upstream_pool_uuid, pool_1);
    EXPECT_EQ(copies[1].pool_uuid, pool_1);
    EXPECT_EQ(copies[1].state, 0u);
    EXPECT_EQ(copies[1].upstream_pool_uuid, "");
    EXPECT_EQ(copies[2].pool_uuid, "");
    EXPECT_EQ(copies[2].size, 0);
}

TEST_P(Store_Test, copies_of_a_set_without_any_and_of_no_set_differ)
{
    record(small(uuid(1)));
    std::vector<Storage_Copy> copies(1);
    Error error;
    EXPECT_TRUE(store().storages(uuid(1), copies, error));
    EXPECT_TRUE(copies.empty());
    EXPECT_FALSE(store().storages(uuid(2), copies, error));
    EXPECT_EQ(error.kind, Error::NOT_FOUND);
    EXPECT_FALSE(store().storages("x", copies, error));
    EXPECT_EQ(error.kind, Error::REFUSED);
}

TEST_P(Store_Test, lists_the_copies_in_a_pool_newest_first)
{
    const auto stored = [](unsigned number, const char* time, const std::string& pool) {
        return small(uuid(number), R"("backup_start_time":")" + std::string(time) + R"(","storages":[{"pool_uuid":")"
                                       + pool + R"("},{"pool_uuid":")" + pool_2 + "\"}]");
    };
    record(stored(1, "2024-01-01 00:00:00", pool_1));
    record(stored(2, "2024-01-03 00:00:00", pool_1));
    record(stored(3, "2024-01-02 00:00:00", pool_1));
    record(stored(4, "2024-01-04 00:00:00", pool_2));
    std::vector<Storage_Copy> copies;
    Error error;
    ASSERT_TRUE(store().copies_in_pool(pool_1, 10, copies, error));
    ASSERT_EQ(copies.size(), 3u);
    EXPECT_EQ(copies[0].set_uuid, uuid(2));
    EXPECT_EQ(copies[1].set_uuid, uuid(3));
    EXPECT_EQ(copies[2].set_uuid, uuid(1));
    ASSERT_TRUE(store().copies_in_pool(pool_2, 2, copies, error));
    ASSERT_EQ(copies.size(), 2u);
    EXPECT_EQ(copies[0].set_uuid, uuid(4));
    EXPECT_EQ(copies[1].set_uuid, uuid(4));
    EXPECT_FALSE(store().copies_in_pool("pool", 2, copies, error));
    EXPECT_EQ(error.kind, Error::REFUSED);
    EXPECT_TRUE(copies.empty());
    EXPECT_FALSE(store().copies_in_pool(pool_1, 0, copies, error));
    EXPECT_EQ(error.kind, Error::REFUSED);
}

TEST_P(Store_Test, keeps_the_common_columns_in_their_kinds)
{
    Oracle_Exp_Backup_Set set = filled<Oracle_Exp_Backup_Set>(uuid(1));
    record(to_json(set));
    Select_SQL sql;
    Backup_Set::init_select_sql(sql, "b");
    struct Set : Backup_Set
    {
        Set() : Backup_Set("oracle_exp") {}
    };
    const auto sets = load_records<Set>(store().connection(), sql, Backup_Set::result_handler());
    ASSERT_EQ(sets.size(), 1u);
    EXPECT_EQ(sets[0].uuid, uuid(1));
    EXPECT_EQ(sets[0].size, set.size);
    EXPECT_EQ(sets[0].backup_end_time, set.backup_end_time);
    EXPECT_EQ(sets[0].lsb, set.lsb);
}

TEST_P(Store_Test, an_oracle_set_comes_back_by_its_own_select)
{
    auto set = filled<Oracle_Backup_Set>(uuid(1));
    set.archivelog = set.cdb = true;
    set.reset_time = 1600000000;
    set.controlfile_time = 1600000001;
    set.checkpoint_time = 1600000002;
    set.timezone_offset = -480;
    set.dbid = 0xffffffffffffffff;
    set.db_incarnation = 0x8000000000000000;
    set.reset_scn = 1;
    set.controlfile_scn = 0x7fffffffffffffff;
    set.checkpoint_scn = 3;
    set.backup_type = "FULL";
    set.database = "ORCL";
    set.compatible = "19";
    set.scsipool_id = "s";
    set.stage_id = "t";
    set.snapshot_id = "u";
    set.merge_tag = "v";
    set.special_files["spfile"] = "x";
    record(to_json(set));

    const Set_Type& type = *find_set_type("oracle");
    Select_SQL sql;
    Error error;
    ASSERT_TRUE(store().type_select(type, {}, sql, error)) << error.message;
    std::string loaded;
    ASSERT_TRUE(type.load(
        store().connection(), sql,
        [&loaded](Backup_Set& record) {
            loaded = to_json(record);
            return true;
        },
        type.handler()));
    // These are not read back by an Oracle set.
    set.resource_tree = set.extended_attrs = set.uname = set.lsb = {};
    EXPECT_EQ(loaded, to_json(set));
}

TEST_P(Store_Test, archived_logs_exports_and_file_sets_come_back_by_their_own_select)
{
    auto arch = filled<Oracle_Arch_Backup_Set>(uuid(1));
    arch.thread = 2;
    arch.sequence = 0xffffffffffffffff;
    arch.reset_scn = 5;
    arch.next_scn = 6;
    arch.reset_time = 1600000000;
    arch.next_time = 1600000001;
    arch.archived = true;
    arch.timezone_offset = 60;
    auto exported = filled<Oracle_Exp_Backup_Set>(uuid(2));
    exported.exp_type = "a";
    exported.exp_mode = "b";
    exported.object_name = "c";
    exported.database = "d";
    auto file = filled<File_Backup_Set>(uuid(3));
    file.seq = 0xffffffff;
    file.channels = 4;
    file.hash_algorithm = "sha256";
    file.pool_type = "disk";
    file.multidevice = true;
    file.encryption = "aes";
    for (auto& [id, set] : std::vector<std::pair<const char*, Backup_Set*>>{
             {"oracle_arch", &arch}, {"oracle_exp", &exported}, {"file", &file}})
    {
        SCOPED_TRACE(id);
        record(to_json(*set));
        const Set_Type& type = *find_set_type(id);
        Select_SQL sql;
        Error error;
        ASSERT_TRUE(store().type_select(type, set->uuid, sql, error)) << error.message;
        std::vector<std::string> loaded;
        ASSERT_TRUE(type.load(
            store().connection(), sql,
            [&loaded](Backup_Set& record) {
                loaded.push_back(to_json(record));
                return true;
            },
            type.handler()));
        ASSERT_EQ(loaded.size(), 1u);
        EXPECT_EQ(loaded[0], to_json(*set));
    }
}

TEST_P(Store_Test, every_type_s_select_finds_its_sets_only_newest_first)
{
    unsigned number = 1;
    for (const Set_Type& type : set_types()) {
        for (const char* time : {"2024-01-01 00:00:00", "2024-01-03 00:00:00", "2024-01-02 00:00:00"}) {
            record(R"({"catalog_module":")" + std::string(type.catalog_module) + R"(","agent":")" + type.id
                   + R"(","uuid":")" + uuid(number++) + R"(","backup_start_time":")" + time + "\"}");
        }
    }
    number = 1;
    for (const Set_Type& type : set_types()) {
        SCOPED_TRACE(type.id);
        Select_SQL sql;
        Error error;
        if (store().type_select(type, {}, sql, error) && type.base_alias(type.aliases) != nullptr) {
            std::vector<std::string> uuids;
            ASSERT_TRUE(type.load(
                store().connection(), sql,
                [&uuids](Backup_Set& record) {
                    uuids.push_back(record.uuid);
                    return true;
                },
                type.handler()));
            EXPECT_EQ(uuids, (std::vector<std::string>{uuid(number + 1), uuid(number + 2), uuid(number)}));
        }
        number += 3;
    }
}

TEST_P(Store_Test, type_select_refuses_what_is_no_uuid)
{
    Select_SQL sql;
    Error error;
    EXPECT_FALSE(store().type_select(*find_set_type("oracle"), "x", sql, error));
    EXPECT_EQ(error.kind, Error::REFUSED);
    EXPECT_TRUE(sql.empty());
}

TEST_P(Store_Test, columns_of_the_other_family_in_a_shared_table_stay_null)
{
    record(R"({"catalog_module":"file","uuid":")" + uuid(1)
           + R"(","seq":1,"object":{"not":"a text"},"page_size":"x"})");
    EXPECT_EQ(query("SELECT seq, object, page_size FROM dmdb_backup_set").at(0),
              (std::vector<std::string>{"1", "NULL", "NULL"}));
}

TEST_P(Store_Test, the_database_itself_takes_no_values_of_another_kind)
{
    record(R"({"catalog_module":"oracle","uuid":")" + uuid(1) + "\"}");
    Log_Capture log;
    for (const char* wrong : {"backup_set SET host_uuid = 'abc'", "backup_set SET size = 'many'",
                              "backup_set SET first_time = '2024-02-30 00:00:00'", "backup_set SET uname = '{'",
                              "backup_set SET backup_start_time = NULL", "backup_set SET name = NULL, uuid = NULL",
                              "oracle_backup_set SET dbid = 'x'", "oracle_backup_set SET cdb = 2"})
    {
        EXPECT_FALSE(store().connection().execute_script("UPDATE " + std::string(wrong))) << wrong;
    }
    run("UPDATE backup_set SET host_uuid = NULL, size = NULL, first_time = NULL, uname = NULL, name = NULL");
    run("UPDATE oracle_backup_set SET dbid = NULL, cdb = NULL, special_files = NULL");
}

TEST_P(Store_Test, damaged_pieces_are_told)
{
    record(small(uuid(1), R"("pieces":[{"path":"p"},{"path":"q"}])"));
    run("DELETE FROM backup_piece WHERE id = 2");
    std::string text;
    Error error;
    EXPECT_FALSE(store().document(uuid(1), text, error));
    EXPECT_EQ(error.kind, Error::DATABASE);
    EXPECT_EQ(error.database.kind, Database_Error::CORRUPT);
    EXPECT_EQ(error.message, "the pieces of set " + uuid(1) + " are damaged: 1 of 2 can be read");
}

TEST_P(Store_Test, a_piece_that_lost_its_columns_is_told)
{
    record(small(uuid(1), R"("pieces":[{"path":"p"}])"));
    run("UPDATE backup_piece SET document = NULL");
    std::string text;
    Error error;
    EXPECT_FALSE(store().document(uuid(1), text, error));
    EXPECT_EQ(error.database.kind, Database_Error::CORRUPT);
}

TEST_P(Store_Test, a_place_of_pieces_beyond_the_document_is_told)
{
    record(small(uuid(1), R"("pieces":[{"path":"p"}])"));
    for (const char* at : {"100000", "0", "-5"}) {
        run("UPDATE backup_set_document SET pieces_at = " + std::string(at));
        std::string text;
        Error error;
        EXPECT_FALSE(store().document(uuid(1), text, error)) << at;
        EXPECT_EQ(error.database.kind, Database_Error::CORRUPT);
    }
}
