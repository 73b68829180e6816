#include "platform/json/document.h"

#include "platform/json/json_dump.h"
#include "tests/platform/json/json_corpus.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

using json_document::Member;

namespace {

/// Members as one text, "key=text:type" each, to compare them whole.
std::string shown(const std::vector<Member>& members)
{
    std::string text;
    for (const Member& member : members) {
        text += member.key + '=' + std::string(member.text) + ':' + json_spirit::type_name(member.type) + '\n';
    }
    return text;
}

std::string members_of(std::string_view text)
{
    std::vector<Member> members;
    std::string error;
    return json_document::split_object(text, members, &error) ? shown(members) : error;
}

std::string elements_of(std::string_view text)
{
    std::vector<Member> elements;
    std::string error;
    return json_document::split_array(text, elements, &error) ? shown(elements) : error;
}

bool same(std::string_view a, std::string_view b)
{
    const bool result = json_document::same_content(a, b);
    EXPECT_EQ(json_document::same_content(b, a), result) << a << ' ' << b;
    return result;
}

} // namespace

TEST(json_document_validate, accepts_every_valid_text)
{
    for (const std::string& text : json_corpus::valid()) {
        EXPECT_TRUE(json_document::validate(text)) << text;
    }
}

TEST(json_document_validate, refuses_every_invalid_text_with_the_message_of_read)
{
    for (const auto& [text, message] : json_corpus::invalid()) {
        std::string error;
        EXPECT_FALSE(json_document::validate(text, &error));
        EXPECT_EQ(error, "invalid JSON " + message);
        EXPECT_FALSE(json_document::validate(text));
    }
}

TEST(json_document_validate, agrees_with_read_and_with_yajl_on_mutated_texts)
{
    json_corpus::for_each_mutation(200000, [](const std::string& text) {
        json_spirit::Value value;
        std::string read_error;
        std::string error;
        const bool good = json_document::validate(text, &error);
        ASSERT_EQ(good, json_corpus::judge(text).has_value()) << text;
        ASSERT_EQ(good, json_spirit::read(text, value, &read_error)) << text;
        ASSERT_EQ(error, read_error) << text;
    });
}

TEST(json_document_split_object, keeps_order_repeated_keys_and_spelling)
{
    EXPECT_EQ(members_of(R"({"b":1.50,"a":"\u0041","b":[1, 2],"c":{"x" : null},"d":true,"e":null,"f":-0})"),
              "b=1.50:real\n"
              "a=\"\\u0041\":string\n"
              "b=[1, 2]:array\n"
              "c={\"x\" : null}:object\n"
              "d=true:boolean\n"
              "e=null:null\n"
              "f=-0:integer\n");
}

TEST(json_document_find_first, gives_the_first_of_a_repeated_key_and_null_for_an_unknown_one)
{
    std::vector<json_document::Member> members;
    ASSERT_TRUE(json_document::split_object(R"({"a":1,"b":2,"b":3})", members));
    ASSERT_NE(json_document::find_first(members, "b"), nullptr);
    EXPECT_EQ(json_document::find_first(members, "b")->text, "2");
    EXPECT_EQ(json_document::find_first(members, "c"), nullptr);
}

TEST(json_document_split_object, leaves_out_white_space_around_keys_and_values)
{
    EXPECT_EQ(members_of(" \n{ \"a\" : 1 , \"b\"\t:\n[ ]\r , \"c\" : { } } \n"),
              "a=1:integer\nb=[ ]:array\nc={ }:object\n");
}

TEST(json_document_split_object, keys_are_unescaped)
{
    EXPECT_EQ(members_of("{\"\\u0061\\n\\\"\":1,\"\":2}"), "a\n\"=1:integer\n=2:integer\n");
}

TEST(json_document_split_object, views_point_into_the_given_text)
{
    const std::string text = R"({"a":"value"})";
    std::vector<Member> members;
    ASSERT_TRUE(json_document::split_object(text, members));
    EXPECT_EQ(members[0].text.data(), text.data() + 5);
}

TEST(json_document_split_object, empty_object_has_no_members)
{
    EXPECT_EQ(members_of("{}"), "");
    EXPECT_EQ(members_of(" { } "), "");
}

