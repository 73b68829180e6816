#include "backup_set/common/backup_set_result_handler.h"

#include "backup_set/common/backup_piece.h"
#include "backup_set/common/backup_set_storage.h"
#include "platform/database/json_result_printer.h"
#include "platform/database/load_records.h"
#include "platform/json/json_generator.h"
#include "platform/json/yajl_gen.h"
#include "platform/text/uuid.h"
#include "tests/support/log_capture.h"
#include "tests/support/noting_connection.h"
#include "tests/support/recording_printer.h"
#include "tests/support/records/backup_set.h"
#include "tests/support/test_engine.h"
#include "tests/support/virtual_place.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using database::sql::Query_Result_Handler;
using Handler = Backup_Set_Result_Handler;

constexpr char set_bytes[] = "\x0a\x00\x00\x00\x00\x00\x40\x00\x80\x00\x00\x00\x00\x00\x00\x01";
constexpr const char* set_text = "0a000000-0000-4000-8000-000000000001";

/// Lets the tests reach the hooks.
class Open_Handler : public Handler
{
public:
    explicit Open_Handler(const json_spirit::Array* pool_uuids = nullptr, ACE_INT64 flags = VF_BASE) :
        Handler(nullptr, nullptr, pool_uuids, flags)
    {}

    using Handler::handle_binary_i;
    using Handler::handle_integer_i;
    using Handler::handle_string_i;

    static std::size_t place_of_binary() { return virtual_place(&Open_Handler::handle_binary_i); }
    static std::size_t place_of_integer() { return virtual_place(&Open_Handler::handle_integer_i); }
    static std::size_t place_of_string() { return virtual_place(&Open_Handler::handle_string_i); }
};

Binding_Value uuid_value(const char* text)
{
    return *read_uuid(text);
}

} // namespace

TEST(Backup_Set_Result_Handler, flags_have_their_numbers)
{
    EXPECT_EQ(static_cast<int>(Handler::VF_BASE), 0);
    EXPECT_EQ(static_cast<int>(Handler::VF_WEBSVC), 1);
}

TEST(Backup_Set_Result_Handler, hooks_stand_in_order)
{
    EXPECT_EQ(Open_Handler::place_of_binary(), 2u);
    EXPECT_EQ(Open_Handler::place_of_integer(), 3u);
    EXPECT_EQ(Open_Handler::place_of_string(), 4u);
}

TEST(Backup_Set_Result_Handler, default_table_turns_uuids_into_text)
{
    Handler handler(nullptr, nullptr, nullptr, Handler::VF_BASE);
    Noting_Connection connection;
    for (const char* key : {"uuid", "job_instance_uuid", "definition_uuid", "uid", "host_uuid", "resource_uuid",
                            "set_uuid", "pool_uuid", "upstream_pool_uuid", "incarnation", "backup_server_uuid"})
    {
        Recording_Printer printer;
        EXPECT_TRUE(handler.handle_binary(connection, 3, key, set_bytes, 16, printer));
        EXPECT_EQ(printer.text(), "print_cstr 3 \"" + std::string(key) + "\" \"" + set_text + "\"\n");
    }
}

TEST(Backup_Set_Result_Handler, default_table_turns_texts_into_json)
{
    Handler handler(nullptr, nullptr, nullptr, Handler::VF_BASE);
    Noting_Connection connection;
    for (const char* key : {"resource_tree", "extended_attrs", "tablespaces"}) {
        Recording_Printer printer;
        EXPECT_TRUE(handler.handle_string(connection, 3, key, R"({"a":[1]})", 9, printer));
        EXPECT_EQ(printer.text(), "print_json_text 3 \"" + std::string(key) + "\" {\"a\":[1]}\n");
    }
}

