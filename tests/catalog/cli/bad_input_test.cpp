// What wrong input and failing databases get, from the real program: one clear message, the documented exit code, and a
// catalog that holds either the whole set or nothing of it.

#include "catalog/schema/schema.h"
#include "platform/database/database_connection.h"
#include "tests/catalog/cli/child_process.h"
#include "tests/catalog/cli/whole_sets.h"
#include "tests/support/sanitizer.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <linux/capability.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

using namespace cli_test;

namespace {

using Numbers = std::vector<int>;

/// `text` with the first `from` replaced; throws when it is not there.
std::string replaced(std::string text, const std::string& from, const std::string& to)
{
    return text.replace(text.find(from), from.size(), to);
}

class Bad_Input : public On_Both_Engines
{
protected:
    Result record(const std::string& input, const std::function<void()>& prepare = {},
                  const std::string& url_options = {}) const
    {
        return run_child({"--database", catalog->url() + url_options, "record", "-"}, input, prepare);
    }

    /// Sample 1, then the wrong document, then sample 3: the message must hold all of `parts`, in one line.
    void expect_refused(const std::string& wrong, const std::vector<std::string>& parts) const
    {
        const Result result = record(document(1) + "\n" + wrong + "\n" + document(3) + "\n");
        EXPECT_EQ(result.exit, 4) << result.err;
        EXPECT_EQ(result.out, sample_uuid(1) + "\n" + sample_uuid(3) + "\n");
        EXPECT_EQ(lines(result.err).size(), 1u) << result.err;
        EXPECT_TRUE(result.err.starts_with("backup-set: error: standard input:2: document 2: ")) << result.err;
        for (const std::string& part : parts) {
            EXPECT_NE(result.err.find(part), std::string::npos) << "no " << part << " in " << result.err;
        }
        EXPECT_EQ(whole_samples(catalog->url(), 1, 3), (Numbers{1, 3}));
        expect_no_half_set(catalog->url());
    }

