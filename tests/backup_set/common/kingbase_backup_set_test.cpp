#include "tests/support/records/kingbase_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(Kingbase_Backup_Set, Record_Test, Kingbase_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Kingbase_Backup_Set, Set_Record_Test, Kingbase_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Kingbase_Backup_Set, Record_On_Engine_Test, On_Engines<Kingbase_Set>, Engine_Names);

TEST(Kingbase_Backup_Set, text_of_a_common_column_reaches_the_common_record)
{
    Kingbase_Backup_Set set;
    EXPECT_TRUE(set.print_cstr(0, "host", "h\0h", 3));
    EXPECT_EQ(set.host, std::string("h\0h", 3));
}

} // namespace record_test