TEST(Backup_Set_Result_Handler, default_tables_leave_other_columns_alone)
{
    Handler handler(nullptr, nullptr, nullptr, Handler::VF_BASE);
    Noting_Connection connection;
    for (const std::string key : {"name", "uname", "lsb", "host", "minor_resource_id", "server_uuid", "uui", "uuids",
                                  "resource_tree_", "extended_attr", "tablespace", "storage", "piece", "id"})
    {
        Recording_Printer printer;
        EXPECT_TRUE(handler.handle_string(connection, 1, key.c_str(), "{}", 2, printer));
        EXPECT_TRUE(handler.handle_binary(connection, 2, key.c_str(), "0123456789abcdef", 16, printer));
        EXPECT_TRUE(handler.handle_integer(connection, 3, key.c_str(), -5, printer));
        EXPECT_TRUE(handler.handle_unsigned(connection, 4, key.c_str(), 5, printer));
        const std::string quoted = " \"" + key + "\" ";
        EXPECT_EQ(printer.text(), "print_cstr 1" + quoted + "\"{}\"\nprint_cstr 2" + quoted
                                      + "\"0123456789abcdef\"\nprint_int 3" + quoted + "-5\nprint_uint 4" + quoted
                                      + "5\n");
    }
    EXPECT_TRUE(connection.queries().empty());
}

TEST(Backup_Set_Result_Handler, uuid_that_is_a_text_already_stays_as_it_is)
{
    Handler handler(nullptr, nullptr, nullptr, Handler::VF_BASE);
    Noting_Connection connection;
    Recording_Printer printer;
    EXPECT_TRUE(handler.handle_string(connection, 0, "incarnation", "ABC", 3, printer));
    EXPECT_EQ(printer.text(), "print_cstr 0 \"incarnation\" \"ABC\"\n");
}

TEST(Backup_Set_Result_Handler, given_tables_replace_the_default_ones)
{
    static constexpr database::sql::Val_Trans values[] = {{"flag", 4, database::sql::VTT_BOOL, 0},
                                                          {nullptr, 0, database::sql::VTT_NONE, ~ACE_UINT64{0}}};
    static constexpr database::sql::Key_Trans keys[] = {{"old", 3, "new", database::sql::KTF_NONE},
                                                        {nullptr, 0, nullptr, ~ACE_UINT64{0}}};
    Noting_Connection connection;
    Recording_Printer with_values;
    Handler other_values(nullptr, values, nullptr, Handler::VF_BASE);
    EXPECT_TRUE(other_values.handle_integer(connection, 0, "flag", 5, with_values));
    EXPECT_TRUE(other_values.handle_string(connection, 1, "extended_attrs", "{}", 2, with_values));
    EXPECT_TRUE(other_values.handle_integer(connection, 2, "old", 5, with_values));
    EXPECT_EQ(with_values.text(),
              "print_bool 0 \"flag\" true\nprint_cstr 1 \"extended_attrs\" \"{}\"\nprint_int 2 \"old\" 5\n");

    Recording_Printer with_keys;
    Handler other_keys(keys, nullptr, nullptr, Handler::VF_BASE);
    EXPECT_TRUE(other_keys.handle_integer(connection, 0, "old", 5, with_keys));
    EXPECT_TRUE(other_keys.handle_string(connection, 1, "extended_attrs", "{}", 2, with_keys));
    EXPECT_EQ(with_keys.text(), "print_int 0 \"new\" 5\nprint_json_text 1 \"extended_attrs\" {}\n");
}

