#include "tests/support/records/oscar_backup_set.h"

#include "tests/support/record_database_test.h"
#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(Oscar_Backup_Set, Record_Test, Oscar_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Oscar_Backup_Set, Set_Record_Test, Oscar_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Oscar_Backup_Set, Record_On_Engine_Test, On_Engines<Oscar_Set>, Engine_Names);

TEST(Oscar_Backup_Set, tablespace_that_is_no_text_throws_and_the_document_is_closed)
{
    using namespace json_spirit;
    for (const Value& wrong : {Value(5), Value(), Value(true), Value(Array{"x"}), Value(Object{{"x", "y"}})}) {
        Oscar_Backup_Set set;
        set.tablespaces = {"first", wrong, "never"};
        JSON_Text text;
        EXPECT_THROW(set.generate(text.get()), json_spirit::Wrong_Type);
        EXPECT_EQ(text.view(),
                  fresh_common("oscar") + R"(,"seq":0,"grade":"","backup_files":[],"tablespaces":["first"]})");
    }
}

} // namespace record_test
