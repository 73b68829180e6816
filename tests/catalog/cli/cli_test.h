// What the tests of the commands share: running the program inside the test, and catalogs to run it on.
#pragma once

#include "catalog/cli/program.h"
#include "tests/catalog/store/sample_set.h"
#include "tests/support/postgresql_database.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace cli_test {

struct Result
{
    int exit;
    std::string out;
    std::string err;
};

/// Runs the program in this process.
Result run(const std::vector<std::string>& arguments, const std::string& input = {});

/// The lines of a text, without their ends.
std::vector<std::string> lines(const std::string& text);

/// How often `part` stands in `text`.
std::size_t count(const std::string& text, const std::string& part);

using sample_set::document;
using sample_set::documents;
using sample_set::pool_uuid;
using sample_set::Sample;
using sample_set::sample_uuid;

/// A catalog of its own: an SQLite file, or a PostgreSQL database.
class Catalog
{
public:
    explicit Catalog(bool postgresql);

    const std::string& url() const { return url_; }
    const Temp_Dir& dir() const { return dir_; }
    bool is_postgresql() const { return postgresql_.has_value(); }

    /// Runs statements in the database, beside the program.
    void execute(const std::string& statements) const;

    /// Of a PostgreSQL catalog.
    const std::string& database_name() const { return postgresql_->name(); }

    /// Runs a statement in the PostgreSQL server, in another database than this one.
    static void execute_beside(const std::string& statement);

    Result run(std::vector<std::string> arguments, const std::string& input = {}) const;

private:
    Temp_Dir dir_;
    std::optional<Postgresql_Database> postgresql_;
    std::string url_;
};

/// Tests that hold on both engines; the parameter is "sqlite" or "postgresql".
class On_Both_Engines : public ::testing::TestWithParam<const char*>
{
protected:
    void SetUp() override;

    /// Empty where the test is skipped.
    std::unique_ptr<Catalog> catalog;
};

std::string engine_name(const ::testing::TestParamInfo<const char*>& info);

} // namespace cli_test
