#include "platform/json/object_get.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

using namespace json_spirit;

namespace {

const Object& sample()
{
    static const Object object{{"text", "abc"},
                               {"yes", true},
                               {"negative", -5},
                               {"positive", 7},
                               {"huge", std::numeric_limits<std::uint64_t>::max()},
                               {"real", 1.0},
                               {"null", Value()},
                               {"object", Object{{"a", 1}}},
                               {"array", Array{1, 2}},
                               {"secret", Secure_String("s")},
                               {"", "empty key"}};
    return object;
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

TEST(object_get, gives_a_member_of_any_type)
{
    EXPECT_EQ(object_get(sample(), "text"), &sample().at("text"));
    EXPECT_EQ(object_get(sample(), "null"), &sample().at("null"));
    EXPECT_EQ(object_get(sample(), ""), &sample().at(""));
    EXPECT_EQ(&object_get_or_throw(sample(), "null"), &sample().at("null"));
}

TEST(object_get, points_to_the_member_itself)
{
    EXPECT_EQ(object_get_str(sample(), "text"), sample().at("text").if_str());
    EXPECT_EQ(object_get_bool(sample(), "yes"), sample().at("yes").if_bool());
    EXPECT_EQ(object_get_int64(sample(), "negative"), sample().at("negative").if_int64());
    EXPECT_EQ(object_get_uint64(sample(), "huge"), sample().at("huge").if_uint64());
    EXPECT_EQ(object_get_object(sample(), "object"), sample().at("object").if_obj());
    EXPECT_EQ(object_get_array(sample(), "array"), sample().at("array").if_array());
    EXPECT_EQ(&object_get_str_or_throw(sample(), "text"), sample().at("text").if_str());
    EXPECT_EQ(&object_get_object_or_throw(sample(), "object"), sample().at("object").if_obj());
    EXPECT_EQ(&object_get_array_or_throw(sample(), "array"), sample().at("array").if_array());
}

TEST(object_get, absent_member_is_null)
{
    EXPECT_EQ(object_get(sample(), "tex"), nullptr);
    EXPECT_EQ(object_get(sample(), "texts"), nullptr);
    EXPECT_EQ(object_get(sample(), "Text"), nullptr);
    EXPECT_EQ(object_get_str(sample(), "no"), nullptr);
    EXPECT_EQ(object_get_bool(sample(), "no"), nullptr);
    EXPECT_EQ(object_get_int64(sample(), "no"), nullptr);
    EXPECT_EQ(object_get_uint64(sample(), "no"), nullptr);
    EXPECT_EQ(object_get_object(sample(), "no"), nullptr);
    EXPECT_EQ(object_get_array(sample(), "no"), nullptr);
}

TEST(object_get, member_of_another_type_is_null_and_throws)
{
    for (const auto& member : sample()) {
        const std::string& key = member.first;
        SCOPED_TRACE(key);
        EXPECT_EQ(object_get_str(sample(), key) != nullptr, key == "text" || key.empty());
        EXPECT_EQ(object_get_bool(sample(), key) != nullptr, key == "yes");
        EXPECT_EQ(object_get_int64(sample(), key) != nullptr, key == "negative" || key == "positive");
        EXPECT_EQ(object_get_uint64(sample(), key) != nullptr, key == "huge" || key == "positive");
        EXPECT_EQ(object_get_object(sample(), key) != nullptr, key == "object");
        EXPECT_EQ(object_get_array(sample(), key) != nullptr, key == "array");
        const auto throws = [](auto get) { return message_of(get) != "nothing thrown"; };
        EXPECT_EQ(throws([&] { object_get_str_or_throw(sample(), key); }), object_get_str(sample(), key) == nullptr);
        EXPECT_EQ(throws([&] { object_get_bool_or_throw(sample(), key); }), object_get_bool(sample(), key) == nullptr);
        EXPECT_EQ(throws([&] { object_get_int64_or_throw(sample(), key); }),
                  object_get_int64(sample(), key) == nullptr);
        EXPECT_EQ(throws([&] { object_get_uint64_or_throw(sample(), key); }),
                  object_get_uint64(sample(), key) == nullptr);
        EXPECT_EQ(throws([&] { object_get_object_or_throw(sample(), key); }),
                  object_get_object(sample(), key) == nullptr);
        EXPECT_EQ(throws([&] { object_get_array_or_throw(sample(), key); }),
                  object_get_array(sample(), key) == nullptr);
    }
}

TEST(object_get, present_member_is_given_by_the_throwing_family)
{
    EXPECT_EQ(object_get_str_or_throw(sample(), "text"), "abc");
    EXPECT_TRUE(object_get_bool_or_throw(sample(), "yes"));
    EXPECT_EQ(object_get_int64_or_throw(sample(), "negative"), -5);
    EXPECT_EQ(object_get_uint64_or_throw(sample(), "positive"), 7u);
    EXPECT_EQ(object_get_uint64_or_throw(sample(), "huge"), std::numeric_limits<std::uint64_t>::max());
}

TEST(object_get, absent_member_throws_missing_key_and_names_it)
{
    EXPECT_THROW(object_get_or_throw(sample(), "no"), Missing_Key);
    EXPECT_THROW(object_get_str_or_throw(sample(), "no"), Missing_Key);
    EXPECT_THROW(object_get_bool_or_throw(sample(), "no"), Missing_Key);
    EXPECT_THROW(object_get_int64_or_throw(sample(), "no"), Missing_Key);
    EXPECT_THROW(object_get_uint64_or_throw(sample(), "no"), Missing_Key);
    EXPECT_THROW(object_get_object_or_throw(sample(), "no"), Missing_Key);
    EXPECT_THROW(object_get_array_or_throw(sample(), "no"), Missing_Key);
    EXPECT_EQ(message_of([] { object_get_int64_or_throw(sample(), "no"); }), "member \"no\" is missing");
}

TEST(object_get, wrong_type_is_named_with_the_key)
{
    EXPECT_THROW(object_get_str_or_throw(sample(), "yes"), Wrong_Type);
    EXPECT_EQ(message_of([] { object_get_str_or_throw(sample(), "yes"); }),
              "member \"yes\" is a value of type boolean, not string");
    EXPECT_EQ(message_of([] { object_get_object_or_throw(sample(), "null"); }),
              "member \"null\" is a value of type null, not object");
    EXPECT_EQ(message_of([] { object_get_int64_or_throw(sample(), "real"); }),
              "member \"real\" is a value of type real, not integer");
    EXPECT_EQ(message_of([] { object_get_str_or_throw(sample(), "secret"); }),
              "member \"secret\" is a value of type secure string, not string");
}

TEST(object_get, integer_out_of_range_is_named_with_the_key)
{
    EXPECT_THROW(object_get_uint64_or_throw(sample(), "negative"), Wrong_Type);
    EXPECT_EQ(message_of([] { object_get_uint64_or_throw(sample(), "negative"); }),
              "member \"negative\" is an integer out of range");
    EXPECT_EQ(message_of([] { object_get_int64_or_throw(sample(), "huge"); }),
              "member \"huge\" is an integer out of range");
}

TEST(Const_Object_Throw_Extractor, offers_every_look_up)
{
    const Const_Object_Throw_Extractor from(sample());
    EXPECT_EQ(from.object_get("null"), object_get(sample(), "null"));
    EXPECT_EQ(from.object_get_str("text"), object_get_str(sample(), "text"));
    EXPECT_EQ(from.object_get_bool("yes"), object_get_bool(sample(), "yes"));
    EXPECT_EQ(from.object_get_int64("negative"), object_get_int64(sample(), "negative"));
    EXPECT_EQ(from.object_get_uint64("huge"), object_get_uint64(sample(), "huge"));
    EXPECT_EQ(from.object_get_object("object"), object_get_object(sample(), "object"));
    EXPECT_EQ(from.object_get_array("array"), object_get_array(sample(), "array"));
    EXPECT_EQ(&from.object_get_or_throw("null"), object_get(sample(), "null"));
    EXPECT_EQ(from.object_get_str_or_throw("text"), "abc");
    EXPECT_TRUE(from.object_get_bool_or_throw("yes"));
    EXPECT_EQ(from.object_get_int64_or_throw("negative"), -5);
    EXPECT_EQ(from.object_get_uint64_or_throw("positive"), 7u);
    EXPECT_EQ(&from.object_get_object_or_throw("object"), object_get_object(sample(), "object"));
    EXPECT_EQ(&from.object_get_array_or_throw("array"), object_get_array(sample(), "array"));
    EXPECT_EQ(from.object_get_str("yes"), nullptr);
    EXPECT_THROW(from.object_get_str_or_throw("yes"), Wrong_Type);
    EXPECT_THROW(from.object_get_array_or_throw("no"), Missing_Key);
}
