#include "tests/support/records/domino_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(Domino_Backup_Set, Record_Test, Domino_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Domino_Backup_Set, Set_Record_Test, Domino_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Domino_Backup_Set, Record_On_Engine_Test, On_Engines<Domino_Set>, Engine_Names);

TEST(Domino_Backup_Set, sequence_comes_as_a_number_only)
{
    Domino_Backup_Set set;
    EXPECT_TRUE(set.print_cstr(0, "seq", "5", 1));
    EXPECT_EQ(set.seq, 0u);
    EXPECT_TRUE(set.print_int(0, "seq", (ACE_INT64{1} << 32) + 5));
    EXPECT_EQ(set.seq, 5u);
}

} // namespace record_test
