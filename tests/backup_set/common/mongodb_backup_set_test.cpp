#include "tests/support/records/mongodb_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(MongoDB_Backup_Set, Record_Test, MongoDB_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(MongoDB_Backup_Set, Set_Record_Test, MongoDB_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(MongoDB_Backup_Set, Record_On_Engine_Test, On_Engines<MongoDB_Set>, Engine_Names);

namespace {

/// The document of a fresh record, with `range` in it.
std::string with_range(const std::string& range)
{
    return fresh_common("") + R"(,"seq":0)" + range + R"(,"archive":false,"backup_files":[]})";
}

} // namespace

TEST(MongoDB_Backup_Set, end_of_the_range_is_written_beside_a_start)
{
    MongoDB_Backup_Set set;
    set.arch_log_start = 5;
    EXPECT_EQ(to_json(set), with_range(R"(,"arch_log_start":5,"arch_log_end":-1)"));
}

TEST(MongoDB_Backup_Set, end_of_the_range_is_left_out_without_a_start)
{
    MongoDB_Backup_Set set;
    set.arch_log_end = 9;
    EXPECT_EQ(to_json(set), with_range(""));
}

TEST(MongoDB_Backup_Set, second_components_are_written_by_themselves)
{
    MongoDB_Backup_Set set;
    set.arch_log_start_i = 0;
    EXPECT_EQ(to_json(set), with_range(R"(,"arch_log_start_i":0)"));
    set.arch_log_start_i = -1;
    set.arch_log_end_i = -2;
    EXPECT_EQ(to_json(set), with_range(R"(,"arch_log_end_i":-2)"));
}

TEST(MongoDB_Backup_Set, flag_arrives_as_a_number)
{
    MongoDB_Backup_Set set;
    EXPECT_TRUE(set.print_int(0, "archive", 7));
    EXPECT_TRUE(set.archive);
    EXPECT_TRUE(set.print_bool(0, "archive", false));
    EXPECT_TRUE(set.archive);
}

} // namespace record_test
