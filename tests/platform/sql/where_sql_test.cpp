#include "platform/sql/where_sql.h"

#include <gtest/gtest.h>

TEST(Where_SQL, is_empty_until_a_condition_is_added)
{
    EXPECT_TRUE(Where_SQL().empty());
    EXPECT_TRUE(Where_SQL().bind(":a", 1).empty());
    EXPECT_FALSE(Where_SQL("a=1").empty());
}

TEST(Where_SQL, keeps_conditions_in_their_order)
{
    EXPECT_EQ(Where_SQL("a=1").add("b=2").conditions(), (std::vector<std::string>{"a=1", "b=2"}));
}

TEST(Where_SQL, bind_replaces_the_value_of_a_name)
{
    EXPECT_EQ(Where_SQL().bind(":a", 1).bind(":b", 2).bind(":a", "x").bindings(),
              (SQL_Bindings{{":a", "x"}, {":b", 2}}));
}
