#include "tests/support/records/dmdb_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(DMDB_Backup_Set, Record_Test, DMDB_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(DMDB_Backup_Set, Set_Record_Test, DMDB_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(DMDB_Backup_Set, Record_On_Engine_Test, On_Engines<DMDB_Set>, Engine_Names);

TEST(DMDB_Backup_Set, files_are_ordered_by_the_bytes_of_their_names)
{
    DMDB_Backup_Set set;
    set.files = {{"b", "1"}, {"a", "2"}, {"Z", "3"}, {"\xc3\xa4", "4"}, {"", "5"}};
    const std::string text = to_json(set);
    EXPECT_TRUE(
        text.ends_with(",\"backup_files\":{\"\":\"5\",\"Z\":\"3\",\"a\":\"2\",\"b\":\"1\",\"\xc3\xa4\":\"4\"}}"))
        << text;
}

TEST(DMDB_Backup_Set, sequence_keeps_its_low_bits)
{
    DMDB_Backup_Set set;
    set.seq = 5;
    EXPECT_TRUE(set.print_int(0, "seq", ACE_INT64{1} << 32));
    EXPECT_EQ(set.seq, 0u);
}

} // namespace record_test
