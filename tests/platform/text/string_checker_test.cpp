#include "platform/text/string_checker.h"

#include <gtest/gtest.h>

#include <string>

TEST(String_Checker, ordinary_names_are_safe)
{
    for (const char* name : {"daily backup", "a", "db-01.example.org", "100% (copy) #2 [x] {y} ~^&'`,;=+!@$",
                             "\xe5\xa4\x87\xe4\xbb\xbd", ""})
    {
        EXPECT_TRUE(String_Checker::check(name, String_Checker::SAFE_NAME)) << name;
    }
}

TEST(String_Checker, each_unsafe_character_is_refused_wherever_it_stands)
{
    ASSERT_EQ(String_Checker::unsafe_name_characters, "|<>/\\:*?\"");
    for (const char c : String_Checker::unsafe_name_characters) {
        for (const std::string& name :
             {std::string(1, c), c + std::string("tail"), std::string("head") + c, std::string("in") + c + "side"})
        {
            EXPECT_FALSE(String_Checker::check(name, String_Checker::SAFE_NAME)) << name;
        }
    }
}

TEST(String_Checker, exactly_the_unsafe_and_the_control_characters_are_refused)
{
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        const bool unsafe = std::string("|<>/\\:*?\"").find(c) != std::string::npos;
        const bool control = byte < 0x20 || byte == 0x7f;
        EXPECT_EQ(String_Checker::check(std::string(1, c), String_Checker::SAFE_NAME), !unsafe && !control) << byte;
    }
}

TEST(String_Checker, text_behind_a_zero_byte_counts)
{
    EXPECT_FALSE(String_Checker::check(std::string_view("a\0b", 3), String_Checker::SAFE_NAME));
}

TEST(String_Checker, the_check_of_safe_names_is_kind_8)
{
    EXPECT_TRUE(String_Checker::check("name", 8));
    EXPECT_FALSE(String_Checker::check("na:me", 8));
}

TEST(String_Checker, unknown_kinds_accept_nothing)
{
    for (const int kind : {-1, 0, 1, 7, 9, 16}) {
        EXPECT_FALSE(String_Checker::check("name", kind)) << kind;
    }
}
