#include "platform/json/value.h"
#include "tests/catalog/cli/cli_test.h"

using namespace cli_test;

namespace {

class List_Command : public On_Both_Engines
{
protected:
    void SetUp() override
    {
        On_Both_Engines::SetUp();
        if (catalog == nullptr) {
            return;
        }
        Sample arch;
        arch.number = 2;
        arch.type = "oracle_arch";
        arch.host = "db2";
        arch.start = "2024-05-02 22:00:00";
        arch.storages = 1;
        Sample file;
        file.number = 3;
        file.type = "file";
        file.name = "备份 \x1b[31mred";
        file.start = "2024-05-03 22:00:00";
        file.storages = 0;
        const Result result =
            catalog->run({"record", "-"}, document(1) + "\n" + document(arch) + "\n" + document(file) + "\n");
        ASSERT_EQ(result.exit, 0) << result.err;
    }

    /// The numbers of the sets that a listing gives, in its order.
    std::vector<int> numbers(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), "list");
        arguments.insert(arguments.end(), {"--format", "ndjson"});
        const Result result = catalog->run(arguments);
        EXPECT_EQ(result.exit, 0) << result.err;
        std::vector<int> all;
        for (const std::string& line : lines(result.out)) {
            json_spirit::Value set;
            EXPECT_TRUE(json_spirit::read(line, set)) << line;
            for (int number = 1; number <= 3; ++number) {
                if (set.get_obj().at("uuid").get_str() == sample_uuid(number)) {
                    all.push_back(number);
                }
            }
        }
        return all;
    }
};

using Numbers = std::vector<int>;

INSTANTIATE_TEST_SUITE_P(Engines, List_Command, ::testing::Values("sqlite", "postgresql"), engine_name);

} // namespace

TEST_P(List_Command, newest_first)
{
    EXPECT_EQ(numbers({}), (Numbers{3, 2, 1}));
}

TEST_P(List_Command, filters)
{
    EXPECT_EQ(numbers({"--type", "oracle_arch"}), Numbers{2});
    EXPECT_EQ(numbers({"--host", "db1"}), (Numbers{3, 1}));
    EXPECT_EQ(numbers({"--host", "000000C3-0000-4000-8000-000000000001"}), (Numbers{3, 2, 1}));
    EXPECT_EQ(numbers({"--resource", "{000000d4-0000-4000-8000-000000000001}"}), (Numbers{3, 2, 1}));
    EXPECT_EQ(numbers({"--resource", sample_uuid(9)}), Numbers{});
    EXPECT_EQ(numbers({"--state", "online"}), (Numbers{2, 1}));
    EXPECT_EQ(numbers({"--state", "replicated"}), Numbers{1});
    EXPECT_EQ(numbers({"--since", "2024-05-02"}), (Numbers{3, 2}));
    EXPECT_EQ(numbers({"--since", "2024-05-02 22:00:00", "--until", "2024-05-03 22:00:00"}), Numbers{2});
    EXPECT_EQ(numbers({"--until", "2024-05-02T06:00:00+08:00"}), Numbers{}) << "the instant at which the first started";
    EXPECT_EQ(numbers({"--until", "2024-05-02T06:00:01+08:00"}), Numbers{1});
    EXPECT_EQ(numbers({"--type", "file", "--host", "db2"}), Numbers{});
}

TEST_P(List_Command, pages_follow_each_other)
{
    Result page = catalog->run({"list", "--limit", "2", "--format", "json"});
    ASSERT_EQ(page.exit, 0) << page.err;
    EXPECT_EQ(page.err, "") << "the key is in the JSON";
    json_spirit::Value value;
    ASSERT_TRUE(json_spirit::read(page.out, value)) << page.out;
    ASSERT_EQ(value.get_obj().at("sets").get_array().size(), 2u);
    const std::string next = value.get_obj().at("next").get_str();
    page = catalog->run({"list", "--limit", "2", "--format", "json", "--after", next});
    ASSERT_EQ(page.exit, 0) << page.err;
    ASSERT_TRUE(json_spirit::read(page.out, value)) << page.out;
    ASSERT_EQ(value.get_obj().at("sets").get_array().size(), 1u);
    EXPECT_EQ(value.get_obj().at("sets").get_array()[0].get_obj().at("uuid").get_str(), sample_uuid(1));
    EXPECT_TRUE(value.get_obj().at("next").is_null());
}

