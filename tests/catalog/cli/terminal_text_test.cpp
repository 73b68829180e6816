#include "catalog/cli/terminal_text.h"

#include "platform/json/document.h"

#include <gtest/gtest.h>

using namespace catalog::cli;

TEST(Terminal_Text, plain_text_of_any_script_stays)
{
    EXPECT_EQ(printable("C:\\data \"x\" Größe 备份 🗄"), "C:\\data \"x\" Größe 备份 🗄");
}

TEST(Terminal_Text, control_characters_become_escapes)
{
    EXPECT_EQ(printable("a\x1b[31mb"), "a\\x1b[31mb");
    EXPECT_EQ(printable("one\ntwo\tthree\r"), "one\\ntwo\\tthree\\x0d");
    EXPECT_EQ(printable(std::string_view("a\0b\x7f", 4)), "a\\x00b\\x7f");
}

TEST(Terminal_Text, controls_beyond_ascii_become_escapes)
{
    EXPECT_EQ(printable("\xc2\x9b"
                        "31m"),
              "\\u009b31m"); // one-character control sequence introducer
    EXPECT_EQ(printable("a\xe2\x80\xae"
                        "b"),
              "a\\u202eb"); // right-to-left override
    EXPECT_EQ(printable("a\xe2\x81\xa6"
                        "b"),
              "a\\u2066b"); // left-to-right isolate
    EXPECT_EQ(printable("a\xe2\x80\xa8"
                        "b"),
              "a\\u2028b"); // line separator
}

TEST(Terminal_Text, bytes_that_are_not_utf8_become_escapes)
{
    EXPECT_EQ(printable("caf\xe9!"), "caf\\xe9!");
    EXPECT_EQ(printable("cut \xe5\xa4"), "cut \\xe5\\xa4");
    EXPECT_EQ(printable("\xc0\xaf"), "\\xc0\\xaf"); // an overlong slash
}

TEST(Terminal_Text, json_keeps_its_meaning_and_its_lines)
{
    const std::string json = "{\n    \"a\": \"x\x7f\xc2\x9b"
                             "y\xe2\x80\xae 备\"\n}";
    const std::string shown = printable_json(json);
    EXPECT_EQ(shown, "{\n    \"a\": \"x\\u007f\\u009by\\u202e 备\"\n}");
    EXPECT_TRUE(json_document::same_content(json, shown));
}

TEST(Terminal_Text, json_escapes_beyond_16_bits_are_surrogate_pairs)
{
    const std::string json = "\"\xf3\xa0\x80\x81\""; // a tag character: nothing to see
    const std::string shown = printable_json(json);
    EXPECT_TRUE(json_document::same_content(json, shown));
}

TEST(Terminal_Text, width_counts_columns)
{
    EXPECT_EQ(display_width("abc"), 3u);
    EXPECT_EQ(display_width("Größe"), 5u);
    EXPECT_EQ(display_width("备份"), 4u);
    EXPECT_EQ(display_width("e\xcc\x81"), 1u); // with a combining accent
    EXPECT_EQ(display_width(""), 0u);
}

TEST(Terminal_Text, byte_counts_have_a_unit_that_fits)
{
    EXPECT_EQ(byte_count(0), "0 B");
    EXPECT_EQ(byte_count(1023), "1023 B");
    EXPECT_EQ(byte_count(1024), "1.0 KiB");
    EXPECT_EQ(byte_count(1536), "1.5 KiB");
    EXPECT_EQ(byte_count(1048575), "1.0 MiB"); // not "1024.0 KiB"
    EXPECT_EQ(byte_count(INT64_MAX), "8.0 EiB");
    EXPECT_EQ(byte_count(-1), "-1 B");
    EXPECT_EQ(byte_count(INT64_MIN), "-8.0 EiB");
}

TEST(Terminal_Text, one_thing_is_not_many)
{
    EXPECT_EQ(count_of(0, "set"), "0 sets");
    EXPECT_EQ(count_of(1, "set"), "1 set");
    EXPECT_EQ(count_of(2, "set"), "2 sets");
}
