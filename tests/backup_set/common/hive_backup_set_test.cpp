#include "tests/support/records/hive_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(Hive_Backup_Set, Record_Test, Hive_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Hive_Backup_Set, Set_Record_Test, Hive_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Hive_Backup_Set, Record_On_Engine_Test, On_Engines<Hive_Set>, Engine_Names);

TEST(Hive_Backup_Set, added_files_and_tables_are_written_in_their_order)
{
    Hive_Backup_Set set;
    set.add_file("db", "/dump", "/origin");
    set.add_file("db", "", "");
    set.add_table("db", "t2");
    set.add_table("db", "t1");
    EXPECT_EQ(to_json(set),
              fresh_common("hive")
                  + R"(,"last_repl_id":"","seq":0,"channels":0,"hash_algorithm":"","pool_type":"",)"
                    R"("multidevice":false,"encryption":"",)"
                    R"("backup_files":[{"database":"db","dump_dir_path":"/dump","origin_location_path":"/origin"},)"
                    R"({"database":"db","dump_dir_path":"","origin_location_path":""}],)"
                    R"("backup_tables":[{"database":"db","tablename":"t2"},{"database":"db","tablename":"t1"}]})");
}

TEST(Hive_Backup_Set, both_tables_stand_under_the_caller_s_alias)
{
    Select_SQL sql;
    Hive_Backup_Set::init_select_sql(sql, "h");
    const std::string text = sql.str();
    EXPECT_NE(text.find(R"("h"."lsb" AS "lsb", "h"."last_repl_id" AS "last_repl_id")"), std::string::npos) << text;
    EXPECT_TRUE(text.ends_with(R"( AS "h")")) << text;
}

} // namespace record_test
