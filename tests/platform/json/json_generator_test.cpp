#include "platform/json/json_generator.h"

#include "platform/json/yajl_gen.h"

#include <gtest/gtest.h>
#include <yajl/yajl_gen.h>

#include <stdexcept>
#include <string>

namespace {

class Fixed : public JSON_Generator
{
public:
    explicit Fixed(bool good) : good_(good) {}

    bool generate(yajl_gen_t* gen) override
    {
        YAJL_Gen out(gen);
        const YAJL_Map_Guard map(out);
        out << "a"_key << 1;
        return good_;
    }

private:
    bool good_;
};

class Thrower : public JSON_Generator
{
public:
    bool generate(yajl_gen_t* gen) override
    {
        const YAJL_Map_Guard map(gen);
        throw std::runtime_error("no");
    }
};

void write_pair(yajl_gen_t* gen)
{
    const YAJL_Gen out(gen);
    const YAJL_Array_Guard array(out);
    out << 1 << "x";
}

} // namespace

TEST(JSON_Generator, to_json_gives_the_text)
{
    Fixed object(true);
    EXPECT_EQ(to_json(object), R"({"a":1})");
}

TEST(JSON_Generator, to_json_of_an_object_that_fails_is_empty)
{
    Fixed object(false);
    EXPECT_EQ(to_json(object), "");
}

TEST(JSON_Generator, to_json_lets_exceptions_through)
{
    Thrower object;
    EXPECT_THROW(to_json(object), std::runtime_error);
}

TEST(JSON_Text, starts_empty)
{
    JSON_Text text;
    EXPECT_EQ(text.view(), "");
    EXPECT_EQ(text.take(), "");
}

TEST(JSON_Text, view_shows_what_was_written_so_far)
{
    JSON_Text text;
    const YAJL_Gen out(text.get());
    {
        const YAJL_Array_Guard array(out);
        EXPECT_EQ(text.view(), "[");
        out << 1;
        EXPECT_EQ(text.view(), "[1");
    }
    EXPECT_EQ(text.view(), "[1]");
}

TEST(JSON_Text, documents_one_after_the_other_by_take_are_independent)
{
    JSON_Text text;
    for (int i = 0; i < 3; ++i) {
        write_pair(text.get());
        EXPECT_EQ(text.take(), "[1,\"x\"]");
        EXPECT_EQ(text.view(), "");
    }
}

TEST(JSON_Text, documents_one_after_the_other_by_clear_are_independent)
{
    JSON_Text text;
    for (int i = 0; i < 3; ++i) {
        write_pair(text.get());
        EXPECT_EQ(text.view(), "[1,\"x\"]");
        text.clear();
        EXPECT_EQ(text.view(), "");
    }
}

TEST(JSON_Text, pieces_of_every_length_are_kept_while_the_text_grows)
{
    JSON_Text text;
    std::string expected = "[";
    {
        const YAJL_Gen out(text.get());
        const YAJL_Array_Guard array(out);
        for (std::size_t length = 1; length < 300; ++length) {
            std::string piece;
            for (std::size_t i = 0; i < length; ++i) {
                piece += static_cast<char>('1' + i % 9);
            }
            ASSERT_TRUE(yajl_gen_raw(text.get(), piece));
            expected += (length == 1 ? "" : ",") + piece;
            ASSERT_EQ(text.view(), expected);
        }
    }
    EXPECT_EQ(text.take(), expected + "]");
}

TEST(JSON_Text, clear_in_the_middle_of_a_document_starts_anew)
{
    for (const auto style : {JSON_Text::COMPACT, JSON_Text::PRETTY}) {
        JSON_Text text(style);
        yajl_gen_map_open(text.get());
        YAJL_Gen(text.get()) << "a\"" << 1 << "b";
        yajl_gen_array_open(text.get());
        text.clear();
        YAJL_Gen(text.get()) << 5;
        EXPECT_EQ(text.take(), "5");
    }
}

TEST(JSON_Text, second_value_of_one_document_is_refused)
{
    JSON_Text text;
    YAJL_Gen(text.get()) << 1 << 2;
    EXPECT_EQ(text.view(), "1");
    write_pair(text.get());
    EXPECT_EQ(text.view(), "1");
}

TEST(JSON_Text, pretty_text_is_indented_by_four_blanks)
{
    JSON_Text text(JSON_Text::PRETTY);
    {
        const YAJL_Gen out(text.get());
        const YAJL_Map_Guard map(out);
        out << "a"_key << 1 << "list"_key;
        {
            const YAJL_Array_Guard array(out);
            out << "x: {y}, [z]" << true;
            {
                const YAJL_Map_Guard empty(out);
            }
        }
        out << "none"_key;
        {
            const YAJL_Array_Guard empty(out);
        }
    }
    EXPECT_EQ(text.view(), "{\n"
                           "    \"a\": 1,\n"
                           "    \"list\": [\n"
                           "        \"x: {y}, [z]\",\n"
                           "        true,\n"
                           "        {}\n"
                           "    ],\n"
                           "    \"none\": []\n"
                           "}");
}

TEST(JSON_Text, pretty_text_lays_out_values_and_raw_text_too)
{
    JSON_Text text(JSON_Text::PRETTY);
    {
        const YAJL_Gen out(text.get());
        const YAJL_Map_Guard map(out);
        out << "value"_key << json_spirit::Object{{"b", json_spirit::Array{1}}} << "raw"_key;
        EXPECT_TRUE(yajl_gen_raw(text.get(), " [ {\"k\" :\t\"v w\"} ,{ } ] "));
        out << "after"_key << 2;
    }
    EXPECT_EQ(text.take(), "{\n"
                           "    \"value\": {\n"
                           "        \"b\": [\n"
                           "            1\n"
                           "        ]\n"
                           "    },\n"
                           "    \"raw\": [\n"
                           "        {\n"
                           "            \"k\": \"v w\"\n"
                           "        },\n"
                           "        {}\n"
                           "    ],\n"
                           "    \"after\": 2\n"
                           "}");
}
