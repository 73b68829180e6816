#include "platform/sql/filter_sql.h"

#include "platform/sql/select_sql.h"
#include "platform/text/uuid.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

constexpr const char* uuid_1 = "00000000-0000-0000-0000-000000000001";
constexpr const char* uuid_2 = "00000000-0000-0000-0000-000000000002";

Where_SQL filter(const std::vector<std::string>& uuids)
{
    Where_SQL where;
    Filter_SQL::add_in_uuid_item(where, "pool_uuid", uuids);
    return where;
}

} // namespace

TEST(Filter_SQL, each_uuid_becomes_a_bound_value)
{
    const Where_SQL where = filter({uuid_1, uuid_2});
    EXPECT_EQ(Select_SQL().table("t").add_key("a", "a").where(where).str(),
              R"(SELECT "a" AS "a" FROM "t" WHERE "pool_uuid" IN (:uuid_item_1, :uuid_item_2))");
    EXPECT_EQ(where.bindings(),
              (SQL_Bindings{{":uuid_item_1", *read_uuid(uuid_1)}, {":uuid_item_2", *read_uuid(uuid_2)}}));
}

TEST(Filter_SQL, any_spelling_is_the_same_uuid)
{
    EXPECT_EQ(filter({"ABCDEFab-0000-0000-0000-000000000001"}).bindings(),
              filter({"{abcdefab000000000000000000000001}"}).bindings());
}

TEST(Filter_SQL, what_is_no_uuid_matches_nothing)
{
    const Where_SQL where = filter({"'; DROP TABLE t", uuid_1, ""});
    EXPECT_EQ(where.conditions(), std::vector<std::string>{"pool_uuid IN (:uuid_item_1)"});
    EXPECT_EQ(where.bindings(), (SQL_Bindings{{":uuid_item_1", *read_uuid(uuid_1)}}));
}

TEST(Filter_SQL, empty_list_matches_nothing)
{
    EXPECT_EQ(filter({}).conditions(), std::vector<std::string>{"1=0"});
    EXPECT_EQ(filter({"no uuid"}).conditions(), std::vector<std::string>{"1=0"});
}

TEST(Filter_SQL, two_filters_in_one_condition_keep_their_values)
{
    Where_SQL where;
    Filter_SQL::add_in_uuid_item(where, "pool_uuid", {uuid_1});
    Filter_SQL::add_in_uuid_item(where, "host_uuid", {uuid_2});
    EXPECT_EQ(where.conditions(),
              (std::vector<std::string>{"pool_uuid IN (:uuid_item_1)", "host_uuid IN (:uuid_item_2)"}));
}

TEST(Filter_SQL, filters_of_two_conditions_in_one_statement_keep_their_values)
{
    Select_SQL sql;
    sql.table("t").add_key("a", "a").where(filter({uuid_1})).where(filter({uuid_2}));
    EXPECT_EQ(sql.str(), R"(SELECT "a" AS "a" FROM "t" WHERE "pool_uuid" IN (:uuid_item_1) )"
                         R"(AND "pool_uuid" IN (:uuid_item_1_2))");
    EXPECT_EQ(sql.bindings(),
              (SQL_Bindings{{":uuid_item_1", *read_uuid(uuid_1)}, {":uuid_item_1_2", *read_uuid(uuid_2)}}));
}
