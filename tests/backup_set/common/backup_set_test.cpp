#include "tests/support/records/backup_set.h"

#include "backup_set/common/backup_set_result_handler.h"
#include "platform/json/json_generator.h"
#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"
#include "tests/support/virtual_place.h"

#include <yajl/yajl_gen.h>

#include <string>
#include <type_traits>
#include <vector>

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(Backup_Set, Record_Test, Plain_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Backup_Set, Record_On_Engine_Test, On_Engines<Plain_Set>, Engine_Names);

namespace {

/// A set whose typed keys fail after the first one.
class Failing_Set : public Backup_Set
{
public:
    Failing_Set() : Backup_Set("failing") { agent = "some agent"; }

protected:
    bool generate_i(YAJL_Gen& gen) override
    {
        gen << "first"_key << 1;
        return false;
    }
};

std::string written(JSON_Generator& record, bool& result)
{
    JSON_Text text;
    result = record.generate(text.get());
    return text.take();
}

/// The value of a key in a set's document; the empty text when the key is missing.
std::string member(Backup_Set& set, const std::string& key)
{
    const std::string document = to_json(set); // the members point into it
    std::vector<json_document::Member> members;
    EXPECT_TRUE(json_document::split_object(document, members));
    for (const json_document::Member& each : members) {
        if (each.key == key) {
            return std::string(each.text);
        }
    }
    return {};
}

} // namespace

TEST(Backup_Set, keeps_the_pointer_to_its_type_name)
{
    static constexpr char name[] = "a type name";
    const Backup_Set set(name);
    EXPECT_EQ(set.catalog_module, name);
    const Backup_Set copy(set);
    EXPECT_EQ(copy.catalog_module, name);
}

TEST(Backup_Set, null_stands_for_the_empty_type_name)
{
    Backup_Set set(nullptr);
    EXPECT_STREQ(set.catalog_module, "");
    EXPECT_EQ(to_json(set), fresh_common("") + '}');
}

TEST(Backup_Set, virtual_operations_stand_in_order)
{
    EXPECT_EQ(virtual_place(&Backup_Set::generate), 2u);
    EXPECT_EQ(virtual_place(&Backup_Set::print_cstr), 3u);
    EXPECT_EQ(virtual_place(&Backup_Set::print_int), 4u);
    EXPECT_EQ(virtual_place(&Backup_Set::print_json), 5u);
    EXPECT_EQ(virtual_place(Hook<Backup_Set>::generate_i_pointer()), 6u);
    static_assert(std::has_virtual_destructor_v<Backup_Set>);
}

TEST(Backup_Set, overrides_the_callbacks_of_texts_integers_and_json)
{
    EXPECT_TRUE(is_own<Backup_Set>(&Backup_Set::print_cstr));
    EXPECT_TRUE(is_own<Backup_Set>(&Backup_Set::print_int));
    EXPECT_TRUE(is_own<Backup_Set>(&Backup_Set::print_json));
    EXPECT_FALSE(is_own<Backup_Set>(&Backup_Set::print_uint));
    EXPECT_FALSE(is_own<Backup_Set>(&Backup_Set::print_bool));
}

TEST(Backup_Set, is_first_a_generator_and_then_a_printer)
{
    Backup_Set set("");
    const auto* const begin = reinterpret_cast<const char*>(&set);
    EXPECT_EQ(reinterpret_cast<const char*>(static_cast<JSON_Generator*>(&set)), begin);
    EXPECT_GT(reinterpret_cast<const char*>(static_cast<database::sql::Query_Result_Token_Printer*>(&set)), begin);
}

TEST(Backup_Set, members_stand_in_order)
{
    const Backup_Set s("");
    const void* const members[] = {&s.catalog_module,
                                   &s.uuid,
                                   &s.name,
                                   &s.def_uuid,
                                   &s.activity_uuid,
                                   &s.uid,
                                   &s.host_uuid,
                                   &s.resource_uuid,
                                   &s.minor_resource_id,
                                   &s.minor_resource_name,
                                   &s.agent,
                                   &s.incarnation,
                                   &s.type,
                                   &s.first_time,
                                   &s.last_time,
                                   &s.backup_start_time,
                                   &s.backup_end_time,
                                   &s.source_size,
                                   &s.size,
                                   &s.uri,
                                   &s.host,
                                   &s.instance,
                                   &s.instance_version,
                                   &s.first_scn,
                                   &s.last_scn,
                                   &s.resource_tree,
                                   &s.extended_attrs,
                                   &s.parents,
                                   &s.storages,
                                   &s.pieces,
                                   &s.uname,
                                   &s.lsb};
    for (std::size_t i = 1; i < std::size(members); ++i) {
        EXPECT_LT(members[i - 1], members[i]) << i;
    }
}

TEST(Backup_Set, result_handler_is_one_for_the_process_and_of_the_set_s_own_class)
{
    database::sql::Query_Result_Handler* const handler = Backup_Set::result_handler();
    EXPECT_EQ(Backup_Set::result_handler(), handler);
    EXPECT_NE(dynamic_cast<Backup_Set_Result_Handler*>(handler), nullptr);
}

