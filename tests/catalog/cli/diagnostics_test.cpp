#include "catalog/cli/diagnostics.h"

#include "platform/text/log.h"
#include "tests/support/log_capture.h"

#include <ace/Log_Msg.h>
#include <gtest/gtest.h>

#include <chrono>
#include <sstream>
#include <thread>

using namespace catalog::cli;

namespace {

class Diagnostics_Test : public ::testing::Test
{
protected:
    std::ostringstream err;
};

} // namespace

TEST_F(Diagnostics_Test, a_message_is_one_printable_line)
{
    Diagnostics diagnostics(err, false);
    diagnostics.error("cannot read \x1b[2J\nfile");
    diagnostics.warning("w");
    diagnostics.note("n");
    EXPECT_EQ(err.str(), "backup-set: error: cannot read \\x1b[2J\\nfile\n"
                         "backup-set: warning: w\n"
                         "backup-set: note: n\n");
}

TEST_F(Diagnostics_Test, a_logged_error_that_a_command_tells_itself_is_told_once)
{
    Diagnostics diagnostics(err, false);
    log_at(LM_ERROR, "database is %s.\n", "locked");
    diagnostics.error("sets.json: the database is locked");
    EXPECT_FALSE(diagnostics.release());
    EXPECT_EQ(err.str(), "backup-set: error: sets.json: the database is locked\n");
}

TEST_F(Diagnostics_Test, a_logged_error_that_nobody_tells_is_shown)
{
    Diagnostics diagnostics(err, false);
    log_at(LM_ERROR, "a column is %s.\n", "damaged");
    EXPECT_EQ(err.str(), "");
    EXPECT_TRUE(diagnostics.release());
    EXPECT_EQ(err.str(), "backup-set: error: a column is damaged.\n");
    EXPECT_TRUE(diagnostics.release()) << "it is still true that there was one";
    EXPECT_EQ(err.str(), "backup-set: error: a column is damaged.\n");
}

TEST_F(Diagnostics_Test, a_logged_error_is_shown_at_the_latest_at_the_end)
{
    {
        Diagnostics diagnostics(err, false);
        log_at(LM_EMERGENCY, "it happened\nhere\nand there\n");
    }
    EXPECT_EQ(err.str(), "backup-set: error: it happened\n") << "further lines are for --verbose";
}

TEST_F(Diagnostics_Test, an_error_of_no_interest_is_dropped)
{
    Diagnostics diagnostics(err, false);
    log_at(LM_ERROR, "stopped\n");
    diagnostics.forget();
    EXPECT_FALSE(diagnostics.release());
    EXPECT_EQ(err.str(), "");
}

TEST_F(Diagnostics_Test, a_logged_warning_is_shown_and_less_is_not)
{
    Diagnostics diagnostics(err, false);
    log_at(LM_WARNING, "careful\n");
    log_at(LM_INFO, "by the way\n");
    log_at(LM_DEBUG, "details\n");
    EXPECT_EQ(err.str(), "backup-set: warning: careful\n");
}

TEST_F(Diagnostics_Test, verbose_shows_all_that_is_logged)
{
    Diagnostics diagnostics(err, false);
    diagnostics.set_verbose(true);
    log_at(LM_DEBUG, "details\n");
    log_at(LM_WARNING, "careful\n");
    log_at(LM_ERROR, "bad\n");
    diagnostics.error("worse");
    EXPECT_EQ(err.str(), "backup-set: log: LM_DEBUG: details\n"
                         "backup-set: log: LM_WARNING: careful\n"
                         "backup-set: log: LM_ERROR: bad\n"
                         "backup-set: error: worse\n");
}

TEST_F(Diagnostics_Test, the_log_goes_where_it_went_before_once_the_object_is_gone)
{
    const Log_Capture before;
    {
        Diagnostics diagnostics(err, false);
        log_at(LM_ERROR, "inside\n");
    }
    log_at(LM_ERROR, "outside\n");
    EXPECT_EQ(before.text(), "outside\n");
    EXPECT_EQ(err.str(), "backup-set: error: inside\n");
}

TEST_F(Diagnostics_Test, progress_is_for_terminals)
{
    Diagnostics in_a_pipe(err, false);
    in_a_pipe.progress("1 set");
    EXPECT_EQ(err.str(), "");
}

TEST_F(Diagnostics_Test, progress_is_taken_away_before_a_message)
{
    Diagnostics diagnostics(err, true);
    diagnostics.progress("1 set");
    diagnostics.progress("2 sets"); // too soon
    diagnostics.error("e");
    EXPECT_EQ(err.str(), "1 set\r\x1b[Kbackup-set: error: e\n");
}

TEST_F(Diagnostics_Test, progress_goes_on_after_a_while)
{
    Diagnostics diagnostics(err, true);
    diagnostics.progress("1 set");
    std::this_thread::sleep_for(std::chrono::milliseconds(250));
    diagnostics.progress("2 sets");
    diagnostics.clear_progress();
    diagnostics.clear_progress();
    EXPECT_EQ(err.str(), "1 set\r\x1b[K2 sets\r\x1b[K");
}
