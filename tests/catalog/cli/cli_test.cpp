#include "tests/catalog/cli/cli_test.h"

#include "catalog/schema/set_type.h"
#include "platform/database/database_connection.h"
#include "platform/text/posix_time.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace cli_test {

namespace {

std::string numbered_uuid(unsigned group, int number)
{
    char text[37];
    std::snprintf(text, sizeof text, "%08x-0000-4000-8000-%012x", group, static_cast<unsigned>(number));
    return text;
}

} // namespace

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

std::string sample_uuid(int number)
{
    return numbered_uuid(0xa1, number);
}

std::string pool_uuid(int index)
{
    return numbered_uuid(0xb2, index);
}

std::string document(const Sample& sample)
{
    const std::unique_ptr<Backup_Set> set = catalog::find_set_type(sample.type)->make();
    set->uuid = sample_uuid(sample.number);
    set->name = sample.name;
    set->host = sample.host;
    set->host_uuid = numbered_uuid(0xc3, 1);
    set->resource_uuid = numbered_uuid(0xd4, 1);
    set->agent = sample.type;
    set->type = "full";
    if (!iso8601_to_posix_time(sample.start, set->backup_start_time)) {
        throw std::invalid_argument(sample.start);
    }
    set->backup_end_time = set->backup_start_time + 600;
    set->size = 5000 + sample.number;
    set->source_size = 70000 + sample.number;
    for (int i = 0; i < sample.storages; ++i) {
        Backup_Set_Storage storage;
        storage.pool_uuid = pool_uuid(i);
        storage.size = set->size;
        storage.state = i == 0 ? Backup_Set_State::ONLINE_BIT : Backup_Set_State::ONLINE_REPLICATED;
        storage.upstream_pool_uuid = i == 0 ? "" : pool_uuid(0);
        set->add_storage(storage);
    }
    for (int i = 0; i < sample.pieces; ++i) {
        Backup_Piece piece;
        piece.path = "/data/file" + std::to_string(i);
        piece.object = "set" + std::to_string(sample.number) + "/piece" + std::to_string(i);
        piece.size = static_cast<ACE_UINT64>(1000 + i);
        set->add_piece(piece);
    }
    std::string text = to_json(*set);
    return text.insert(text.size() - 1, sample.extra);
}

std::string document(int number)
{
    Sample sample;
    sample.number = number;
    return document(sample);
}

std::string documents(int first, int count)
{
    std::string text;
    for (int number = first; number < first + count; ++number) {
        text += document(number) + "\n";
    }
    return text;
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