TEST(Backup_Set, alias_is_the_caller_s)
{
    Select_SQL sql;
    Backup_Set::init_select_sql(sql, "order");
    EXPECT_EQ(sql.str(), common_columns("order") + R"( FROM "backup_set" AS "order")");
}

TEST(Backup_Set, columns_come_behind_those_that_are_there)
{
    Select_SQL sql;
    sql.add_key("1", "one");
    Backup_Set::init_select_sql(sql, "b");
    EXPECT_EQ(sql.str().substr(0, 44), R"(SELECT 1 AS "one", "b"."uuid" AS "uuid", "b")");
}

TEST(Backup_Set, time_that_is_unset_is_left_out_except_the_start)
{
    Backup_Set set("");
    EXPECT_EQ(member(set, "first_time"), "");
    EXPECT_EQ(member(set, "last_time"), "");
    EXPECT_EQ(member(set, "backup_end_time"), "");
    EXPECT_EQ(member(set, "backup_start_time"), "\"1970-01-01 00:00:00\"");
    set.last_time = 1;
    EXPECT_EQ(member(set, "first_time"), "");
    EXPECT_EQ(member(set, "last_time"), "\"1970-01-01 00:00:01\"");
    EXPECT_EQ(member(set, "backup_end_time"), "");
    set.first_time = -1;
    EXPECT_EQ(member(set, "first_time"), "\"1969-12-31 23:59:59\"");
}

TEST(Backup_Set, one_storage_is_an_object_and_several_are_an_array_in_order)
{
    Backup_Set set("");
    EXPECT_EQ(member(set, "storage"), "");
    EXPECT_EQ(member(set, "storages"), "");
    set.add_storage("pool B", 5);
    EXPECT_EQ(member(set, "storage"), R"({"pool_uuid":"pool B","size":5,"state":[],"extended_attrs":{}})");
    EXPECT_EQ(member(set, "storages"), "");
    set.add_storage("pool A", 6);
    EXPECT_EQ(member(set, "storage"), "");
    EXPECT_EQ(member(set, "storages"), R"([{"pool_uuid":"pool B","size":5,"state":[],"extended_attrs":{}},)"
                                       R"({"pool_uuid":"pool A","size":6,"state":[],"extended_attrs":{}}])");
}

TEST(Backup_Set, storages_and_pieces_stand_where_they_should)
{
    Backup_Set set("m");
    set.parents = {"p"};
    set.add_storage("s", 1);
    const std::string text = to_json(set);
    EXPECT_NE(text.find(R"("extended_attrs":{},"parents":["p"],"storage":{"pool_uuid":"s",)"), std::string::npos)
        << text;
    EXPECT_NE(text.find(R"("extended_attrs":{}},"pieces":[],"lsb":{},"uname":{}})"), std::string::npos) << text;
}

TEST(Backup_Set, parents_are_written_in_order_when_there_are_any)
{
    Backup_Set set("");
    EXPECT_EQ(member(set, "parents"), "");
    set.parents = {"b", "", "a", "b"};
    EXPECT_EQ(member(set, "parents"), R"(["b","","a","b"])");
}

TEST(Backup_Set, pieces_are_appended_in_call_order_and_kept_twice)
{
    Backup_Set set("");
    Backup_Piece piece;
    piece.path = "c";
    piece.object = "object";
    piece.size = 3;
    piece.extended_attrs = {{"k", "v"}};
    set.add_piece("b", 1);
    set.add_directory_piece("a", 2);
    set.add_piece(piece);
    set.add_piece("b", 1);
    piece.path = "changed later";
    ASSERT_EQ(set.pieces.size(), 4u);
    EXPECT_EQ(member(set, "pieces"), R"([{"path":"b","object":"","size":1,"extended_attrs":{}},)"
                                     R"({"path":"a","object":"dir","size":2,"extended_attrs":{}},)"
                                     R"({"path":"c","object":"object","size":3,"extended_attrs":{"k":"v"}},)"
                                     R"({"path":"b","object":"","size":1,"extended_attrs":{}}])");
}

TEST(Backup_Set, size_of_an_added_piece_is_unsigned)
{
    Backup_Set set("");
    set.add_piece("p", 18446744073709551615U);
    set.add_directory_piece("d", 18446744073709551614U);
    EXPECT_EQ(set.pieces[0].size, 18446744073709551615U);
    EXPECT_EQ(set.pieces[1].size, 18446744073709551614U);
}

