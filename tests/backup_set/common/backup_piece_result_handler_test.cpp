#include "backup_set/common/backup_piece_result_handler.h"

#include "tests/support/noting_connection.h"
#include "tests/support/recording_printer.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr char bytes[] = "\x0a\x00\x00\x00\x00\x00\x40\x00\x80\x00\x00\x00\x00\x00\x00\x01";

} // namespace

TEST(Backup_Piece_Result_Handler, uuid_of_the_owner_becomes_text)
{
    Backup_Piece_Result_Handler handler;
    Noting_Connection connection;
    Recording_Printer printer;
    EXPECT_TRUE(handler.handle_binary(connection, 1, "set_uuid", bytes, 16, printer));
    EXPECT_EQ(printer.text(), "print_cstr 1 \"set_uuid\" \"0a000000-0000-4000-8000-000000000001\"\n");
}

TEST(Backup_Piece_Result_Handler, attributes_become_json)
{
    Backup_Piece_Result_Handler handler;
    Noting_Connection connection;
    Recording_Printer printer;
    EXPECT_TRUE(handler.handle_string(connection, 2, "extended_attrs", "{\"a\":1}", 7, printer));
    EXPECT_EQ(printer.text(), "print_json_text 2 \"extended_attrs\" {\"a\":1}\n");
}

TEST(Backup_Piece_Result_Handler, other_columns_stay_as_they_are)
{
    Backup_Piece_Result_Handler handler;
    Noting_Connection connection;
    for (const std::string key :
         {"id", "path", "object", "size", "uuid", "pool_uuid", "state", "storages", "name", "old"}) {
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
