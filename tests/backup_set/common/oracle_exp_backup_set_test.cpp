#include "tests/support/records/oracle_exp_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(Oracle_Exp_Backup_Set, Record_Test, Oracle_Exp_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Oracle_Exp_Backup_Set, Set_Record_Test, Oracle_Exp_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Oracle_Exp_Backup_Set, Record_On_Engine_Test, On_Engines<Oracle_Exp_Set>, Engine_Names);

} // namespace record_test
