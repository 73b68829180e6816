#include "platform/json/document.h"
#include "tests/catalog/cli/cli_test.h"

using namespace cli_test;

namespace {

class Show_Command : public On_Both_Engines
{
protected:
    void record(const std::string& text)
    {
        const Result result = catalog->run({"record", "-"}, text);
        ASSERT_EQ(result.exit, 0) << result.err;
    }
};

INSTANTIATE_TEST_SUITE_P(Engines, Show_Command, ::testing::Values("sqlite", "postgresql"), engine_name);

} // namespace

TEST_P(Show_Command, json_is_the_recorded_document_byte_for_byte)
{
    Sample sample;
    sample.name = "备份 \\ \"x\"";
    sample.extra = R"(,"unknown":[1.50,2e3,{"a":1,"a":2}])";
    record(document(sample));
    const Result result = catalog->run({"show", sample_uuid(1), "--format", "json"});
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_EQ(result.out, document(sample) + "\n");
    EXPECT_EQ(result.err, "");
}

TEST_P(Show_Command, uuid_in_any_spelling)
{
    record(document(1));
    EXPECT_EQ(catalog->run({"show", "{000000A1-0000-4000-8000-000000000001}", "--format", "json"}).out,
              document(1) + "\n");
    EXPECT_EQ(catalog->run({"show", "000000a1000040008000000000000001", "--format", "json"}).out, document(1) + "\n");
}

TEST_P(Show_Command, text_has_the_document_the_pieces_and_the_storages)
{
    Sample sample;
    sample.type = "file";
    sample.extra = R"(,"twice":1,"twice":[2])";
    record(document(sample));
    const Result result = catalog->run({"show", sample_uuid(1)});
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_TRUE(result.out.starts_with("Document\n{\n    \"catalog_module\": \"file\",\n    \"uuid\": \""
                                       + sample_uuid(1) + "\",\n"))
        << result.out;
    EXPECT_NE(result.out.find("    \"twice\": 1,\n    \"twice\": [\n        2\n    ]\n}\n"), std::string::npos)
        << result.out;
    EXPECT_NE(result.out.find("\nPieces\n"
                              "  OBJECT         SIZE  PATH         ATTRIBUTES\n"
                              "  set1/piece0  1000 B  /data/file0\n"
                              "  set1/piece1  1001 B  /data/file1\n"
                              "  set1/piece2  1002 B  /data/file2\n"),
              std::string::npos)
        << result.out;
    EXPECT_NE(result.out.find("\nStorages\n"
                              "  POOL                                  STATE                 SIZE  REPLICATED FROM"
                              "                       ATTRIBUTES\n"
                              "  "
                              + pool_uuid(0) + "  online             4.9 KiB\n  " + pool_uuid(1)
                              + "  online,replicated  4.9 KiB  " + pool_uuid(0) + "\n"),
              std::string::npos)
        << result.out;
    EXPECT_EQ(count(result.out, "\"pieces\""), 0u) << "they have a table of their own";
}

TEST_P(Show_Command, text_of_a_set_without_pieces_and_storages)
{
    Sample sample;
    sample.pieces = 0;
    sample.storages = 0;
    record(document(sample));
    const Result result = catalog->run({"show", sample_uuid(1)});
    EXPECT_NE(result.out.find("\nPieces\n  none\n\nStorages\n  none\n"), std::string::npos) << result.out;
}

TEST_P(Show_Command, text_of_a_single_storage)
{
    Sample sample;
    sample.storages = 1;
    record(document(sample));
    const Result result = catalog->run({"show", sample_uuid(1)});
    EXPECT_EQ(count(result.out, pool_uuid(0)), 1u) << result.out;
}

TEST_P(Show_Command, no_control_character_reaches_the_terminal)
{
    std::string text = document(1);
    const std::string path = "/data/file1";
    text.replace(text.find(path), path.size(),
                 "/a\\u001b[2J\xc2\x9b"
                 "1m");
    const std::string name = "nightly";
    text.replace(text.find(name), name.size(),
                 "n\\u0007\xc2\x9b"
                 "1m");
    record(text);
    const Result result = catalog->run({"show", sample_uuid(1)});
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_EQ(result.out.find('\x1b'), std::string::npos);
    EXPECT_EQ(result.out.find("\xc2\x9b"), std::string::npos);
    EXPECT_NE(result.out.find("\"name\": \"n\\u0007\\u009b1m\""), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("/a\\x1b[2J\\u009b1m"), std::string::npos) << result.out;
}

TEST_P(Show_Command, set_that_is_not_there)
{
    const Result result = catalog->run({"show", sample_uuid(1)});
    EXPECT_EQ(result.exit, 3);
    EXPECT_EQ(result.out, "");
    ASSERT_EQ(lines(result.err).size(), 1u) << result.err;
    EXPECT_NE(result.err.find(sample_uuid(1)), std::string::npos) << result.err;
}

TEST_P(Show_Command, what_is_no_uuid_is_a_usage_error)
{
    const Result result = catalog->run({"show", "first"});
    EXPECT_EQ(result.exit, 2);
    EXPECT_EQ(result.err, "backup-set: error: UUID: \"first\" is not a UUID; see `backup-set show --help`\n");
}
