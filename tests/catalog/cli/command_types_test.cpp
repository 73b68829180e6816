#include "catalog/schema/set_type.h"
#include "platform/json/value.h"
#include "tests/catalog/cli/cli_test.h"

using namespace cli_test;

TEST(Types_Command, table_has_a_line_for_each_type)
{
    const Result result = run({"types"});
    EXPECT_EQ(result.exit, 0);
    EXPECT_EQ(result.err, "");
    const std::vector<std::string> table = lines(result.out);
    ASSERT_EQ(table.size(), catalog::set_types().size() + 1);
    EXPECT_TRUE(table[0].starts_with("TYPE "));
    for (std::size_t i = 1; i < table.size(); ++i) {
        const catalog::Set_Type& type = catalog::set_types()[i - 1];
        EXPECT_TRUE(table[i].starts_with(std::string(type.id) + " ")) << table[i];
        EXPECT_NE(table[i].find(type.class_name), std::string::npos) << table[i];
        for (const char* name : type.tables) {
            EXPECT_NE(table[i].find(name), std::string::npos) << table[i];
        }
    }
}

TEST(Types_Command, json_is_json_and_nothing_else)
{
    const Result result = run({"types", "--format", "json"});
    EXPECT_EQ(result.exit, 0);
    json_spirit::Value value;
    std::string fault;
    ASSERT_TRUE(json_spirit::read(result.out, value, &fault)) << fault;
    const json_spirit::Array& types = value.get_array();
    ASSERT_EQ(types.size(), catalog::set_types().size());
    for (std::size_t i = 0; i < types.size(); ++i) {
        const catalog::Set_Type& type = catalog::set_types()[i];
        const json_spirit::Object& object = types[i].get_obj();
        EXPECT_EQ(object.at("id").get_str(), type.id);
        EXPECT_EQ(object.at("class").get_str(), type.class_name);
        EXPECT_EQ(object.at("catalog_module").get_str(), type.catalog_module);
        ASSERT_EQ(object.at("tables").get_array().size(), type.tables.size());
        ASSERT_EQ(object.at("aliases").get_array().size(), type.aliases.size());
    }
}
