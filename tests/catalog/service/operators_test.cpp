// The catalog operators against the program itself, over both protocols and on both engines.

#include "backup_set/common/catalog_operator.h"
#include "backup_set/common/oracle_backup_set.h"
#include "backup_set/common/restful_catalog_operator.h"
#include "platform/http/json_restful_client.h"
#include "platform/json/json_dump.h"
#include "platform/json/json_generator.h"
#include "platform/json/object_get.h"
#include "platform/rpc/global_json_rpc_channel.h"
#include "tests/support/log_capture.h"
#include "tests/support/postgresql_database.h"
#include "tests/support/service_process.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <exception>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

using json_spirit::Array;
using json_spirit::Object;
using json_spirit::Value;

struct Way
{
    bool on_postgresql;
    bool by_rest;
};

constexpr Way ways[] = {{false, false}, {false, true}, {true, false}, {true, true}};

std::string way_name(const ::testing::TestParamInfo<Way>& info)
{
    return std::string(info.param.on_postgresql ? "postgresql" : "sqlite")
           + (info.param.by_rest ? "_rest" : "_json_rpc");
}

constexpr const char* set_uuid = "5d5ea2a0-4c1b-4a55-b93e-0d6f4f1c1a01";

class Operators_And_Service : public ::testing::TestWithParam<Way>
{
protected:
    Operators_And_Service()
    {
        set_.uuid = set_uuid;
        set_.name = "nightly";
        set_.agent = "oracle";
        set_.host_uuid = "5d5ea2a0-4c1b-4a55-b93e-0d6f4f1c1a02";
        set_.resource_uuid = "5d5ea2a0-4c1b-4a55-b93e-0d6f4f1c1a03";
        set_.backup_start_time = 1'700'000'000;
        set_.dbid = 4711;
    }

    void SetUp() override
    {
        if (GetParam().on_postgresql) {
            Postgresql_Database::require();
        }
    }

    void TearDown() override { Global_JSON_RPC_Channel::remove(); }

    /// Starts the service on the test's database, after a stop on the port that it had before.
    void serve(std::vector<std::string> arguments = {})
    {
        if (url_.empty()) {
            url_ = GetParam().on_postgresql ? database_.emplace().url() : "sqlite:" + dir_.file("catalog.db");
        }
        service_ = std::make_unique<Service_Process>(url_, std::move(arguments), port_);
        port_ = service_->port();
        JSON_RPC_Endpoint endpoint;
        endpoint.host = "127.0.0.1";
        endpoint.port = port_;
        Global_JSON_RPC_Channel::configure(endpoint);
        Upstream_JSON_RESTful_Client::configure("127.0.0.1", port_, false, "");
    }

    Service_Process& service() { return *service_; }

    std::unique_ptr<Catalog_Operator> make(int retries = 0, int retry_timeout = -1) const
    {
        if (GetParam().by_rest) {
            return std::make_unique<RESTful_Catalog_Operator>("127.0.0.1", port_, false, nullptr, retries,
                                                              retry_timeout);
        }
        return std::make_unique<Catalog_Operator>(retries, retry_timeout);
    }

    /// The document of the committed set, or nothing.
    static std::optional<Object> committed(const Catalog_Operator& op)
    {
        Value row;
        if (!op.get_first_view("backup_set", "set", {{"uuid", set_uuid}}, row)) {
            return {};
        }
        return row.get_obj();
    }

    static std::set<std::string> paths(const Array& pieces)
    {
        std::set<std::string> all;
        for (const Value& piece : pieces) {
            EXPECT_TRUE(all.insert(json_spirit::object_get_str_or_throw(piece.get_obj(), "path")).second) << "twice";
        }
        return all;
    }

    static Array piece(const std::string& path)
    {
        return {Object{{"path", path}, {"object", "file"}, {"size", 4096}, {"extended_attrs", Object()}}};
    }

    static std::string name_of(const Object& document)
    {
        return json_spirit::object_get_str_or_throw(document, "name");
    }

    Oracle_Backup_Set set_;

private:
    Temp_Dir dir_;
    std::optional<Postgresql_Database> database_;
    std::string url_;
    std::uint16_t port_ = 0;
    std::unique_ptr<Service_Process> service_;
};

INSTANTIATE_TEST_SUITE_P(Ways, Operators_And_Service, ::testing::ValuesIn(ways), way_name);

} // namespace

