#include "catalog/store/catalog_store.h"
#include "platform/json/value.h"
#include "tests/catalog/cli/cli_test.h"

#include <span>

using namespace cli_test;

namespace {

class Queue_Command : public On_Both_Engines
{
protected:
    void SetUp() override
    {
        On_Both_Engines::SetUp();
        if (catalog == nullptr) {
            return;
        }
        // The second of three can never be applied.
        catalog::Error error;
        const auto store =
            catalog::Catalog_Store::open(catalog->url(), catalog::Catalog_Store::Schema_Policy::CREATE, error);
        ASSERT_NE(store, nullptr) << error.message;
        enqueue(*store, document(1));
        enqueue(*store, document(2));
        std::vector<catalog::Write_Answer> answers;
        Sample other;
        other.number = 2;
        other.name = "other";
        ASSERT_FALSE(store->record(document(other)).error);
        ASSERT_TRUE(store->apply_queued(10, answers, error)) << error.message;
        ASSERT_EQ(answers.size(), 2U);
        enqueue(*store, document(3));
    }

    static void enqueue(catalog::Catalog_Store& store, const std::string& document)
    {
        catalog::Write_Request request;
        request.params = document;
        request.queue = true;
        const catalog::Write_Answer answer = store.apply(std::span(&request, 1), 1'700'000'000).at(0);
        ASSERT_TRUE(answer.queued) << answer.error.message;
    }

    /// The entries that are listed, as JSON.
    json_spirit::Array entries(const std::vector<std::string>& options = {})
    {
        std::vector<std::string> arguments{"queue", "list", "--format", "json"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const Result result = catalog->run(arguments);
        EXPECT_EQ(result.exit, 0) << result.err;
        json_spirit::Value value;
        EXPECT_TRUE(json_spirit::read(result.out, value)) << result.out;
        next = value.get_obj().at("next");
        return value.get_obj().at("entries").get_array();
    }

    std::string id_of(int number)
    {
        for (const json_spirit::Value& entry : entries()) {
            if (entry.get_obj().at("uuid").get_str() == sample_uuid(number)) {
                return std::to_string(entry.get_obj().at("id").get_int64());
            }
        }
        return "none";
    }

    json_spirit::Value next;
};

INSTANTIATE_TEST_SUITE_P(Engines, Queue_Command, ::testing::Values("sqlite", "postgresql"), engine_name);

} // namespace

TEST_P(Queue_Command, lists_what_failed_and_what_waits)
{
    const json_spirit::Array all = entries();
    ASSERT_EQ(all.size(), 2U);
    const json_spirit::Object& failed = all[0].get_obj();
    EXPECT_EQ(failed.at("uuid").get_str(), sample_uuid(2));
    EXPECT_EQ(failed.at("type").get_str(), "oracle");
    EXPECT_EQ(failed.at("state").get_str(), "failed");
    EXPECT_EQ(failed.at("queued").get_str(), "2023-11-14 22:13:20");
    EXPECT_NE(failed.at("message").get_str().find("other content"), std::string::npos);
    EXPECT_EQ(all[1].get_obj().at("uuid").get_str(), sample_uuid(3));
    EXPECT_EQ(all[1].get_obj().at("state").get_str(), "waiting");
    EXPECT_TRUE(next.is_null());
    const Result table = catalog->run({"queue", "list"});
    EXPECT_EQ(table.exit, 0);
    EXPECT_EQ(table.err, "");
    const std::vector<std::string> rows = lines(table.out);
    ASSERT_EQ(rows.size(), 3U) << table.out;
    EXPECT_NE(rows[0].find("QUEUED (UTC)"), std::string::npos);
    EXPECT_NE(rows[1].find("failed"), std::string::npos);
    EXPECT_NE(rows[2].find(sample_uuid(3)), std::string::npos);
}

TEST_P(Queue_Command, pages_follow_each_other)
{
    ASSERT_EQ(entries({"--limit", "1"}).size(), 1U);
    const std::string after = std::to_string(next.get_int64());
    const json_spirit::Array rest = entries({"--limit", "1", "--after", after});
    ASSERT_EQ(rest.size(), 1U);
    EXPECT_EQ(rest[0].get_obj().at("uuid").get_str(), sample_uuid(3));
    EXPECT_TRUE(next.is_null());
    const Result table = catalog->run({"queue", "list", "--limit", "1"});
    EXPECT_EQ(lines(table.out).size(), 2U);
    EXPECT_NE(table.err.find("--after " + after), std::string::npos) << table.err;
    EXPECT_EQ(lines(catalog->run({"queue", "list", "--limit", "0"}).out).size(), 3U);
}

TEST_P(Queue_Command, shows_an_entry_with_its_document)
{
    const Result json = catalog->run({"queue", "show", id_of(2), "--format", "json"});
    EXPECT_EQ(json.exit, 0) << json.err;
    json_spirit::Value value;
    ASSERT_TRUE(json_spirit::read(json.out, value)) << json.out;
    EXPECT_NE(json.out.find("\"document\":" + document(2) + "}\n"), std::string::npos) << json.out;
    const Result text = catalog->run({"queue", "show", id_of(2)});
    EXPECT_NE(text.out.find("failed"), std::string::npos);
    EXPECT_NE(text.out.find("\"nightly\""), std::string::npos);
}

TEST_P(Queue_Command, lets_entries_wait_again_and_drops_them)
{
    const std::string failed = id_of(2);
    const std::string waiting = id_of(3);
    const Result retry = catalog->run({"queue", "retry", failed, waiting});
    EXPECT_EQ(retry.exit, 0) << retry.err;
    EXPECT_EQ(retry.out, "entry " + failed + " waits\nentry " + waiting + " waits\n");
    EXPECT_EQ(entries()[0].get_obj().at("state").get_str(), "waiting");
    const Result drop = catalog->run({"queue", "drop", failed});
    EXPECT_EQ(drop.exit, 0) << drop.err;
    EXPECT_EQ(drop.out, "entry " + failed + " dropped\n");
    EXPECT_EQ(entries().size(), 1U);
}

TEST_P(Queue_Command, an_entry_that_is_not_there_is_told_and_the_others_are_treated)
{
    const std::string id = id_of(3);
    for (const char* action : {"show", "retry", "drop"}) {
        const Result result = catalog->run({"queue", action, "999", id});
        EXPECT_EQ(result.exit, 3) << action;
        EXPECT_NE(result.err.find("999"), std::string::npos);
        EXPECT_NE(result.out.find(std::string(action) == "show" ? sample_uuid(3) : "entry " + id), std::string::npos);
    }
    EXPECT_EQ(entries().size(), 1U);
}

TEST_P(Queue_Command, a_wrong_command_line_is_told)
{
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"queue"},
                                                      {"queue", "mend"},
                                                      {"queue", "drop"},
                                                      {"queue", "list", "1"},
                                                      {"queue", "drop", "0"},
                                                      {"queue", "drop", "-1"},
                                                      {"queue", "drop", "1x"},
                                                      {"queue", "list", "--after", "x"}})
    {
        const Result result = catalog->run(arguments);
        EXPECT_EQ(result.exit, 2) << arguments.back();
        EXPECT_NE(result.err, "") << arguments.back();
    }
    EXPECT_EQ(entries().size(), 2U);
}
