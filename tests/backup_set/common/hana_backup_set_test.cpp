#include "tests/support/records/hana_backup_set.h"

#include "platform/json/yajl_gen.h"
#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(HANA_Backup_Set, Record_Test, HANA_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(HANA_Backup_Set, Set_Record_Test, HANA_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(HANA_Backup_Set, Record_On_Engine_Test, On_Engines<HANA_Set>, Engine_Names);

TEST(HANA_Backup_Set, texts_end_at_their_first_nul_and_lengths_do_not_count)
{
    HANA_Backup_Set set;
    EXPECT_TRUE(set.print_cstr(0, "sid", "ABC\0and more", 12));
    EXPECT_EQ(set.sid, "ABC");
    EXPECT_TRUE(set.print_cstr(0, "sid", "DEFGH", 2));
    EXPECT_EQ(set.sid, "DEFGH");
}

TEST(HANA_Backup_Set, has_two_members_of_one_name)
{
    HANA_Backup_Set set;
    Backup_Set& common = set;
    EXPECT_TRUE(set.print_cstr(0, "extended_attrs", "{\"own\":1}", 9));
    EXPECT_EQ(set.extended_attrs, "{\"own\":1}");
    EXPECT_TRUE(common.extended_attrs.empty());
    EXPECT_TRUE(set.print_json(0, "extended_attrs", json_spirit::Object{{"common", 2}}));
    EXPECT_EQ(set.extended_attrs, "{\"own\":1}");
    EXPECT_EQ(common.extended_attrs.size(), 1u);
}

TEST(HANA_Backup_Set, document_holds_both_the_common_one_first)
{
    HANA_Backup_Set set;
    set.extended_attrs = "text";
    set.Backup_Set::extended_attrs = {{"k", 1}};
    const std::string text = to_json(set);
    const std::size_t object = text.find(R"("resource_tree":{},"extended_attrs":{"k":1},"pieces":[])");
    const std::size_t own = text.find(R"("instance_name":"","extended_attrs":"text","database":"")");
    ASSERT_NE(object, std::string::npos) << text;
    ASSERT_NE(own, std::string::npos) << text;
    EXPECT_LT(object, own);
}

TEST(HANA_Backup_Set, signed_numbers_are_not_its_own)
{
    HANA_Backup_Set set = filled_record<HANA_Set>();
    EXPECT_TRUE(set.print_int(0, "instance_num", 3));
    EXPECT_TRUE(set.print_int(0, "database_backup_id", 3));
    EXPECT_EQ(to_json(set), HANA_Set::filled_document());
}

TEST(HANA_Backup_Set, unknown_unsigned_numbers_do_not_reach_the_common_record)
{
    HANA_Backup_Set set = filled_record<HANA_Set>();
    EXPECT_TRUE(set.print_uint(0, "size", 3));
    EXPECT_EQ(to_json(set), HANA_Set::filled_document());
}

TEST(HANA_Backup_Set, writes_any_list_of_files)
{
    HANA_Backup_Set set = filled_record<HANA_Set>();
    JSON_Text text;
    YAJL_Gen gen(text.get());
    HANA_Backup_Set::Backup_Files list(1);
    list.front().filename = "other";
    list.front().size = 7;
    set.generate_files(gen, list);
    EXPECT_EQ(text.view(), R"([{"extern_backup_id":"","origin_path":"","filename":"other","size":7,)"
                           R"("source_type":"","storage_path":""}])");
    text.clear();
    set.generate_files(gen, {});
    EXPECT_EQ(text.view(), "[]");
    EXPECT_EQ(set.files.size(), 2u);
}

} // namespace record_test
