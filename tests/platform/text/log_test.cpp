#include "platform/text/log.h"

#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string first_line(const std::string& text)
{
    return text.substr(0, text.find('\n'));
}

} // namespace

TEST(Log, takes_priority_text_and_arguments)
{
    Log_Capture log;
    log_at(LM_ERROR, "Failed to read %C, code %d.\n", "header", 7);
    ASSERT_EQ(log.count(), 1u);
    EXPECT_EQ(log.records()[0].priority, LM_ERROR);
    EXPECT_EQ(log.records()[0].text, "Failed to read header, code 7.\n");
}

TEST(Log, carries_the_file_and_line_of_the_caller)
{
    Log_Capture log;
    const int line = __LINE__ + 1;
    log_at(LM_INFO, "here\n");
    ASSERT_EQ(log.count(), 1u);
    EXPECT_EQ(log.records()[0].file, __FILE__);
    EXPECT_EQ(log.records()[0].line, line);
}

TEST(Log, two_messages_each_carry_their_own_line)
{
    Log_Capture log;
    const int line = __LINE__ + 1;
    log_at(LM_INFO, "one\n");
    log_at(LM_INFO, "two\n");
    ASSERT_EQ(log.count(), 2u);
    EXPECT_EQ(log.records()[0].line, line);
    EXPECT_EQ(log.records()[1].line, line + 1);
}

TEST(Log, a_place_that_is_handed_on_replaces_the_own_one)
{
    Log_Capture log;
    const Source_Location place = Source_Location::current();
    log_at(LM_ERROR, Log_Format("handed on\n", place));
    ASSERT_EQ(log.count(), 1u);
    EXPECT_EQ(log.records()[0].line, place.line);
}

TEST(Log, null_or_empty_argument_is_an_emergency_with_place_and_name)
{
    Log_Capture log;
    const int line = __LINE__ + 1;
    EXPECT_FALSE(log_null_or_empty("key"));
    ASSERT_EQ(log.count(), 1u);
    EXPECT_EQ(log.records()[0].priority, LM_EMERGENCY);
    EXPECT_EQ(log.records()[0].file, __FILE__);
    EXPECT_EQ(log.records()[0].line, line);
    EXPECT_EQ(first_line(log.records()[0].text),
              "Unexpected error in " + std::string(__FILE__) + ":" + std::to_string(line) + ", key is NULL or \"\":");
}

TEST(Log, null_argument_is_an_emergency_with_place_and_name)
{
    Log_Capture log;
    const int line = __LINE__ + 1;
    EXPECT_FALSE(log_null("gen"));
    ASSERT_EQ(log.count(), 1u);
    EXPECT_EQ(log.records()[0].priority, LM_EMERGENCY);
    EXPECT_EQ(log.records()[0].line, line);
    EXPECT_EQ(first_line(log.records()[0].text),
              "Unexpected error in " + std::string(__FILE__) + ":" + std::to_string(line) + ", gen is NULL:");
}

TEST(Log, null_argument_message_holds_the_call_stack)
{
    Log_Capture log;
    log_null("gen");
    ASSERT_EQ(log.count(), 1u);
    const std::string& text = log.records()[0].text;
    const std::string stack = text.substr(text.find('\n') + 1);
    EXPECT_GT(stack.size(), 1u);
    EXPECT_EQ(stack.back(), '\n');
}
