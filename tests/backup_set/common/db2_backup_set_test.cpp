#include "tests/support/records/db2_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(DB2_Backup_Set, Record_Test, DB2_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(DB2_Backup_Set, Set_Record_Test, DB2_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(DB2_Backup_Set, Record_On_Engine_Test, On_Engines<DB2_Set>, Engine_Names);

TEST(DB2_Backup_Set, no_callback_takes_the_archive_times)
{
    DB2_Backup_Set set;
    for (const char* key : {"archive_start_time", "archive_end_time"}) {
        EXPECT_TRUE(set.print_cstr(0, key, "2001-02-03 04:05:06", 19));
        EXPECT_TRUE(set.print_int(0, key, 981173106));
    }
    EXPECT_EQ(set.archive_start_time, 0);
    EXPECT_EQ(set.archive_end_time, 0);
}

TEST(DB2_Backup_Set, other_flags_are_swallowed)
{
    DB2_Backup_Set set = filled_record<DB2_Set>();
    EXPECT_TRUE(set.print_bool(0, "base_start_point", true));
    EXPECT_TRUE(set.print_bool(0, "size", true));
    EXPECT_EQ(to_json(set), DB2_Set::filled_document());
}

} // namespace record_test
