#include "tests/support/postgresql_database.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <libpq-fe.h>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace {

std::string environment(const char* name)
{
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::string server_url()
{
    return environment("BACKUP_SET_TEST_POSTGRESQL");
}

void run(const std::string& url, const std::string& statements)
{
    const std::unique_ptr<PGconn, decltype(&PQfinish)> connection(PQconnectdb(url.c_str()), PQfinish);
    if (PQstatus(connection.get()) != CONNECTION_OK) {
        throw std::runtime_error("cannot connect to " + url + ": " + PQerrorMessage(connection.get()));
    }
    const std::unique_ptr<PGresult, decltype(&PQclear)> result(PQexec(connection.get(), statements.c_str()), PQclear);
    const ExecStatusType status = PQresultStatus(result.get());
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) {
        throw std::runtime_error(statements + ": " + PQerrorMessage(connection.get()));
    }
}

std::string with_database(const std::string& url, const std::string& name)
{
    constexpr std::string_view scheme = "postgresql://";
    const std::size_t slash = url.starts_with(scheme) ? url.find('/', scheme.size()) : std::string::npos;
    if (slash == std::string::npos) {
        throw std::runtime_error("BACKUP_SET_TEST_POSTGRESQL names no database: " + url);
    }
    const std::size_t end = std::min(url.find('?', slash), url.size());
    return url.substr(0, slash + 1) + name + url.substr(end);
}

std::string unique_name()
{
    static std::atomic<unsigned> count = 0;
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    return "test_" + std::to_string(::getpid()) + "_" + std::to_string(now) + "_" + std::to_string(count++);
}

} // namespace

bool Postgresql_Database::available()
{
    return !server_url().empty();
}

void Postgresql_Database::require()
{
    if (available()) {
        return;
    }
    if (environment("BACKUP_SET_REQUIRE_POSTGRESQL") == "1") {
        FAIL() << "BACKUP_SET_TEST_POSTGRESQL names no server";
    }
    GTEST_SKIP() << "BACKUP_SET_TEST_POSTGRESQL names no server";
}

Postgresql_Database::Postgresql_Database() : name_(unique_name()), url_(with_database(server_url(), name_))
{
    run(server_url(), "CREATE DATABASE " + name_ + " TEMPLATE template0");
}

Postgresql_Database::~Postgresql_Database()
{
    try {
        run(server_url(), "DROP DATABASE " + name_ + " WITH (FORCE)");
    } catch (const std::exception& error) {
        ADD_FAILURE() << error.what();
    }
}

void Postgresql_Database::execute(const std::string& statements) const
{
    run(url_, statements);
}
