#include "tests/catalog/cli/cli_test.h"

#include "platform/database/database_connection.h"

#include <cstdlib>
#include <stdexcept>

namespace cli_test {

Result run(const std::vector<std::string>& arguments, const std::string& input)
{
    std::vector<const char*> words{"backup-set"};
    for (const std::string& argument : arguments) {
        words.push_back(argument.c_str());
    }
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream err;
    const int exit = catalog::cli::run(static_cast<int>(words.size()), words.data(), in, out, err);
    return {exit, out.str(), err.str()};
}

std::vector<std::string> lines(const std::string& text)
{
    std::vector<std::string> all;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        all.push_back(line);
    }
    return all;
}

std::size_t count(const std::string& text, const std::string& part)
{
    std::size_t found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) {
        ++found;
    }
    return found;
}

Catalog::Catalog(bool postgresql)
{
    if (postgresql) {
        postgresql_.emplace();
        url_ = postgresql_->url();
    } else {
        url_ = "sqlite:" + dir_.file("catalog.db");
    }
}

void Catalog::execute(const std::string& statements) const
{
    if (postgresql_) {
        postgresql_->execute(statements);
        return;
    }
    const std::unique_ptr<Database_Connection> connection = Database_Connection::open(url_);
    if (connection == nullptr || !connection->execute_script(statements)) {
        throw std::runtime_error("cannot run " + statements);
    }
}

void Catalog::execute_beside(const std::string& statement)
{
    const auto connection = Database_Connection::open(std::getenv("BACKUP_SET_TEST_POSTGRESQL"));
    if (connection == nullptr || !connection->execute_script(statement)) {
        throw std::runtime_error("cannot run " + statement);
    }
}

Result Catalog::run(std::vector<std::string> arguments, const std::string& input) const
{
    arguments.insert(arguments.begin(), {"--database", url_});
    return cli_test::run(arguments, input);
}

void On_Both_Engines::SetUp()
{
    const bool postgresql = std::string(GetParam()) == "postgresql";
    if (postgresql) {
        Postgresql_Database::require();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
    }
    catalog = std::make_unique<Catalog>(postgresql);
}

std::string engine_name(const ::testing::TestParamInfo<const char*>& info)
{
    return info.param;
}

} // namespace cli_test