TEST(json_document_split_object, does_not_go_into_the_values)
{
    EXPECT_EQ(members_of(R"({"a":{"b":{"c":[{"d":1}]}},"e":[[["x"]]]})"),
              "a={\"b\":{\"c\":[{\"d\":1}]}}:object\ne=[[[\"x\"]]]:array\n");
}

TEST(json_document_split_object, type_of_a_number_is_that_of_the_value_that_read_makes)
{
    EXPECT_EQ(members_of(R"({"a":18446744073709551615,"b":18446744073709551616,"c":1e0,"d":-9223372036854775808})"),
              "a=18446744073709551615:integer\nb=18446744073709551616:real\nc=1e0:real\n"
              "d=-9223372036854775808:integer\n");
}

TEST(json_document_split_object, refuses_a_text_of_another_type)
{
    for (const char* text : {"[]", "1", "\"a\"", "null", "[{\"a\":1}]"}) {
        EXPECT_EQ(members_of(text), "the JSON text is not an object") << text;
    }
}

TEST(json_document_split_object, validates_the_whole_text_and_changes_nothing_on_failure)
{
    EXPECT_EQ(members_of(R"({"a":{"b":[01]}})"), "invalid JSON at byte 11: a number must not begin with 0");
    EXPECT_EQ(members_of(R"({"a":1} x)"), "invalid JSON at byte 8: something stands behind the value");
    std::vector<Member> members(1);
    members[0].key = "before";
    EXPECT_FALSE(json_document::split_object("{\"a\":1,}", members));
    EXPECT_FALSE(json_document::split_object("[]", members));
    ASSERT_EQ(members.size(), 1u);
    EXPECT_EQ(members[0].key, "before");
}

TEST(json_document_split_object, replaces_what_the_vector_held)
{
    std::vector<Member> members(3);
    ASSERT_TRUE(json_document::split_object("{\"a\":1}", members));
    EXPECT_EQ(shown(members), "a=1:integer\n");
}

TEST(json_document_split_array, gives_the_elements_without_keys)
{
    EXPECT_EQ(elements_of(R"( [1, "two" ,[3,[4]], {"five":5},null ] )"),
              "=1:integer\n=\"two\":string\n=[3,[4]]:array\n={\"five\":5}:object\n=null:null\n");
    EXPECT_EQ(elements_of("[]"), "");
}

TEST(json_document_split_array, refuses_a_text_of_another_type_and_an_invalid_one)
{
    EXPECT_EQ(elements_of("{}"), "the JSON text is not an array");
    EXPECT_EQ(elements_of("{\"a\":[1]}"), "the JSON text is not an array");
    EXPECT_EQ(elements_of("[1,]"), "invalid JSON at byte 3: a value must stand here");
}

TEST(json_document_compact, drops_white_space_outside_strings_only)
{
    EXPECT_EQ(json_document::compact(" { \"a b\" : [ 1 , \" \\\" \" ,\n\t\"\\\\\" , {\r} ] } "),
              "{\"a b\":[1,\" \\\" \",\"\\\\\",{}]}");
    EXPECT_EQ(json_document::compact(" 1.50 "), "1.50");
    EXPECT_EQ(json_document::compact("\"\""), "\"\"");
}

TEST(json_document_compact, keeps_order_repeated_keys_and_spelling)
{
    EXPECT_EQ(json_document::compact(R"({"b": 1.50, "a": "\u0041", "b": 1e+2})"),
              R"({"b":1.50,"a":"\u0041","b":1e+2})");
}

TEST(json_document_compact, result_is_valid_and_means_the_same)
{
    for (const std::string& text : json_corpus::valid()) {
        const std::string compact = json_document::compact(text);
        json_spirit::Value before;
        json_spirit::Value after;
        ASSERT_TRUE(json_spirit::read(text, before));
        ASSERT_TRUE(json_spirit::read(compact, after)) << compact;
        EXPECT_EQ(before, after);
        EXPECT_EQ(json_document::compact(compact), compact);
        EXPECT_EQ(json_document::compact(JSON_Dump(before, true).str()), JSON_Dump(before).str());
    }
}