TEST_P(Operators_And_Service, a_set_lives_from_initialize_to_commit)
{
    serve();
    const Log_Capture log;
    const std::unique_ptr<Catalog_Operator> op = make();
    EXPECT_TRUE(op->initialize(set_)) << log.text();
    EXPECT_TRUE(op->add_piece(set_.uuid, piece("/backup/a"))) << log.text();
    EXPECT_TRUE(op->add_piece(set_.uuid, piece("/backup/b"))) << log.text();
    EXPECT_FALSE(committed(*op));
    set_.backup_end_time = 1'700'000'100;
    EXPECT_TRUE(op->complete(set_)) << log.text();
    EXPECT_FALSE(committed(*op));
    set_.add_piece("/backup/c", 1);
    EXPECT_TRUE(op->commit(set_, true)) << log.text();

    const std::optional<Object> document = committed(*op);
    ASSERT_TRUE(document) << log.text();
    EXPECT_EQ(name_of(*document), "nightly");
    EXPECT_EQ(json_spirit::object_get_uint64_or_throw(*document, "dbid"), 4711u);
    Value result;
    ASSERT_TRUE(op->get_view("backup_set", "pieces", {{"uuid", set_.uuid}}, result)) << log.text();
    EXPECT_EQ(paths(json_spirit::object_get_array_or_throw(result.get_obj(), "rows")),
              std::set<std::string>({"/backup/a", "/backup/b", "/backup/c"}));
    EXPECT_EQ(log.count(), 2u) << log.text(); // twice the set was asked for too early
}