TEST(Backup_Set_Result_Handler, storages_are_asked_for_by_the_set_s_uuid)
{
    Open_Handler handler;
    Noting_Connection connection;
    Recording_Printer printer;
    EXPECT_TRUE(handler.handle_binary_i(connection, 7, "storages", set_bytes, 16, printer));
    EXPECT_EQ(printer.text(), "begin_array 7 \"storages\"\nend_array\n");
    ASSERT_EQ(connection.queries().size(), 1u);
    const Noting_Connection::Query& query = connection.queries().front();
    EXPECT_EQ(query.text, R"(SELECT "pool_uuid" AS "pool_uuid", "state" AS "state", "size" AS "size", )"
                          R"("upstream_pool_uuid" AS "upstream_pool_uuid" FROM "backup_set_storage" )"
                          R"(WHERE "set_uuid" = :set_uuid)");
    EXPECT_EQ(query.bindings, (SQL_Bindings{{":set_uuid", uuid_value(set_text)}}));
    EXPECT_EQ(query.mode, GM_ORM_ROWS);
    EXPECT_EQ(query.handler, Backup_Set_Storage::result_handler());
}

TEST(Backup_Set_Result_Handler, storages_are_asked_for_in_the_listed_pools_only)
{
    const json_spirit::Array pools = {"0B000000-0000-4000-8000-000000000001", 5, "0b000000000040008000000000000002"};
    Open_Handler handler(&pools);
    Noting_Connection connection;
    Recording_Printer printer;
    EXPECT_TRUE(handler.handle_binary_i(connection, 0, "storages", set_bytes, 16, printer));
    ASSERT_EQ(connection.queries().size(), 1u);
    const Noting_Connection::Query& query = connection.queries().front();
    EXPECT_EQ(query.text, R"(SELECT "pool_uuid" AS "pool_uuid", "state" AS "state", "size" AS "size", )"
                          R"("upstream_pool_uuid" AS "upstream_pool_uuid" FROM "backup_set_storage" )"
                          R"(WHERE "set_uuid" = :set_uuid AND "pool_uuid" IN (:uuid_item_1, :uuid_item_2))");
    EXPECT_EQ(query.bindings, (SQL_Bindings{{":set_uuid", uuid_value(set_text)},
                                            {":uuid_item_1", uuid_value("0b000000-0000-4000-8000-000000000001")},
                                            {":uuid_item_2", uuid_value("0b000000-0000-4000-8000-000000000002")}}));
}

TEST(Backup_Set_Result_Handler, pieces_are_asked_for_by_the_set_s_uuid_whatever_the_pools)
{
    const json_spirit::Array pools = {"0b000000-0000-4000-8000-000000000001"};
    Open_Handler handler(&pools);
    Noting_Connection connection;
    Recording_Printer printer;
    EXPECT_TRUE(handler.handle_binary_i(connection, 8, "pieces", set_bytes, 16, printer));
    EXPECT_EQ(printer.text(), "begin_array 8 \"pieces\"\nend_array\n");
    ASSERT_EQ(connection.queries().size(), 1u);
    const Noting_Connection::Query& query = connection.queries().front();
    EXPECT_EQ(query.text, R"(SELECT "object" AS "object", "size" AS "size", "path" AS "path" FROM "backup_piece" )"
                          R"(WHERE "set_uuid" = :set_uuid)");
    EXPECT_EQ(query.bindings, (SQL_Bindings{{":set_uuid", uuid_value(set_text)}}));
    EXPECT_EQ(query.mode, GM_ORM_ROWS);
    EXPECT_EQ(query.handler, Backup_Piece::result_handler());
}

TEST(Backup_Set_Result_Handler, media_tags_are_asked_for_by_the_storage_s_id)
{
    Open_Handler handler;
    Noting_Connection connection;
    Recording_Printer printer;
    EXPECT_TRUE(handler.handle_integer_i(connection, 9, "media_tags", 77, printer));
    EXPECT_EQ(printer.text(), "begin_array 9 \"media_tags\"\nend_array\n");
    ASSERT_EQ(connection.queries().size(), 1u);
    const Noting_Connection::Query& query = connection.queries().front();
    EXPECT_EQ(query.text, R"(SELECT "media_tag" AS "media_tag" FROM "backup_set_media" )"
                          R"(WHERE "set_storage_id" = :set_storage_id)");
    EXPECT_EQ(query.bindings, (SQL_Bindings{{":set_storage_id", Binding_Value(ACE_INT64{77})}}));
    EXPECT_EQ(query.mode, GM_FIRST_COL);
}

