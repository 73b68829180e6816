#include "tests/platform/database/database_test.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

using namespace std::string_literals;

namespace {

class SQLite : public One_Engine_Test
{
protected:
    SQLite() : One_Engine_Test(Engine::SQLITE) {}

    /// Opens what must not open, and gives the error. It must have been logged once.
    static Database_Error refused(const std::string& url)
    {
        const Log_Capture log;
        Database_Error error;
        EXPECT_EQ(Database_Connection::open(url, &error), nullptr) << url;
        EXPECT_EQ(log.count(LM_ERROR), 1u) << log.text();
        EXPECT_EQ(log.count(error.message), 1u) << log.text();
        return error;
    }

    static std::string value(Database_Connection& connection, std::string_view sql)
    {
        Noting_Printer printer;
        EXPECT_TRUE(connection.query_and_print(SQL(sql), printer, GM_FIRST_COL)) << connection.last_error().text();
        return printer.take();
    }
    std::string value(std::string_view sql) const { return value(connection(), sql); }

    static bool takes_a_row(Database_Connection& connection)
    {
        return connection.execute_script("CREATE TABLE IF NOT EXISTS x (a BIGINT)")
               && connection.execute(Insert_SQL("x", {"a"}).row({1}))
               && value(connection, "SELECT count(*) AS n FROM x") == "0.n=i:1";
    }

    const Temp_Dir dir;
};

/// Root may write what nobody may: for a scope this process has the rights of nobody.
class As_Nobody
{
public:
    As_Nobody() : user_(::geteuid())
    {
        if (user_ == 0) {
            EXPECT_EQ(::seteuid(65534), 0);
        }
    }
    As_Nobody(const As_Nobody&) = delete;
    As_Nobody& operator=(const As_Nobody&) = delete;
    ~As_Nobody() { EXPECT_EQ(::seteuid(user_), 0); }

private:
    uid_t user_;
};

/// For a scope no file grows beyond a size.
class File_Size_Limit
{
public:
    explicit File_Size_Limit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN))
    {
        EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &before_), 0);
        const rlimit limit = {bytes, before_.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    File_Size_Limit(const File_Size_Limit&) = delete;
    File_Size_Limit& operator=(const File_Size_Limit&) = delete;
    ~File_Size_Limit()
    {
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &before_), 0);
        std::signal(SIGXFSZ, handler_);
    }

private:
    rlimit before_{};
    void (*handler_)(int);
};

} // namespace

TEST_F(SQLite, connection_is_durable_and_checks_foreign_keys)
{
    EXPECT_EQ(value("SELECT journal_mode FROM pragma_journal_mode"), "0.journal_mode=s:wal");
    EXPECT_EQ(value("SELECT synchronous FROM pragma_synchronous"), "0.synchronous=i:2");
    EXPECT_EQ(value("SELECT foreign_keys FROM pragma_foreign_keys"), "0.foreign_keys=i:1");
    EXPECT_EQ(value("SELECT timeout FROM pragma_busy_timeout"), "0.timeout=i:5000");
}

TEST_F(SQLite, memory_database_works)
{
    const auto memory = Database_Connection::open("sqlite::memory:");
    ASSERT_NE(memory, nullptr);
    EXPECT_TRUE(takes_a_row(*memory));
    EXPECT_EQ(memory->dialect(), SQL_Dialect::SQLITE);
}

TEST_F(SQLite, any_path_names_its_file)
{
    for (const std::string name :
         {"plain.db", "with blank", "quest?ion", "a?b=c", "?busy_timeout=", "?busy_timeout=5x", "?busy_timeout=-5",
          "per%20cent", "#hash", "semi;colon", "quo'te\"s", "back\\slash", ":colon:", "file:x?mode=memory",
          "\xc3\xa4\xe6\xbc\xa2", "-dash", "new\nline", "a&b"})
    {
        const auto connection = Database_Connection::open("sqlite:" + dir.file(name));
        ASSERT_NE(connection, nullptr) << name;
        EXPECT_TRUE(takes_a_row(*connection)) << name;
        EXPECT_TRUE(std::filesystem::exists(dir.file(name))) << name;
    }
}

TEST_F(SQLite, relative_path_is_taken_literally)
{
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(dir.path());
    for (const std::string name : {"relative.db", ":memory:x", "file:x?mode=memory", "file::memory:"}) {
        const auto connection = Database_Connection::open("sqlite:" + name);
        EXPECT_TRUE(connection != nullptr && takes_a_row(*connection)) << name;
        EXPECT_TRUE(std::filesystem::exists(dir.file(name))) << name;
    }
    std::filesystem::current_path(before);
}

