#include "tests/support/records/dmdb_log_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(DMDB_Log_Backup_Set, Record_Test, DMDB_Log_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(DMDB_Log_Backup_Set, Set_Record_Test, DMDB_Log_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(DMDB_Log_Backup_Set, Record_On_Engine_Test, On_Engines<DMDB_Log_Set>, Engine_Names);

TEST(DMDB_Log_Backup_Set, other_flags_are_swallowed)
{
    DMDB_Log_Backup_Set set = filled_record<DMDB_Log_Set>();
    for (const char* key : {"size", "seq", "archive", "no_such_column"}) {
        EXPECT_TRUE(set.print_bool(0, key, false)) << key;
    }
    EXPECT_EQ(to_json(set), DMDB_Log_Set::filled_document());
}

TEST(DMDB_Log_Backup_Set, times_stay_the_texts_that_were_given)
{
    DMDB_Log_Backup_Set set;
    EXPECT_TRUE(set.print_cstr(0, "arch_start_time", "yesterday", 9));
    EXPECT_TRUE(set.print_cstr(0, "arch_end_time", "2024-01-01 00:00:00.5", 21));
    EXPECT_EQ(set.arch_start_time, "yesterday");
    EXPECT_EQ(set.arch_end_time, "2024-01-01 00:00:00.5");
}

} // namespace record_test
