#include "platform/json/document.h"
#include "tests/catalog/cli/cli_test.h"

#include <fstream>

using namespace cli_test;

namespace {

class Record_Command : public On_Both_Engines
{
protected:
    std::string file(const std::string& name, const std::string& text) const
    {
        const std::string path = catalog->dir().file(name);
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    bool has(int number) const { return catalog->run({"show", sample_uuid(number)}).exit == 0; }
};

INSTANTIATE_TEST_SUITE_P(Engines, Record_Command, ::testing::Values("sqlite", "postgresql"), engine_name);

} // namespace

TEST_P(Record_Command, prints_the_uuid_of_a_set_that_can_then_be_shown)
{
    const Result result = catalog->run({"record", file("set.json", document(1))});
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_EQ(result.out, sample_uuid(1) + "\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(catalog->run({"show", sample_uuid(1), "--format", "json"}).out, document(1) + "\n");
}

TEST_P(Record_Command, takes_a_document_over_many_lines)
{
    const std::string compact = document(1);
    std::string pretty;
    for (const char c : compact) {
        pretty += c;
        if (c == ',' || c == '{' || c == '[') {
            pretty += "\n    ";
        }
    }
    ASSERT_TRUE(json_document::same_content(compact, pretty));
    const Result result = catalog->run({"record", file("set.json", pretty)});
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_EQ(catalog->run({"show", sample_uuid(1), "--format", "json"}).out, compact + "\n");
}

TEST_P(Record_Command, takes_many_documents_one_a_line_in_order)
{
    const Result result = catalog->run({"record", file("sets.ndjson", documents(1, 250))});
    EXPECT_EQ(result.exit, 0) << result.err;
    const std::vector<std::string> uuids = lines(result.out);
    ASSERT_EQ(uuids.size(), 250u);
    for (int i = 0; i < 250; ++i) {
        EXPECT_EQ(uuids[static_cast<std::size_t>(i)], sample_uuid(i + 1));
    }
    EXPECT_EQ(lines(catalog->run({"list", "--limit", "0", "--format", "ndjson"}).out).size(), 250u);
}

TEST_P(Record_Command, takes_standard_input_and_several_files)
{
    const Result result =
        catalog->run({"record", file("a.json", document(1)), "-", file("b.json", document(3))}, document(2));
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_EQ(result.out, sample_uuid(1) + "\n" + sample_uuid(2) + "\n" + sample_uuid(3) + "\n");
}

TEST_P(Record_Command, recording_again_is_no_failure_and_changes_nothing)
{
    ASSERT_EQ(catalog->run({"record", "-"}, documents(1, 3)).exit, 0);
    const Result again = catalog->run({"record", "-"}, documents(1, 3));
    EXPECT_EQ(again.exit, 0) << again.err;
    EXPECT_EQ(lines(again.out).size(), 3u);
    EXPECT_EQ(lines(catalog->run({"list", "--format", "ndjson"}).out).size(), 3u);
}

TEST_P(Record_Command, a_refused_document_names_its_place_and_leaves_the_others)
{
    std::string odd = document(2);
    const std::string dbid = "\"dbid\":0";
    odd.replace(odd.find(dbid), dbid.size(), "\"dbid\":\"many\"");
    const std::string path = file("sets.ndjson", document(1) + "\n" + odd + "\n" + "{\"cut\n" + document(3));
    const Result result = catalog->run({"record", path});
    EXPECT_EQ(result.exit, 4);
    EXPECT_EQ(result.out, sample_uuid(1) + "\n" + sample_uuid(3) + "\n");
    const std::vector<std::string> messages = lines(result.err);
    ASSERT_EQ(messages.size(), 2u) << result.err;
    EXPECT_TRUE(messages[0].starts_with("backup-set: error: " + path + ":2: document 2: ")) << messages[0];
    EXPECT_NE(messages[0].find("dbid"), std::string::npos) << messages[0];
    EXPECT_TRUE(messages[1].starts_with("backup-set: error: " + path + ":3: document 3: malformed JSON"))
        << messages[1];
    EXPECT_TRUE(has(1));
    EXPECT_FALSE(has(2));
    EXPECT_TRUE(has(3));
}

TEST_P(Record_Command, other_content_under_a_uuid_is_refused_and_the_set_stays)
{
    ASSERT_EQ(catalog->run({"record", "-"}, document(1)).exit, 0);
    Sample other;
    other.name = "another";
    other.pieces = 7;
    const Result result = catalog->run({"record", "-"}, document(other) + "\n" + document(2));
    EXPECT_EQ(result.exit, 4);
    EXPECT_EQ(result.out, sample_uuid(2) + "\n");
    ASSERT_EQ(lines(result.err).size(), 1u) << result.err;
    EXPECT_TRUE(result.err.starts_with("backup-set: error: standard input:1: document 1: ")) << result.err;
    EXPECT_NE(result.err.find(sample_uuid(1)), std::string::npos) << result.err;
    EXPECT_EQ(catalog->run({"show", sample_uuid(1), "--format", "json"}).out, document(1) + "\n");
}

TEST_P(Record_Command, a_file_that_cannot_be_read_leaves_the_others)
{
    const std::string missing = catalog->dir().file("missing.json");
    const Result result = catalog->run({"record", missing, catalog->dir().path().string(), "-"}, document(1));
    EXPECT_EQ(result.exit, 1);
    EXPECT_EQ(result.out, sample_uuid(1) + "\n");
    EXPECT_EQ(result.err, "backup-set: error: cannot read " + missing
                              + ": No such file or directory\n"
                                "backup-set: error: cannot read "
                              + catalog->dir().path().string() + ": Is a directory\n");
}

TEST_P(Record_Command, an_empty_input_is_no_failure)
{
    const Result result = catalog->run({"record", "-"}, "\n\n");
    EXPECT_EQ(result.exit, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
}

TEST_P(Record_Command, nothing_is_recorded_by_half_when_the_database_fails)
{
    ASSERT_EQ(catalog->run({"record", "-"}, document(1)).exit, 0);
    // A set has its row here last or not; either way its rows elsewhere must go with it.
    catalog->execute("DROP TABLE backup_set_media; DROP TABLE backup_set_storage");
    const Result result = catalog->run({"record", "-"}, document(2) + "\n" + document(3) + "\n");
    EXPECT_EQ(result.exit, 1);
    EXPECT_EQ(result.out, "");
    ASSERT_EQ(lines(result.err).size(), 1u) << result.err;
    EXPECT_TRUE(result.err.starts_with("backup-set: error: standard input:1: document 1: not recorded: "))
        << result.err;
    EXPECT_FALSE(has(2));
    EXPECT_FALSE(has(3));
}

TEST_P(Record_Command, verbose_shows_the_log_beside_the_message)
{
    ASSERT_EQ(catalog->run({"record", "-"}, document(1)).exit, 0);
    catalog->execute("DROP TABLE backup_set_media; DROP TABLE backup_set_storage");
    const Result result = catalog->run({"--verbose", "record", "-"}, document(2));
    EXPECT_EQ(result.exit, 1);
    EXPECT_NE(result.err.find("backup-set: log: LM_ERROR: "), std::string::npos) << result.err;
    EXPECT_EQ(count(result.err, "backup-set: error: "), 1u) << result.err;
}
