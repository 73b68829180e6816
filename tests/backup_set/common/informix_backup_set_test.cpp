#include "tests/support/records/informix_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(Informix_Backup_Set, Record_Test, Informix_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Informix_Backup_Set, Set_Record_Test, Informix_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Informix_Backup_Set, Record_On_Engine_Test, On_Engines<Informix_Set>, Engine_Names);

namespace {

constexpr std::time_t initial = 253402271999;

/// What "pre_seal_time" becomes in a fresh record by a text with a length.
std::time_t taken(const char* text, std::size_t length)
{
    Informix_Backup_Set set;
    EXPECT_TRUE(set.print_cstr(0, "pre_seal_time", text, length));
    return set.pre_seal_time;
}

std::time_t taken(const std::string& text)
{
    return taken(text.c_str(), text.size());
}

} // namespace

TEST(Informix_Backup_Set, pre_seal_time_is_far_away_at_first)
{
    Informix_Backup_Set set;
    EXPECT_EQ(set.pre_seal_time, initial);
    EXPECT_EQ(to_json(set), Informix_Set::fresh_document());
}

TEST(Informix_Backup_Set, document_shows_the_first_time_in_its_place)
{
    Informix_Backup_Set set;
    set.pre_seal_time = 1000000001;
    set.first_time = 1704067201;
    const std::string text = to_json(set);
    EXPECT_TRUE(text.ends_with(R"(,"pre_seal_time":"2024-01-01 00:00:01"})")) << text;
}

TEST(Informix_Backup_Set, last_character_within_the_length_is_not_copied)
{
    EXPECT_EQ(taken("2001-02-03 04:05:06Z"), 981173106);
    EXPECT_EQ(taken("2001-02-03 04:05:06x"), 981173106);
    EXPECT_EQ(taken("2001-02-03 04:05:06", 20), 981173106); // the text ends before its length
    EXPECT_EQ(taken("2001-02-03 04:05:06"), initial);
}

TEST(Informix_Backup_Set, at_most_31_characters_are_looked_at)
{
    EXPECT_EQ(taken("2001-02-03 04:05:06.00000000000beyond"), 981173106);
    EXPECT_EQ(taken("2001-02-03 04:05:06.0000000000beyond"), initial);
    EXPECT_EQ(taken("2001-02-03 04:05:06.000000000000"), 981173106); // 32 characters
    EXPECT_EQ(taken("2001-02-03 04:05:06." + std::string(5000, '0')), 981173106);
    EXPECT_EQ(taken("2001-02-03 04:05:06.0000001+08:00beyond"), initial);
    EXPECT_EQ(taken("2001-02-03 04:05:06.00001+08:00beyond"), 981173106 - 8 * 3600);
}

TEST(Informix_Backup_Set, nothing_that_is_no_time_is_taken)
{
    EXPECT_EQ(taken("not a time"), initial);
    EXPECT_EQ(taken("2001-02-03 04:05:06Z", 0), initial);
    EXPECT_EQ(taken("2001-02-03 04:05:06Z", 1), initial);
    EXPECT_EQ(taken(""), initial);
}

TEST(Informix_Backup_Set, time_inside_an_array_is_not_taken)
{
    Informix_Backup_Set set;
    ASSERT_TRUE(set.begin_array(0, "pieces"));
    EXPECT_TRUE(set.print_cstr(0, "pre_seal_time", "2001-02-03 04:05:06Z", 20));
    EXPECT_EQ(set.pre_seal_time, initial);
}

} // namespace record_test
