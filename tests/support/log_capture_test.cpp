#include "tests/support/log_capture.h"

#include <ace/Log_Msg.h>
#include <gtest/gtest.h>

#include <string>

TEST(Log_Capture, collects_priority_text_file_and_line)
{
    Log_Capture log;
    const int line = __LINE__ + 1;
    ACE_ERROR((LM_WARNING, "%C is %d\n", "answer", 42));
    ASSERT_EQ(log.count(), 1u);
    EXPECT_EQ(log.records()[0].priority, LM_WARNING);
    EXPECT_EQ(log.records()[0].text, "answer is 42\n");
    EXPECT_EQ(log.records()[0].file, __FILE__);
    EXPECT_EQ(log.records()[0].line, line);
}

TEST(Log_Capture, counts_by_priority_and_by_part_of_the_text)
{
    Log_Capture log;
    ACE_ERROR((LM_ERROR, "one apple\n"));
    ACE_ERROR((LM_ERROR, "two pears\n"));
    ACE_ERROR((LM_EMERGENCY, "three apples\n"));
    EXPECT_EQ(log.count(LM_ERROR), 2u);
    EXPECT_EQ(log.count("apple"), 2u);
    EXPECT_EQ(log.count(LM_ERROR, "apple"), 1u);
    EXPECT_EQ(log.count(LM_DEBUG), 0u);
    EXPECT_EQ(log.text(), "one apple\ntwo pears\nthree apples\n");
    log.clear();
    EXPECT_EQ(log.count(), 0u);
}

TEST(Log_Capture, inner_capture_takes_the_records_until_it_ends)
{
    Log_Capture outer;
    {
        Log_Capture inner;
        ACE_ERROR((LM_ERROR, "inside\n"));
        EXPECT_EQ(inner.count(), 1u);
    }
    ACE_ERROR((LM_ERROR, "outside\n"));
    EXPECT_EQ(outer.text(), "outside\n");
}

TEST(Log_Capture, quiet_holds_back_standard_error_and_loud_does_not)
{
    ::testing::internal::CaptureStderr();
    {
        Log_Capture log;
        ACE_ERROR((LM_ERROR, "held back\n"));
    }
    {
        Log_Capture log(Log_Capture::Loud);
        ACE_ERROR((LM_ERROR, "shown\n"));
    }
    ACE_ERROR((LM_ERROR, "afterwards\n"));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "shown\nafterwards\n");
}
