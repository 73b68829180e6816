#include "tests/support/records/ndmp_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(NDMP_Backup_Set, Record_Test, NDMP_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(NDMP_Backup_Set, Set_Record_Test, NDMP_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(NDMP_Backup_Set, Record_On_Engine_Test, On_Engines<NDMP_Set>, Engine_Names);

TEST(NDMP_Backup_Set, texts_end_at_their_first_nul_and_lengths_do_not_count)
{
    NDMP_Backup_Set set;
    EXPECT_TRUE(set.print_cstr(0, "vols", "A\0B", 3));
    EXPECT_EQ(set.vols, "A");
    EXPECT_TRUE(set.print_cstr(0, "vols", "/vol/vol0", 0));
    EXPECT_EQ(set.vols, "/vol/vol0");
}

TEST(NDMP_Backup_Set, level_comes_without_a_sign_only)
{
    NDMP_Backup_Set set;
    EXPECT_TRUE(set.print_uint(0, "level", 1));
    EXPECT_EQ(set.level, 1u);
    EXPECT_TRUE(set.print_int(0, "level", 2));
    EXPECT_EQ(set.level, 1u);
}

} // namespace record_test
