#include "catalog/service/query_string.h"

#include <gtest/gtest.h>

using namespace catalog::service;

namespace {

using Pairs = std::map<std::string, std::string, std::less<>>;

Pairs read(const std::string& query)
{
    Pairs pairs;
    std::string fault;
    std::string key;
    EXPECT_TRUE(read_query(query, pairs, fault, key)) << fault;
    return pairs;
}

std::string fault_of_query(const std::string& query)
{
    Pairs pairs;
    std::string fault;
    std::string key;
    EXPECT_FALSE(read_query(query, pairs, fault, key)) << query;
    return key;
}

TEST(Query_String, is_taken_apart_before_it_is_decoded)
{
    EXPECT_EQ(read("a=1&b=two%20words+more&c%26=x%3D%2By&d&e="),
              (Pairs{{"a", "1"}, {"b", "two words more"}, {"c&", "x=+y"}, {"d", ""}, {"e", ""}}));
    EXPECT_EQ(read(""), Pairs());
    EXPECT_EQ(read("&a=1&&"), (Pairs{{"a", "1"}}));
    EXPECT_EQ(read("a=b=c"), (Pairs{{"a", "b=c"}}));
    EXPECT_EQ(read("a=%c3%A4"), (Pairs{{"a", "\xc3\xa4"}}));
}

TEST(Query_String, with_a_broken_escape_is_refused)
{
    for (const char* const query : {"a=%", "a=%4", "a=%4g", "a=%+1", "%zz=1", "a=1&b=%-1"}) {
        fault_of_query(query);
    }
}

TEST(Query_String, with_a_key_twice_is_refused)
{
    EXPECT_EQ(fault_of_query("a=1&b=2&a=1"), "a");
    EXPECT_EQ(fault_of_query("a=1&%61=1"), "a");
}

TEST(Query_String, with_too_many_pairs_is_refused)
{
    std::string query;
    for (int i = 0; i < 101; ++i) {
        query += "k" + std::to_string(i) + "=v&";
    }
    fault_of_query(query);
}

} // namespace
