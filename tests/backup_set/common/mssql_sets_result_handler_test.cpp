#include "backup_set/common/mssql_sets_result_handler.h"

#include "backup_set/common/mssql_backup_set.h"
#include "platform/database/json_result_printer.h"
#include "platform/json/yajl_gen.h"
#include "tests/support/log_capture.h"
#include "tests/support/noting_connection.h"
#include "tests/support/recording_printer.h"
#include "tests/support/test_engine.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr char uuid_bytes[] = "\x0a\x00\x00\x00\x00\x00\x40\x00\x80\x00\x00\x00\x00\x00\x00\x01";
constexpr const char* uuid_text = "0a000000-0000-4000-8000-000000000001";

/// Lets the tests reach the hooks.
class Open_Handler : public MSSQL_Sets_Result_Handler
{
public:
    using MSSQL_Sets_Result_Handler::handle_binary_i;
    using MSSQL_Sets_Result_Handler::handle_integer_i;
    using MSSQL_Sets_Result_Handler::handle_string_i;
};

} // namespace

TEST(MSSQL_Sets_Result_Handler, turns_uuids_into_text)
{
    MSSQL_Sets_Result_Handler handler;
    Noting_Connection connection;
    for (const char* key : {"uuid", "pool_uuid", "job_instance_uuid", "definition_uuid", "uid", "host_uuid",
                            "resource_uuid", "set_uuid", "upstream_pool_uuid", "incarnation"})
    {
        Recording_Printer printer;
        EXPECT_TRUE(handler.handle_binary(connection, 3, key, uuid_bytes, 16, printer));
        EXPECT_EQ(printer.text(), "print_cstr 3 \"" + std::string(key) + "\" \"" + uuid_text + "\"\n");
    }
}

TEST(MSSQL_Sets_Result_Handler, turns_two_texts_into_json)
{
    MSSQL_Sets_Result_Handler handler;
    Noting_Connection connection;
    for (const char* key : {"file_list", "extended_attrs"}) {
        Recording_Printer printer;
        EXPECT_TRUE(handler.handle_string(connection, 3, key, R"(["a"])", 5, printer));
        EXPECT_EQ(printer.text(), "print_json_text 3 \"" + std::string(key) + "\" [\"a\"]\n");
    }
}

TEST(MSSQL_Sets_Result_Handler, turns_two_numbers_into_flags)
{
    MSSQL_Sets_Result_Handler handler;
    Noting_Connection connection;
    for (const char* key : {"merged", "has_bulk_logged_data"}) {
        Recording_Printer printer;
        EXPECT_TRUE(handler.handle_integer(connection, 1, key, 2, printer));
        EXPECT_TRUE(handler.handle_integer(connection, 2, key, 0, printer));
        const std::string quoted = " \"" + std::string(key) + "\" ";
        EXPECT_EQ(printer.text(), "print_bool 1" + quoted + "true\nprint_bool 2" + quoted + "false\n");
    }
}

TEST(MSSQL_Sets_Result_Handler, leaves_columns_of_the_common_table_that_are_not_its_own_alone)
{
    MSSQL_Sets_Result_Handler handler;
    Noting_Connection connection;
    for (const std::string key : {"resource_tree", "tablespaces", "backup_server_uuid", "name", "lsb", "database_guid"})
    {
        Recording_Printer printer;
        EXPECT_TRUE(handler.handle_string(connection, 1, key.c_str(), "{}", 2, printer));
        EXPECT_TRUE(handler.handle_binary(connection, 2, key.c_str(), "0123456789abcdef", 16, printer));
        EXPECT_TRUE(handler.handle_integer(connection, 3, key.c_str(), 5, printer));
        const std::string quoted = " \"" + key + "\" ";
        EXPECT_EQ(printer.text(), "print_cstr 1" + quoted + "\"{}\"\nprint_cstr 2" + quoted
                                      + "\"0123456789abcdef\"\nprint_int 3" + quoted + "5\n");
    }
}

TEST(MSSQL_Sets_Result_Handler, state_becomes_the_names_of_its_bits)
{
    Open_Handler handler;
    Noting_Connection connection;
    Recording_Printer printer;
    EXPECT_TRUE(handler.handle_integer_i(connection, 4, "state", 17, printer));
    EXPECT_TRUE(handler.handle_integer_i(connection, 5, "state", 512, printer));
    EXPECT_EQ(printer.text(), "print_json 4 \"state\" [\"online\",\"replicated\"]\nprint_json 5 \"state\" []\n");
}

TEST(MSSQL_Sets_Result_Handler, restorable_is_what_is_online)
{
    Open_Handler handler;
    Noting_Connection connection;
    Recording_Printer printer;
    for (const ACE_INT64 state : {1, 17, 0, 2, 510, -2, -1}) {
        EXPECT_TRUE(handler.handle_integer_i(connection, 0, "restorable", state, printer));
    }
    const std::string yes = "print_bool 0 \"restorable\" true\n";
    const std::string no = "print_bool 0 \"restorable\" false\n";
    EXPECT_EQ(printer.text(), yes + yes + no + no + no + no + yes);
}

TEST(MSSQL_Sets_Result_Handler, result_is_the_printer_s)
{
    Open_Handler handler;
    Noting_Connection connection;
    Recording_Printer printer(false);
    EXPECT_FALSE(handler.handle_integer_i(connection, 0, "state", 1, printer));
    EXPECT_FALSE(handler.handle_integer_i(connection, 0, "restorable", 1, printer));
}

