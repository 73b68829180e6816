// The commands by way of a service print what they print from its database, byte for byte.

#include "catalog/cli/server_access.h"

#include "catalog/schema/set_type.h"
#include "catalog/service/access_keys.h"
#include "tests/catalog/cli/cli_test.h"
#include "tests/support/certificates.h"
#include "tests/support/service_process.h"

#include <fstream>

using namespace cli_test;

namespace {

struct Way
{
    const char* engine;
    const char* scheme;
};

std::string way_name(const ::testing::TestParamInfo<Way>& info)
{
    return std::string(info.param.engine) + '_' + info.param.scheme;
}

class Server_Access : public ::testing::TestWithParam<Way>
{
protected:
    void SetUp() override
    {
        const bool postgresql = std::string(GetParam().engine) == "postgresql";
        if (postgresql) {
            Postgresql_Database::require();
            if (IsSkipped() || HasFatalFailure()) {
                return;
            }
        }
        catalog = std::make_unique<Catalog>(postgresql);
    }

    void serve(std::vector<std::string> options = {})
    {
        service = std::make_unique<Service_Process>(catalog->url(), std::move(options));
    }

    std::string server(const std::string& scheme = GetParam().scheme) const
    {
        return scheme + "://127.0.0.1:" + std::to_string(service->port());
    }

    /// Runs a command by way of the service.
    Result run_there(std::vector<std::string> arguments, const std::string& input = {}) const
    {
        arguments.insert(arguments.end(), {"--server", server()});
        return cli_test::run(arguments, input);
    }

    /// Runs a command in both ways, which has to have the same outcome, and gives that.
    Result same_in_both(const std::vector<std::string>& arguments) const
    {
        const Result here = catalog->run(arguments);
        const Result there = run_there(arguments);
        std::string words;
        for (const std::string& argument : arguments) {
            words += argument + ' ';
        }
        EXPECT_EQ(there.out, here.out) << words;
        EXPECT_EQ(there.err, here.err) << words;
        EXPECT_EQ(there.exit, here.exit) << words;
        return there;
    }

    std::unique_ptr<Catalog> catalog;
    std::unique_ptr<Service_Process> service;
};

INSTANTIATE_TEST_SUITE_P(Ways, Server_Access,
                         ::testing::Values(Way{"sqlite", "http"}, Way{"sqlite", "ws"}, Way{"postgresql", "http"},
                                           Way{"postgresql", "ws"}),
                         way_name);

/// A set of each type, some with what objects would not keep: order, repeated keys, spellings of numbers.
std::string one_of_each_type()
{
    std::string text;
    int number = 0;
    for (const catalog::Set_Type& type : catalog::set_types()) {
        Sample sample;
        sample.number = ++number;
        sample.type = type.id;
        sample.start = "2024-05-01 22:00:" + std::to_string(10 + number);
        sample.name = "Größe \"備\" \\ \u0001 </script>";
        sample.extra = R"(,"zz":1.50,"aa":[1E2,{"b":1,"a":2,"b":3}],"zz":"again \ud83d\ude00")";
        text += document(sample) + "\n";
    }
    return text;
}

} // namespace

TEST_P(Server_Access, documents_come_back_as_they_were_sent)
{
    serve();
    const std::string sent = one_of_each_type();
    const Result recorded = run_there({"record", "-"}, sent);
    EXPECT_EQ(recorded.exit, 0) << recorded.err;
    EXPECT_EQ(recorded.err, "");
    const std::vector<std::string> documents = lines(sent);
    ASSERT_EQ(lines(recorded.out).size(), documents.size());
    for (std::size_t i = 0; i < documents.size(); ++i) {
        EXPECT_EQ(lines(recorded.out)[i], sample_uuid(static_cast<int>(i) + 1));
        const Result shown = same_in_both({"show", sample_uuid(static_cast<int>(i) + 1), "--format", "json"});
        EXPECT_EQ(shown.out, documents[i] + "\n");
    }
    const Result again = run_there({"record", "-"}, sent);
    EXPECT_EQ(again.exit, 0) << again.err;
    EXPECT_EQ(again.out, recorded.out);
}

