#include "platform/text/key2_value.h"

#include <gtest/gtest.h>

namespace {

enum Colour
{
    NONE,
    RED,
    GREEN,
    GREEN_AGAIN,
    BLUE
};

constexpr Key2_Value_T<Colour> colours[] = {
    {"red", 3, RED},
    {"green", 5, GREEN},
    {"red", 3, GREEN_AGAIN},
    {nullptr, 0, NONE},
};

} // namespace

TEST(Key2_Value, finds_a_row_by_its_value)
{
    EXPECT_EQ(&get_key_value_entry(colours, GREEN), &colours[1]);
}

TEST(Key2_Value, value_without_a_row_gives_the_closing_row)
{
    EXPECT_EQ(get_key_value_entry(colours, BLUE).key, nullptr);
}

TEST(Key2_Value, value_of_the_closing_row_is_not_a_row)
{
    EXPECT_EQ(&get_key_value_entry(colours, NONE), &colours[3]);
}

TEST(Key2_Value, finds_the_first_row_of_a_name)
{
    EXPECT_EQ(&get_key_value_entry(colours, "red", 3), &colours[0]);
}

TEST(Key2_Value, finds_a_name_inside_a_longer_text_by_its_length)
{
    EXPECT_EQ(&get_key_value_entry(colours, "greenish", 5), &colours[1]);
}

TEST(Key2_Value, beginning_of_a_name_and_longer_names_do_not_match)
{
    EXPECT_EQ(get_key_value_entry(colours, "gree", 4).key, nullptr);
    EXPECT_EQ(get_key_value_entry(colours, "greens", 6).key, nullptr);
    EXPECT_EQ(get_key_value_entry(colours, "", 0).key, nullptr);
}

TEST(Key2_Value, case_matters)
{
    EXPECT_EQ(get_key_value_entry(colours, "Red", 3).key, nullptr);
}

TEST(Key2_Value, null_name_gives_the_closing_row)
{
    EXPECT_EQ(get_key_value_entry(colours, nullptr, 3).key, nullptr);
    EXPECT_EQ(get_key_value_entry(colours, nullptr, 0).key, nullptr);
}
