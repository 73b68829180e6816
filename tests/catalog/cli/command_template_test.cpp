#include "catalog/schema/set_type.h"
#include "platform/json/json_generator.h"
#include "tests/catalog/cli/cli_test.h"

using namespace cli_test;

TEST(Template_Command, is_what_a_fresh_record_writes_byte_for_byte)
{
    for (const catalog::Set_Type& type : catalog::set_types()) {
        const Result result = run({"template", type.id});
        EXPECT_EQ(result.exit, 0) << type.id;
        EXPECT_EQ(result.err, "") << type.id;
        const auto record = type.make();
        EXPECT_EQ(result.out, to_json(*record) + "\n") << type.id;
    }
}

TEST(Template_Command, unknown_type_is_a_usage_error_that_names_the_known_ones)
{
    const Result result = run({"template", "tape"});
    EXPECT_EQ(result.exit, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(lines(result.err).size(), 1u) << result.err;
    EXPECT_NE(result.err.find("tape"), std::string::npos);
    EXPECT_NE(result.err.find("oracle_arch"), std::string::npos);
}