TEST_F(SQLite, busy_timeout_is_an_option_of_the_url)
{
    const auto connection = Database_Connection::open("sqlite:" + dir.file("a.db") + "?busy_timeout=123");
    ASSERT_NE(connection, nullptr);
    EXPECT_EQ(value(*connection, "SELECT timeout FROM pragma_busy_timeout"), "0.timeout=i:123");
    EXPECT_TRUE(std::filesystem::exists(dir.file("a.db")));
}

TEST_F(SQLite, missing_directory_is_named)
{
    const Database_Error error = refused("sqlite:" + dir.file("no/such/place.db"));
    EXPECT_EQ(error.message,
              "cannot open " + dir.file("no/such/place.db") + ": there is no directory " + dir.file("no/such"));
    EXPECT_FALSE(error.retryable());
}

TEST_F(SQLite, directory_is_not_opened)
{
    EXPECT_EQ(refused("sqlite:" + dir.path().string()).message,
              "cannot open " + dir.path().string() + ": it is a directory");
}

TEST_F(SQLite, empty_path_is_refused)
{
    EXPECT_EQ(refused("sqlite:").kind, Database_Error::OTHER);
    EXPECT_EQ(refused("sqlite:?busy_timeout=5").kind, Database_Error::OTHER);
    EXPECT_EQ(refused("sqlite:/tmp/a\0b"s).kind, Database_Error::OTHER);
}

TEST_F(SQLite, file_that_is_no_database_is_refused)
{
    std::ofstream(dir.file("text")) << std::string(5000, 'x');
    const Database_Error error = refused("sqlite:" + dir.file("text"));
    EXPECT_EQ(error.kind, Database_Error::CORRUPT);
    EXPECT_EQ(error.code, "26");
    EXPECT_FALSE(error.retryable());
}

TEST_F(SQLite, damaged_file_is_told_from_others)
{
    make_table();
    add_rows(5000);
    script("PRAGMA wal_checkpoint(TRUNCATE)");
    const std::string path = url().substr(7);
    disconnect();
    {
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(8192);
        file << std::string(40960, '\xee');
    }
    const auto damaged = open();
    ASSERT_NE(damaged, nullptr);
    const Log_Capture log;
    Noting_Printer printer;
    EXPECT_FALSE(damaged->query_and_print(SQL("SELECT a, b FROM t"), printer, GM_ORM_ROWS));
    EXPECT_EQ(damaged->last_error().kind, Database_Error::CORRUPT) << damaged->last_error().text();
}

TEST_F(SQLite, locked_database_is_busy_after_the_timeout)
{
    make_table();
    const auto other = Database_Connection::open(url() + "?busy_timeout=50");
    ASSERT_TRUE(connection().begin_write());
    const Log_Capture log;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(other->begin_write());
    const auto waited = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(waited, std::chrono::milliseconds(45));
    EXPECT_LT(waited, std::chrono::seconds(4));
    EXPECT_EQ(other->last_error().kind, Database_Error::BUSY);
    EXPECT_TRUE(other->last_error().retryable());
    EXPECT_FALSE(other->execute(SQL("DELETE FROM t")));
    EXPECT_EQ(other->last_error().kind, Database_Error::BUSY);
    EXPECT_EQ(log.count(LM_ERROR), 2u) << log.text();
    EXPECT_EQ(value(*other, "SELECT count(*) AS n FROM t"), "0.n=i:0") << "reading is not locked";
    ASSERT_TRUE(connection().commit());
    EXPECT_TRUE(other->begin_write());
    EXPECT_TRUE(other->commit());
}

