#include "platform/sql/insert_sql.h"

#include <gtest/gtest.h>

#include <stdexcept>

TEST(Insert_SQL, has_a_parameter_for_each_value)
{
    const Insert_SQL insert("t", {"a", "b"});
    EXPECT_EQ(insert.str(SQL_Dialect::SQLITE), R"(INSERT INTO "t" ("a", "b") VALUES (?, ?))");
    EXPECT_EQ(insert.str(SQL_Dialect::STANDARD, 2), R"(INSERT INTO "t" ("a", "b") VALUES (?, ?), (?, ?))");
    EXPECT_EQ(insert.str(SQL_Dialect::POSTGRESQL, 2), R"(INSERT INTO "t" ("a", "b") VALUES ($1, $2), ($3, $4))");
}

TEST(Insert_SQL, names_are_quoted)
{
    EXPECT_EQ(Insert_SQL("a\"b; --", {"select", "c\"d"}).str(SQL_Dialect::SQLITE),
              R"(INSERT INTO "a""b; --" ("select", "c""d") VALUES (?, ?))");
}

TEST(Insert_SQL, empty_names_and_nuls_are_refused)
{
    const std::string nul("a\0b", 3);
    EXPECT_THROW(Insert_SQL("", {"a"}).str(SQL_Dialect::SQLITE), SQL_Syntax_Error);
    EXPECT_THROW(Insert_SQL(nul, {"a"}).str(SQL_Dialect::SQLITE), SQL_Syntax_Error);
    EXPECT_THROW(Insert_SQL("t", {""}).str(SQL_Dialect::SQLITE), SQL_Syntax_Error);
    EXPECT_THROW(Insert_SQL("t", {nul}).str(SQL_Dialect::SQLITE), SQL_Syntax_Error);
    EXPECT_THROW(Insert_SQL("t", {}).str(SQL_Dialect::SQLITE), SQL_Syntax_Error);
    EXPECT_THROW(Insert_SQL("t", {"a"}).str(SQL_Dialect::SQLITE, 0), SQL_Syntax_Error);
}

TEST(Insert_SQL, row_of_another_width_is_refused_and_not_kept)
{
    Insert_SQL insert("t", {"a", "b"});
    EXPECT_THROW(insert.row({1}), std::invalid_argument);
    EXPECT_THROW(insert.row({1, 2, 3}), std::invalid_argument);
    EXPECT_TRUE(insert.rows().empty());
    insert.row({1, "x"});
    EXPECT_EQ(insert.rows(), (std::vector<std::vector<Binding_Value>>{{1, "x"}}));
}
