#include "tests/support/postgresql_database.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

class Postgresql_Database_Test : public ::testing::Test
{
protected:
    void SetUp() override { Postgresql_Database::require(); }
};

} // namespace

TEST_F(Postgresql_Database_Test, each_object_has_an_empty_database_of_its_own)
{
    const Postgresql_Database one;
    const Postgresql_Database other;
    EXPECT_NE(one.url(), other.url());
    one.execute("CREATE TABLE t (a integer)");
    EXPECT_NO_THROW(other.execute("CREATE TABLE t (a integer)"));
    EXPECT_THROW(one.execute("CREATE TABLE t (a integer)"), std::runtime_error);
}

TEST_F(Postgresql_Database_Test, url_leads_to_the_named_database)
{
    const Postgresql_Database database;
    EXPECT_NO_THROW(database.execute("DO $$ BEGIN ASSERT current_database() = '" + database.name() + "'; END $$"));
}

TEST_F(Postgresql_Database_Test, is_dropped_at_the_end)
{
    const Postgresql_Database still_there;
    std::string name;
    {
        const Postgresql_Database database;
        name = database.name();
    }
    EXPECT_NO_THROW(still_there.execute("DO $$ BEGIN ASSERT NOT EXISTS (SELECT FROM pg_database WHERE datname = '"
                                        + name + "'); END $$"));
}