TEST_P(Operators_And_Service, a_set_lives_as_a_document_too)
{
    serve();
    const Log_Capture log;
    const std::unique_ptr<Catalog_Operator> op = make();
    Value document;
    ASSERT_TRUE(json_spirit::read(to_json(set_), document));
    EXPECT_TRUE(op->initialize(document)) << log.text();
    EXPECT_TRUE(op->complete(document)) << log.text();
    EXPECT_TRUE(op->commit(document, true)) << log.text();
    EXPECT_TRUE(committed(*op)) << log.text();
    document.get_obj()["name"] = "renamed";
    EXPECT_TRUE(op->update(document)) << log.text();
    EXPECT_EQ(name_of(committed(*op).value_or(Object{{"name", "none"}})), "renamed");
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TEST_P(Operators_And_Service, a_commit_needs_no_step_before_it)
{
    serve();
    const Log_Capture log;
    const std::unique_ptr<Catalog_Operator> op = make();
    EXPECT_TRUE(op->commit(set_, false)) << log.text();
    EXPECT_TRUE(committed(*op)) << log.text();
    EXPECT_TRUE(op->commit(set_, true)) << log.text(); // once more with the same content
    set_.name = "other";
    EXPECT_FALSE(op->commit(set_, true));
    EXPECT_EQ(name_of(committed(*op).value_or(Object{{"name", "none"}})), "nightly");
}

TEST_P(Operators_And_Service, abort_gives_the_pieces_back_and_forgets_the_set)
{
    serve();
    const Log_Capture log;
    const std::unique_ptr<Catalog_Operator> op = make();
    set_.add_piece("/backup/a", 4096);
    EXPECT_TRUE(op->initialize(set_)) << log.text();
    EXPECT_TRUE(op->add_piece(set_.uuid, piece("/backup/b"))) << log.text();
    Array pieces = {"mine"};
    EXPECT_TRUE(op->abort(set_.uuid, pieces)) << log.text();
    EXPECT_EQ(paths(pieces), std::set<std::string>({"/backup/a", "/backup/b"}));
    EXPECT_EQ(log.count(), 0u) << log.text();

    pieces = {"mine"};
    EXPECT_FALSE(op->abort(set_.uuid, pieces)); // there is none any more
    EXPECT_EQ(pieces, Array{"mine"});
    EXPECT_EQ(log.count(LM_ERROR), 1u) << log.text();
}

TEST_P(Operators_And_Service, update_changes_a_committed_set)
{
    serve();
    const Log_Capture log;
    const std::unique_ptr<Catalog_Operator> op = make();
    EXPECT_TRUE(op->commit(set_, true)) << log.text();
    set_.name = "renamed";
    EXPECT_TRUE(op->update(set_)) << log.text();
    EXPECT_EQ(name_of(committed(*op).value_or(Object{{"name", "none"}})), "renamed");
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TEST_P(Operators_And_Service, a_step_out_of_order_is_refused_and_logged)
{
    serve();
    const std::unique_ptr<Catalog_Operator> op = make();
    Log_Capture log;
    EXPECT_FALSE(op->add_piece(set_.uuid, piece("/backup/a")));
    EXPECT_EQ(log.count(LM_ERROR), 1u) << log.text();
    log.clear();
    EXPECT_TRUE(op->commit(set_, true)) << log.text();
    EXPECT_FALSE(op->complete(set_));
    EXPECT_EQ(log.count(LM_ERROR), 1u) << log.text();
    Array pieces = {"mine"};
    EXPECT_FALSE(op->abort(set_.uuid, pieces));
    EXPECT_EQ(pieces, Array{"mine"});
    EXPECT_TRUE(committed(*op));
}

TEST_P(Operators_And_Service, views_take_parameters_and_go_on_behind_a_key)
{
    serve();
    const Log_Capture log;
    const std::unique_ptr<Catalog_Operator> op = make();
    std::string last = set_uuid;
    for (const char digit : {'1', '2', '3'}) {
        last.back() = digit;
        set_.uuid = last;
        set_.backup_start_time += 3600;
        EXPECT_TRUE(op->commit(set_, false)) << log.text();
    }
    std::vector<std::string> found;
    Object parameters = {{"type", "oracle"}, {"limit", 2}};
    for (int page = 0; page < 2; ++page) {
        Value result;
        ASSERT_TRUE(op->get_view("backup_set", "sets", parameters, result)) << log.text();
        for (const Value& row : json_spirit::object_get_array_or_throw(result.get_obj(), "rows")) {
            found.push_back(json_spirit::object_get_str_or_throw(row.get_obj(), "uuid"));
        }
        const std::string* const next = json_spirit::object_get_str(result.get_obj(), "next");
        EXPECT_EQ(next != nullptr, page == 0) << JSON_Dump(result).str();
        parameters["after"] = next != nullptr ? Value(*next) : Value();
    }
    std::ranges::reverse(found); // newest first
    EXPECT_EQ(found, std::vector<std::string>({std::string(set_uuid, 35) + '1', std::string(set_uuid, 35) + '2',
                                               std::string(set_uuid, 35) + '3'}));
    Value row = "as before";
    EXPECT_FALSE(op->get_first_view("backup_set", "sets", {{"type", "mysql"}}, row));
    EXPECT_EQ(row, Value("as before"));
    EXPECT_EQ(log.count(), 0u) << log.text();
    EXPECT_FALSE(op->get_view("backup_set", "no such view", {}, row));
    EXPECT_EQ(log.count(LM_ERROR), 1u) << log.text();
}

TEST_P(Operators_And_Service, a_queued_commit_is_there_once_it_is_confirmed)
{
    serve({"--queue-commits"});
    const Log_Capture log;
    const std::unique_ptr<Catalog_Operator> op = make();
    set_.add_piece("/backup/a", 4096);
    EXPECT_TRUE(op->initialize(set_)) << log.text();
    EXPECT_TRUE(op->complete(set_)) << log.text();
    EXPECT_TRUE(op->commit(set_, true)) << log.text();
    EXPECT_TRUE(committed(*op)) << log.text();
    EXPECT_EQ(log.count(LM_ERROR), 0u) << log.text();
}

TEST_P(Operators_And_Service, a_commit_waits_for_a_service_that_comes_back)
{
    serve();
    const std::unique_ptr<Catalog_Operator> op = make(-1, 60);
    EXPECT_TRUE(op->initialize(set_));
    service().kill();
    std::exception_ptr fault;
    std::thread restart([&] {
        try {
            serve();
        } catch (...) {
            fault = std::current_exception();
        }
    });
    const Log_Capture log;
    EXPECT_TRUE(op->complete(set_)) << log.text();
    EXPECT_TRUE(op->commit(set_, true)) << log.text();
    restart.join();
    if (fault) {
        std::rethrow_exception(fault);
    }
    EXPECT_TRUE(committed(*op)) << log.text();
    EXPECT_EQ(log.count(LM_ERROR), 0u) << log.text();
}
