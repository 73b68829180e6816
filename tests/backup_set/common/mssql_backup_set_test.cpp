#include "tests/support/records/mssql_backup_set.h"

#include "backup_set/common/mssql_sets_result_handler.h"
#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(MSSQL_Backup_Set, Record_Test, MSSQL_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(MSSQL_Backup_Set, Set_Record_Test, MSSQL_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(MSSQL_Backup_Set, Record_On_Engine_Test, On_Engines<MSSQL_Set>, Engine_Names);

TEST(MSSQL_Backup_Set, has_one_handler_of_its_own)
{
    database::sql::Query_Result_Handler* const handler = MSSQL_Backup_Set::result_handler();
    EXPECT_NE(dynamic_cast<MSSQL_Sets_Result_Handler*>(handler), nullptr);
    EXPECT_EQ(MSSQL_Backup_Set::result_handler(), handler);
    EXPECT_NE(Backup_Set::result_handler(), handler);
}

TEST(MSSQL_Backup_Set, has_one_channel_at_first)
{
    EXPECT_EQ(MSSQL_Backup_Set().channels, 1);
}

} // namespace record_test