TEST(Backup_Set_Result_Handler, each_row_binds_its_own_value)
{
    Open_Handler handler;
    Noting_Connection connection;
    Recording_Printer printer;
    handler.handle_integer_i(connection, 0, "media_tags", 1, printer);
    handler.handle_integer_i(connection, 0, "media_tags", 2, printer);
    ASSERT_EQ(connection.queries().size(), 2u);
    EXPECT_EQ(connection.queries()[1].bindings, (SQL_Bindings{{":set_storage_id", Binding_Value(ACE_INT64{2})}}));
}

TEST(Backup_Set_Result_Handler, failed_query_is_told_for_rows_and_not_for_media_tags)
{
    Open_Handler handler;
    Noting_Connection failing(false);
    Recording_Printer printer;
    EXPECT_FALSE(handler.handle_binary_i(failing, 0, "storages", set_bytes, 16, printer));
    EXPECT_FALSE(handler.handle_binary_i(failing, 1, "pieces", set_bytes, 16, printer));
    EXPECT_TRUE(handler.handle_integer_i(failing, 2, "media_tags", 1, printer));
    EXPECT_EQ(printer.text(), "begin_array 0 \"storages\"\nend_array\nbegin_array 1 \"pieces\"\nend_array\n"
                              "begin_array 2 \"media_tags\"\nend_array\n");
}

TEST(Backup_Set_Result_Handler, state_becomes_its_names)
{
    Open_Handler handler;
    Noting_Connection connection;
    Recording_Printer printer;
    EXPECT_TRUE(handler.handle_integer_i(connection, 4, "state", 25, printer));
    EXPECT_TRUE(handler.handle_integer_i(connection, 5, "state", 0, printer));
    EXPECT_TRUE(handler.handle_integer_i(connection, 6, "state", -512, printer));
    EXPECT_EQ(printer.text(), "print_json 4 \"state\" [\"online\",\"expired\",\"replicated\"]\n"
                              "print_json 5 \"state\" []\nprint_json 6 \"state\" []\n");
    EXPECT_TRUE(connection.queries().empty());
}

TEST(Backup_Set_Result_Handler, result_is_that_of_the_printer)
{
    Open_Handler handler(nullptr, Handler::VF_WEBSVC);
    Noting_Connection connection;
    Recording_Printer refusing(false);
    EXPECT_FALSE(handler.handle_integer_i(connection, 0, "state", 1, refusing));
    EXPECT_FALSE(handler.handle_string_i(connection, 1, "name", "a:b", 3, refusing));
    EXPECT_EQ(refusing.text(), "print_json 0 \"state\" [\"online\"]\nprint_cstr 1 \"name\" \"a b\"\n");
}

TEST(Backup_Set_Result_Handler, columns_of_others_are_left_to_the_base)
{
    Open_Handler handler(nullptr, Handler::VF_WEBSVC);
    Noting_Connection connection;
    Recording_Printer printer;
    for (const char* key :
         {"uuid", "state", "media_tags", "storage", "Storages", "storages ", "piece", "pieces_", "name"}) {
        EXPECT_FALSE(handler.handle_binary_i(connection, 0, key, set_bytes, 16, printer)) << key;
    }
    for (const char* key : {"size", "storages", "pieces", "states", "State", "media_tag", "media_tags_", "id"}) {
        EXPECT_FALSE(handler.handle_integer_i(connection, 0, key, 1, printer)) << key;
    }
    for (const char* key : {"host", "storages", "state", "names", "Name", "minor_resource_id", "minor_resource_names"})
    {
        EXPECT_FALSE(handler.handle_string_i(connection, 0, key, "a:b", 3, printer)) << key;
    }
    EXPECT_EQ(printer.text(), "");
    EXPECT_TRUE(connection.queries().empty());
}

