#include "tests/support/records/sharepoint_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(SharePoint_Backup_Set, Record_Test, SharePoint_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(SharePoint_Backup_Set, Set_Record_Test, SharePoint_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(SharePoint_Backup_Set, Record_On_Engine_Test, On_Engines<SharePoint_Set>, Engine_Names);

TEST(SharePoint_Backup_Set, database_under_the_key_of_its_select_is_not_taken)
{
    SharePoint_Backup_Set set;
    EXPECT_TRUE(set.print_cstr(0, ".database", "WSS_Content", 11));
    EXPECT_EQ(to_json(set), SharePoint_Set::fresh_document());
    EXPECT_TRUE(set.print_cstr(0, "database", "WSS_Content", 11));
    EXPECT_EQ(set.database, "WSS_Content");
}

} // namespace record_test
