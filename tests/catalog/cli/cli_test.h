// What the tests of the commands share: running the program inside the test, and documents to record.
#pragma once

#include "catalog/cli/program.h"
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

/// What a sample document says; the rest of it follows from the number.
struct Sample
{
    int number = 1;
    std::string type = "oracle"; ///< oracle, oracle_arch, oracle_exp, file
    std::string name = "nightly";
    std::string host = "db1";
    int pieces = 3;
    int storages = 2; ///< the first one online, the others replicas
    std::string start = "2024-05-01 22:00:00";
    std::string extra = {}; ///< further members, each with a comma before it
};

/// The UUID of the sample with this number.
std::string sample_uuid(int number);

/// The UUID of the `index`th pool of all samples, from 0.
std::string pool_uuid(int index);

/// A document as a program that links the library writes it, with `extra` behind.
std::string document(const Sample& sample);
std::string document(int number);

/// Documents from `first` on, one a line.
std::string documents(int first, int count);

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
