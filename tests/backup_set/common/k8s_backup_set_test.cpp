#include "tests/support/records/k8s_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(K8S_Backup_Set, Record_Test, K8S_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(K8S_Backup_Set, Set_Record_Test, K8S_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(K8S_Backup_Set, Record_On_Engine_Test, On_Engines<K8S_Set>, Engine_Names);

TEST(K8S_Backup_Set, columns_of_its_own_set_nothing)
{
    K8S_Backup_Set set;
    const Log_Capture log;
    EXPECT_TRUE(set.print_cstr(0, "vm_name", "text", 4));
    EXPECT_TRUE(set.print_int(0, "cpu_count", 8));
    EXPECT_TRUE(set.print_json(0, "backup_details", json_spirit::Array{"text"}));
    EXPECT_EQ(to_json(set), K8S_Set::fresh_document());
    EXPECT_EQ(log.count(), 0u) << log.text();
}

} // namespace record_test