TEST_P(Server_Access, rows_and_records_of_every_type_are_the_same)
{
    ASSERT_EQ(catalog->run({"record", "-"}, one_of_each_type()).exit, 0);
    serve();
    int number = 0;
    for (const catalog::Set_Type& type : catalog::set_types()) {
        ++number;
        for (const char* command : {"rows", "load"}) {
            const Result all = same_in_both({command, type.id});
            const Result one = same_in_both({command, type.id, "--uuid", sample_uuid(number)});
            if (all.exit == 0) {
                EXPECT_EQ(lines(all.out).size(), 1u) << command << ' ' << type.id;
                EXPECT_EQ(one.out, all.out) << command << ' ' << type.id;
            } else {
                EXPECT_EQ(all.exit, 2) << "a type without a select";
            }
        }
    }
}

TEST_P(Server_Access, pages_of_rows_join_without_a_seam)
{
    Sample large;
    large.number = 500;
    large.type = "file";
    large.pieces = 20'000; // over a megabyte: smaller pages follow
    ASSERT_EQ(catalog->run({"record", "-"}, document(large)).exit, 0);
    std::string text;
    for (int number = 1; number <= 60; ++number) {
        Sample sample;
        sample.number = number;
        sample.type = "file";
        text += document(sample) + "\n";
    }
    ASSERT_EQ(catalog->run({"record", "-"}, text).exit, 0);
    serve();
    EXPECT_EQ(lines(same_in_both({"rows", "file"}).out).size(), 61u);
    EXPECT_EQ(lines(same_in_both({"load", "file"}).out).size(), 61u);
    EXPECT_GT(same_in_both({"show", sample_uuid(500), "--format", "json"}).out.size(), 1'000'000u);
}

TEST_P(Server_Access, listings_are_the_same_page_for_page)
{
    std::string text;
    for (int number = 1; number <= 70; ++number) {
        Sample sample;
        sample.number = number;
        sample.type = number % 2 == 0 ? "file" : "oracle";
        sample.host = number % 3 == 0 ? "db1" : "db2";
        sample.storages = number % 4;
        sample.start = "2024-05-01 22:00:" + std::to_string(10 + number % 40);
        text += document(sample) + "\n";
    }
    ASSERT_EQ(catalog->run({"record", "-"}, text).exit, 0);
    serve();
    for (const char* format : {"table", "json", "ndjson"}) {
        same_in_both({"list", "--format", format});
        same_in_both({"list", "--format", format, "--limit", "0"});
        same_in_both({"list", "--format", format, "--type", "file", "--host", "db1", "--limit", "5"});
        same_in_both({"list", "--format", format, "--state", "replicated", "--since", "2024-05-01 22:00:20", "--until",
                      "2024-05-01 22:00:40"});
        same_in_both({"list", "--format", format, "--host", "nobody"});
    }
    EXPECT_EQ(lines(same_in_both({"list", "--format", "ndjson", "--limit", "0"}).out).size(), 70u);
    const Result first = same_in_both({"list", "--format", "ndjson", "--limit", "30"});
    const std::string key = first.err.substr(first.err.find("--after ") + 8, 57);
    EXPECT_EQ(lines(same_in_both({"list", "--format", "ndjson", "--limit", "50", "--after", key}).out).size(), 40u);
    EXPECT_EQ(same_in_both({"list", "--after", "nonsense"}).exit, 2);
    EXPECT_EQ(same_in_both({"list", "--since", "9999-12-31 23:59:59", "--until", "0001-01-01 00:00:00"}).exit, 0);
    EXPECT_EQ(same_in_both({"list", "--resource", "000000D4-0000-4000-8000-000000000001", "--limit", "3"}).exit, 0);
}