TEST(Backup_Set_Result_Handler, name_that_is_null_or_empty_is_logged)
{
    Open_Handler handler;
    Noting_Connection connection;
    Recording_Printer printer;
    for (const char* key : {static_cast<const char*>(nullptr), ""}) {
        const Log_Capture log;
        EXPECT_FALSE(handler.handle_binary_i(connection, 0, key, set_bytes, 16, printer));
        EXPECT_FALSE(handler.handle_integer_i(connection, 0, key, 1, printer));
        ASSERT_EQ(log.count(), 2u) << log.text();
        for (const Log_Capture::Record& record : log.records()) {
            EXPECT_EQ(record.priority, LM_EMERGENCY);
            EXPECT_EQ(record.file, "backup_set/common/backup_set_result_handler.cpp");
            const std::string begin = "Unexpected error in backup_set/common/backup_set_result_handler.cpp:"
                                      + std::to_string(record.line) + ", name is NULL or \"\":\n";
            EXPECT_EQ(record.text.substr(0, begin.size()), begin);
        }
        EXPECT_NE(log.records()[0].line, log.records()[1].line);
    }
    EXPECT_EQ(printer.text(), "");
}

TEST(Backup_Set_Result_Handler, text_without_a_name_is_not_treated)
{
    Noting_Connection connection;
    Recording_Printer printer;
    const Log_Capture log;
    for (const ACE_INT64 flags : {Handler::VF_BASE, Handler::VF_WEBSVC}) {
        Open_Handler handler(nullptr, flags);
        EXPECT_FALSE(handler.handle_string_i(connection, 0, nullptr, "a:b", 3, printer));
        EXPECT_FALSE(handler.handle_string_i(connection, 0, "", "a:b", 3, printer));
    }
    EXPECT_EQ(printer.text(), "");
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TEST(Backup_Set_Result_Handler, names_are_cleaned_for_web_answers)
{
    Noting_Connection connection;
    for (const ACE_INT64 flags : {ACE_INT64{Handler::VF_WEBSVC}, ACE_INT64{Handler::VF_WEBSVC | 6}}) {
        Open_Handler handler(nullptr, flags);
        Recording_Printer printer;
        EXPECT_TRUE(handler.handle_string_i(connection, 1, "name", R"(|a<b>c/d\e:f*g?h"i!)", 19, printer));
        EXPECT_TRUE(handler.handle_string_i(connection, 2, "minor_resource_name", "C:\\db, beyond", 5, printer));
        EXPECT_TRUE(handler.handle_string_i(connection, 3, "name", "a\0b:", 4, printer));
        EXPECT_EQ(printer.text(), "print_cstr 1 \"name\" \" a b c d e f g h i!\"\n"
                                  "print_cstr 2 \"minor_resource_name\" \"C  db\"\n"
                                  "print_cstr 3 \"name\" \"a\\u0000b \"\n");
    }
}

TEST(Backup_Set_Result_Handler, name_that_is_safe_goes_out_unchanged)
{
    Open_Handler handler(nullptr, Handler::VF_WEBSVC);
    Noting_Connection connection;
    Recording_Printer printer;
    for (const std::string name : {"", "nightly", "caf\xc3\xa9 (1) - [x]; 'y' & z, 100%", "a.b_c~d@e#f$g^h=i+j{k}"}) {
        EXPECT_FALSE(handler.handle_string_i(connection, 0, "name", name.c_str(), name.size(), printer)) << name;
    }
    EXPECT_EQ(printer.text(), "");
}

TEST(Backup_Set_Result_Handler, names_are_not_cleaned_otherwise)
{
    Noting_Connection connection;
    for (const ACE_INT64 flags : {ACE_INT64{Handler::VF_BASE}, ACE_INT64{2}}) {
        Open_Handler handler(nullptr, flags);
        Recording_Printer printer;
        EXPECT_FALSE(handler.handle_string_i(connection, 0, "name", "a:b", 3, printer));
        EXPECT_FALSE(handler.handle_string_i(connection, 0, "minor_resource_name", "a:b", 3, printer));
        EXPECT_EQ(printer.text(), "");
    }
}

namespace {

/// A catalog with two sets, the first with three storages and two pieces, the second with none.
class Backup_Set_Result_Handler_On_Engine_Test : public Engine_Test
{
protected:
    void make_tables() override
    {
        make("backup_set", {{"uuid", Kind::UUID}, {"name", Kind::TEXT}, {"size", Kind::INTEGER}});
        make("backup_set_storage", {{"id", Kind::INTEGER},
                                    {"set_uuid", Kind::UUID},
                                    {"pool_uuid", Kind::UUID},
                                    {"state", Kind::INTEGER},
                                    {"size", Kind::INTEGER},
                                    {"upstream_pool_uuid", Kind::UUID}});
        make("backup_piece",
             {{"set_uuid", Kind::UUID}, {"object", Kind::TEXT}, {"size", Kind::INTEGER}, {"path", Kind::TEXT}});
        make("backup_set_media", {{"set_storage_id", Kind::INTEGER}, {"media_tag", Kind::TEXT}});

        const std::string first = R"("0a000000-0000-4000-8000-000000000001")";
        const std::string second = R"("0a000000-0000-4000-8000-000000000002")";
        const std::string pool_1 = R"("0b000000-0000-4000-8000-000000000001")";
        const std::string pool_2 = R"("0b000000-0000-4000-8000-000000000002")";
        const std::string pool_3 = R"("0b000000-0000-4000-8000-000000000003")";
        insert("backup_set", {first, R"("one: a")", "100"});
        insert("backup_set", {second, R"("two")", "200"});
        insert("backup_set_storage", {"1", first, pool_1, "17", "11", "null"});
        insert("backup_set_storage", {"2", first, pool_2, "25", "12", pool_1});
        insert("backup_set_storage", {"3", first, pool_3, "0", "13", pool_1});
        insert("backup_piece", {first, R"("object 1")", "21", R"("path 1")"});
        insert("backup_piece", {first, R"("dir")", "22", R"("path 2")"});
        insert("backup_set_media", {"1", R"("TAPE01")"});
        insert("backup_set_media", {"1", R"("TAPE02")"});
        insert("backup_set_media", {"3", R"("TAPE03")"});
    }

    /// The rows of a query as a JSON array.
    std::string rows(const Select_SQL& sql, Query_Result_Handler* handler)
    {
        JSON_Text text;
        bool printed = false;
        {
            const YAJL_Array_Guard array(text.get());
            JSON_Result_Printer printer(text.get());
            printed = connection().query_and_print(sql, printer, GM_ORM_ROWS, handler);
        }
        EXPECT_TRUE(printed) << connection().last_error().text();
        return text.take();
    }

    static Select_SQL sets()
    {
        Select_SQL sql;
        sql.table("backup_set", "b").add_key("b.uuid", "uuid").add_key("b.name", "name").order_by("b.uuid");
        return sql;
    }
    static Select_SQL copies()
    {
        Select_SQL sql;
        sql.table("backup_set_storage", "s").order_by("s.id");
        return sql;
    }

private:
    struct Described
    {
        const char* name;
        Kind kind;
    };

    void make(const std::string& table, const std::vector<Described>& columns)
    {
        std::string list;
        for (const Described& column : columns) {
            list += (list.empty() ? "" : ", ") + std::string(column.name) + ' ' + engine().type(column.kind);
            kinds_[table].push_back(column.kind);
        }
        engine().run("CREATE TABLE " + table + " (" + list + ")");
    }
    void insert(const std::string& table, const std::vector<std::string>& values)
    {
        std::string list;
        for (std::size_t i = 0; i < values.size(); ++i) {
            list += (list.empty() ? "" : ", ") + engine().literal(kinds_[table].at(i), values[i]);
        }
        engine().run("INSERT INTO " + table + " VALUES (" + list + ")");
    }

    std::map<std::string, std::vector<Kind>> kinds_;
};

} // namespace

TEST_P(Backup_Set_Result_Handler_On_Engine_Test, storages_and_pieces_become_arrays_of_rows)
{
    Select_SQL sql = sets().add_key("b.uuid", "storages").add_key("b.uuid", "pieces").add_key("b.size", "size");
    EXPECT_EQ(
        rows(sql, Backup_Set::result_handler()),
        R"([{"uuid":"0a000000-0000-4000-8000-000000000001","name":"one: a","storages":[)"
        R"({"pool_uuid":"0b000000-0000-4000-8000-000000000001","state":17,"size":11,"upstream_pool_uuid":null},)"
        R"({"pool_uuid":"0b000000-0000-4000-8000-000000000002","state":25,"size":12,)"
        R"("upstream_pool_uuid":"0b000000-0000-4000-8000-000000000001"},)"
        R"({"pool_uuid":"0b000000-0000-4000-8000-000000000003","state":0,"size":13,)"
        R"("upstream_pool_uuid":"0b000000-0000-4000-8000-000000000001"}],)"
        R"("pieces":[{"object":"object 1","size":21,"path":"path 1"},{"object":"dir","size":22,"path":"path 2"}],)"
        R"("size":100},)"
        R"({"uuid":"0a000000-0000-4000-8000-000000000002","name":"two","storages":[],"pieces":[],"size":200}])");
}

TEST_P(Backup_Set_Result_Handler_On_Engine_Test, storages_are_limited_to_the_listed_pools_and_pieces_are_not)
{
    const json_spirit::Array pools = {"0B000000-0000-4000-8000-000000000003", "0c000000-0000-4000-8000-000000000003"};
    Handler handler(nullptr, nullptr, &pools, Handler::VF_BASE);
    Select_SQL sql = sets().add_key("b.uuid", "storages").add_key("b.uuid", "pieces").limit(1);
    EXPECT_EQ(
        rows(sql, &handler),
        R"([{"uuid":"0a000000-0000-4000-8000-000000000001","name":"one: a","storages":[)"
        R"({"pool_uuid":"0b000000-0000-4000-8000-000000000003","state":0,"size":13,)"
        R"("upstream_pool_uuid":"0b000000-0000-4000-8000-000000000001"}],)"
        R"("pieces":[{"object":"object 1","size":21,"path":"path 1"},{"object":"dir","size":22,"path":"path 2"}]}])");
}

TEST_P(Backup_Set_Result_Handler_On_Engine_Test, list_without_a_pool_finds_no_storage)
{
    for (const json_spirit::Array& pools : {json_spirit::Array{}, json_spirit::Array{5, "no uuid"}}) {
        Handler handler(nullptr, nullptr, &pools, Handler::VF_BASE);
        EXPECT_EQ(rows(sets().add_key("b.uuid", "storages").limit(1), &handler),
                  R"([{"uuid":"0a000000-0000-4000-8000-000000000001","name":"one: a","storages":[]}])");
    }
}

TEST_P(Backup_Set_Result_Handler_On_Engine_Test, states_and_media_tags_of_storages_are_shown)
{
    Select_SQL sql =
        copies().add_key("s.pool_uuid", "pool_uuid").add_key("s.state", "state").add_key("s.id", "media_tags");
    EXPECT_EQ(rows(sql, Backup_Set::result_handler()),
              R"([{"pool_uuid":"0b000000-0000-4000-8000-000000000001","state":["online","replicated"],)"
              R"("media_tags":["TAPE01","TAPE02"]},)"
              R"({"pool_uuid":"0b000000-0000-4000-8000-000000000002","state":["online","expired","replicated"],)"
              R"("media_tags":[]},)"
              R"({"pool_uuid":"0b000000-0000-4000-8000-000000000003","state":[],"media_tags":["TAPE03"]}])");
}

TEST_P(Backup_Set_Result_Handler_On_Engine_Test, names_are_cleaned_for_web_answers_only)
{
    Handler for_web(nullptr, nullptr, nullptr, Handler::VF_WEBSVC);
    EXPECT_EQ(rows(sets(), &for_web), R"([{"uuid":"0a000000-0000-4000-8000-000000000001","name":"one  a"},)"
                                      R"({"uuid":"0a000000-0000-4000-8000-000000000002","name":"two"}])");
    EXPECT_EQ(rows(sets(), Backup_Set::result_handler()),
              R"([{"uuid":"0a000000-0000-4000-8000-000000000001","name":"one: a"},)"
              R"({"uuid":"0a000000-0000-4000-8000-000000000002","name":"two"}])");
}

TEST_P(Backup_Set_Result_Handler_On_Engine_Test, record_takes_nothing_of_its_storages_and_pieces)
{
    Select_SQL sql = sets().add_key("b.size", "size").add_key("b.uuid", "storages").add_key("b.uuid", "pieces");
    const std::vector<record_test::Plain_Backup_Set> loaded =
        load_records<record_test::Plain_Backup_Set>(connection(), sql, Backup_Set::result_handler());
    ASSERT_EQ(loaded.size(), 2u) << connection().last_error().text();
    EXPECT_EQ(loaded[0].uuid, "0a000000-0000-4000-8000-000000000001");
    EXPECT_EQ(loaded[0].name, "one: a");
    EXPECT_EQ(loaded[0].size, 100);
    EXPECT_TRUE(loaded[0].storages.empty());
    EXPECT_TRUE(loaded[0].pieces.empty());
    EXPECT_TRUE(loaded[0].tokens().empty());
    EXPECT_EQ(loaded[1].uuid, "0a000000-0000-4000-8000-000000000002");
    EXPECT_EQ(loaded[1].size, 200);
}

TEST_P(Backup_Set_Result_Handler_On_Engine_Test, column_behind_an_array_is_taken_again)
{
    Select_SQL sql = sets().add_key("b.uuid", "storages").add_key("b.size", "size");
    const std::vector<record_test::Plain_Backup_Set> loaded =
        load_records<record_test::Plain_Backup_Set>(connection(), sql, Backup_Set::result_handler());
    ASSERT_EQ(loaded.size(), 2u) << connection().last_error().text();
    EXPECT_EQ(loaded[0].size, 100);
}

TEST_P(Backup_Set_Result_Handler_On_Engine_Test, storages_and_pieces_are_loaded_as_records_of_their_own)
{
    Select_SQL sql;
    sql.table("backup_set_storage", "s").select("set_uuid,pool_uuid,state,size,upstream_pool_uuid").order_by("s.id");
    std::vector<Backup_Set_Storage> storages =
        load_records<Backup_Set_Storage>(connection(), sql, Backup_Set_Storage::result_handler());
    ASSERT_EQ(storages.size(), 3u) << connection().last_error().text();
    EXPECT_EQ(storages[1].set_uuid, "0a000000-0000-4000-8000-000000000001");
    EXPECT_EQ(
        to_json(storages[1]),
        R"({"pool_uuid":"0b000000-0000-4000-8000-000000000002","size":12,"state":["online","expired","replicated"],)"
        R"("upstream_pool_uuid":"0b000000-0000-4000-8000-000000000001","extended_attrs":{}})");
    EXPECT_EQ(storages[0].upstream_pool_uuid, "");
}

INSTANTIATE_TEST_SUITE_P(Engines, Backup_Set_Result_Handler_On_Engine_Test, ::testing::ValuesIn(engines),
                         name_of_engine);
