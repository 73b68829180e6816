#include "platform/json/value.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using json_spirit::Array;
using json_spirit::Object;
using json_spirit::Secure_String;
using json_spirit::Value;

namespace {

constexpr std::int64_t int64_max = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t int64_min = std::numeric_limits<std::int64_t>::min();
constexpr std::uint64_t uint64_max = std::numeric_limits<std::uint64_t>::max();

/// One value of each type.
std::vector<Value> one_of_each()
{
    return {Value(),
            Value(true),
            Value(-5),
            Value(uint64_max),
            Value(1.5),
            Value("text"),
            Value(Secure_String("secret")),
            Value(Array{1, 2}),
            Value(Object{{"a", 1}})};
}

template <class Get>
std::string message_of(Get get)
{
    try {
        get();
    } catch (const std::exception& e) {
        return e.what();
    }
    return "nothing thrown";
}

} // namespace

TEST(Value, starts_as_null)
{
    EXPECT_EQ(Value().type(), json_spirit::null_type);
    EXPECT_TRUE(Value().is_null());
    EXPECT_FALSE(Value(0).is_null());
}

TEST(Value, type_follows_from_what_it_is_made_of)
{
    EXPECT_EQ(Value(true).type(), json_spirit::bool_type);
    EXPECT_EQ(Value(1).type(), json_spirit::int_type);
    EXPECT_EQ(Value(1U).type(), json_spirit::int_type);
    EXPECT_EQ(Value(static_cast<short>(1)).type(), json_spirit::int_type);
    EXPECT_EQ(Value(static_cast<unsigned char>(1)).type(), json_spirit::int_type);
    EXPECT_EQ(Value(1LL).type(), json_spirit::int_type);
    EXPECT_EQ(Value(1.0).type(), json_spirit::real_type);
    EXPECT_EQ(Value("a").type(), json_spirit::str_type);
    EXPECT_EQ(Value(std::string("a")).type(), json_spirit::str_type);
    EXPECT_EQ(Value(std::string_view("a")).type(), json_spirit::str_type);
    EXPECT_EQ(Value(Secure_String("a")).type(), json_spirit::secure_str_type);
    EXPECT_EQ(Value(Array()).type(), json_spirit::array_type);
    EXPECT_EQ(Value(Object()).type(), json_spirit::obj_type);
}

TEST(Value, a_literal_is_a_text_and_no_boolean)
{
    const char* const text = "false";
    EXPECT_EQ(Value(text).get_str(), "false");
    EXPECT_EQ(Value("").get_str(), "");
}

TEST(Value, a_null_pointer_is_the_empty_text)
{
    const char* const null = nullptr;
    EXPECT_EQ(Value(null).get_str(), "");
}

TEST(Value, a_character_is_not_taken_for_a_number)
{
    static_assert(!std::is_constructible_v<Value, char>);
    static_assert(std::is_constructible_v<Value, signed char>);
}

TEST(Value, text_may_hold_zero_bytes)
{
    EXPECT_EQ(Value(std::string_view("a\0b", 3)).get_str(), std::string("a\0b", 3));
}

TEST(Value, both_64_bit_ranges_are_exact)
{
    for (const std::int64_t number : {int64_min, int64_min + 1, std::int64_t{-1}, std::int64_t{0}, int64_max}) {
        EXPECT_EQ(Value(number).get_int64(), number);
        EXPECT_FALSE(Value(number).is_uint64());
    }
    for (const std::uint64_t number : {std::uint64_t{0}, std::uint64_t{1} << 63, uint64_max}) {
        EXPECT_EQ(Value(number).get_uint64(), number);
        EXPECT_TRUE(Value(number).is_uint64());
    }
}

TEST(Value, signed_and_unsigned_read_each_other_where_the_number_fits)
{
    EXPECT_EQ(Value(7).get_uint64(), 7u);
    EXPECT_EQ(Value(int64_max).get_uint64(), static_cast<std::uint64_t>(int64_max));
    EXPECT_EQ(Value(7U).get_int64(), 7);
    EXPECT_EQ(Value(static_cast<std::uint64_t>(int64_max)).get_int64(), int64_max);
    EXPECT_EQ(*Value(7U).if_int64(), 7);
    EXPECT_EQ(*Value(7).if_uint64(), 7u);
}

TEST(Value, a_number_beyond_the_wanted_range_throws_out_of_range)
{
    EXPECT_THROW(Value(static_cast<std::uint64_t>(int64_max) + 1).get_int64(), std::out_of_range);
    EXPECT_THROW(Value(-1).get_uint64(), std::out_of_range);
    EXPECT_THROW(Value(std::int64_t{2147483648}).get_int(), std::out_of_range);
    EXPECT_THROW(Value(std::int64_t{-2147483649}).get_int(), std::out_of_range);
    EXPECT_THROW(Value(uint64_max).get_int(), std::out_of_range);
    EXPECT_EQ(Value(static_cast<std::uint64_t>(int64_max) + 1).if_int64(), nullptr);
    EXPECT_EQ(Value(-1).if_uint64(), nullptr);
}

