#include "platform/json/value.h"
#include "tests/platform/json/json_corpus.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <vector>

using json_spirit::Array;
using json_spirit::Object;
using json_spirit::Value;

namespace {

Value parsed(std::string_view text)
{
    Value value;
    std::string error;
    EXPECT_TRUE(json_spirit::read(text, value, &error)) << text << ": " << error;
    return value;
}

} // namespace

TEST(JSON_read, literals)
{
    EXPECT_TRUE(parsed("null").is_null());
    EXPECT_TRUE(parsed("true").get_bool());
    EXPECT_FALSE(parsed("false").get_bool());
}

TEST(JSON_read, integers_are_exact_over_both_64_bit_ranges)
{
    EXPECT_EQ(parsed("0").get_int64(), 0);
    EXPECT_EQ(parsed("-1").get_int64(), -1);
    EXPECT_EQ(parsed("9007199254740993").get_int64(), 9007199254740993);
    EXPECT_EQ(parsed("9223372036854775807").get_int64(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(parsed("-9223372036854775808").get_int64(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(parsed("9223372036854775808").get_uint64(), std::uint64_t{1} << 63);
    EXPECT_EQ(parsed("18446744073709551615").get_uint64(), std::numeric_limits<std::uint64_t>::max());
}

TEST(JSON_read, only_integers_beyond_the_signed_range_are_held_as_unsigned)
{
    EXPECT_FALSE(parsed("9223372036854775807").is_uint64());
    EXPECT_TRUE(parsed("9223372036854775808").is_uint64());
}

TEST(JSON_read, minus_zero_is_the_integer_0)
{
    EXPECT_EQ(parsed("-0").type(), json_spirit::int_type);
    EXPECT_EQ(parsed("-0").get_int64(), 0);
}

TEST(JSON_read, integers_beyond_64_bits_become_reals)
{
    EXPECT_EQ(parsed("18446744073709551616").type(), json_spirit::real_type);
    EXPECT_EQ(parsed("18446744073709551616").get_real(), 18446744073709551616.0);
    EXPECT_EQ(parsed("-9223372036854775809").get_real(), -9223372036854775808.0);
    EXPECT_EQ(parsed("1" + std::string(308, '0')).get_real(), 1e308);
}

TEST(JSON_read, a_fraction_or_an_exponent_makes_a_real)
{
    for (const char* text : {"1.0", "1e0", "1E+2", "0.5", "-0.0", "100e-2"}) {
        EXPECT_EQ(parsed(text).type(), json_spirit::real_type) << text;
    }
    EXPECT_EQ(parsed("1E+2").get_real(), 100.0);
    EXPECT_EQ(parsed("-2.5").get_real(), -2.5);
    EXPECT_EQ(parsed("0.1").get_real(), 0.1);
    EXPECT_TRUE(std::signbit(parsed("-0.0").get_real()));
}

TEST(JSON_read, reals_reach_to_both_ends_of_a_double)
{
    EXPECT_EQ(parsed("1.7976931348623157e308").get_real(), std::numeric_limits<double>::max());
    EXPECT_EQ(parsed("4.9e-324").get_real(), std::numeric_limits<double>::denorm_min());
}

TEST(JSON_read, reals_too_small_for_a_double_become_0)
{
    EXPECT_EQ(parsed("1e-400").get_real(), 0.0);
    EXPECT_FALSE(std::signbit(parsed("1e-400").get_real()));
    EXPECT_TRUE(std::signbit(parsed("-1e-99999999999999999999").get_real()));
    EXPECT_EQ(parsed("0." + std::string(400, '0') + "1").get_real(), 0.0);
    EXPECT_EQ(parsed("0." + std::string(400, '0') + "1e401").get_real(), 1.0);
    EXPECT_EQ(parsed("0e99999999999999999999").get_real(), 0.0);
}

TEST(JSON_read, strings_keep_their_bytes)
{
    EXPECT_EQ(parsed("\"\"").get_str(), "");
    EXPECT_EQ(parsed("\"abc\"").get_str(), "abc");
    EXPECT_EQ(parsed("\"\xc3\xa9\x7f\"").get_str(), "\xc3\xa9\x7f");
    for (std::size_t length = 0; length < 100; ++length) {
        const std::string text(length, 'x');
        EXPECT_EQ(parsed('"' + text + '"').get_str(), text);
        EXPECT_EQ(parsed('"' + text + "\\n" + text + '"').get_str(), text + '\n' + text);
        EXPECT_EQ(parsed('"' + text + "\xe2\x82\xac\"").get_str(), text + "\xe2\x82\xac");
    }
}

TEST(JSON_read, escapes_are_resolved)
{
    EXPECT_EQ(parsed("\"\\\"\\\\\\/\\b\\f\\n\\r\\t\"").get_str(), "\"\\/\b\f\n\r\t");
    EXPECT_EQ(parsed("\"\\u0041\\u00e9\\u20AC\\uffff\"").get_str(), "A\xc3\xa9\xe2\x82\xac\xef\xbf\xbf");
    EXPECT_EQ(parsed("\"\\ud83d\\ude00\\ud800\\udc00\\udbff\\udfff\"").get_str(),
              "\xf0\x9f\x98\x80\xf0\x90\x80\x80\xf4\x8f\xbf\xbf");
    EXPECT_EQ(parsed("\"\\u007f\\u0080\\u07ff\\u0800\"").get_str(), "\x7f\xc2\x80\xdf\xbf\xe0\xa0\x80");
}

TEST(JSON_read, zero_bytes_in_strings_and_keys_are_kept)
{
    EXPECT_EQ(parsed("\"a\\u0000b\"").get_str(), std::string("a\0b", 3));
    EXPECT_EQ(parsed("{\"a\\u0000b\":1,\"a\":2}").get_obj().begin()->first, "a");
    EXPECT_EQ(parsed("{\"a\\u0000b\":1,\"a\":2}").get_obj().rbegin()->first, std::string("a\0b", 3));
}

TEST(JSON_read, containers_nest)
{
    for (const char* text : {"[]", "[ ]", " []\n"}) {
        EXPECT_EQ(parsed(text), Value(Array())) << text;
    }
    for (const char* text : {"{}", "{ }", " {}\n"}) {
        EXPECT_EQ(parsed(text), Value(Object())) << text;
    }
    EXPECT_EQ(parsed(R"({"a":[1,{"b":[]},[[2]]],"c":{"d":null}})"),
              Value(Object{{"a", Array{1, Object{{"b", Array()}}, Array(1, Value(Array{2}))}},
                           {"c", Object{{"d", Value()}}}}));
}

TEST(JSON_read, members_are_found_whatever_their_order_in_the_text)
{
    const Value value = parsed(R"({"z":1,"a":2,"mm":3,"m":4,"":5,"zz":6,"aaaaaaaab":7,"aaaaaaaaa":8,"Z":9})");
    const Object& object = value.get_obj();
    std::string before;
    for (auto member = object.begin(); member != object.end(); ++member) {
        EXPECT_TRUE(member == object.begin() || before < member->first);
        before = member->first;
    }
    EXPECT_EQ(object.at("z").get_int(), 1);
    EXPECT_EQ(object.at("mm").get_int(), 3);
    EXPECT_EQ(object.at("").get_int(), 5);
    EXPECT_EQ(object.at("aaaaaaaab").get_int(), 7);
    EXPECT_EQ(object.at("aaaaaaaaa").get_int(), 8);
}

TEST(JSON_read, keys_are_ordered_as_unsigned_bytes)
{
    const Value value = parsed("{\"\xc3\xa9\":1,\"z\":2,\"\\u0001\":3,\"\xf0\x9f\x98\x80\":4}");
    std::string before;
    for (const auto& [key, member] : value.get_obj()) {
        EXPECT_LE(before, key);
        before = key;
    }
    EXPECT_EQ(value.get_obj().rbegin()->second.get_int(), 4);
}

TEST(JSON_read, objects_of_any_size_are_complete_and_in_order)
{
    for (const int size : {1, 2, 15, 16, 17, 18, 33, 100, 1000}) {
        std::string text;
        for (int i = 0; i < size; ++i) {
            // A step that has no common divisor with the sizes visits every number once, far from in order.
            const int number = static_cast<int>((i * 7919) % size);
            text += (i == 0 ? "{\"key" : ",\"key") + std::to_string(number) + "\":" + std::to_string(number);
        }
        const Value value = parsed(text + "}");
        ASSERT_EQ(value.get_obj().size(), static_cast<std::size_t>(size));
        for (int i = 0; i < size; ++i) {
            ASSERT_EQ(value.get_obj().at("key" + std::to_string(i)).get_int(), i);
        }
    }
}

TEST(JSON_read, the_last_of_several_members_with_one_key_stays)
{
    EXPECT_EQ(parsed(R"({"a":1,"a":2})"), Value(Object{{"a", 2}}));
    EXPECT_EQ(parsed(R"({"a":1,"b":0,"a":[2],"c":0,"a":{"x":3}})"),
              Value(Object{{"a", Object{{"x", 3}}}, {"b", 0}, {"c", 0}}));
    EXPECT_EQ(parsed(R"({"a":1,"\u0061":2})"), Value(Object{{"a", 2}}));
    EXPECT_EQ(parsed(R"({"\u0061":1,"b":5,"a":2})"), Value(Object{{"a", 2}, {"b", 5}}));
    std::string text = "{";
    for (int i = 0; i < 200; ++i) {
        text += "\"k" + std::to_string(i % 50) + "\":" + std::to_string(i) + ",";
    }
    const Value many = parsed(text + "\"k0\":-1}");
    ASSERT_EQ(many.get_obj().size(), 50u);
    EXPECT_EQ(many.get_obj().at("k0").get_int(), -1);
    EXPECT_EQ(many.get_obj().at("k49").get_int(), 199);
}

TEST(JSON_read, accepts_every_valid_text)
{
    for (const std::string& text : json_corpus::valid()) {
        parsed(text);
    }
}

TEST(JSON_read, refuses_every_invalid_text_and_names_the_byte)
{
    for (const auto& [text, message] : json_corpus::invalid()) {
        SCOPED_TRACE(text.substr(0, 100));
        Value value("before");
        std::string error;
        EXPECT_FALSE(json_spirit::read(text, value, &error));
        EXPECT_EQ(error, "invalid JSON " + message);
        EXPECT_EQ(value, Value("before"));
        EXPECT_FALSE(json_spirit::read(text, value));
    }
}

TEST(JSON_read, success_leaves_the_message_alone)
{
    Value value;
    std::string error = "before";
    EXPECT_TRUE(json_spirit::read("[1]", value, &error));
    EXPECT_EQ(error, "before");
}

TEST(JSON_read, success_replaces_the_value_whole)
{
    Value value(Object{{"old", 1}});
    EXPECT_TRUE(json_spirit::read(R"({"new":2})", value));
    EXPECT_EQ(value, Value(Object{{"new", 2}}));
}

TEST(JSON_read, depth_of_512_is_read_and_one_more_is_not)
{
    for (const auto& [open, close] : std::vector<std::pair<std::string, std::string>>{{"[", "]"}, {"{\"a\":", "}"}}) {
        std::string text = "0";
        for (int depth = 0; depth < 512; ++depth) {
            text = open + text + close;
        }
        const Value value = parsed(text);
        const Value* inner = &value;
        int depth = 0;
        while (inner->type() != json_spirit::int_type) {
            inner = inner->if_array() != nullptr ? &inner->get_array()[0] : &inner->get_obj().at("a");
            ++depth;
        }
        EXPECT_EQ(depth, 512);
        Value deeper;
        EXPECT_FALSE(json_spirit::read(open + text + close, deeper));
    }
}

TEST(JSON_read, reads_only_the_bytes_of_the_view)
{
    for (const std::string& text : json_corpus::valid()) {
        // No byte behind the text belongs to it, so that a look beyond the end is found by the address sanitizer.
        const std::unique_ptr<char[]> exact(new char[text.size()]);
        std::memcpy(exact.get(), text.data(), text.size());
        Value value;
        EXPECT_TRUE(json_spirit::read({exact.get(), text.size()}, value)) << text;
        EXPECT_EQ(value, parsed(text));
        for (std::size_t size = 0; size < text.size() && text.size() < 300; ++size) {
            const std::unique_ptr<char[]> cut(new char[size]);
            std::memcpy(cut.get(), text.data(), size);
            json_spirit::read({cut.get(), size}, value);
        }
    }
}

TEST(JSON_read, makes_of_each_valid_text_what_yajl_makes_of_it)
{
    for (const std::string& text : json_corpus::valid()) {
        const auto expected = json_corpus::judge(text);
        ASSERT_TRUE(expected) << text;
        EXPECT_EQ(parsed(text), *expected) << text;
    }
    for (const auto& [text, message] : json_corpus::invalid()) {
        EXPECT_FALSE(json_corpus::judge(text)) << text.substr(0, 100);
    }
}

TEST(JSON_read, accepts_refuses_and_understands_mutated_texts_as_yajl_does)
{
    unsigned accepted = 0;
    unsigned refused = 0;
    json_corpus::for_each_mutation(400000, [&](const std::string& text) {
        const auto expected = json_corpus::judge(text);
        Value value;
        std::string error;
        const bool good = json_spirit::read(text, value, &error);
        ASSERT_EQ(good, expected.has_value()) << text << "\n" << error;
        if (good) {
            ASSERT_EQ(value, *expected) << text;
            ++accepted;
        } else {
            ++refused;
        }
    });
    EXPECT_GT(accepted, 20000u);
    EXPECT_GT(refused, 20000u);
}

TEST(JSON_read, a_text_of_four_gibibytes_is_refused_unread)
{
    const std::size_t size = std::size_t{1} << 32;
    void* const room = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(room, MAP_FAILED);
    Value value;
    std::string error;
    EXPECT_FALSE(json_spirit::read({static_cast<const char*>(room), size}, value, &error));
    EXPECT_EQ(error, "invalid JSON at byte 4294967295: the text is too long");
    munmap(room, size);
}

TEST(JSON_read, large_texts_are_read)
{
    std::string text = "[";
    for (int i = 0; i < 200000; ++i) {
        text += "{\"number\":" + std::to_string(i) + ",\"text\":\"a text with an escape \\n in the middle of it\"},";
    }
    const Value value = parsed(text + "[]]");
    ASSERT_EQ(value.get_array().size(), 200001u);
    EXPECT_EQ(value.get_array()[199999].get_obj().at("number").get_int(), 199999);
}
