#include "platform/http/http_query_string_builder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

namespace {

/// The pair a=1 written behind a text.
std::string behind(std::string text)
{
    HTTP_Query_String_Builder_T<std::string> builder(text);
    builder("a", "1");
    return text;
}

/// The value that a builder writes.
std::string written(const auto& value)
{
    std::string text;
    HTTP_Query_String_Builder builder(text);
    builder("k", value);
    return text;
}

} // namespace

TEST(HTTP_Query_String_Builder, first_pair_has_no_separator)
{
    EXPECT_EQ(behind(""), "a=1");
    EXPECT_EQ(behind("/path?"), "/path?a=1");
}

TEST(HTTP_Query_String_Builder, further_pairs_have_one_separator)
{
    EXPECT_EQ(behind("b=2"), "b=2&a=1");
    EXPECT_EQ(behind("/path?b=2"), "/path?b=2&a=1");
    EXPECT_EQ(behind("b=2&"), "b=2&a=1");
}

TEST(HTTP_Query_String_Builder, pairs_are_chained_in_their_order)
{
    std::string text = "/select?";
    HTTP_Query_String_Builder builder(text);
    builder("module", "m")("view", std::string("v"))("d", "");
    EXPECT_EQ(text, "/select?module=m&view=v&d=");
}

TEST(HTTP_Query_String_Builder, empty_key_is_not_written)
{
    std::string text = "/path?";
    HTTP_Query_String_Builder builder(text);
    builder("", "1")("a", "1")("", "2");
    EXPECT_EQ(text, "/path?a=1");
}

TEST(HTTP_Query_String_Builder, values_are_written_by_their_type)
{
    EXPECT_EQ(written(true), "k=true");
    EXPECT_EQ(written(false), "k=false");
    EXPECT_EQ(written(std::numeric_limits<std::int64_t>::min()), "k=-9223372036854775808");
    EXPECT_EQ(written(std::numeric_limits<std::uint64_t>::max()), "k=18446744073709551615");
    EXPECT_EQ(written(7), "k=7");
    EXPECT_EQ(written("literal"), "k=literal");
    EXPECT_EQ(written(std::string("text")), "k=text");
    EXPECT_EQ(written(static_cast<const char*>(nullptr)), "k=");
}

TEST(HTTP_Query_String_Builder, keys_and_values_are_encoded)
{
    std::string text;
    HTTP_Query_String_Builder builder(text);
    builder("a&b=c", "x y+z?/#%\xc3\xbc\r\n");
    EXPECT_EQ(text, "a%26b%3Dc=x%20y%2Bz%3F%2F%23%25%C3%BC%0D%0A");
}

TEST(HTTP_Query_String_Builder, unreserved_characters_stay)
{
    const std::string unreserved = "ABCXYZabcxyz0123456789-._~";
    EXPECT_EQ(written(unreserved), "k=" + unreserved);
}

TEST(HTTP_Query_String_Builder, nul_within_a_value_is_encoded)
{
    EXPECT_EQ(written(std::string_view("a\0b", 3)), "k=a%00b");
}
