#include "catalog/service/access_keys.h"

#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <sys/stat.h>

using namespace catalog::service;

namespace {

class Access_Key_File : public ::testing::Test
{
protected:
    std::string add(const std::string& name, Role role)
    {
        std::string key;
        std::string fault;
        EXPECT_TRUE(add_access_key(file, name, role, key, fault)) << fault;
        return key;
    }

    std::string text() const
    {
        std::ifstream in(file);
        std::ostringstream all;
        all << in.rdbuf();
        return all.str();
    }

    void write(const std::string& text) const
    {
        std::ofstream out(file);
        out << text;
        out.close();
        ::chmod(file.c_str(), 0600);
    }

    std::string read_fault() const
    {
        std::vector<Access_Key> keys;
        std::string fault;
        EXPECT_FALSE(read_access_keys(file, keys, fault));
        return fault;
    }

    Temp_Dir dir;
    std::string file = dir.file("keys");
};

TEST_F(Access_Key_File, lets_in_whom_it_has_and_nobody_else)
{
    const std::string writer = add("db1", Role::WRITER);
    const std::string reader = add("report", Role::READER);
    std::string fault;
    const auto keys = Access_Keys::open(file, fault);
    ASSERT_NE(keys, nullptr) << fault;

    ASSERT_TRUE(keys->find(writer));
    EXPECT_EQ(keys->find(writer)->name, "db1");
    EXPECT_EQ(keys->find(writer)->role, Role::WRITER);
    EXPECT_EQ(keys->find(reader)->role, Role::READER);

    std::string wrong = writer;
    wrong.back() = wrong.back() == '0' ? '1' : '0';
    const std::string crossed = "report" + writer.substr(writer.find('.'));
    for (const std::string& key : {wrong, crossed, std::string("db1"), std::string("db1."), std::string("."),
                                   std::string(), writer + "0", std::string(10000, 'x')})
    {
        EXPECT_FALSE(keys->find(key)) << key;
    }
}

TEST_F(Access_Key_File, holds_no_secret_and_is_readable_by_its_owner_alone)
{
    const std::string key = add("db1", Role::WRITER);
    EXPECT_EQ(key.size(), 4u + 64u); // 256 bits
    EXPECT_EQ(text().find(key.substr(4)), std::string::npos);
    struct stat status = {};
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(Access_Key_File, hashes_the_same_secret_with_another_salt_each_time)
{
    const std::string first = hash_secret("secret");
    const std::string second = hash_secret("secret");
    EXPECT_NE(first, second);
    EXPECT_TRUE(secret_matches("secret", first));
    EXPECT_TRUE(secret_matches("secret", second));
    EXPECT_FALSE(secret_matches("Secret", first));
    EXPECT_FALSE(secret_matches("secret", "pbkdf2-sha256:0::"));
}

TEST_F(Access_Key_File, keeps_comments_when_keys_come_and_go)
{
    write("# whom we know\n\n");
    add("db1", Role::WRITER);
    add("db2", Role::OPERATOR);
    std::string fault;
    ASSERT_TRUE(remove_access_key(file, "db1", fault)) << fault;
    EXPECT_TRUE(text().starts_with("# whom we know\n\ndb2 operator pbkdf2-sha256:")) << text();
    EXPECT_FALSE(remove_access_key(file, "db1", fault));
    EXPECT_EQ(fault, "there is no key of the name db1");
}

TEST_F(Access_Key_File, refuses_a_second_key_of_a_name)
{
    add("db1", Role::WRITER);
    const std::string before = text();
    std::string key;
    std::string fault;
    EXPECT_FALSE(add_access_key(file, "db1", Role::READER, key, fault));
    EXPECT_EQ(text(), before);
    EXPECT_EQ(key, "");
}

TEST_F(Access_Key_File, refuses_names_that_would_break_the_file)
{
    for (const char* const name : {"", "a b", "a.b", "a\nb", "#a"}) {
        std::string key;
        std::string fault;
        EXPECT_FALSE(add_access_key(file, name, Role::READER, key, fault)) << name;
    }
}

TEST_F(Access_Key_File, refuses_a_file_that_others_can_write)
{
    add("db1", Role::WRITER);
    ::chmod(file.c_str(), 0620);
    EXPECT_NE(read_fault().find("can be written by others"), std::string::npos);
    ::chmod(file.c_str(), 0602);
    EXPECT_NE(read_fault().find("can be written by others"), std::string::npos);
}

TEST_F(Access_Key_File, names_the_line_that_is_no_key)
{
    const std::string hash = hash_secret("secret");
    for (const std::string& line :
         std::vector<std::string>{"db1 writer", "db1 king " + hash, "db1 writer " + hash + " more", "db1 writer plain",
                                  "d.b writer " + hash})
    {
        write("# one\n" + line + "\n");
        EXPECT_TRUE(read_fault().starts_with(file + ":2: not a key")) << line;
    }
    write("db1 writer " + hash + "\ndb1 reader " + hash + "\n");
    EXPECT_TRUE(read_fault().starts_with(file + ":2: a second key"));
}

TEST_F(Access_Key_File, is_read_again_when_it_changes_and_kept_when_it_breaks)
{
    const std::string first = add("db1", Role::WRITER);
    std::string fault;
    const auto keys = Access_Keys::open(file, fault);
    const std::string second = add("db2", Role::READER);
    EXPECT_TRUE(keys->find(second));
    ASSERT_TRUE(remove_access_key(file, "db1", fault));
    EXPECT_FALSE(keys->find(first));

    const Log_Capture log;
    write("nonsense\n");
    EXPECT_TRUE(keys->find(second));
    EXPECT_EQ(log.count(LM_ERROR, "the keys read before stay"), 1u) << log.text();
}

TEST(Attempt_Limit, holds_for_a_peer_until_its_oldest_failure_is_out_of_the_window)
{
    using namespace std::chrono_literals;
    Attempt_Limit limit(3, 60s);
    const auto start = Attempt_Limit::Clock::now();
    limit.failed("a", start);
    limit.failed("a", start + 10s);
    EXPECT_TRUE(limit.allows("a", start + 20s));
    limit.failed("a", start + 20s);
    EXPECT_FALSE(limit.allows("a", start + 20s));
    EXPECT_EQ(limit.wait("a", start + 20s), 40s);
    EXPECT_TRUE(limit.allows("b", start + 20s));
    EXPECT_TRUE(limit.allows("a", start + 60s));
    limit.failed("a", start + 61s);
    EXPECT_FALSE(limit.allows("a", start + 62s)); // those of 10, 20 and 61
}

} // namespace
