#include "tests/platform/database/database_test.h"
#include "tests/support/sanitizer.h"

#include <unistd.h>

#include <fstream>
#include <string>

namespace {

using namespace database::sql;

constexpr long most_growth = 64L << 20;

long resident_bytes()
{
    long total = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * ::sysconf(_SC_PAGESIZE);
}

/// Drops all and watches the size of the process.
class Watching_Printer final : public Query_Result_Token_Printer
{
public:
    explicit Watching_Printer(long every) : every_(every) {}

    bool end_row() override
    {
        if (++rows % every_ == 0) {
            largest = std::max(largest, resident_bytes());
        }
        return true;
    }

    long rows = 0;
    long largest = 0;

private:
    long every_;
};

class Memory : public Database_Test
{};

INSTANTIATE_TEST_SUITE_P(On, Memory, ::testing::Values(Engine::SQLITE, Engine::POSTGRESQL), engine_name);

} // namespace

TEST_P(Memory, stays_bounded_over_a_million_rows)
{
    make_table();
    ASSERT_TRUE(connection().execute(
        SQL("INSERT INTO t (a, b) WITH RECURSIVE r AS (SELECT 1 AS n UNION ALL SELECT n+1 FROM r "
            "WHERE n<1000000) SELECT n, 'a text of some sixty bytes, so that rows are not too small: ' || n FROM r")));
    const long before = resident_bytes();
    Watching_Printer printer(1000);
    ASSERT_TRUE(
        connection().query_and_print(Select_SQL().table("t").select("a,b").order_by("a"), printer, GM_ORM_ROWS));
    EXPECT_EQ(printer.rows, 1000000);
    if (!is_sanitized) { // else what is freed is kept for a while, and the size of the process says nothing
        EXPECT_LT(printer.largest - before, most_growth);
    }
}

TEST_P(Memory, stays_bounded_over_large_rows)
{
    make_table();
    ASSERT_TRUE(connection().begin_write());
    for (int i = 0; i < 300; ++i) {
        ASSERT_TRUE(connection().execute(Insert_SQL("t", {"a", "b"}).row({i, std::string(1 << 20, 'x')})));
    }
    ASSERT_TRUE(connection().commit());
    const long before = resident_bytes();
    Watching_Printer printer(1);
    ASSERT_TRUE(connection().query_and_print(SQL("SELECT a, b FROM t"), printer, GM_ORM_ROWS));
    EXPECT_EQ(printer.rows, 300);
    if (!is_sanitized) { // as above
        EXPECT_LT(printer.largest - before, most_growth);
    }
}
