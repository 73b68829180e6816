#include "platform/sql/binding_value.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace {

template <class T>
const T& held(const Binding_Value& value)
{
    return std::get<T>(value.held());
}

} // namespace

TEST(Binding_Value, is_null_by_default)
{
    EXPECT_TRUE(std::holds_alternative<std::monostate>(Binding_Value().held()));
}

TEST(Binding_Value, literal_is_text_and_not_a_boolean)
{
    EXPECT_EQ(held<std::string>("text"), "text");
}

TEST(Binding_Value, text_keeps_nul_bytes)
{
    const std::string text("a\0b", 3);
    EXPECT_EQ(held<std::string>(text), text);
    EXPECT_EQ(held<std::string>(std::string_view(text)), text);
}

TEST(Binding_Value, signed_and_unsigned_integers_are_kept_apart)
{
    EXPECT_EQ(held<std::int64_t>(std::numeric_limits<std::int64_t>::min()), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(held<std::int64_t>(-1), -1);
    EXPECT_EQ(held<std::uint64_t>(std::numeric_limits<std::uint64_t>::max()),
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(held<std::uint64_t>(7u), 7u);
    EXPECT_NE(Binding_Value(7), Binding_Value(7u));
}

TEST(Binding_Value, boolean_and_real_keep_their_kind)
{
    EXPECT_TRUE(held<bool>(true));
    EXPECT_EQ(held<double>(0.5), 0.5);
}

TEST(Binding_Value, sixteen_bytes_are_a_uuid)
{
    const Binding_Value value("0123456789abcdef", 16);
    EXPECT_EQ(held<Binding_Value::UUID>(value)[0], '0');
    EXPECT_EQ(held<Binding_Value::UUID>(value)[15], 'f');
}

TEST(Binding_Value, other_lengths_are_bytes)
{
    const Binding_Value value("a\0b", 3);
    EXPECT_EQ(held<Binding_Value::Bytes>(value).bytes, std::string("a\0b", 3));
    EXPECT_EQ(held<Binding_Value::Bytes>(Binding_Value("0123456789abcdefg", 17)).bytes.size(), 17u);
    EXPECT_EQ(held<Binding_Value::Bytes>(Binding_Value(nullptr, 0)).bytes, "");
}

TEST(Binding_Value, is_equal_by_kind_and_content)
{
    EXPECT_EQ(Binding_Value("a"), Binding_Value(std::string("a")));
    EXPECT_NE(Binding_Value("a"), Binding_Value("b"));
    EXPECT_NE(Binding_Value("a"), Binding_Value("a", 1)) << "text is not bytes";
    EXPECT_NE(Binding_Value(), Binding_Value(""));
    EXPECT_NE(Binding_Value(true), Binding_Value(1));
}
