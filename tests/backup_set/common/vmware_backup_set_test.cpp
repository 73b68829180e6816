#include "tests/support/records/vmware_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(VMware_Backup_Set, Record_Test, VMware_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(VMware_Backup_Set, Set_Record_Test, VMware_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(VMware_Backup_Set, Record_On_Engine_Test, On_Engines<VMware_Set>, Engine_Names);

TEST(VMware_Backup_Set, flag_is_taken_under_another_key_than_it_is_selected)
{
    VMware_Backup_Set set;
    EXPECT_TRUE(set.print_bool(0, "template", true));
    EXPECT_FALSE(set.is_template);
    EXPECT_EQ(to_json(set), VMware_Set::fresh_document());
    EXPECT_TRUE(set.print_bool(0, "is_template", true));
    EXPECT_TRUE(set.is_template);
    EXPECT_NE(to_json(set).find(R"("is_template":true)"), std::string::npos);
    EXPECT_TRUE(set.print_bool(0, "template", false));
    EXPECT_TRUE(set.is_template);
}

TEST(VMware_Backup_Set, array_columns_take_no_object)
{
    VMware_Backup_Set set = filled_record<VMware_Set>();
    for (const char* key : {"controllers", "network_adapters", "cd_roms", "tags"}) {
        EXPECT_TRUE(set.print_json(0, key, json_spirit::Object{{"a", 1}})) << key;
    }
    EXPECT_EQ(to_json(set), VMware_Set::filled_document());
}

TEST(VMware_Backup_Set, numbers_are_not_taken_as_signed_ones)
{
    VMware_Backup_Set set;
    EXPECT_TRUE(set.print_int(0, "memory_size", 5));
    EXPECT_TRUE(set.print_int(0, "size", 6));
    EXPECT_EQ(set.memory_size, 0u);
    EXPECT_EQ(set.size, 6);
}

TEST(VMware_Backup_Set, alias_is_that_of_the_common_columns_only)
{
    Select_SQL sql;
    VMware_Backup_Set::init_select_sql(sql, "x");
    EXPECT_TRUE(sql.str().starts_with(common_columns("x") + R"(, "g"."vm_uuid" AS "vm_uuid", )")) << sql.str();
    EXPECT_TRUE(sql.str().ends_with(R"( FROM "backup_set" AS "x" )"
                                    R"(INNER JOIN "vmware_backup_set" AS "g" ON "uuid" = "g"."set_uuid")"))
        << sql.str();
}

} // namespace record_test