TEST_F(SQLite, lock_that_ends_in_time_is_waited_for)
{
    make_table();
    ASSERT_TRUE(connection().begin_write());
    std::atomic<bool> succeeded = false;
    std::thread writer([&] {
        const auto other = open();
        succeeded = other->execute(Insert_SQL("t", {"a"}).row({1}));
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    ASSERT_TRUE(connection().commit());
    writer.join();
    EXPECT_TRUE(succeeded);
}

TEST_F(SQLite, several_processes_may_make_the_same_file)
{
    for (int turn = 0; turn < 5; ++turn) {
        const std::string same = "sqlite:" + dir.file("new" + std::to_string(turn));
        std::atomic<int> opened = 0;
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&] {
                const auto connection = Database_Connection::open(same);
                opened += connection != nullptr && connection->execute_script("CREATE TABLE IF NOT EXISTS x (a BIGINT)")
                              ? 1
                              : 0;
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(opened, 8);
    }
}

TEST_F(SQLite, file_without_write_permission_is_read_only)
{
    make_table();
    add_rows(1);
    script("PRAGMA journal_mode=DELETE"); // the write-ahead log needs files beside the database
    const std::string path = url().substr(7);
    disconnect();
    std::filesystem::permissions(std::filesystem::path(path).parent_path(), std::filesystem::perms(0555));
    std::filesystem::permissions(path, std::filesystem::perms(0444));
    {
        const As_Nobody nobody;
        const auto other = open();
        ASSERT_NE(other, nullptr);
        EXPECT_EQ(value(*other, "SELECT count(*) AS n FROM t"), "0.n=i:1");
        const Log_Capture log;
        EXPECT_FALSE(other->execute(SQL("DELETE FROM t")));
        EXPECT_EQ(other->last_error().kind, Database_Error::READ_ONLY);
        EXPECT_FALSE(other->last_error().retryable());
    }
    std::filesystem::permissions(std::filesystem::path(path).parent_path(), std::filesystem::perms(0755));
}

TEST_F(SQLite, file_without_read_permission_is_not_opened)
{
    make_table();
    const std::string path = url().substr(7);
    disconnect();
    std::filesystem::permissions(std::filesystem::path(path).parent_path(), std::filesystem::perms(0755));
    std::filesystem::permissions(path, std::filesystem::perms(0));
    const As_Nobody nobody;
    EXPECT_FALSE(refused(url()).retryable());
}

TEST_F(SQLite, full_database_says_so_and_keeps_what_it_had)
{
    make_table();
    add_rows(10);
    script("PRAGMA max_page_count=20");
    ASSERT_TRUE(connection().begin_write());
    Insert_SQL insert("t", {"b"});
    for (int i = 0; i < 100; ++i) {
        insert.row({std::string(4000, 'x')});
    }
    EXPECT_EQ(execute_failure(insert).kind, Database_Error::FULL);
    EXPECT_TRUE(connection().rollback());
    EXPECT_EQ(value("SELECT count(*) AS n FROM t"), "0.n=i:10");
    EXPECT_TRUE(connection().execute(SQL("DELETE FROM t WHERE a=1")));
}

TEST_F(SQLite, full_disk_says_so_and_keeps_what_it_had)
{
    make_table();
    add_rows(10);
    Insert_SQL insert("t", {"b"});
    for (int i = 0; i < 100; ++i) {
        insert.row({std::string(40000, 'x')});
    }
    {
        const File_Size_Limit limit(1 << 20);
        EXPECT_EQ(execute_failure(insert).kind, Database_Error::FULL);
        EXPECT_EQ(value("SELECT count(*) AS n FROM t"), "0.n=i:10");
        EXPECT_TRUE(connection().begin_write());
        EXPECT_EQ(execute_failure(insert).kind, Database_Error::FULL);
        {
            const Log_Capture log;
            connection().commit(); // may have been rolled back by the failure already
        }
        EXPECT_EQ(value("SELECT count(*) AS n FROM t"), "0.n=i:10");
    }
    EXPECT_TRUE(connection().execute(insert));
    EXPECT_EQ(value("SELECT count(*) AS n FROM t"), "0.n=i:110");
}

TEST_F(SQLite, full_disk_says_so_wherever_the_write_fails)
{
    make_table();
    for (const rlim_t limit_bytes : {100'000u, 100'001u, 102'400u, 131'072u, 131'096u, 133'333u, 200'000u}) {
        for (const std::size_t text_bytes : {10u, 5'000u, 60'000u, 5'000'000u}) {
            const File_Size_Limit limit(limit_bytes);
            const Insert_SQL insert = Insert_SQL("t", {"b"}).row({std::string(text_bytes, 'x')});
            const Log_Capture log;
            for (int i = 0; i < 200 && connection().execute(insert); ++i) {
            }
            EXPECT_EQ(connection().last_error().kind, Database_Error::FULL)
                << limit_bytes << ' ' << text_bytes << ": " << connection().last_error().text();
        }
    }
}

TEST_F(SQLite, value_that_does_not_fit_its_declared_type_follows_its_own)
{
    script(
        "CREATE TABLE k (i BIGINT, u UNSIGNED_BIGINT, b BOOLEAN, t TEXT, id UUID_BLOB, r REAL, j JSON_TEXT, by BLOB)");
    script("INSERT INTO k VALUES ('x', 'y', 'true', x'6162', 'text', 'z', x'6a', 'v'), "
           "(1.5, 2.5, 3.5, 5, x'0102', 6, 7, 8), (x'61', x'62', x'63', 1.5, 9, x'64', 1.5, 2.5)");
    EXPECT_EQ(rows(Select_SQL().table("k").select("i,u,b,t,id,r,j,by").order_by("rowid")),
              "{0.i=s:x 1.u=s:y 2.b=s:true 3.t=s:ab 4.id=s:text 5.r=s:z 6.j=s:j 7.by=s:v} "
              "{0.i=r:1.5 1.u=r:2.5 2.b=r:3.5 3.t=s:5 4.id=s:\x01\x02 5.r=r:6.0 6.j=j:7 7.by=i:8} "
              "{0.i=s:a 1.u=s:b 2.b=s:c 3.t=s:1.5 4.id=i:9 5.r=s:d 6.j=j:1.5 7.by=r:2.5}");
}

TEST_F(SQLite, boolean_is_true_when_not_zero)
{
    script("CREATE TABLE k (b BOOLEAN)");
    script("INSERT INTO k VALUES (0), (1), (2), (-1), (4294967296)");
    EXPECT_EQ(rows(Select_SQL().table("k").select("b").order_by("rowid"), GM_FIRST_COL),
              "0.b=b:false 0.b=b:true 0.b=b:true 0.b=b:true 0.b=b:true");
}

TEST_F(SQLite, expression_of_a_uuid_column_keeps_bytes)
{
    script("CREATE TABLE k (id UUID_BLOB)");
    script("INSERT INTO k VALUES (x'30313233343536373839616263646566')");
    EXPECT_EQ(rows(Select_SQL().table("k").add_key("id", "a").add_key("max(id)", "b")),
              "{0.a=s:30313233-3435-3637-3839-616263646566 1.b=s:0123456789abcdef}");
}

TEST_F(SQLite, utf_16_database_gives_utf_8)
{
    const auto connection = Database_Connection::open("sqlite:" + dir.file("wide.db"));
    ASSERT_TRUE(connection->execute_script("PRAGMA encoding='UTF-16'; CREATE TABLE k (t TEXT, b BLOB)"));
    ASSERT_TRUE(
        connection->execute(Insert_SQL("k", {"t", "b"}).row({"\xc3\xa4\xe6\xbc\xa2", Binding_Value("a\0b", 3)})));
    Noting_Printer printer;
    ASSERT_TRUE(connection->query_and_print(Select_SQL().table("k").select("t,b"), printer, GM_ORM_ROWS));
    EXPECT_EQ(printer.text(), "{0.t=s:\xc3\xa4\xe6\xbc\xa2 1.b=s:a\0b}"s);
}

TEST_F(SQLite, table_that_changes_between_two_runs_is_read_as_it_is)
{
    make_table();
    add_rows(1);
    const Select_SQL sql = Select_SQL().table("t").select("*");
    EXPECT_EQ(rows(sql), "{0.a=i:1 1.b=s:1}");
    const auto other = open();
    ASSERT_TRUE(other->execute_script("DROP TABLE t; CREATE TABLE t (x UNSIGNED_BIGINT); INSERT INTO t VALUES (2)"));
    EXPECT_EQ(rows(sql), "{0.x=u:2}");
}

TEST_F(SQLite, file_that_was_taken_away_is_noticed)
{
    make_table();
    const std::string path = url().substr(7);
    std::filesystem::rename(path, path + ".moved");
    const Database_Error error = execute_failure(Insert_SQL("t", {"a"}).row({1}));
    EXPECT_EQ(error.kind, Database_Error::CONNECTION_LOST) << error.text();
    EXPECT_TRUE(error.reconnect());
    EXPECT_EQ(failure(SQL("SELECT a FROM t")).kind, Database_Error::CONNECTION_LOST);
    const Log_Capture log;
    EXPECT_FALSE(connection().begin_write());
    EXPECT_FALSE(connection().begin_read());
    EXPECT_FALSE(connection().execute_script("DELETE FROM t"));
    EXPECT_EQ(log.count(LM_ERROR), 3u) << log.text();
    EXPECT_EQ(log.count("the database file was removed or replaced"), 3u) << log.text();
}

TEST_F(SQLite, file_that_was_replaced_is_noticed)
{
    make_table();
    const std::string path = url().substr(7);
    std::filesystem::rename(path, path + ".moved");
    const auto other = open();
    EXPECT_TRUE(takes_a_row(*other));
    EXPECT_EQ(execute_failure(Insert_SQL("t", {"a"}).row({1})).kind, Database_Error::CONNECTION_LOST);
}
