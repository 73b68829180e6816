#include "tests/catalog/cli/cli_test.h"

using namespace cli_test;

namespace {

class Choose_Copy_Command : public On_Both_Engines
{
protected:
    /// Records a set whose storages are those of a sample, and the rest as it is.
    void record(int storages)
    {
        Sample sample;
        sample.storages = storages;
        const Result result = catalog->run({"record", "-"}, document(sample));
        ASSERT_EQ(result.exit, 0) << result.err;
    }
};

INSTANTIATE_TEST_SUITE_P(Engines, Choose_Copy_Command, ::testing::Values("sqlite", "postgresql"), engine_name);

} // namespace

TEST_P(Choose_Copy_Command, one_storage_and_several)
{
    record(1);
    EXPECT_EQ(catalog->run({"choose-copy", sample_uuid(1)}).out, pool_uuid(0) + "\n");
    Sample several;
    several.number = 2;
    several.storages = 3;
    ASSERT_EQ(catalog->run({"record", "-"}, document(several)).exit, 0);
    const Result result = catalog->run({"choose-copy", sample_uuid(2)});
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_EQ(result.out, pool_uuid(0) + "\n");
    EXPECT_EQ(result.err, "");
}

TEST_P(Choose_Copy_Command, replica_when_the_first_copy_is_offline)
{
    std::string text = document(1);
    const std::string online = "[\"online\"]";
    text.replace(text.find(online), online.size(), "[\"offline\"]");
    ASSERT_EQ(catalog->run({"record", "-"}, text).exit, 0);
    const Result result = catalog->run({"choose-copy", sample_uuid(1)});
    EXPECT_EQ(result.out, pool_uuid(1) + "\n");
    EXPECT_EQ(result.err, "") << "the selector's trace is no message for people";
}

TEST_P(Choose_Copy_Command, explains_each_copy)
{
    record(2);
    const Result result = catalog->run({"choose-copy", sample_uuid(1), "--explain"});
    EXPECT_EQ(result.exit, 0) << result.err;
    const std::vector<std::string> table = lines(result.out);
    ASSERT_EQ(table.size(), 3u) << result.out;
    EXPECT_NE(table[1].find(pool_uuid(0) + "  first copy "), std::string::npos) << table[1];
    EXPECT_NE(table[1].find("  online             chosen: the first online first copy"), std::string::npos) << table[1];
    EXPECT_NE(table[2].find("replica of " + pool_uuid(0) + "  online,replicated  not looked at"), std::string::npos)
        << table[2];
}

TEST_P(Choose_Copy_Command, nothing_suitable_is_not_found)
{
    record(0);
    Result result = catalog->run({"choose-copy", sample_uuid(1)});
    EXPECT_EQ(result.exit, 3);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "backup-set: error: the set has no copy in any pool\n");

    Sample replica;
    replica.number = 2;
    replica.storages = 1;
    std::string text = document(replica);
    const std::string state = "\"state\":[\"online\"]";
    text.replace(text.find(state), state.size(),
                 "\"state\":[\"offline\"],\"upstream_pool_uuid\":\"" + pool_uuid(5) + "\"");
    ASSERT_EQ(catalog->run({"record", "-"}, text).exit, 0);
    result = catalog->run({"choose-copy", sample_uuid(2), "--explain"});
    EXPECT_EQ(result.exit, 3);
    EXPECT_NE(result.out.find("passed over: a replica that is not online"), std::string::npos) << result.out;
    EXPECT_EQ(result.err, "backup-set: error: none of the set's copies is suitable to read from\n");
}

TEST_P(Choose_Copy_Command, set_that_is_not_there)
{
    const Result result = catalog->run({"choose-copy", sample_uuid(1)});
    EXPECT_EQ(result.exit, 3);
    EXPECT_EQ(lines(result.err).size(), 1u);
}
