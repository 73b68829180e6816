#include "tests/support/records/exchange_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(Exchange_Backup_Set, Record_Test, Exchange_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Exchange_Backup_Set, Set_Record_Test, Exchange_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Exchange_Backup_Set, Record_On_Engine_Test, On_Engines<Exchange_Set>, Engine_Names);

TEST(Exchange_Backup_Set, has_two_lists_of_storages)
{
    Exchange_Backup_Set set;
    set.storages = {"own"};
    set.add_storage("pool", 5);
    ASSERT_EQ(set.Backup_Set::storages.size(), 1u);
    std::string text = to_json(set);
    EXPECT_NE(text.find(R"("storage":{"pool_uuid":"pool")"), std::string::npos) << text;
    EXPECT_TRUE(text.ends_with(R"("channels":1,"storages":["own"],"mailboxes":[]})")) << text;

    set.add_storage("second", 6);
    text = to_json(set);
    const std::size_t common = text.find(R"("storages":[{"pool_uuid":"pool")");
    ASSERT_NE(common, std::string::npos) << text;
    EXPECT_LT(common, text.find(R"("storages":["own"])"));
}

} // namespace record_test
