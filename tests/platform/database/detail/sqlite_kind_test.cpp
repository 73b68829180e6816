#include "platform/database/detail/sqlite_kind.h"

#include <gtest/gtest.h>

using database_detail::Kind;
using database_detail::sqlite_kind;

TEST(SQLite_Kind, types_of_the_catalog_have_their_kinds)
{
    EXPECT_EQ(sqlite_kind("TEXT"), Kind::TEXT);
    EXPECT_EQ(sqlite_kind("TIME_TEXT"), Kind::TEXT);
    EXPECT_EQ(sqlite_kind("BIGINT"), Kind::INTEGER);
    EXPECT_EQ(sqlite_kind("INTEGER"), Kind::INTEGER);
    EXPECT_EQ(sqlite_kind("UNSIGNED_BIGINT"), Kind::UNSIGNED);
    EXPECT_EQ(sqlite_kind("BOOLEAN"), Kind::BOOLEAN);
    EXPECT_EQ(sqlite_kind("JSON_TEXT"), Kind::JSON);
    EXPECT_EQ(sqlite_kind("UUID_BLOB"), Kind::UUID);
    EXPECT_EQ(sqlite_kind("BLOB"), Kind::BYTES);
    EXPECT_EQ(sqlite_kind("REAL"), Kind::REAL);
}

TEST(SQLite_Kind, common_spellings_have_the_same_kinds)
{
    for (const char* type : {"varchar(20)", "CHARACTER(20)", "nvarchar(1)", "CLOB", "text", "DATETIME", "timestamp"}) {
        EXPECT_EQ(sqlite_kind(type), Kind::TEXT) << type;
    }
    for (const char* type : {"int", "TINYINT", "SMALLINT", "int8", "Integer"}) {
        EXPECT_EQ(sqlite_kind(type), Kind::INTEGER) << type;
    }
    EXPECT_EQ(sqlite_kind("UNSIGNED BIG INT"), Kind::UNSIGNED);
    EXPECT_EQ(sqlite_kind("INT UNSIGNED"), Kind::UNSIGNED);
    EXPECT_EQ(sqlite_kind("bool"), Kind::BOOLEAN);
    EXPECT_EQ(sqlite_kind("JSON"), Kind::JSON);
    EXPECT_EQ(sqlite_kind("uuid"), Kind::UUID);
    EXPECT_EQ(sqlite_kind("double precision"), Kind::REAL);
    EXPECT_EQ(sqlite_kind("FLOAT"), Kind::REAL);
}

TEST(SQLite_Kind, what_is_not_known_follows_the_value)
{
    EXPECT_EQ(sqlite_kind(nullptr), Kind::BY_VALUE);
    EXPECT_EQ(sqlite_kind(""), Kind::BY_VALUE);
    EXPECT_EQ(sqlite_kind("NUMERIC"), Kind::BY_VALUE);
    EXPECT_EQ(sqlite_kind("DECIMAL(10,5)"), Kind::BY_VALUE);
}