TEST(Value, int_reaches_to_both_of_its_ends)
{
    EXPECT_EQ(Value(2147483647).get_int(), 2147483647);
    EXPECT_EQ(Value(-2147483647 - 1).get_int(), -2147483647 - 1);
    EXPECT_EQ(Value(5U).get_int(), 5);
}

TEST(Value, an_integer_can_be_had_as_a_real)
{
    EXPECT_EQ(Value(-3).get_real(), -3.0);
    EXPECT_EQ(Value(uint64_max).get_real(), 18446744073709551616.0);
    EXPECT_EQ(Value(2.5).get_real(), 2.5);
    EXPECT_EQ(Value(3).if_real(), nullptr);
}

TEST(Value, each_getter_throws_for_every_other_type)
{
    for (const Value& value : one_of_each()) {
        const json_spirit::Value_type type = value.type();
        SCOPED_TRACE(json_spirit::type_name(type));
        const auto expect = [](bool good, auto get) {
            if (good) {
                EXPECT_NO_THROW(get());
            } else {
                EXPECT_THROW(get(), json_spirit::Wrong_Type);
            }
        };
        expect(type == json_spirit::obj_type, [&] { (void)value.get_obj(); });
        expect(type == json_spirit::array_type, [&] { (void)value.get_array(); });
        expect(type == json_spirit::str_type, [&] { (void)value.get_str(); });
        expect(type == json_spirit::secure_str_type, [&] { (void)value.get_secure_str(); });
        expect(type == json_spirit::bool_type, [&] { (void)value.get_bool(); });
        expect(type == json_spirit::int_type || type == json_spirit::real_type, [&] { (void)value.get_real(); });
        if (type != json_spirit::int_type) {
            EXPECT_THROW((void)value.get_int(), json_spirit::Wrong_Type);
            EXPECT_THROW((void)value.get_int64(), json_spirit::Wrong_Type);
            EXPECT_THROW((void)value.get_uint64(), json_spirit::Wrong_Type);
        }
        Value changeable = value;
        expect(type == json_spirit::obj_type, [&] { (void)changeable.get_obj(); });
        expect(type == json_spirit::array_type, [&] { (void)changeable.get_array(); });
    }
}

TEST(Value, each_pointer_is_null_for_every_other_type)
{
    for (const Value& value : one_of_each()) {
        const json_spirit::Value_type type = value.type();
        SCOPED_TRACE(json_spirit::type_name(type));
        EXPECT_EQ(value.if_obj() != nullptr, type == json_spirit::obj_type);
        EXPECT_EQ(value.if_array() != nullptr, type == json_spirit::array_type);
        EXPECT_EQ(value.if_str() != nullptr, type == json_spirit::str_type);
        EXPECT_EQ(value.if_secure_str() != nullptr, type == json_spirit::secure_str_type);
        EXPECT_EQ(value.if_bool() != nullptr, type == json_spirit::bool_type);
        EXPECT_EQ(value.if_int64() != nullptr || value.if_uint64() != nullptr, type == json_spirit::int_type);
        EXPECT_EQ(value.if_real() != nullptr, type == json_spirit::real_type);
        Value changeable = value;
        EXPECT_EQ(changeable.if_obj() != nullptr, type == json_spirit::obj_type);
        EXPECT_EQ(changeable.if_array() != nullptr, type == json_spirit::array_type);
    }
}

TEST(Value, messages_name_both_types)
{
    EXPECT_EQ(message_of([] { (void)Value("x").get_obj(); }), "JSON value of type string used as object");
    EXPECT_EQ(message_of([] { (void)Value().get_str(); }), "JSON value of type null used as string");
    EXPECT_EQ(message_of([] { (void)Value(Array()).get_int64(); }), "JSON value of type array used as integer");
    EXPECT_EQ(message_of([] { (void)Value(-1).get_uint64(); }), "JSON integer beyond the range of unsigned 64-bit");
}

TEST(Value, a_secret_is_not_handed_out_as_a_plain_text_nor_the_other_way_round)
{
    EXPECT_THROW((void)Value(Secure_String("secret")).get_str(), json_spirit::Wrong_Type);
    EXPECT_THROW((void)Value("secret").get_secure_str(), json_spirit::Wrong_Type);
    EXPECT_EQ(Value(Secure_String("secret")).get_secure_str(), "secret");
}