TEST_P(Server_Access, sets_and_copies_are_shown_the_same)
{
    Sample sample;
    sample.storages = 3;
    std::string odd = document(2);
    const std::string online = R"("state":["online"])";
    odd.replace(odd.find(online), online.size(), R"("more":1)"); // no states: the copy is not looked at
    Sample none;
    none.number = 3;
    none.storages = 0;
    ASSERT_EQ(catalog->run({"record", "-"}, document(sample) + "\n" + odd + "\n" + document(none)).exit, 0);
    serve();
    for (int number = 1; number <= 3; ++number) {
        same_in_both({"show", sample_uuid(number)});
        same_in_both({"choose-copy", sample_uuid(number)});
        same_in_both({"choose-copy", sample_uuid(number), "--explain"});
    }
    EXPECT_EQ(run_there({"choose-copy", sample_uuid(1)}).out, pool_uuid(0) + "\n");
    EXPECT_EQ(run_there({"choose-copy", sample_uuid(3)}).exit, 3);
    EXPECT_EQ(same_in_both({"show", "{000000A1-0000-4000-8000-000000000001}"}).exit, 0);
}

TEST_P(Server_Access, what_is_not_there_is_not_found)
{
    ASSERT_EQ(catalog->run({"record", "-"}, document(1)).exit, 0);
    serve();
    EXPECT_EQ(same_in_both({"show", sample_uuid(2)}).exit, 3);
    EXPECT_EQ(same_in_both({"show", "{000000A1-0000-4000-8000-000000000002}", "--format", "json"}).exit, 3);
    EXPECT_EQ(same_in_both({"choose-copy", sample_uuid(2)}).exit, 3);
    EXPECT_EQ(same_in_both({"rows", "file", "--uuid", sample_uuid(1)}).exit, 3);
    EXPECT_EQ(same_in_both({"load", "oracle", "--uuid", sample_uuid(2)}).exit, 3);
}

TEST_P(Server_Access, refused_documents_are_told_as_from_a_database)
{
    ASSERT_EQ(catalog->run({"record", "-"}, document(1)).exit, 0);
    serve();
    std::string other = document(1);
    other.replace(other.find("nightly"), 7, "weekly");
    const std::string input = other + "\n{\"catalog_module\":\"nothing\"}\n{broken\n" + document(2) + "\n";
    const Result there = run_there({"record", "-"}, input);
    const Result here = catalog->run({"record", "-"}, input); // set 2 is there by now, with the same content
    EXPECT_EQ(there.exit, 4);
    EXPECT_EQ(there.out, sample_uuid(2) + "\n");
    EXPECT_EQ(lines(there.err).size(), 3u) << there.err;
    EXPECT_EQ(here.exit, there.exit);
    EXPECT_EQ(here.out, there.out);
    EXPECT_EQ(here.err, there.err);
}

TEST_P(Server_Access, a_queued_commit_is_awaited)
{
    serve({"--queue-commits"});
    const Result recorded = run_there({"record", "-"}, document(1));
    EXPECT_EQ(recorded.exit, 0) << recorded.err;
    EXPECT_EQ(recorded.out, sample_uuid(1) + "\n");
    EXPECT_EQ(catalog->run({"show", sample_uuid(1), "--format", "json"}).out, document(1) + "\n");
    std::string other = document(1);
    other.replace(other.find("nightly"), 7, "weekly");
    const Result conflict = run_there({"record", "-"}, other);
    EXPECT_EQ(conflict.exit, 4) << conflict.err;
    EXPECT_EQ(conflict.out, "");
}

TEST_P(Server_Access, the_access_key_comes_from_a_file_and_is_never_shown)
{
    const std::string keys = catalog->dir().file("keys");
    std::string reader;
    std::string fault;
    ASSERT_TRUE(catalog::service::add_access_key(keys, "reader", catalog::service::Role::READER, reader, fault))
        << fault;
    const std::string key_file = catalog->dir().file("reader");
    std::ofstream(key_file) << reader << " \r\nnot the key\n";
    ASSERT_EQ(catalog->run({"record", "-"}, document(1)).exit, 0);
    serve({"--access-keys", keys});
    EXPECT_EQ(run_there({"list", "--access-key-file", key_file}).out, catalog->run({"list"}).out);
    const Result refused = run_there({"--verbose", "record", "-", "--access-key-file", key_file}, document(2));
    EXPECT_EQ(refused.exit, 1) << "a reader may not record";
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(catalog->run({"show", sample_uuid(2)}).exit, 3);
    const std::string secret = reader.substr(reader.find('.') + 1);
    EXPECT_EQ(refused.err.find(secret), std::string::npos) << refused.err;
    const Result no_file = run_there({"list", "--access-key-file", keys + ".none"});
    EXPECT_EQ(no_file.exit, 1);
    EXPECT_NE(no_file.err.find("No such file"), std::string::npos) << no_file.err;
    const std::string empty = catalog->dir().file("empty");
    std::ofstream(empty) << "\n";
    EXPECT_EQ(run_there({"list", "--access-key-file", empty}).exit, 1);
}

