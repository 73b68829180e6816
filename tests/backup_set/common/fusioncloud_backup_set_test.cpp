#include "tests/support/records/fusioncloud_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(FusionCloud_Backup_Set, Record_Test, FusionCloud_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(FusionCloud_Backup_Set, Set_Record_Test, FusionCloud_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(FusionCloud_Backup_Set, Record_On_Engine_Test, On_Engines<FusionCloud_Set>,
                               Engine_Names);

TEST(FusionCloud_Backup_Set, columns_of_its_own_set_nothing)
{
    FusionCloud_Backup_Set set;
    const Log_Capture log;
    EXPECT_TRUE(set.print_cstr(0, "vm_name", "text", 4));
    EXPECT_TRUE(set.print_int(0, "cpu_count", 8));
    EXPECT_TRUE(set.print_json(0, "volumes_profile", json_spirit::Array{"text"}));
    EXPECT_EQ(to_json(set), FusionCloud_Set::fresh_document());
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TEST(FusionCloud_Backup_Set, common_columns_stand_under_a_fixed_alias)
{
    Select_SQL sql;
    FusionCloud_Backup_Set::init_select_sql(sql, "own");
    EXPECT_TRUE(sql.str().starts_with(common_columns("b") + R"(, "own"."set_uuid" AS "set_uuid", )")) << sql.str();
    EXPECT_TRUE(sql.str().ends_with(R"( FROM "backup_set" AS "b" CROSS JOIN "fusioncloud_backup_set" AS "own")"))
        << sql.str();
}

} // namespace record_test
