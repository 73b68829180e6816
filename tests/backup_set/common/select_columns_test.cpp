#include "backup_set/common/select_columns.h"

#include <gtest/gtest.h>

TEST(Select_Columns, prefix_is_put_before_each_column_in_order)
{
    Select_SQL sql;
    sql.table("t", "o");
    add_columns(sql, "o", {"seq", "database", "seq"});
    EXPECT_EQ(sql.str(),
              R"(SELECT "o"."seq" AS "seq", "o"."database" AS "database", "o"."seq" AS "seq" FROM "t" AS "o")");
}

TEST(Select_Columns, prefix_may_be_a_placeholder_of_a_template)
{
    Select_SQL sql;
    sql.table("t", "o");
    String_Template expression = column_template();
    expression("b", "o");
    add_columns(sql, expression, "{{b}}", {"seq", "level"});
    EXPECT_EQ(sql.str(), R"(SELECT "o"."seq" AS "seq", "o"."level" AS "level" FROM "t" AS "o")");
}

TEST(Select_Columns, template_knows_double_braces)
{
    String_Template expression = column_template();
    EXPECT_EQ(expression.str(), "");
    expression("b", "alias");
    EXPECT_EQ(expression("{{b}}.uuid={b}.uuid").str(), "alias.uuid={b}.uuid");
}
