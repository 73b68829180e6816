#include "tests/support/records/mysql_backup_set.h"

#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(MySQL_Backup_Set, Record_Test, MySQL_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(MySQL_Backup_Set, Set_Record_Test, MySQL_Set);

TEST(MySQL_Backup_Set, select_leaves_an_empty_statement_empty)
{
    Select_SQL sql;
    MySQL_Backup_Set::init_select_sql(sql, "b");
    EXPECT_TRUE(sql.empty());
}

TEST(MySQL_Backup_Set, numbers_start_unset)
{
    const MySQL_Backup_Set set;
    EXPECT_EQ(set.cycle, -1);
    EXPECT_EQ(set.point, -1);
    EXPECT_EQ(set.level, -1);
    EXPECT_EQ(set.timezone_offset, -1);
    EXPECT_EQ(set.start_log_pos, -1);
    EXPECT_EQ(set.next_log_pos, -1);
}

TEST(MySQL_Backup_Set, only_minus_one_is_an_unset_number)
{
    MySQL_Backup_Set set;
    set.cycle = -2;
    set.point = 0;
    set.level = -1;
    set.timezone_offset = 0;
    set.start_log_pos = -2;
    set.next_log_pos = -1;
    EXPECT_EQ(to_json(set),
              fresh_common("") + MySQL_Set::fresh + R"(,"timezone_offset":0,"start_log_pos":-2,"cycle":-2,"point":0})");
}

TEST(MySQL_Backup_Set, number_that_is_taken_in_as_minus_one_is_left_out)
{
    MySQL_Backup_Set set = filled_record<MySQL_Set>();
    for (const char* key : {"timezone_offset", "start_log_pos", "next_log_pos", "cycle", "point", "level"}) {
        EXPECT_TRUE(set.print_int(0, key, -1));
        EXPECT_EQ(to_json(set).find('"' + std::string(key) + '"'), std::string::npos) << key;
    }
}

TEST(MySQL_Backup_Set, added_files_are_written_in_their_order)
{
    MySQL_Backup_Set set;
    const std::string vc_name = "container";
    set.add_file("f1");
    set.add_file("db", "f2", nullptr);
    set.add_file("db", "f2", &vc_name);
    EXPECT_EQ(to_json(set), fresh_common("") + MySQL_Set::fresh
                                + R"(,"backup_files":[{"database":"","vc_name":"","file":"f1"},)"
                                  R"({"database":"db","vc_name":"","file":"f2"},)"
                                  R"({"database":"db","vc_name":"container","file":"f2"}]})");
}

TEST(MySQL_Backup_Set, time_zero_is_left_out_and_times_before_it_are_written)
{
    MySQL_Backup_Set set;
    set.backup_time = -1;
    EXPECT_EQ(to_json(set), fresh_common("") + MySQL_Set::fresh + R"(,"backup_time":"1969-12-31 23:59:59"})");
}

} // namespace record_test
