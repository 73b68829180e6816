#include "platform/text/uuid.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

constexpr UUID_Bytes sample = {0x01, 0x23, 0x45, 0x67, 0x89, 0xab, 0xcd, 0xef,
                               0xfe, 0xdc, 0xba, 0x98, 0x76, 0x54, 0x32, 0x10};
constexpr const char* sample_text = "01234567-89ab-cdef-fedc-ba9876543210";

} // namespace

TEST(UUID, is_written_in_lower_case_with_hyphens)
{
    EXPECT_EQ(uuid_text(sample), sample_text);
}

TEST(UUID, is_written_with_a_closing_nul_and_nothing_behind)
{
    char text[uuid_text_length + 2];
    text[uuid_text_length] = 'x';
    text[uuid_text_length + 1] = 'y';
    write_uuid(sample.data(), text);
    EXPECT_STREQ(text, sample_text);
    EXPECT_EQ(text[uuid_text_length + 1], 'y');
}

TEST(UUID, every_byte_value_keeps_its_value)
{
    for (int value = 0; value < 256; ++value) {
        UUID_Bytes uuid;
        uuid.fill(static_cast<unsigned char>(value));
        EXPECT_EQ(read_uuid(uuid_text(uuid)), uuid) << value;
    }
}

TEST(UUID, is_read_in_every_spelling)
{
    for (const char* text : {
             "01234567-89ab-cdef-fedc-ba9876543210",
             "01234567-89AB-CDEF-FEDC-BA9876543210",
             "0123456789abcdeffedcba9876543210",
             "0123456789ABcdefFEDCba9876543210",
             "{01234567-89ab-cdef-fedc-ba9876543210}",
             "{0123456789abcdeffedcba9876543210}",
             "urn:uuid:01234567-89ab-cdef-fedc-ba9876543210",
             "URN:UUID:01234567-89ab-cdef-fedc-ba9876543210",
         })
    {
        EXPECT_EQ(read_uuid(text), sample) << text;
    }
}

TEST(UUID, anything_else_is_not_read)
{
    using namespace std::string_view_literals;
    for (const std::string_view text : {
             ""sv,
             "{}"sv,
             "{"sv,
             "urn:uuid:"sv,
             "urn:uuie:01234567-89ab-cdef-fedc-ba9876543210"sv,
             "01234567-89ab-cdef-fedc-ba987654321"sv,   // short
             "01234567-89ab-cdef-fedc-ba98765432100"sv, // long
             "01234567-89ab-cdef-fedc-ba987654321g"sv,  // no digit
             "01234567-89ab-cdef-fedc-ba987654321\0"sv, // a NUL for the last digit
             "0123456789ab-cdef-fedc-ba9876543210"sv,   // a hyphen missing
             "0123456-789ab-cdef-fedc-ba9876543210"sv,  // a hyphen misplaced
             "01234567_89ab_cdef_fedc_ba9876543210"sv,
             "{01234567-89ab-cdef-fedc-ba9876543210"sv,
             "01234567-89ab-cdef-fedc-ba9876543210}"sv,
             " 01234567-89ab-cdef-fedc-ba9876543210"sv,
             "01234567-89ab-cdef-fedc-ba9876543210\n"sv,
             "{urn:uuid:01234567-89ab-cdef-fedc-ba9876543210}"sv,
             "0123456789abcdeffedcba987654321-"sv,
             "-0123456789abcdeffedcba987654321"sv,
             "@1234567-89ab-cdef-fedc-ba9876543210"sv, // the neighbours of the digits in the character set
             "`1234567-89ab-cdef-fedc-ba9876543210"sv,
             "/1234567-89ab-cdef-fedc-ba9876543210"sv,
             ":1234567-89ab-cdef-fedc-ba9876543210"sv,
             "G1234567-89ab-cdef-fedc-ba9876543210"sv,
             "\x10"
             "1234567-89ab-cdef-fedc-ba9876543210"sv, // '0' without a bit
         })
    {
        EXPECT_EQ(read_uuid(text), std::nullopt) << text;
    }
}
