#include "platform/http/http_headers.h"

#include <gtest/gtest.h>
#include <strings.h>

#include <string>
#include <string_view>

using namespace std::string_view_literals;

TEST(HTTP_Headers, numbers_that_callers_use_have_their_names)
{
    EXPECT_STREQ(HTTP_Headers::name(8), "Connection");
    EXPECT_STREQ(HTTP_Headers::name(12), "Content-Length");
    EXPECT_STREQ(HTTP_Headers::name(40), "Transfer-Encoding");
    EXPECT_STREQ(HTTP_Headers::name(48), "X-Access-Key");
}

TEST(HTTP_Headers, enumerators_are_the_numbers_of_their_names)
{
    EXPECT_STREQ(HTTP_Headers::name(HTTP_Headers::ACCEPT), "Accept");
    EXPECT_STREQ(HTTP_Headers::name(HTTP_Headers::CONTENT_TYPE), "Content-Type");
    EXPECT_STREQ(HTTP_Headers::name(HTTP_Headers::IDEMPOTENCY_KEY), "Idempotency-Key");
    EXPECT_STREQ(HTTP_Headers::name(HTTP_Headers::RETRY_AFTER), "Retry-After");
    EXPECT_STREQ(HTTP_Headers::name(HTTP_Headers::WWW_AUTHENTICATE), "WWW-Authenticate");
    EXPECT_STREQ(HTTP_Headers::name(HTTP_Headers::X_NETWORK_ACCESS_KEY), "X-Network-Access-Key");
    EXPECT_STREQ(HTTP_Headers::name(HTTP_Headers::X_TENANT_ACCESS_KEY), "X-Tenant-Access-Key");
}

TEST(HTTP_Headers, table_is_alphabetical_from_1_on_without_a_gap)
{
    EXPECT_EQ(HTTP_Headers::name(0), nullptr);
    EXPECT_EQ(HTTP_Headers::name(-1), nullptr);
    EXPECT_EQ(HTTP_Headers::name(HTTP_Headers::X_TENANT_ACCESS_KEY + 1), nullptr);
    for (int number = 2; number <= HTTP_Headers::X_TENANT_ACCESS_KEY; ++number) {
        ASSERT_NE(HTTP_Headers::name(number), nullptr) << number;
        EXPECT_LT(::strcasecmp(HTTP_Headers::name(number - 1), HTTP_Headers::name(number)), 0) << number;
    }
}

TEST(HTTP_Headers, number_and_name_reach_the_same_field_whatever_the_case)
{
    HTTP_Headers headers;
    ASSERT_TRUE(headers.set(48, "k"));
    ASSERT_NE(headers.get("x-ACCESS-key"), nullptr);
    EXPECT_EQ(*headers.get("x-ACCESS-key"), "k");
    ASSERT_TRUE(headers.set("X-access-KEY", "l"));
    EXPECT_EQ(*headers.get(48), "l");
    EXPECT_EQ(headers.all().size(), 1u);
}

TEST(HTTP_Headers, absent_field_is_null)
{
    const HTTP_Headers headers;
    EXPECT_EQ(headers.get(12), nullptr);
    EXPECT_EQ(headers.get("Content-Length"), nullptr);
    EXPECT_EQ(headers.get(0), nullptr);
}

TEST(HTTP_Headers, removed_field_is_gone_and_others_stay)
{
    HTTP_Headers headers;
    headers.set("A", "1");
    headers.set("B", "2");
    headers.remove("a");
    EXPECT_EQ(headers.get("A"), nullptr);
    ASSERT_NE(headers.get("B"), nullptr);
    headers.set(8, "close");
    headers.remove(8);
    EXPECT_EQ(headers.get(8), nullptr);
    EXPECT_EQ(headers.all().size(), 1u);
}

TEST(HTTP_Headers, unknown_number_is_refused)
{
    HTTP_Headers headers;
    EXPECT_FALSE(headers.set(0, "x"));
    EXPECT_FALSE(headers.set(1000, "x"));
    EXPECT_TRUE(headers.all().empty());
}

TEST(HTTP_Headers, value_that_could_begin_another_line_is_refused_and_changes_nothing)
{
    HTTP_Headers headers;
    headers.set(48, "before");
    for (const std::string_view value : {"a\r\nX-Other: b"sv, "a\nb"sv, "a\rb"sv, "a\0b"sv, "\x7f"sv, "\x1b[0m"sv}) {
        EXPECT_FALSE(headers.set(48, value));
        EXPECT_FALSE(headers.set("X-Access-Key", value));
        EXPECT_FALSE(headers.append("X-Access-Key", value));
        EXPECT_FALSE(headers.append("X-New", value));
    }
    EXPECT_EQ(*headers.get(48), "before");
    EXPECT_EQ(headers.all().size(), 1u);
    EXPECT_TRUE(headers.set(48, "a\tb \xc3\xbc"));
}

TEST(HTTP_Headers, name_that_is_no_token_is_refused)
{
    HTTP_Headers headers;
    for (const std::string_view name : {""sv, "A B"sv, "A:"sv, "A\r\nB"sv, "A\nB"sv, "A\0B"sv, "\xc3\xbc"sv}) {
        EXPECT_FALSE(headers.set(name, "x")) << name;
        EXPECT_FALSE(headers.append(name, "x")) << name;
    }
    EXPECT_TRUE(headers.all().empty());
}

TEST(HTTP_Headers, appended_values_stand_behind_each_other)
{
    HTTP_Headers headers;
    EXPECT_TRUE(headers.append("Via", "one"));
    EXPECT_TRUE(headers.append("via", "two"));
    EXPECT_EQ(*headers.get(HTTP_Headers::VIA), "one, two");
    EXPECT_EQ(headers.all().size(), 1u);
}
