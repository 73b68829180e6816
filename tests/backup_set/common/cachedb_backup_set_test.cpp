#include "tests/support/records/cachedb_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(CacheDB_Backup_Set, Record_Test, CacheDB_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(CacheDB_Backup_Set, Set_Record_Test, CacheDB_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(CacheDB_Backup_Set, Record_On_Engine_Test, On_Engines<CacheDB_Set>, Engine_Names);

TEST(CacheDB_Backup_Set, map_of_files_is_not_written)
{
    CacheDB_Backup_Set set;
    set.files = {{"a", "b"}};
    EXPECT_EQ(to_json(set), CacheDB_Set::fresh_document());
}

TEST(CacheDB_Backup_Set, member_that_is_no_text_throws_and_the_document_is_closed)
{
    using namespace json_spirit;
    for (const Value& wrong : {Value(5), Value(), Value(true), Value(Array{"x"}), Value(Object{{"x", "y"}})}) {
        CacheDB_Backup_Set set;
        set.backup_files = {Object{{"z", "first"}}, Object{{"a", "second"}, {"b", wrong}, {"c", "never"}}, Object()};
        JSON_Text text;
        EXPECT_THROW(set.generate(text.get()), json_spirit::Wrong_Type);
        EXPECT_EQ(text.view(), fresh_common("cachedb")
                                   + R"(,"start_log":"","end_log":"","current_log":"","journal_dir":"",)"
                                     R"("backup_files":[{"z":"first"},{"a":"second"}]})");
    }
}

TEST(CacheDB_Backup_Set, element_that_is_no_object_throws_and_the_document_is_closed)
{
    CacheDB_Backup_Set set;
    set.backup_files = {json_spirit::Object{{"z", "first"}}, "text"};
    JSON_Text text;
    EXPECT_THROW(set.generate(text.get()), json_spirit::Wrong_Type);
    EXPECT_TRUE(text.view().ends_with(R"("backup_files":[{"z":"first"}]})")) << text.view();
}

} // namespace record_test