TEST_P(Server_Access, tls_with_an_authority_of_its_own)
{
    const Certificates certificates;
    ASSERT_EQ(catalog->run({"record", "-"}, document(1)).exit, 0);
    serve({"--tls-certificate", certificates.server().certificate, "--tls-key", certificates.server().key});
    const std::string secure = server(std::string(GetParam().scheme) == "ws" ? "wss" : "https");
    const Result listed = cli_test::run({"list", "--server", secure, "--server-authority", certificates.authority()});
    EXPECT_EQ(listed.exit, 0) << listed.err;
    EXPECT_EQ(listed.out, catalog->run({"list"}).out);
    const Result other =
        cli_test::run({"list", "--server", secure, "--server-authority", certificates.other_authority()});
    EXPECT_EQ(other.exit, 1);
    EXPECT_EQ(other.out, "");
    const Result plain = cli_test::run({"list", "--server", server(), "--server-authority", certificates.authority()});
    EXPECT_EQ(plain.exit, 2) << plain.err;
}

TEST_P(Server_Access, a_service_that_is_gone_fails_after_some_attempts)
{
    serve();
    const std::string gone = server();
    service->stop();
    const Result result = cli_test::run({"record", "-", "--server", gone}, documents(1, 3));
    EXPECT_EQ(result.exit, 1);
    EXPECT_EQ(result.out, "");
    ASSERT_EQ(lines(result.err).size(), 1u) << result.err;
    EXPECT_NE(result.err.find("document 1: not recorded"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find(gone.substr(gone.find("127"))), std::string::npos) << result.err;
}

namespace {

/// Gives an environment variable a value for a scope.
class Variable
{
public:
    Variable(const char* name, const std::string& value) : name_(name) { ::setenv(name, value.c_str(), 1); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable() { ::unsetenv(name_); }

private:
    const char* name_;
};

} // namespace

TEST(Server_Options, database_and_server_exclude_each_other)
{
    const Catalog catalog(false);
    ASSERT_EQ(catalog.run({"record", "-"}, document(1)).exit, 0);
    const Service_Process service(catalog.url());
    const std::string url = service.url();
    for (const std::vector<std::string>& command :
         std::vector<std::vector<std::string>>{{"record", "-"},
                                               {"list"},
                                               {"show", sample_uuid(1)},
                                               {"load", "oracle"},
                                               {"rows", "oracle"},
                                               {"choose-copy", sample_uuid(1)}})
    {
        std::vector<std::string> words = command;
        words.insert(words.end(), {"--server", url});
        const Result both = catalog.run(words, document(1));
        EXPECT_EQ(both.exit, 2) << command[0];
        EXPECT_EQ(both.out, "") << command[0];
        words = command;
        words.insert(words.end(), {"--server", "db1"});
        EXPECT_EQ(run(words).exit, 2) << command[0];
    }
    {
        const Variable named("BACKUP_SET_SERVER", url);
        EXPECT_EQ(run({"list", "--format", "ndjson"}).out, catalog.run({"list", "--format", "ndjson"}).out);
        const Variable database("BACKUP_SET_DATABASE", catalog.url());
        EXPECT_EQ(run({"list"}).exit, 2) << "which of them?";
        EXPECT_EQ(run({"list", "--server", url}).exit, 0);
        EXPECT_EQ(catalog.run({"list"}).exit, 0);
        EXPECT_EQ(run({"schema", "show"}).exit, 0) << "works on databases only";
    }
    EXPECT_EQ(catalog.run({"list", "--access-key-file", "/dev/null"}).exit, 2);
    EXPECT_EQ(catalog.run({"list", "--server-authority", "/dev/null"}).exit, 2);
}
