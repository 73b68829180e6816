#include "catalog/cli/table.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace catalog::cli;

namespace {

std::string written(Table& table, std::size_t indent = 0)
{
    std::ostringstream stream;
    Output out(stream);
    table.write(out, indent);
    return stream.str();
}

} // namespace

TEST(Table, columns_are_as_wide_as_their_widest_cell)
{
    Table table({{"NAME"}, {"SIZE", Table::RIGHT}, {"HOST"}});
    table.row({"a", "1 B", "h"});
    table.row({"longer", "1000 B", "host"});
    EXPECT_EQ(written(table), "NAME      SIZE  HOST\n"
                              "a          1 B  h\n"
                              "longer  1000 B  host\n");
}

TEST(Table, wide_characters_keep_the_columns_aligned)
{
    Table table({{"NAME"}, {"X"}});
    table.row({"备份", "1"});
    table.row({"abcd", "2"});
    table.row({"Größe", "3"});
    EXPECT_EQ(written(table), "NAME   X\n"
                              "备份   1\n"
                              "abcd   2\n"
                              "Größe  3\n");
}

TEST(Table, no_control_character_gets_through)
{
    Table table({{"NAME"}});
    table.row({"a\x1b]0;title\x07\n\r"});
    EXPECT_EQ(written(table), "NAME\na\\x1b]0;title\\x07\\n\\x0d\n");
}

TEST(Table, empty_cells_at_the_end_leave_no_blanks)
{
    Table table({{"A"}, {"B"}});
    table.row({"x", ""});
    EXPECT_EQ(written(table, 2), "  A  B\n  x\n");
}

TEST(Table, later_parts_have_no_title_and_keep_the_widths)
{
    Table table({{"A"}, {"B"}});
    table.row({"wide cell", "1"});
    EXPECT_EQ(written(table), "A          B\nwide cell  1\n");
    table.row({"x", "2"});
    EXPECT_EQ(written(table), "x          2\n");
}
