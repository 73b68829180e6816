#include "catalog/cli/program.h"

#include "tests/catalog/cli/cli_test.h"

using namespace cli_test;

TEST(Program, no_command_and_unknown_ones_are_usage_errors)
{
    const std::vector<std::vector<std::string>> wrong = {{},
                                                         {"frobnicate"},
                                                         {"list", "extra"},
                                                         {"list", "--nonsense"},
                                                         {"list", "show"},
                                                         {"show"},
                                                         {"record"},
                                                         {"--database"},
                                                         {"--generate", "html"},
                                                         {"list", "--format", "json", "--format", "table"}};
    for (const std::vector<std::string>& arguments : wrong) {
        const Result result = run(arguments);
        const std::string shown = arguments.empty() ? "" : arguments.back();
        EXPECT_EQ(result.exit, 2) << shown;
        EXPECT_EQ(result.out, "") << shown;
        EXPECT_EQ(lines(result.err).size(), 1u) << shown << ": " << result.err;
        EXPECT_TRUE(result.err.starts_with("backup-set: error: ")) << result.err;
        EXPECT_NE(result.err.find("--help`"), std::string::npos) << result.err;
    }
}

TEST(Program, common_options_stand_before_or_behind_the_command)
{
    const Catalog catalog(false);
    ASSERT_EQ(run({"--database", catalog.url(), "record", "-"}, document(1)).exit, 0);
    EXPECT_EQ(lines(run({"list", "--format=ndjson", "--database=" + catalog.url()}).out).size(), 1u);
}

TEST(Program, database_that_cannot_be_opened_is_told_once)
{
    const Temp_Dir dir;
    for (const char* command : {"list", "record"}) {
        std::vector<std::string> arguments = {"--database", "sqlite:" + dir.file("no/such/folder.db"), command};
        if (std::string(command) == "record") {
            arguments.emplace_back("-");
        }
        const Result result = run(arguments);
        EXPECT_EQ(result.exit, 1);
        EXPECT_EQ(lines(result.err).size(), 1u) << result.err;
        EXPECT_NE(result.err.find("no/such/folder.db"), std::string::npos) << result.err;
    }
}

TEST(Program, url_of_no_known_engine_is_told)
{
    const Result result = run({"--database", "mysql://h/db", "list"});
    EXPECT_EQ(result.exit, 1);
    EXPECT_NE(result.err.find("postgresql://"), std::string::npos) << result.err;
}

TEST(Program, a_stream_that_cannot_be_written_is_a_failure)
{
    std::ostringstream out;
    out.setstate(std::ios::badbit);
    std::istringstream in;
    std::ostringstream err;
    const char* const words[] = {"backup-set", "types"};
    EXPECT_EQ(catalog::cli::run(2, words, in, out, err), 1);
    EXPECT_TRUE(err.str().starts_with("backup-set: error: cannot write the output")) << err.str();
}