TEST(MSSQL_Sets_Result_Handler, other_numbers_are_not_handled)
{
    Open_Handler handler;
    Noting_Connection connection;
    Recording_Printer printer;
    const Log_Capture log;
    for (const char* key : {"media_tags", "State", "states", "stat", "restorabl", "size"}) {
        EXPECT_FALSE(handler.handle_integer_i(connection, 0, key, 1, printer)) << key;
    }
    EXPECT_EQ(printer.text(), "");
    EXPECT_TRUE(connection.queries().empty());
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TEST(MSSQL_Sets_Result_Handler, name_that_is_null_or_empty_is_logged_and_not_handled)
{
    Open_Handler handler;
    Noting_Connection connection;
    Recording_Printer printer;
    for (const char* name : {static_cast<const char*>(nullptr), ""}) {
        const Log_Capture log;
        EXPECT_FALSE(handler.handle_integer_i(connection, 0, name, 1, printer));
        ASSERT_EQ(log.count(), 1u);
        const Log_Capture::Record& record = log.records().front();
        EXPECT_EQ(record.priority, LM_EMERGENCY);
        const std::string begin = "Unexpected error in backup_set/common/mssql_sets_result_handler.cpp:"
                                  + std::to_string(record.line) + ", name is NULL or \"\":\n";
        EXPECT_EQ(record.text.substr(0, begin.size()), begin);
    }
    EXPECT_EQ(printer.text(), "");
}

TEST(MSSQL_Sets_Result_Handler, lists_the_storages_of_all_pools)
{
    Open_Handler handler;
    Noting_Connection connection;
    Recording_Printer printer;
    EXPECT_TRUE(handler.handle_binary_i(connection, 7, "storages", uuid_bytes, 16, printer));
    EXPECT_EQ(printer.text(), "begin_array 7 \"storages\"\nend_array\n");
    ASSERT_EQ(connection.queries().size(), 1u);
    EXPECT_EQ(connection.queries().front().bindings.size(), 1u);
}

TEST(MSSQL_Sets_Result_Handler, does_not_clean_names)
{
    Open_Handler handler;
    Noting_Connection connection;
    Recording_Printer printer;
    EXPECT_FALSE(handler.handle_string_i(connection, 0, "name", "a/b", 3, printer));
    EXPECT_EQ(printer.text(), "");
}

namespace {

/// A table of rows as a query on SQL Server sets delivers them.
class MSSQL_Rows_Test : public Engine_Test
{
protected:
    void make_tables() override
    {
        using enum Kind;
        const std::pair<const char*, Kind> columns[] = {{"uuid", UUID},          {"name", TEXT},
                                                        {"file_list", TEXT},     {"merged", INTEGER},
                                                        {"state", INTEGER},      {"restorable", INTEGER},
                                                        {"media_tags", INTEGER}, {"has_bulk_logged_data", INTEGER},
                                                        {"extended_attrs", TEXT}};
        std::string text;
        for (const auto& [name, kind] : columns) {
            text += (text.empty() ? "" : ", ") + std::string(name) + ' ' + engine().type(kind);
        }
        engine().run("CREATE TABLE sets (" + text + ")");
        engine().run("INSERT INTO sets VALUES (" + engine().literal(UUID, '"' + std::string(uuid_text) + '"')
                     + R"(, 'a:b', '["first.bak","second.bak"]', 5, 19, 2, 7, 0, '{"k":1}'))");
        engine().run("INSERT INTO sets VALUES (NULL, NULL, NULL, NULL, NULL, 17, NULL, NULL, NULL)");
    }

    std::string rows(const std::string& condition)
    {
        Select_SQL sql;
        sql.table("sets", "s");
        for (const char* column : {"uuid", "name", "file_list", "merged", "state", "restorable", "media_tags",
                                   "has_bulk_logged_data", "extended_attrs"})
        {
            sql.add_key("s." + std::string(column), column);
        }
        sql.where(condition);
        JSON_Text text;
        JSON_Result_Printer printer(text.get());
        EXPECT_TRUE(connection().query_and_print(sql, printer, GM_ORM_ROWS, MSSQL_Backup_Set::result_handler()))
            << connection().last_error().text();
        return std::string(text.view());
    }
};

} // namespace

TEST_P(MSSQL_Rows_Test, row_becomes_json)
{
    EXPECT_EQ(rows("s.restorable = 2"),
              R"({"uuid":"0a000000-0000-4000-8000-000000000001","name":"a:b","file_list":["first.bak","second.bak"],)"
              R"("merged":true,"state":["online","offline","replicated"],"restorable":false,"media_tags":7,)"
              R"("has_bulk_logged_data":false,"extended_attrs":{"k":1}})");
}

TEST_P(MSSQL_Rows_Test, null_stays_null)
{
    EXPECT_EQ(rows("s.restorable = 17"),
              R"({"uuid":null,"name":null,"file_list":null,"merged":null,"state":null,"restorable":true,)"
              R"("media_tags":null,"has_bulk_logged_data":null,"extended_attrs":null})");
}

INSTANTIATE_TEST_SUITE_P(Engines, MSSQL_Rows_Test, ::testing::ValuesIn(engines), name_of_engine);
