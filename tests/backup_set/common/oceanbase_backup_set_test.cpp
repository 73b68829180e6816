#include "tests/support/records/oceanbase_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(OceanBase_Backup_Set, Record_Test, OceanBase_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(OceanBase_Backup_Set, Set_Record_Test, OceanBase_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(OceanBase_Backup_Set, Record_On_Engine_Test, On_Engines<OceanBase_Set>, Engine_Names);

} // namespace record_test
