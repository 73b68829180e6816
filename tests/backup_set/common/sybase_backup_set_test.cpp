#include "tests/support/records/sybase_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(Sybase_Backup_Set, Record_Test, Sybase_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Sybase_Backup_Set, Set_Record_Test, Sybase_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Sybase_Backup_Set, Record_On_Engine_Test, On_Engines<Sybase_Set>, Engine_Names);

TEST(Sybase_Backup_Set, pattern_for_channels_goes_before_the_last_point)
{
    Sybase_Backup_Set set;
    EXPECT_EQ(set.multi_channels_uri_format("dump.dmp"), "dump_%d.dmp");
    EXPECT_EQ(set.multi_channels_uri_format("a.b.c"), "a.b_%d.c");
    EXPECT_EQ(set.multi_channels_uri_format("dump"), "dump_%d");
    EXPECT_EQ(set.multi_channels_uri_format(""), "_%d");
    EXPECT_EQ(set.multi_channels_uri_format("."), "_%d.");
    EXPECT_EQ(set.multi_channels_uri_format("dump."), "dump_%d.");
    EXPECT_EQ(set.multi_channels_uri_format("/dir.d/dump"), "/dir_%d.d/dump"); // the last point, wherever it stands
}

} // namespace record_test