TEST(Value, every_type_has_a_name)
{
    EXPECT_STREQ(json_spirit::type_name(json_spirit::obj_type), "object");
    EXPECT_STREQ(json_spirit::type_name(json_spirit::array_type), "array");
    EXPECT_STREQ(json_spirit::type_name(json_spirit::str_type), "string");
    EXPECT_STREQ(json_spirit::type_name(json_spirit::secure_str_type), "secure string");
    EXPECT_STREQ(json_spirit::type_name(json_spirit::bool_type), "boolean");
    EXPECT_STREQ(json_spirit::type_name(json_spirit::int_type), "integer");
    EXPECT_STREQ(json_spirit::type_name(json_spirit::real_type), "real");
    EXPECT_STREQ(json_spirit::type_name(json_spirit::null_type), "null");
}

TEST(Value, copies_are_deep)
{
    const Value original(Object{{"list", Array{"a", Object{{"deep", "x"}}}}, {"secret", Secure_String("s")}});
    Value copy = original;
    EXPECT_EQ(copy, original);
    copy.get_obj()["list"].get_array()[1].get_obj()["deep"] = "changed";
    EXPECT_NE(copy, original);
    EXPECT_EQ(original.get_obj().at("list").get_array()[1].get_obj().at("deep").get_str(), "x");
}

TEST(Value, assignment_between_all_types_takes_the_new_value)
{
    for (const Value& from : one_of_each()) {
        for (const Value& to : one_of_each()) {
            Value copied = to;
            copied = from;
            EXPECT_EQ(copied, from);
            Value source = from;
            Value moved = to;
            moved = std::move(source);
            EXPECT_EQ(moved, from);
        }
    }
}

TEST(Value, assigning_a_part_of_itself_keeps_the_part)
{
    Value value(Array{Array{"inner"}, 2});
    value = Value(value.get_array()[0]);
    EXPECT_EQ(value, Value(Array{"inner"}));
    Value other(Object{{"a", Object{{"b", "a text that is longer than fifteen bytes"}}}});
    other = other.get_obj()["a"];
    EXPECT_EQ(other, Value(Object{{"b", "a text that is longer than fifteen bytes"}}));
    Value moved(Array{Array{"inner"}, 2});
    moved = std::move(moved.get_array()[0]);
    EXPECT_EQ(moved, Value(Array{"inner"}));
}

TEST(Value, assigning_to_itself_changes_nothing)
{
    for (const Value& value : one_of_each()) {
        Value copy = value;
        const Value& same = copy;
        copy = same;
        EXPECT_EQ(copy, value);
    }
}

TEST(Value, values_of_different_types_differ)
{
    const std::vector<Value> values = one_of_each();
    for (std::size_t i = 0; i < values.size(); ++i) {
        for (std::size_t j = 0; j < values.size(); ++j) {
            EXPECT_EQ(values[i] == values[j], i == j) << i << ' ' << j;
        }
    }
}

TEST(Value, integers_are_equal_by_number_however_they_are_held)
{
    EXPECT_EQ(Value(5), Value(5U));
    EXPECT_EQ(Value(5U), Value(5));
    EXPECT_NE(Value(-1), Value(uint64_max));
    EXPECT_NE(Value(uint64_max), Value(-1));
    EXPECT_NE(Value(uint64_max), Value(uint64_max - 1));
    EXPECT_EQ(Value(uint64_max), Value(uint64_max));
    EXPECT_NE(Value(int64_min), Value(std::uint64_t{1} << 63));
}

TEST(Value, an_integer_and_a_real_differ)
{
    EXPECT_NE(Value(1), Value(1.0));
}

TEST(Value, containers_are_equal_by_content)
{
    EXPECT_EQ(Value(Array{1, "a"}), Value(Array{1U, "a"}));
    EXPECT_NE(Value(Array{1, 2}), Value(Array{2, 1}));
    EXPECT_EQ(Value(Object{{"a", 1}, {"b", 2}}), Value(Object{{"b", 2}, {"a", 1}}));
    EXPECT_NE(Value(Object{{"a", 1}}), Value(Object{{"a", 2}}));
    EXPECT_NE(Value(Object{{"a", 1}}), Value(Object{{"b", 1}}));
    EXPECT_NE(Value(Object{{"a", 1}}), Value(Object()));
}

TEST(Value, an_object_is_ordered_by_the_bytes_of_its_keys)
{
    Object object;
    for (const char* key : {"b", "\xc3\xa9", "", "B", "a", "ab", "_", "~", "1"}) {
        object[key] = 1;
    }
    std::vector<std::string> keys;
    for (const auto& [key, value] : object) {
        keys.push_back(key);
    }
    EXPECT_EQ(keys, (std::vector<std::string>{"", "1", "B", "_", "a", "ab", "b", "~", "\xc3\xa9"}));
}

TEST(Value, an_object_is_searched_without_making_a_string)
{
    const Object object{{"key", 1}};
    EXPECT_NE(object.find(std::string_view("key")), object.end());
    EXPECT_EQ(object.find(std::string_view("ke")), object.end());
}
