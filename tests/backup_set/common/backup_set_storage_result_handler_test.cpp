#include "backup_set/common/backup_set_storage_result_handler.h"

#include "tests/support/noting_connection.h"
#include "tests/support/recording_printer.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr char bytes[] = "\x0a\x00\x00\x00\x00\x00\x40\x00\x80\x00\x00\x00\x00\x00\x00\x01";

} // namespace

TEST(Backup_Set_Storage_Result_Handler, uuids_become_text)
{
    Backup_Set_Storage_Result_Handler handler;
    Noting_Connection connection;
    for (const std::string key : {"set_uuid", "pool_uuid", "server_uuid", "upstream_pool_uuid"}) {
        Recording_Printer printer;
        EXPECT_TRUE(handler.handle_binary(connection, 1, key.c_str(), bytes, 16, printer));
        EXPECT_EQ(printer.text(), "print_cstr 1 \"" + key + "\" \"0a000000-0000-4000-8000-000000000001\"\n");
    }
}

TEST(Backup_Set_Storage_Result_Handler, attributes_become_json)
{
    Backup_Set_Storage_Result_Handler handler;
    Noting_Connection connection;
    Recording_Printer printer;
    EXPECT_TRUE(handler.handle_string(connection, 2, "extended_attrs", "{\"a\":1}", 7, printer));
    EXPECT_EQ(printer.text(), "print_json_text 2 \"extended_attrs\" {\"a\":1}\n");
}

TEST(Backup_Set_Storage_Result_Handler, other_columns_stay_as_they_are)
{
    Backup_Set_Storage_Result_Handler handler;
    Noting_Connection connection;
    for (const std::string key : {"id", "size", "state", "uuid", "host_uuid", "media_tags", "pieces", "name", "old"}) {
        Recording_Printer printer;
        EXPECT_TRUE(handler.handle_string(connection, 1, key.c_str(), "{}", 2, printer));
        EXPECT_TRUE(handler.handle_binary(connection, 2, key.c_str(), "0123456789abcdef", 16, printer));
        EXPECT_TRUE(handler.handle_integer(connection, 3, key.c_str(), 5, printer));
        const std::string quoted = " \"" + key + "\" ";
        EXPECT_EQ(printer.text(), "print_cstr 1" + quoted + "\"{}\"\nprint_cstr 2" + quoted
                                      + "\"0123456789abcdef\"\nprint_int 3" + quoted + "5\n");
    }
    EXPECT_TRUE(connection.queries().empty());
}
