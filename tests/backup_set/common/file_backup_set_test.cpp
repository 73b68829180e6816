#include "tests/support/records/file_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(File_Backup_Set, Record_Test, File_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(File_Backup_Set, Set_Record_Test, File_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(File_Backup_Set, Record_On_Engine_Test, On_Engines<File_Set>, Engine_Names);

} // namespace record_test
