#include "catalog/schema/schema.h"
#include "tests/catalog/cli/cli_test.h"

using namespace cli_test;

namespace {

class Schema_Command : public On_Both_Engines
{};

INSTANTIATE_TEST_SUITE_P(Engines, Schema_Command, ::testing::Values("sqlite", "postgresql"), engine_name);

} // namespace

TEST(Schema_Command_Alone, show_needs_no_database)
{
    EXPECT_EQ(run({"schema", "show", "--engine", "sqlite"}).out, catalog::create_schema(SQL_Dialect::SQLITE));
    EXPECT_EQ(run({"schema", "show", "--engine", "postgresql"}).out, catalog::create_schema(SQL_Dialect::POSTGRESQL));
    const Result result = run({"--database", "postgresql://nobody@nowhere.invalid/x", "schema", "show"});
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_EQ(result.out, catalog::create_schema(SQL_Dialect::POSTGRESQL));
}

TEST(Schema_Command_Alone, engine_goes_with_show_only)
{
    const Result result = run({"schema", "version", "--engine", "sqlite"});
    EXPECT_EQ(result.exit, 2);
    EXPECT_EQ(result.out, "");
}

TEST_P(Schema_Command, migrate_makes_the_schema_and_then_leaves_it)
{
    const std::string version = std::to_string(catalog::schema_version);
    EXPECT_EQ(catalog->run({"schema", "version"}).out, "0\n");
    EXPECT_EQ(catalog->run({"schema", "migrate"}).out, "from version 0 to version " + version + "\n");
    EXPECT_EQ(catalog->run({"schema", "version"}).out, version + "\n");
    EXPECT_EQ(catalog->run({"schema", "migrate"}).out, "version " + version + " already\n");
}

TEST_P(Schema_Command, what_show_prints_makes_a_catalog)
{
    const std::string script = run({"--database", catalog->url(), "schema", "show"}).out;
    catalog->execute(script);
    EXPECT_EQ(catalog->run({"record", "-"}, document(1)).exit, 0);
    EXPECT_EQ(catalog->run({"show", sample_uuid(1), "--format", "json"}).out, document(1) + "\n");
}

TEST_P(Schema_Command, newer_schema_is_refused_by_every_command_that_reads_or_writes)
{
    ASSERT_EQ(catalog->run({"record", "-"}, document(1)).exit, 0);
    catalog->execute("UPDATE catalog_schema SET version = version + 1");
    const std::vector<std::vector<std::string>> commands = {{"record", "-"},          {"list"},
                                                            {"show", sample_uuid(1)}, {"load", "oracle"},
                                                            {"rows", "oracle"},       {"choose-copy", sample_uuid(1)},
                                                            {"schema", "migrate"}};
    for (const std::vector<std::string>& command : commands) {
        const Result result = catalog->run(command, document(2));
        EXPECT_EQ(result.exit, 1) << command[0];
        EXPECT_EQ(result.out, "") << command[0];
        EXPECT_EQ(lines(result.err).size(), 1u) << command[0] << ": " << result.err;
        EXPECT_NE(result.err.find("newer"), std::string::npos) << command[0] << ": " << result.err;
    }
    EXPECT_EQ(catalog->run({"schema", "version"}).out, std::to_string(catalog::schema_version + 1) + "\n");
}
