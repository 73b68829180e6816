#include "platform/json/json_dump.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

using json_spirit::Array;
using json_spirit::Object;
using json_spirit::Secure_String;
using json_spirit::Value;

TEST(JSON_Dump, compact_text_of_every_type)
{
    EXPECT_EQ(JSON_Dump(Value()).str(), "null");
    EXPECT_EQ(JSON_Dump(true).str(), "true");
    EXPECT_EQ(JSON_Dump(false).str(), "false");
    EXPECT_EQ(JSON_Dump(-5).str(), "-5");
    EXPECT_EQ(JSON_Dump(std::numeric_limits<std::uint64_t>::max()).str(), "18446744073709551615");
    EXPECT_EQ(JSON_Dump(2.5).str(), "2.5");
    EXPECT_EQ(JSON_Dump("a\"b").str(), "\"a\\\"b\"");
    EXPECT_EQ(JSON_Dump(Array()).str(), "[]");
    EXPECT_EQ(JSON_Dump(Object()).str(), "{}");
    EXPECT_EQ(JSON_Dump(Object{{"b", Array{1, Object{}}}, {"a", "x"}}).str(), R"({"a":"x","b":[1,{}]})");
}

TEST(JSON_Dump, secrets_are_masked_wherever_they_stand_and_whatever_their_length)
{
    EXPECT_EQ(JSON_Dump(Secure_String("top")).str(), "\"******\"");
    EXPECT_EQ(JSON_Dump(Secure_String("")).str(), "\"******\"");
    EXPECT_EQ(JSON_Dump(Object{{"password", Secure_String("a very long secret that must not be seen")}}).str(),
              R"({"password":"******"})");
    EXPECT_EQ(JSON_Dump(Array{Array{Secure_String("x")}}, true).str().find('x'), std::string::npos);
}

TEST(JSON_Dump, reals_that_are_not_finite_are_null)
{
    EXPECT_EQ(JSON_Dump(Array{std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN(), 1.0})
                  .str(),
              "[null,null,null,1.0]");
}

TEST(JSON_Dump, pretty_text_is_indented_by_four_blanks)
{
    EXPECT_EQ(JSON_Dump(Object{{"a", Array{1, "x", Array(), Object()}}, {"b", Object{{"c", Value()}}}}, true).str(),
              "{\n"
              "    \"a\": [\n"
              "        1,\n"
              "        \"x\",\n"
              "        [],\n"
              "        {}\n"
              "    ],\n"
              "    \"b\": {\n"
              "        \"c\": null\n"
              "    }\n"
              "}");
}

TEST(JSON_Dump, pretty_text_leaves_strings_alone)
{
    EXPECT_EQ(JSON_Dump(Array{"{ [a, \"b\": c] }\\", "\n"}, true).str(),
              "[\n    \"{ [a, \\\"b\\\": c] }\\\\\",\n    \"\\n\"\n]");
}

TEST(JSON_Dump, pretty_text_of_a_plain_value_is_the_value)
{
    EXPECT_EQ(JSON_Dump(1, true).str(), "1");
    EXPECT_EQ(JSON_Dump(Object(), true).str(), "{}");
}

TEST(JSON_Dump, c_str_is_the_same_text)
{
    const JSON_Dump dump(Array{1});
    EXPECT_STREQ(dump.c_str(), "[1]");
}

TEST(JSON_Dump, reals_read_back_as_the_same_reals)
{
    for (const double real :
         {0.0, -0.0, 1.0, -1.0, 0.1, 1e21, 1e22, 1e300, 1.7976931348623157e308, 4.9e-324, 1e-7, 123456789.0,
          2.2250738585072014e-308, 9007199254740993.0, 18446744073709551616.0, -1.5e-10})
    {
        const std::string text = JSON_Dump(real).str();
        Value value;
        ASSERT_TRUE(json_spirit::read(text, value)) << text;
        EXPECT_EQ(value.type(), json_spirit::real_type) << text;
        EXPECT_EQ(value.get_real(), real) << text;
    }
    EXPECT_EQ(JSON_Dump(1.0).str(), "1.0");
    EXPECT_EQ(JSON_Dump(-0.0).str(), "-0.0");
    EXPECT_EQ(JSON_Dump(0.1).str(), "0.1");
}