TEST_P(List_Command, people_are_told_how_to_go_on)
{
    const Result page = catalog->run({"list", "--limit", "2"});
    ASSERT_EQ(page.exit, 0);
    const std::string note = "backup-set: note: there are more sets: --after ";
    ASSERT_TRUE(page.err.starts_with(note)) << page.err;
    const std::string key = lines(page.err).front().substr(note.size());
    const Result rest = catalog->run({"list", "--after", key});
    EXPECT_EQ(lines(rest.out).size(), 2u) << rest.out;
    EXPECT_NE(rest.out.find(sample_uuid(1)), std::string::npos);
    EXPECT_EQ(rest.err, "");
}

TEST_P(List_Command, no_limit_goes_through_all_pages)
{
    const Result recorded = catalog->run({"record", "-"}, documents(100, 1100));
    ASSERT_EQ(recorded.exit, 0) << recorded.err;
    const Result all = catalog->run({"list", "--limit", "0", "--format", "ndjson"});
    EXPECT_EQ(lines(all.out).size(), 1103u);
    EXPECT_EQ(all.err, "");
    const Result json = catalog->run({"list", "--limit", "1050", "--format", "json"});
    json_spirit::Value value;
    ASSERT_TRUE(json_spirit::read(json.out, value));
    EXPECT_EQ(value.get_obj().at("sets").get_array().size(), 1050u);
    EXPECT_FALSE(value.get_obj().at("next").is_null());
    const Result table = catalog->run({"list", "--limit", "0"});
    EXPECT_EQ(lines(table.out).size(), 1104u);
    EXPECT_EQ(count(table.out, "UUID"), 1u);
}

TEST_P(List_Command, json_has_exact_numbers_and_the_table_readable_ones)
{
    const Result json = catalog->run({"list", "--type", "oracle", "--format", "ndjson"});
    EXPECT_EQ(json.out,
              "{\"uuid\":\"" + sample_uuid(1)
                  + "\",\"type\":\"oracle\",\"name\":\"nightly\",\"host\":\"db1\",\"host_uuid\":"
                    "\"000000c3-0000-4000-8000-000000000001\",\"resource_uuid\":"
                    "\"000000d4-0000-4000-8000-000000000001\",\"minor_resource_name\":\"\",\"backup_type\":"
                    "\"full\",\"backup_start_time\":\"2024-05-01 22:00:00\",\"backup_end_time\":"
                    "\"2024-05-01 22:10:00\",\"size\":5001,\"source_size\":70001,\"piece_count\":3,\"states\":"
                    "[\"online\",\"replicated\"]}\n");
    const Result table = catalog->run({"list", "--type", "oracle"});
    EXPECT_EQ(table.out,
              "UUID                                  TYPE    NAME     HOST  STARTED (UTC)           SIZE  PIECES"
              "  STATES\n"
                  + sample_uuid(1)
                  + "  oracle  nightly  db1   2024-05-01 22:00:00  4.9 KiB       3  online,replicated\n");
}

TEST_P(List_Command, no_control_character_reaches_the_terminal)
{
    const Result table = catalog->run({"list"});
    EXPECT_EQ(table.out.find('\x1b'), std::string::npos);
    EXPECT_NE(table.out.find("备份 \\x1b[31mred"), std::string::npos) << table.out;
}

TEST_P(List_Command, an_empty_list_is_still_whole_in_each_format)
{
    const std::string nobody = sample_uuid(9);
    EXPECT_EQ(lines(catalog->run({"list", "--resource", nobody}).out).size(), 1u);
    EXPECT_EQ(catalog->run({"list", "--resource", nobody, "--format", "ndjson"}).out, "");
    json_spirit::Value value;
    const Result json = catalog->run({"list", "--resource", nobody, "--format", "json"});
    ASSERT_TRUE(json_spirit::read(json.out, value));
    EXPECT_TRUE(value.get_obj().at("sets").get_array().empty());
}

TEST_P(List_Command, what_no_filter_can_be_is_a_usage_error)
{
    const std::vector<std::vector<std::string>> wrong = {
        {"--type", "tape"},        {"--state", "ONLINE"}, {"--since", "yesterday"},
        {"--until", "2024-02-30"}, {"--limit", "-1"},     {"--limit", "many"},
        {"--resource", "x"},       {"--format", "xml"},   {"--after", "no page gave this"}};
    for (std::vector<std::string> arguments : wrong) {
        const std::string shown = arguments[0] + " " + arguments[1];
        arguments.insert(arguments.begin(), "list");
        const Result result = catalog->run(arguments);
        EXPECT_EQ(result.exit, 2) << shown;
        EXPECT_EQ(result.out, "") << shown;
        EXPECT_EQ(lines(result.err).size(), 1u) << shown << ": " << result.err;
    }
}
