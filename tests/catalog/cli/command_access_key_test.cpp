#include "tests/catalog/cli/cli_test.h"

#include <fstream>

using namespace cli_test;

namespace {

class Access_Key : public ::testing::Test
{
protected:
    Result command(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), "access-key");
        arguments.insert(arguments.end(), {"--access-keys", file});
        return run(arguments);
    }

    Temp_Dir dir;
    std::string file = dir.file("keys");
};

TEST_F(Access_Key, add_prints_the_key_once_and_list_never)
{
    const Result added = command({"add", "--name", "db1", "--role", "writer"});
    EXPECT_EQ(added.exit, 0);
    ASSERT_EQ(lines(added.out).size(), 1u);
    EXPECT_TRUE(added.out.starts_with("db1."));
    const Result listed = command({"list"});
    EXPECT_EQ(listed.exit, 0);
    ASSERT_EQ(lines(listed.out).size(), 2u);
    EXPECT_NE(lines(listed.out)[1].find("writer"), std::string::npos);
    EXPECT_EQ(listed.out.find(added.out.substr(4, 64)), std::string::npos);
}

TEST_F(Access_Key, remove_takes_one_out)
{
    command({"add", "--name", "db1", "--role", "writer"});
    EXPECT_EQ(command({"remove", "--name", "db1"}).exit, 0);
    EXPECT_EQ(lines(command({"list"}).out).size(), 1u);
    const Result again = command({"remove", "--name", "db1"});
    EXPECT_EQ(again.exit, 1);
    EXPECT_EQ(again.err, "backup-set: error: there is no key of the name db1\n");
}

TEST_F(Access_Key, says_what_is_missing)
{
    EXPECT_EQ(command({"add", "--role", "writer"}).exit, 2);
    EXPECT_EQ(command({"add", "--name", "db1"}).exit, 2);
    EXPECT_EQ(command({"add", "--name", "d b", "--role", "reader"}).exit, 2);
    EXPECT_EQ(command({"add", "--name", "db1", "--role", "king"}).exit, 2);
    EXPECT_EQ(command({"list"}).exit, 1); // there is no file yet
    EXPECT_EQ(command({"list", "--name", "db1"}).exit, 2);
}

} // namespace