TEST(json_document_unescape, gives_what_the_string_stands_for)
{
    EXPECT_EQ(json_document::unescape("\"\""), "");
    EXPECT_EQ(json_document::unescape("\"abc\""), "abc");
    EXPECT_EQ(json_document::unescape(" \"a\\n\\u0041\\\"\" "), "a\nA\"");
    EXPECT_EQ(json_document::unescape("\"\\u0000\""), std::string(1, '\0'));
    EXPECT_EQ(json_document::unescape("\"\\ud83d\\ude00\""), "\xf0\x9f\x98\x80");
}

TEST(json_document_unescape, agrees_with_read)
{
    for (const std::string& text : json_corpus::valid()) {
        if (text.front() == '"') {
            json_spirit::Value value;
            ASSERT_TRUE(json_spirit::read(text, value));
            EXPECT_EQ(json_document::unescape(text), value.get_str());
        }
    }
}

TEST(json_document_same_content, order_of_members_and_white_space_do_not_matter)
{
    EXPECT_TRUE(same(R"({"a":1,"b":[2,{"c":3,"d":4}]})", R"( { "b" : [ 2 , {"d":4,"c":3} ] , "a" : 1 } )"));
    EXPECT_TRUE(same("{}", "{ }"));
    EXPECT_TRUE(same("[]", "[ ]"));
    EXPECT_TRUE(same(" null ", "null"));
}

TEST(json_document_same_content, order_of_elements_matters)
{
    EXPECT_FALSE(same("[1,2]", "[2,1]"));
    EXPECT_FALSE(same("[1]", "[1,1]"));
    EXPECT_FALSE(same("[]", "[[]]"));
}

TEST(json_document_same_content, members_of_one_key_must_come_in_the_same_order)
{
    EXPECT_TRUE(same(R"({"a":1,"b":0,"a":2})", R"({"b":0,"a":1,"a":2})"));
    EXPECT_FALSE(same(R"({"a":1,"a":2})", R"({"a":2,"a":1})"));
    EXPECT_FALSE(same(R"({"a":1,"a":2})", R"({"a":2})"));
}

TEST(json_document_same_content, strings_and_keys_are_compared_by_what_they_stand_for)
{
    EXPECT_TRUE(same(R"("A\/")", R"("\u0041/")"));
    EXPECT_TRUE(same(R"({"\u0061":1})", R"({"a":1})"));
    EXPECT_FALSE(same(R"("a")", R"("A")"));
    EXPECT_FALSE(same(R"({"a":1})", R"({"b":1})"));
    EXPECT_FALSE(same("\"1\"", "1"));
}

TEST(json_document_same_content, numbers_are_compared_by_value)
{
    EXPECT_TRUE(same("1.0", "1"));
    EXPECT_TRUE(same("1e2", "100"));
    EXPECT_TRUE(same("-0", "0"));
    EXPECT_TRUE(same("-0.0", "0"));
    EXPECT_TRUE(same("0.5", "5e-1"));
    EXPECT_FALSE(same("1", "2"));
    EXPECT_FALSE(same("1", "-1"));
    EXPECT_FALSE(same("1", "1.5"));
}

TEST(json_document_same_content, neighbouring_64_bit_integers_differ)
{
    EXPECT_FALSE(same("18446744073709551615", "18446744073709551614"));
    EXPECT_FALSE(same("9223372036854775807", "9223372036854775808"));
    EXPECT_FALSE(same("-1", "18446744073709551615"));
    EXPECT_FALSE(same("9007199254740993", "9007199254740992.0"));
    EXPECT_TRUE(same("9007199254740992", "9007199254740992.0"));
    EXPECT_FALSE(same("18446744073709551615", "18446744073709551616"));
    EXPECT_FALSE(same("9223372036854775807", "9223372036854775808.0"));
}

TEST(json_document_same_content, values_of_different_types_differ)
{
    const char* const texts[] = {"null", "true", "false", "0", "\"\"", "[]", "{}", "[null]", "{\"a\":null}"};
    for (const char* a : texts) {
        for (const char* b : texts) {
            EXPECT_EQ(json_document::same_content(a, b), a == b) << a << ' ' << b;
        }
    }
}

TEST(json_document_same_content, deep_texts_are_compared_in_reasonable_time)
{
    std::string a = "1";
    std::string b = "1.0";
    for (int depth = 0; depth < 512; ++depth) {
        a = "[" + a + "]";
        b = "[ " + b + "]";
    }
    EXPECT_TRUE(same(a, b));
}