    /// A failure of the database: exit code 1, and one message that has all of `parts`.
    static void expect_failed(const Result& result, const std::vector<std::string>& parts)
    {
        EXPECT_EQ(result.exit, 1) << result.err;
        EXPECT_EQ(lines(result.err).size(), 1u) << result.err;
        EXPECT_TRUE(result.err.starts_with("backup-set: error: ")) << result.err;
        for (const std::string& part : parts) {
            EXPECT_NE(result.err.find(part), std::string::npos) << "no " << part << " in " << result.err;
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Engines, Bad_Input, ::testing::Values("sqlite", "postgresql"), engine_name);

/// A file has no connection that could break.
class Broken_Connection : public Bad_Input
{};

INSTANTIATE_TEST_SUITE_P(Engines, Broken_Connection, ::testing::Values("postgresql"), engine_name);

} // namespace

TEST_P(Bad_Input, malformed_json)
{
    expect_refused(replaced(document(2), "\"name\":", "\"name\""), {"malformed JSON"});
}

TEST_P(Bad_Input, text_that_is_not_utf8)
{
    expect_refused(replaced(document(2), "nightly", "night\xff"), {"malformed JSON"});
}

TEST_P(Bad_Input, unknown_type)
{
    expect_refused(replaced(document(2), "\"catalog_module\":\"oracle\"", "\"catalog_module\":\"tape\""),
                   {"catalog_module", "tape"});
}

TEST_P(Bad_Input, missing_uuid)
{
    expect_refused(replaced(document(2), "\"uuid\":\"" + sample_uuid(2) + "\",", ""), {"uuid"});
}

TEST_P(Bad_Input, empty_uuid)
{
    expect_refused(replaced(document(2), sample_uuid(2), ""), {"uuid"});
}

TEST_P(Bad_Input, wrong_kind_under_a_known_key)
{
    expect_refused(replaced(document(2), "\"name\":\"nightly\"", "\"name\":17"), {"name"});
}

TEST_P(Bad_Input, wrong_kind_inside_a_piece)
{
    expect_refused(replaced(document(2), "\"size\":1001", "\"size\":\"1001\""), {"pieces[1]", "size"});
}

TEST_P(Bad_Input, number_out_of_range)
{
    expect_refused(replaced(document(2), "\"size\":5002", "\"size\":9223372036854775808"),
                   {"size", "9223372036854775808"});
}

TEST_P(Bad_Input, negative_number_where_there_can_be_none)
{
    expect_refused(replaced(document(2), "\"dbid\":0", "\"dbid\":-1"), {"dbid", "-1"});
}

TEST_P(Bad_Input, set_that_is_there_with_other_content)
{
    ASSERT_EQ(record(document(2)).exit, 0);
    Sample other;
    other.number = 2;
    other.pieces = 9;
    const Result result = record(document(1) + "\n" + document(other) + "\n" + document(3) + "\n");
    EXPECT_EQ(result.exit, 4);
    EXPECT_EQ(result.out, sample_uuid(1) + "\n" + sample_uuid(3) + "\n");
    EXPECT_EQ(lines(result.err).size(), 1u) << result.err;
    EXPECT_NE(result.err.find("standard input:2: document 2: "), std::string::npos) << result.err;
    EXPECT_NE(result.err.find(sample_uuid(2)), std::string::npos) << result.err;
    EXPECT_EQ(whole_samples(catalog->url(), 1, 3), (Numbers{1, 2, 3})) << "the first content stays";
    expect_no_half_set(catalog->url());
}

TEST_P(Bad_Input, newer_schema)
{
    ASSERT_EQ(record(document(1)).exit, 0);
    catalog->execute("UPDATE catalog_schema SET version = 999");
    expect_failed(record(document(2)), {"999", "newer"});
    catalog->execute("UPDATE catalog_schema SET version = " + std::to_string(catalog::schema_version));
    EXPECT_EQ(whole_samples(catalog->url(), 1, 2), Numbers{1});
    expect_no_half_set(catalog->url());
}

TEST_P(Bad_Input, locked_database)
{
    ASSERT_EQ(record(document(1)).exit, 0);
    const auto other = Database_Connection::open(catalog->url());
    ASSERT_NE(other, nullptr);
    ASSERT_TRUE(other->begin_write());
    std::string options = "?busy_timeout=200";
    if (catalog->is_postgresql()) {
        ASSERT_TRUE(other->execute_script("LOCK TABLE backup_set IN SHARE ROW EXCLUSIVE MODE"));
        options = "&options=-c%20lock_timeout%3D200";
    }
    const Result result = record(document(2) + "\n" + document(3), {}, options);
    expect_failed(result, {"standard input:1: document 1: not recorded: ", "lock", "try again"});
    EXPECT_EQ(result.out, "");
    ASSERT_TRUE(other->rollback());
    EXPECT_EQ(whole_samples(catalog->url(), 1, 3), Numbers{1});
    EXPECT_EQ(record(document(2) + "\n" + document(3), {}, options).exit, 0) << "once the lock is gone";
    EXPECT_EQ(whole_samples(catalog->url(), 1, 3), (Numbers{1, 2, 3}));
}

TEST_P(Bad_Input, read_only_database)
{
    ASSERT_EQ(record(document(1)).exit, 0);
    std::function<void()> prepare;
    if (catalog->is_postgresql()) {
        catalog->execute_beside("ALTER DATABASE " + catalog->database_name()
                                + " SET default_transaction_read_only = on");
    } else {
        // Also for root, who is not stopped by the rights of a file unless he has given that up.
        prepare = [] {
            for (const int right : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH, CAP_FOWNER}) {
                ::prctl(PR_CAPBSET_DROP, right, 0, 0, 0);
            }
        };
        for (const auto& file : std::filesystem::directory_iterator(catalog->dir().path())) {
            ::chmod(file.path().c_str(), 0400);
        }
        ::chmod(catalog->dir().path().c_str(), 0500);
    }
    const Result result = record(document(2), prepare);
    if (catalog->is_postgresql()) {
        catalog->execute_beside("ALTER DATABASE " + catalog->database_name() + " RESET default_transaction_read_only");
    } else {
        ::chmod(catalog->dir().path().c_str(), 0700);
        for (const auto& file : std::filesystem::directory_iterator(catalog->dir().path())) {
            ::chmod(file.path().c_str(), 0600);
        }
    }
    expect_failed(result, {});
    const bool said = result.err.find("read") != std::string::npos && result.err.find("only") != std::string::npos;
    EXPECT_TRUE(said) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(whole_samples(catalog->url(), 1, 2), Numbers{1});
    expect_no_half_set(catalog->url());
}

TEST_P(Bad_Input, database_that_may_not_grow)
{
    ASSERT_EQ(record(documents(1, 3)).exit, 0);
    std::function<void()> prepare;
    if (catalog->is_postgresql()) {
        // What a server says whose disk is full.
        catalog->execute(
            "CREATE FUNCTION fill() RETURNS trigger LANGUAGE plpgsql AS $$ BEGIN RAISE EXCEPTION 'could not "
            "extend file: No space left on device' USING ERRCODE = '53100'; END $$;"
            "CREATE TRIGGER full_disk BEFORE INSERT ON backup_piece FOR EACH ROW WHEN (NEW.path = "
            "'/data/file1') EXECUTE FUNCTION fill()");
    } else {
        prepare = [] {
            constexpr rlim_t most = rlim_t{400} << 10;
            const rlimit limit{most, most};
            ::setrlimit(RLIMIT_FSIZE, &limit);
        };
    }
    const Result result = record(documents(10, 2000), prepare);
    expect_failed(result, {"standard input:", "not recorded: "});
    // SQLite says full or I/O error, as the write happened to fail.
    const bool said = result.err.find("no room for the database to grow") != std::string::npos
                      || (!catalog->is_postgresql() && result.err.find("disk I/O error") != std::string::npos);
    EXPECT_TRUE(said) << result.err;
    // All that was printed is there, whole; of the rest nothing.
    const Numbers there = whole_samples(catalog->url(), 10, 2000);
    const std::vector<std::string> printed = lines(result.out);
    ASSERT_EQ(there.size(), printed.size());
    for (std::size_t i = 0; i < printed.size(); ++i) {
        EXPECT_EQ(printed[i], sample_uuid(there[i]));
    }
    EXPECT_LT(there.size(), 2000u);
    expect_no_half_set(catalog->url());
}

TEST_P(Bad_Input, database_gone_in_the_middle)
{
    Child child({"--database", catalog->url(), "record", "-"});
    std::string line;
    child.write(document(1) + "\n");
    ASSERT_TRUE(child.read_line(line));
    if (catalog->is_postgresql()) {
        catalog->execute_beside("ALTER DATABASE " + catalog->database_name() + " ALLOW_CONNECTIONS false");
        catalog->execute_beside("SELECT pg_terminate_backend(pid, 10000) FROM pg_stat_activity WHERE datname = '"
                                + catalog->database_name() + "'");
    } else {
        std::filesystem::create_directory(catalog->dir().file("away"));
        for (const char* file : {"catalog.db", "catalog.db-wal", "catalog.db-shm"}) {
            std::filesystem::rename(catalog->dir().file(file), catalog->dir().file(std::string("away/") + file));
        }
    }
    child.write(document(2) + "\n");
    const Result result = child.finish();
    expect_failed(result, {"standard input:2: document 2: not recorded: "});
    EXPECT_EQ(result.out, "");
    if (catalog->is_postgresql()) {
        catalog->execute_beside("ALTER DATABASE " + catalog->database_name() + " ALLOW_CONNECTIONS true");
    } else {
        EXPECT_FALSE(std::filesystem::exists(catalog->dir().file("catalog.db")));
        for (const char* file : {"catalog.db", "catalog.db-wal", "catalog.db-shm"}) {
            std::error_code none; // without a reader the last two are gone
            std::filesystem::rename(catalog->dir().file(std::string("away/") + file), catalog->dir().file(file), none);
        }
    }
    EXPECT_EQ(whole_samples(catalog->url(), 1, 2), Numbers{1});
    expect_no_half_set(catalog->url());
}

TEST_P(Broken_Connection, connection_that_was_idle_and_broke_is_made_again)
{
    Child child({"--database", catalog->url(), "record", "-"});
    std::string line;
    child.write(document(1) + "\n");
    ASSERT_TRUE(child.read_line(line));
    catalog->execute("SELECT pg_terminate_backend(pid, 10000) FROM pg_stat_activity WHERE datname = current_database() "
                     "AND pid <> pg_backend_pid()");
    child.write(document(2) + "\n");
    const Result result = child.finish();
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(whole_samples(catalog->url(), 1, 2), (Numbers{1, 2}));
}

TEST_P(Broken_Connection, connection_that_breaks_while_a_set_is_being_written)
{
    ASSERT_EQ(record(document(1)).exit, 0);
    const auto other = Database_Connection::open(catalog->url());
    ASSERT_NE(other, nullptr);
    ASSERT_TRUE(other->begin_write());
    ASSERT_TRUE(other->execute_script("LOCK TABLE backup_piece IN SHARE ROW EXCLUSIVE MODE"));
    Child child({"--database", catalog->url(), "record", "-"});
    child.write(document(2) + "\n");
    // It is in the middle when it waits for the lock: the rows before the pieces are written.
    catalog->execute("DO $$ BEGIN FOR i IN 1..600 LOOP PERFORM pg_stat_clear_snapshot(); EXIT WHEN EXISTS (SELECT FROM "
                     "pg_stat_activity WHERE datname = current_database() AND wait_event_type = 'Lock'); PERFORM "
                     "pg_sleep(0.05); END LOOP; END $$");
    catalog->execute(
        "SELECT pg_terminate_backend(pid, 10000) FROM pg_stat_activity WHERE datname = current_database() AND "
        "wait_event_type = 'Lock'");
    const Result result = child.finish();
    expect_failed(result, {"standard input:1: document 1: not recorded: "});
    EXPECT_EQ(result.out, "");
    ASSERT_TRUE(other->rollback());
    EXPECT_EQ(whole_samples(catalog->url(), 1, 2), Numbers{1});
    expect_no_half_set(catalog->url());
}

namespace {

/// A small file system of its own, in a process that holds it. Empty where the system does not allow that.
class Small_Disk
{
public:
    explicit Small_Disk(const std::string& folder)
    {
        int ready[2];
        if (::pipe(ready) != 0) {
            return;
        }
        const pid_t pid = ::fork();
        if (pid == 0) {
            const bool made = ::unshare(CLONE_NEWNS | (::geteuid() == 0 ? 0 : CLONE_NEWUSER)) == 0
                              && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
                              && ::mount("small", folder.c_str(), "tmpfs", 0, "size=4m,mode=777") == 0;
            const char answer = made ? 'y' : 'n';
            const ssize_t written = ::write(ready[1], &answer, 1);
            while (made && written == 1) {
                ::pause();
            }
            ::_exit(0);
        }
        char answer = 'n';
        if (::read(ready[0], &answer, 1) == 1 && answer == 'y') {
            pid_ = pid;
        } else {
            ::waitpid(pid, nullptr, 0);
        }
        ::close(ready[0]);
        ::close(ready[1]);
    }
    Small_Disk(const Small_Disk&) = delete;
    Small_Disk& operator=(const Small_Disk&) = delete;
    ~Small_Disk()
    {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
    }

