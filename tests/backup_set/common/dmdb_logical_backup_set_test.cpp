#include "tests/support/records/dmdb_logical_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(DMDB_Logical_Backup_Set, Record_Test, DMDB_Logical_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(DMDB_Logical_Backup_Set, Set_Record_Test, DMDB_Logical_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(DMDB_Logical_Backup_Set, Record_On_Engine_Test, On_Engines<DMDB_Logical_Set>,
                               Engine_Names);

TEST(DMDB_Logical_Backup_Set, case_matters_until_it_is_said_otherwise)
{
    DMDB_Logical_Backup_Set set;
    EXPECT_TRUE(set.case_sensitive);
    EXPECT_TRUE(set.print_int(0, "case_sensitive", 0));
    EXPECT_FALSE(set.case_sensitive);
    EXPECT_TRUE(set.print_int(0, "case_sensitive", 2));
    EXPECT_TRUE(set.case_sensitive);
}

TEST(DMDB_Logical_Backup_Set, kind_of_database_is_a_text)
{
    DMDB_Logical_Backup_Set set;
    EXPECT_TRUE(set.print_int(0, "dm_type", 3));
    EXPECT_EQ(set.dm_type, "");
    EXPECT_TRUE(set.print_cstr(0, "dm_type", "3", 1));
    EXPECT_EQ(set.dm_type, "3");
}

} // namespace record_test
