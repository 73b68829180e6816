// A fresh database on the PostgreSQL server of the tests, dropped at the end.
//
// The server's URL stands in the environment variable BACKUP_SET_TEST_POSTGRESQL, which the test run sets. Each object
// makes a database of its own, so tests may run side by side. An object belongs to one thread at a time.
#pragma once

#include <string>

class Postgresql_Database
{
public:
    /// Whether the environment names a server.
    static bool available();

    /// To be the last line of the SetUp of a test that needs the server. Without a server the test is skipped, or fails
    /// where BACKUP_SET_REQUIRE_POSTGRESQL is set to 1; either way its body does not run.
    static void require();

    /// Throws std::runtime_error when the database cannot be made.
    Postgresql_Database();
    Postgresql_Database(const Postgresql_Database&) = delete;
    Postgresql_Database& operator=(const Postgresql_Database&) = delete;
    ~Postgresql_Database();

    /// The database's URL, `postgresql:///NAME?host=…&user=…`.
    const std::string& url() const noexcept { return url_; }
    const std::string& name() const noexcept { return name_; }

    /// Runs statements in the database through a connection of its own; throws std::runtime_error when one fails.
    void execute(const std::string& statements) const;

private:
    std::string name_;
    std::string url_;
};