    bool made() const { return pid_ > 0; }

    /// Lets the calling process see it.
    void enter() const
    {
        for (const char* kind : {"user", "mnt"}) {
            const int space = ::open(("/proc/" + std::to_string(pid_) + "/ns/" + kind).c_str(), O_RDONLY);
            if (::setns(space, 0) != 0 && std::string(kind) == "mnt") {
                ::_exit(126);
            }
            ::close(space);
        }
    }

    /// A path on it, for processes that have not entered it.
    std::string outside(const std::string& path) const { return "/proc/" + std::to_string(pid_) + "/root" + path; }

private:
    pid_t pid_ = 0;
};

} // namespace

TEST(Bad_Input_Alone, full_disk)
{
    if (is_thread_sanitized) {
        GTEST_SKIP() << "the thread sanitizer has a thread of its own, and a process with threads changes no namespace";
    }
    const Temp_Dir dir;
    const Small_Disk disk(dir.path().string());
    if (!disk.made()) {
        GTEST_SKIP() << "a file system of its own may not be mounted here";
    }
    const Result result = run_child({"--database", "sqlite:" + dir.file("catalog.db"), "record", "-"},
                                    documents(1, 2000), [&disk] { disk.enter(); });
    EXPECT_EQ(result.exit, 1) << result.err;
    ASSERT_EQ(lines(result.err).size(), 1u) << result.err;
    EXPECT_NE(result.err.find("full"), std::string::npos) << result.err;
    const Temp_Dir copy;
    for (const auto& file : std::filesystem::directory_iterator(disk.outside(dir.path().string()))) {
        std::filesystem::copy(file.path(), copy.path() / file.path().filename());
    }
    const std::string url = "sqlite:" + copy.file("catalog.db");
    const std::vector<int> there = whole_samples(url, 1, 2000);
    EXPECT_EQ(there.size(), lines(result.out).size());
    EXPECT_GT(there.size(), 0u);
    EXPECT_LT(there.size(), 2000u);
    expect_no_half_set(url);
}
