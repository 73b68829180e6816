#include "tests/support/records/windows_bmr_backup_set.h"

#include "tests/support/record_test.h"

namespace record_test {

INSTANTIATE_TYPED_TEST_SUITE_P(Windows_BMR_Backup_Set, Record_Test, Windows_BMR_Set);
INSTANTIATE_TYPED_TEST_SUITE_P(Windows_BMR_Backup_Set, Set_Record_Test, Windows_BMR_Set);

namespace {

using json_spirit::Array;
using json_spirit::Object;
using json_spirit::Secure_String;
using json_spirit::Value;

/// The array of files that a record with these is written with.
std::string written_files(const Array& files)
{
    Windows_BMR_Backup_Set set;
    set.backup_files = files;
    const Json_Members document(to_json(set));
    const std::string* written = document.find("backup_files", json_spirit::array_type);
    return written != nullptr ? *written : "none";
}

} // namespace

TEST(Windows_BMR_Backup_Set, select_alone_selects_nothing)
{
    Select_SQL sql;
    Windows_BMR_Backup_Set().init_select_sql(sql, "b");
    EXPECT_TRUE(sql.empty());
}

TEST(Windows_BMR_Backup_Set, swallows_every_text_column)
{
    Windows_BMR_Backup_Set set;
    const Log_Capture log;
    for (const char* key : {"uuid", "name", "agent", "type", "first_time", "backup_start_time", "meta_file", "arch",
                            "extended_attrs", "diskpart_info", "no such column"})
    {
        EXPECT_TRUE(set.print_cstr(0, key, "2001-02-03 04:05:06", 19)) << key;
    }
    EXPECT_TRUE(set.print_cstr(0, "", "text", 4));
    EXPECT_TRUE(set.print_cstr(0, nullptr, "text", 4));
    EXPECT_TRUE(set.print_cstr(0, "uuid", nullptr, 0));
    EXPECT_EQ(to_json(set), Windows_BMR_Set::fresh_document());
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TEST(Windows_BMR_Backup_Set, other_columns_reach_the_common_record)
{
    Windows_BMR_Backup_Set set;
    set.extended_attrs = "text";
    EXPECT_TRUE(set.print_int(0, "size", 12));
    EXPECT_TRUE(set.print_json(0, "extended_attrs", Object{{"a", 1}}));
    const Backup_Set& common = set;
    EXPECT_EQ(set.size, 12);
    EXPECT_EQ(Value(common.extended_attrs), Value(Object{{"a", 1}}));
    EXPECT_EQ(set.extended_attrs, "text");
}

TEST(Windows_BMR_Backup_Set, extended_attrs_stand_twice_the_common_ones_first)
{
    Windows_BMR_Backup_Set set;
    static_cast<Backup_Set&>(set).extended_attrs = {{"common", 1}};
    set.extended_attrs = "own";
    const std::string text = to_json(set);
    const std::size_t common = text.find(R"("extended_attrs":{"common":1})");
    const std::size_t own = text.find(R"("extended_attrs":"own")");
    ASSERT_NE(common, std::string::npos) << text;
    ASSERT_NE(own, std::string::npos) << text;
    EXPECT_LT(common, own);
}

TEST(Windows_BMR_Backup_Set, member_diskpart_set_is_not_written)
{
    Windows_BMR_Backup_Set set;
    set.diskpart_set = {{"a", 1}, {"boot_code", "not this"}};
    EXPECT_EQ(to_json(set), Windows_BMR_Set::fresh_document());
}

TEST(Windows_BMR_Backup_Set, diskpart_set_is_composed_of_members)
{
    Windows_BMR_Backup_Set set;
    set.diskpart_info = "info";
    set.boot_code = "code";
    set.module_version = "version";
    set.action_type = -3;
    set.is_mbr_boot = true;
    const Json_Members document(to_json(set));
    const std::string* composed = document.find("diskpart_set", json_spirit::obj_type);
    ASSERT_NE(composed, nullptr);
    EXPECT_EQ(*composed, R"({"diskpart_info":"info","boot_code":"code","module_version":"version","action_type":-3,)"
                         R"("is_mbr_boot":true})");
    for (const std::string& key : document.keys()) {
        EXPECT_TRUE(key != "diskpart_info" && key != "boot_code" && key != "module_version" && key != "action_type"
                    && key != "is_mbr_boot")
            << key << " stands only inside";
    }
}

TEST(Windows_BMR_Backup_Set, files_are_written_with_texts_and_integers_only)
{
    EXPECT_EQ(written_files({Object{{"path", "a"}, {"size", 10}, {"hidden", true}}}), R"([{"path":"a","size":10}])");
    EXPECT_EQ(written_files({Object{{"array", Array{1}},
                                    {"boolean", false},
                                    {"integer", 0},
                                    {"null", Value()},
                                    {"object", Object{{"text", "inside"}}},
                                    {"real", 1.5},
                                    {"secret", Secure_String("secret")},
                                    {"text", ""}}}),
              R"([{"integer":0,"text":""}])");
}

TEST(Windows_BMR_Backup_Set, members_of_files_are_written_in_the_order_of_their_keys)
{
    EXPECT_EQ(written_files({Object{{"b", 1}, {"a", "2"}, {"", 3}, {"B", "4"}}}), R"([{"":3,"B":"4","a":"2","b":1}])");
}

TEST(Windows_BMR_Backup_Set, files_keep_their_order_and_empty_ones_stay)
{
    EXPECT_EQ(written_files({Object{{"n", 2}}, Object(), Object{{"n", Value()}}, Object{{"n", 1}}}),
              R"([{"n":2},{},{},{"n":1}])");
}

TEST(Windows_BMR_Backup_Set, integers_of_files_keep_both_ranges)
{
    EXPECT_EQ(written_files({Object{{"large", 18446744073709551615U}, {"signed", INT64_MIN}, {"unsigned", 7U}}}),
              R"([{"large":18446744073709551615,"signed":-9223372036854775808,"unsigned":7}])");
}

TEST(Windows_BMR_Backup_Set, keys_and_texts_of_files_are_escaped)
{
    EXPECT_EQ(written_files({Object{{"a \"key\"", "C:\\file\n"}}}), R"([{"a \"key\"":"C:\\file\n"}])");
}

TEST(Windows_BMR_Backup_Set, file_that_is_no_object_throws_and_the_document_is_closed)
{
    const Value elements[] = {"text", 5, Value(), true, Array(), 0.5};
    for (const Value& element : elements) {
        SCOPED_TRACE(JSON_Dump(element).str());
        Windows_BMR_Backup_Set set;
        set.agent = "agent";
        set.backup_files = {Object{{"path", "first"}}, element, Object{{"path", "third"}}};
        JSON_Text text;
        const Log_Capture log;
        EXPECT_THROW(set.generate(text.get()), json_spirit::Wrong_Type);
        EXPECT_EQ(log.count(), 0u) << log.text();
        EXPECT_TRUE(text.view().ends_with(R"(,"backup_files":[{"path":"first"}]})")) << text.view();
        Value document;
        EXPECT_TRUE(json_spirit::read(text.view(), document)) << text.view();
    }
}

TEST(Windows_BMR_Backup_Set, record_can_be_written_again_after_such_a_file_is_gone)
{
    Windows_BMR_Backup_Set set = filled_record<Windows_BMR_Set>();
    set.backup_files.emplace_back("text");
    EXPECT_THROW(to_json(set), json_spirit::Wrong_Type);
    set.backup_files.pop_back();
    EXPECT_EQ(to_json(set), Windows_BMR_Set::filled_document());
}

} // namespace record_test
