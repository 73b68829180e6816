#include "tests/support/records/gaussdb_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(GaussDB_Backup_Set, Record_Test, GaussDB_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(GaussDB_Backup_Set, Set_Record_Test, GaussDB_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(GaussDB_Backup_Set, Record_On_Engine_Test, On_Engines<GaussDB_Set>, Engine_Names);

TEST(GaussDB_Backup_Set, small_numbers_keep_their_low_bits)
{
    GaussDB_Backup_Set set;
    EXPECT_TRUE(set.print_int(0, "nodes_count", (ACE_INT64{1} << 32) + 1));
    EXPECT_TRUE(set.print_int(0, "seq", (ACE_INT64{1} << 32) + 1));
    EXPECT_EQ(set.nodes_count, 1);
    EXPECT_EQ(set.seq, 4294967297);
}

TEST(GaussDB_Backup_Set, tables_that_are_no_array_are_left_to_the_common_record)
{
    GaussDB_Backup_Set set = filled_record<GaussDB_Set>();
    EXPECT_TRUE(set.print_json(0, "tables", json_spirit::Object{{"a", 1}}));
    EXPECT_EQ(to_json(set), GaussDB_Set::filled_document());
}

} // namespace record_test