TEST(Backup_Set, storages_are_appended_in_call_order_and_kept_twice)
{
    Backup_Set set("");
    Backup_Set_Storage storage;
    storage.set_uuid = "owner";
    storage.pool_uuid = "z";
    storage.size = 9;
    storage.state.value = 1;
    storage.upstream_pool_uuid = "up";
    set.add_storage("b", -1, {{"k", 1}});
    set.add_storage(storage);
    set.add_storage("a", 2);
    set.add_storage(storage);
    storage.pool_uuid = "changed later";
    ASSERT_EQ(set.storages.size(), 4u);
    for (const std::size_t made_here : {0u, 2u}) {
        EXPECT_EQ(set.storages[made_here].set_uuid, "");
        EXPECT_EQ(set.storages[made_here].upstream_pool_uuid, "");
        EXPECT_EQ(set.storages[made_here].state.value, 0u);
    }
    EXPECT_EQ(set.storages[1].set_uuid, "owner");
    EXPECT_EQ(member(set, "storages"),
              R"([{"pool_uuid":"b","size":-1,"state":[],"extended_attrs":{"k":1}},)"
              R"({"pool_uuid":"z","size":9,"state":["online"],"upstream_pool_uuid":"up","extended_attrs":{}},)"
              R"({"pool_uuid":"a","size":2,"state":[],"extended_attrs":{}},)"
              R"({"pool_uuid":"z","size":9,"state":["online"],"upstream_pool_uuid":"up","extended_attrs":{}}])");
}

TEST(Backup_Set, copy_owns_its_pieces_and_storages)
{
    const Backup_Set original = filled_record<Plain_Set>();
    Backup_Set copy(original);
    copy.pieces.front().path = "changed";
    copy.pieces.front().extended_attrs.clear();
    copy.storages.pop_back();
    copy.parents.clear();
    copy.resource_tree.clear();
    Backup_Set again(original);
    EXPECT_EQ(to_json(again), Plain_Set::filled_document());
}

TEST(Backup_Set, failing_typed_keys_are_logged_once_and_the_object_is_closed)
{
    Failing_Set set;
    const Log_Capture log;
    bool result = true;
    const std::string text = written(set, result);
    EXPECT_FALSE(result);
    std::string expected = fresh_common("failing") + R"(,"first":1})";
    expected.replace(expected.find(R"("agent":"")"), 10, R"("agent":"some agent")");
    EXPECT_EQ(text, expected);
    ASSERT_EQ(log.count(), 1u) << log.text();
    EXPECT_EQ(log.records()[0].priority, LM_ERROR);
    EXPECT_EQ(log.records()[0].text, "Failed to generate backup set with agent 'some agent'.\n");
    EXPECT_EQ(log.records()[0].file, "backup_set/common/backup_set.cpp");
}

TEST(Backup_Set, null_generator_does_not_reach_the_typed_keys)
{
    Failing_Set set;
    const Log_Capture log;
    EXPECT_FALSE(set.generate(nullptr));
    EXPECT_EQ(log.count(LM_EMERGENCY), 1u);
    EXPECT_EQ(log.count(LM_ERROR), 0u) << log.text();
}

TEST(Backup_Set, result_of_writing_does_not_depend_on_the_generator_s_state)
{
    // A generator that is behind its document refuses all: nothing is written, and that is not told.
    JSON_Text text;
    yajl_gen_bool(text.get(), 1);
    Backup_Set set("m");
    EXPECT_TRUE(set.generate(text.get()));
    EXPECT_EQ(text.view(), "true");
}

TEST(Backup_Set, document_may_stand_inside_another_one)
{
    JSON_Text text;
    Backup_Set one("1");
    Backup_Set two("2");
    {
        const YAJL_Array_Guard array(text.get());
        EXPECT_TRUE(one.generate(text.get()));
        EXPECT_TRUE(two.generate(text.get()));
    }
    EXPECT_EQ(text.view(), '[' + fresh_common("1") + "}," + fresh_common("2") + "}]");
}

TEST(Backup_Set, number_that_comes_as_text_is_not_taken)
{
    Backup_Set set("");
    EXPECT_TRUE(set.print_cstr(0, "size", "12", 2));
    EXPECT_EQ(set.size, 0);
    EXPECT_TRUE(set.print_int(0, "size", 12));
    EXPECT_EQ(set.size, 12);
}

TEST(Backup_Set, callbacks_reach_the_record_through_its_printer_base)
{
    Backup_Set set("");
    database::sql::Query_Result_Printer& printer = set;
    EXPECT_TRUE(printer.print_cstr(0, "uuid", "u", 1));
    EXPECT_TRUE(printer.print_int(1, "first_scn", 5));
    EXPECT_TRUE(printer.print_json_text(2, "lsb", R"({"id":"x"})", 10));
    EXPECT_EQ(set.uuid, "u");
    EXPECT_EQ(set.first_scn, 5);
    EXPECT_EQ(set.lsb.size(), 1u);
}

TEST(Backup_Set, typed_set_that_overrides_nothing_takes_all_common_columns)
{
    struct Quiet_Set : Backup_Set
    {
        Quiet_Set() : Backup_Set("quiet") {}
    } set;
    for (const Taken& column : taken_columns<Plain_Set>()) {
        const std::string before = to_json(set);
        const Handed_Value value = trials(column).front().value;
        hand_over(set, column.callback, column.key.c_str(), column.callback == PRINT_JSON ? some_value() : value);
        EXPECT_NE(to_json(set), before) << column.key;
    }
}

} // namespace record_test
