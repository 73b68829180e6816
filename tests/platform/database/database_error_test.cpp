#include "platform/database/database_error.h"

#include <gtest/gtest.h>

#include <string>

TEST(Database_Error, is_none_by_default)
{
    EXPECT_FALSE(Database_Error());
    EXPECT_TRUE((Database_Error{Database_Error::OTHER, {}, {}, {}, {}}));
}

TEST(Database_Error, only_locks_and_lost_connections_are_worth_another_try)
{
    for (const auto kind :
         {Database_Error::NONE, Database_Error::STATEMENT, Database_Error::CONSTRAINT, Database_Error::FULL,
          Database_Error::READ_ONLY, Database_Error::CORRUPT, Database_Error::CANCELLED, Database_Error::OTHER})
    {
        EXPECT_FALSE((Database_Error{kind, {}, {}, {}, {}}.retryable())) << kind;
        EXPECT_FALSE((Database_Error{kind, {}, {}, {}, {}}.reconnect())) << kind;
    }
    EXPECT_TRUE((Database_Error{Database_Error::BUSY, {}, {}, {}, {}}.retryable()));
    EXPECT_FALSE((Database_Error{Database_Error::BUSY, {}, {}, {}, {}}.reconnect()));
    EXPECT_TRUE((Database_Error{Database_Error::CONNECTION_LOST, {}, {}, {}, {}}.retryable()));
    EXPECT_TRUE((Database_Error{Database_Error::CONNECTION_LOST, {}, {}, {}, {}}.reconnect()));
}

TEST(Database_Error, text_is_one_line)
{
    const Database_Error error{Database_Error::STATEMENT, "42P01", "no table\n\"t\"", "SELECT\n1", "a.cpp:1"};
    EXPECT_EQ(error.text(), "no table \"t\" (code 42P01) in: SELECT 1");
    EXPECT_EQ((Database_Error{Database_Error::OTHER, {}, "message", {}, {}}.text()), "message");
}

TEST(Database_Error, text_shortens_a_long_statement)
{
    const Database_Error error{Database_Error::STATEMENT, {}, "m", std::string(5000, 'x'), {}};
    EXPECT_EQ(error.text(), "m in: " + std::string(1000, 'x') + "...");
    EXPECT_EQ(error.statement.size(), 5000u);
}
