#include "tests/support/records/oscar_brcmd_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(Oscar_Brcmd_Backup_Set, Record_Test, Oscar_Brcmd_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Oscar_Brcmd_Backup_Set, Set_Record_Test, Oscar_Brcmd_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Oscar_Brcmd_Backup_Set, Record_On_Engine_Test, On_Engines<Oscar_Brcmd_Set>,
                               Engine_Names);

} // namespace record_test
