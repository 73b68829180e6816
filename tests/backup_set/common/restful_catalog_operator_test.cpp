#include "backup_set/common/restful_catalog_operator.h"

#include "backup_set/common/oracle_backup_set.h"
#include "platform/http/json_restful_client.h"
#include "platform/json/json_generator.h"
#include "tests/backup_set/common/recorded_waits.h"
#include "tests/backup_set/common/scripted_channel.h"
#include "tests/support/certificates.h"
#include "tests/support/log_capture.h"
#include "tests/support/scripted_http_peer.h"
#include "tests/support/virtual_place.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using json_spirit::Array;
using json_spirit::Object;
using json_spirit::Value;
using Peer = Scripted_HTTP_Peer;

/// Operators that speak to a peer, which answers as a test says.
class RESTful_Catalog_Operator_Test : public Scripted_Channel_Test
{
protected:
    RESTful_Catalog_Operator_Test()
    {
        set_.uuid = "u 1&2";
        set_.name = "nightly";
        set_.dbid = 4711;
    }

    /// To be called before the operator is made.
    void script(std::vector<Peer::Reply> replies) { peer_ = std::make_unique<Peer>(std::move(replies)); }

    RESTful_Catalog_Operator make(int retries = 0, int retry_timeout = -1)
    {
        return {"127.0.0.1", peer_->port(), false, "the key", retries, retry_timeout};
    }

    const Peer& peer() const { return *peer_; }
    Peer::Request last_request() const { return peer_->requests().back(); }

    Oracle_Backup_Set set_;
    const Value document_ = json(R"({"uuid": "u-2", "catalog_module": "oracle"})");
    Value result_ = "as before";

private:
    std::unique_ptr<Peer> peer_;
};

Peer::Reply ok(const std::string& body)
{
    return Peer::answer(200, body);
}

std::string place(const Log_Capture::Record& record)
{
    return record.file + ':' + std::to_string(record.line);
}

bool is_of_the_operator(const Log_Capture::Record& record)
{
    return record.file.ends_with("backup_set/common/restful_catalog_operator.cpp");
}

/// What the operator itself or its base logged.
std::vector<Log_Capture::Record> own_records(const Log_Capture& log)
{
    std::vector<Log_Capture::Record> own;
    for (const Log_Capture::Record& record : log.records()) {
        if (record.file.find("backup_set/common/") != std::string::npos) {
            own.push_back(record);
        }
    }
    return own;
}

/// A step of a set's life; all are answered by success or failure alone.
struct Step
{
    const char* name;
    const char* method;
    const char* target;
    bool sends_record;
    std::function<bool(RESTful_Catalog_Operator&, Backup_Set&, const Value&)> run;
};

const Step steps[] = {
    {"update of a record", "PUT", "/kx/r/v2/sets?uuid=u%201%262", true,
     [](RESTful_Catalog_Operator& op, Backup_Set& set, const Value&) { return op.update(set); }},
    {"initialize with a record", "POST", "/kx/r/v2/sets?action=Initialize", true,
     [](RESTful_Catalog_Operator& op, Backup_Set& set, const Value&) { return op.initialize(set); }},
    {"initialize with a document", "POST", "/kx/r/v2/sets?action=Initialize", false,
     [](RESTful_Catalog_Operator& op, Backup_Set&, const Value& document) { return op.initialize(document); }},
    {"complete with a record", "POST", "/kx/r/v2/sets?action=Complete", true,
     [](RESTful_Catalog_Operator& op, Backup_Set& set, const Value&) { return op.complete(set); }},
    {"complete with a document", "POST", "/kx/r/v2/sets?action=Complete", false,
     [](RESTful_Catalog_Operator& op, Backup_Set&, const Value& document) { return op.complete(document); }},
};

class Broken_Set : public Backup_Set
{
public:
    explicit Broken_Set(bool throws) : Backup_Set("broken"), throws_(throws) { uuid = "u-3"; }

protected:
    bool generate_i(YAJL_Gen&) override
    {
        if (throws_) {
            throw std::runtime_error("no such tablespace");
        }
        return false;
    }

private:
    bool throws_;
};

} // namespace

// What the class is

TEST(RESTful_Catalog_Operator, overrides_take_the_places_of_the_base)
{
    using Op = RESTful_Catalog_Operator;
    static_assert(std::is_base_of_v<Catalog_Operator, Op> && std::has_virtual_destructor_v<Op>);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(Backup_Set&, bool)>(&Op::commit)), 2u);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(const Value&, bool)>(&Op::commit)), 3u);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(Backup_Set&)>(&Op::update)), 4u);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(Backup_Set&)>(&Op::initialize)), 6u);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(const Value&)>(&Op::initialize)), 7u);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(const std::string&, const Array&)>(&Op::add_piece)), 8u);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(Backup_Set&)>(&Op::complete)), 9u);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(const Value&)>(&Op::complete)), 10u);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(const std::string&, Array&)>(&Op::abort)), 11u);
    using View = bool (Op::*)(const char*, const char*, const Object&, Value&) const;
    EXPECT_EQ(virtual_place(static_cast<View>(&Op::get_view)), 12u);
    EXPECT_EQ(virtual_place(static_cast<View>(&Op::get_first_view)), 13u);
    static_assert(std::is_same_v<decltype(&Op::commit_confirm),
                                 bool (Catalog_Operator::*)(const Value&, JSON_RESTful_Client*)>); // the base's
}

TEST(RESTful_Catalog_Operator, holds_a_client_beside_what_the_base_holds)
{
    EXPECT_EQ(sizeof(RESTful_Catalog_Operator), sizeof(Catalog_Operator) + sizeof(void*));
    static_assert(!std::is_copy_constructible_v<RESTful_Catalog_Operator>); // the client has one owner
}

// Construction

TEST(RESTful_Catalog_Operator, without_a_host_there_is_no_client_and_one_emergency)
{
    for (const char* host : {static_cast<const char*>(nullptr), ""}) {
        const Log_Capture log;
        const RESTful_Catalog_Operator op(host, 80, false, "key", 1, 1);
        EXPECT_FALSE(op);
        ASSERT_EQ(log.count(), 1u) << log.text();
        const Log_Capture::Record& record = log.records()[0];
        EXPECT_EQ(record.priority, LM_EMERGENCY);
        EXPECT_TRUE(is_of_the_operator(record));
        EXPECT_TRUE(record.text.starts_with("Unexpected error in " + place(record) + ", host is NULL or \"\":\n"))
            << record.text;
    }
}

TEST(RESTful_Catalog_Operator, with_a_client_it_is_true)
{
    const Log_Capture log;
    const HTTP_Session_var session(new HTTP_Session("localhost", 1, false));
    const bool of_upstream = RESTful_Catalog_Operator(1, 1);
    const bool of_a_host = RESTful_Catalog_Operator("localhost", 1, true, nullptr, 1, 1);
    const bool of_a_network = RESTful_Catalog_Operator("network", session, true, 1, 1);
    const bool of_a_tenant = RESTful_Catalog_Operator("network", "tenant", session, true, 1, 1);
    EXPECT_TRUE(of_upstream && of_a_host && of_a_network && of_a_tenant);
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TEST_F(RESTful_Catalog_Operator_Test, access_key_goes_with_every_request)
{
    script({ok("{}"), ok(R"({"result": true})"), ok("[]")});
    RESTful_Catalog_Operator op = make();
    Array pieces;
    EXPECT_TRUE(op.get_view("m", "v", {}, result_));
    EXPECT_TRUE(op.commit(document_, false));
    EXPECT_TRUE(op.abort("u-1", pieces));
    ASSERT_EQ(peer().requests().size(), 3u);
    for (const Peer::Request& request : peer().requests()) {
        EXPECT_EQ(request.header("x-access-key"), "the key");
    }
}

TEST_F(RESTful_Catalog_Operator_Test, without_an_access_key_none_is_sent)
{
    script({ok("{}"), ok("{}")});
    for (const char* key : {static_cast<const char*>(nullptr), ""}) {
        const RESTful_Catalog_Operator op("127.0.0.1", peer().port(), false, key, 0, -1);
        EXPECT_TRUE(op.get_view("m", "v", {}, result_));
        EXPECT_FALSE(last_request().headers.contains("x-access-key"));
    }
}

TEST_F(RESTful_Catalog_Operator_Test, tls_is_spoken_where_that_is_wanted)
{
    const Certificates certificates;
    Peer::Options options;
    options.certificate = certificates.server().certificate;
    options.key = certificates.server().key;
    const Peer tls_peer({ok("{}")}, options);
    const Log_Capture log;
    const RESTful_Catalog_Operator op("127.0.0.1", tls_peer.port(), true, "the key", 0, -1);
    EXPECT_FALSE(op.get_view("m", "v", {}, result_)); // the system does not know who signed the certificate
    EXPECT_EQ(tls_peer.connections(), 1u);
    EXPECT_TRUE(tls_peer.requests().empty());
    EXPECT_EQ(log.count("certificate"), 1u) << log.text();
}

TEST_F(RESTful_Catalog_Operator_Test, upstream_is_where_the_process_was_told)
{
    script({ok("{}")});
    Upstream_JSON_RESTful_Client::configure("127.0.0.1", peer().port(), false, "upstream's key");
    const RESTful_Catalog_Operator op(0, -1);
    EXPECT_TRUE(op.get_view("m", "v", {}, result_));
    EXPECT_EQ(last_request().header("x-access-key"), "upstream's key");
}

TEST_F(RESTful_Catalog_Operator_Test, operators_over_one_session_share_its_connection)
{
    script({ok("{}"), ok("{}")});
    const HTTP_Session_var session(new HTTP_Session("127.0.0.1", peer().port(), false));
    const RESTful_Catalog_Operator of_a_network("network's key", session, true, 0, -1);
    const RESTful_Catalog_Operator of_a_tenant("network's key", "tenant's key", session, true, 0, -1);
    EXPECT_TRUE(of_a_network.get_view("m", "v", {}, result_));
    EXPECT_EQ(last_request().header("x-network-access-key"), "network's key");
    EXPECT_FALSE(last_request().headers.contains("x-tenant-access-key"));
    EXPECT_TRUE(of_a_tenant.get_view("m", "v", {}, result_));
    EXPECT_EQ(last_request().header("x-network-access-key"), "network's key");
    EXPECT_EQ(last_request().header("x-tenant-access-key"), "tenant's key");
    EXPECT_EQ(peer().connections(), 1u);
}

TEST_F(RESTful_Catalog_Operator_Test, status_of_answers_matters_to_a_network_when_that_is_wanted)
{
    script({Peer::answer(500), Peer::answer(500), Peer::answer(500), Peer::answer(500)});
    const Log_Capture log;
    const HTTP_Session_var session(new HTTP_Session("127.0.0.1", peer().port(), false));
    EXPECT_FALSE(RESTful_Catalog_Operator("n", session, true, 0, -1).initialize(document_));
    EXPECT_TRUE(RESTful_Catalog_Operator("n", session, false, 0, -1).initialize(document_));
    EXPECT_FALSE(RESTful_Catalog_Operator("n", "t", session, true, 0, -1).initialize(document_));
    EXPECT_TRUE(RESTful_Catalog_Operator("n", "t", session, false, 0, -1).initialize(document_));
}

TEST_F(RESTful_Catalog_Operator_Test, every_constructor_gives_its_limits_to_the_client)
{
    const Recorded_Waits waits;
    const Log_Capture log;
    script(std::vector(100, Peer::drop()));
    Upstream_JSON_RESTful_Client::configure("127.0.0.1", peer().port(), false, "");
    const auto attempts = [&](RESTful_Catalog_Operator&& op) {
        const std::size_t before = peer().requests().size();
        EXPECT_FALSE(op.initialize(document_));
        return peer().requests().size() - before;
    };
    const auto session = [&] { return HTTP_Session_var(new HTTP_Session("127.0.0.1", peer().port(), false)); };
    EXPECT_EQ(attempts({"127.0.0.1", peer().port(), false, nullptr, 2, -1}), 3u);
    EXPECT_EQ(attempts({"127.0.0.1", peer().port(), false, nullptr, -1, 1}), 2u);
    EXPECT_EQ(attempts({2, -1}), 3u);
    EXPECT_EQ(attempts({-1, 1}), 2u);
    EXPECT_EQ(attempts({"n", session(), true, 2, -1}), 3u);
    EXPECT_EQ(attempts({"n", session(), true, -1, 1}), 2u);
    EXPECT_EQ(attempts({"n", "t", session(), true, 2, -1}), 3u);
    EXPECT_EQ(attempts({"n", "t", session(), true, -1, 1}), 2u);
}

// The steps of a set's life

TEST_F(RESTful_Catalog_Operator_Test, each_step_has_its_request)
{
    script(std::vector(std::size(steps), ok("{}")));
    RESTful_Catalog_Operator op = make();
    const std::string written = to_json(set_);
    ASSERT_NE(written.find("\"dbid\""), std::string::npos); // a typed key
    for (const Step& step : steps) {
        const Log_Capture log;
        EXPECT_TRUE(step.run(op, set_, document_)) << step.name;
        EXPECT_EQ(last_request().method, step.method) << step.name;
        EXPECT_EQ(last_request().target, step.target) << step.name;
        if (step.sends_record) {
            EXPECT_EQ(last_request().body, written) << step.name;
        } else {
            EXPECT_EQ(json(last_request().body), document_) << step.name;
        }
        EXPECT_EQ(log.count(), 0u) << log.text();
    }
    EXPECT_EQ(peer().requests().size(), std::size(steps));
}

TEST_F(RESTful_Catalog_Operator_Test, body_of_an_answer_to_a_step_is_not_read)
{
    const std::vector<Peer::Reply> answers = {Peer::answer(204), ok("this is not JSON"), ok(R"({"result": false})")};
    for (const Peer::Reply& answer : answers) {
        script(std::vector(std::size(steps) + 1, answer));
        RESTful_Catalog_Operator op = make();
        for (const Step& step : steps) {
            EXPECT_TRUE(step.run(op, set_, document_)) << step.name << ": " << answer.bytes;
        }
        EXPECT_TRUE(op.add_piece("u-1", {})) << answer.bytes;
    }
}

TEST_F(RESTful_Catalog_Operator_Test, a_step_fails_when_it_is_refused_or_not_delivered)
{
    for (const Peer::Reply& reply : {Peer::answer(409, R"({"result": true})"), Peer::drop()}) {
        script(std::vector(std::size(steps) + 1, reply));
        RESTful_Catalog_Operator op = make();
        for (const Step& step : steps) {
            const Log_Capture log;
            EXPECT_FALSE(step.run(op, set_, document_)) << step.name;
            EXPECT_TRUE(own_records(log).empty()) << log.text(); // the client has said it
            EXPECT_EQ(log.count(LM_ERROR), 1u) << log.text();
        }
        const Log_Capture log;
        EXPECT_FALSE(op.add_piece("u-1", {}));
        EXPECT_TRUE(own_records(log).empty()) << log.text();
        EXPECT_EQ(peer().requests().size(), std::size(steps) + 1);
    }
}

TEST_F(RESTful_Catalog_Operator_Test, add_piece_sends_the_uuid_and_the_pieces)
{
    script({ok("{}")});
    RESTful_Catalog_Operator op = make();
    EXPECT_TRUE(op.add_piece("u-1", json(R"([{"path": "/a", "size": 1}])").get_array()));
    EXPECT_EQ(last_request().method, "POST");
    EXPECT_EQ(last_request().target, "/kx/r/v2/sets?action=AddPiece");
    EXPECT_EQ(json(last_request().body), json(R"({"uuid": "u-1", "pieces": [{"path": "/a", "size": 1}]})"));
}

TEST_F(RESTful_Catalog_Operator_Test, abort_sends_the_uuid_and_replaces_the_pieces_of_the_caller)
{
    script({ok(R"([{"path": "/a"}, {"path": "/b"}])"), ok("[]")});
    RESTful_Catalog_Operator op = make();
    Array pieces = {"mine", 1};
    EXPECT_TRUE(op.abort("u-1", pieces));
    EXPECT_EQ(last_request().method, "POST");
    EXPECT_EQ(last_request().target, "/kx/r/v2/sets?action=Abort");
    EXPECT_EQ(json(last_request().body), json(R"({"uuid": "u-1"})"));
    EXPECT_EQ(Value(pieces), json(R"([{"path": "/a"}, {"path": "/b"}])"));
    EXPECT_TRUE(op.abort("u-1", pieces));
    EXPECT_TRUE(pieces.empty());
}

TEST_F(RESTful_Catalog_Operator_Test, abort_without_a_bare_array_fails_and_leaves_the_pieces_of_the_caller)
{
    const std::vector<Peer::Reply> replies = {
        Peer::drop(),
        ok(R"({"result": true, "pieces": [{"path": "/a"}]})"), // what JSON-RPC answers
        ok("null"),
        Peer::answer(204),
        ok("this is not JSON"),
        Peer::answer(409, R"([{"path": "/a"}])"),
    };
    script(replies);
    RESTful_Catalog_Operator op = make();
    const Log_Capture log;
    for (const Peer::Reply& reply : replies) {
        Array pieces = {"mine"};
        EXPECT_FALSE(op.abort("u-1", pieces)) << reply.bytes;
        EXPECT_EQ(pieces, Array{"mine"}) << reply.bytes;
    }
    EXPECT_EQ(peer().requests().size(), replies.size());
    EXPECT_TRUE(own_records(log).empty()) << log.text();
}

TEST_F(RESTful_Catalog_Operator_Test, update_of_a_document_stays_with_json_rpc)
{
    script({});
    RESTful_Catalog_Operator op = make();
    next(R"({"result": false})");
    EXPECT_TRUE(op.update(document_));
    next(R"({"result": false})");
    EXPECT_TRUE(static_cast<Catalog_Operator&>(op).update(document_));
    ASSERT_EQ(calls().size(), 2u);
    EXPECT_EQ(calls()[1].method, "backup_set.update");
    EXPECT_EQ(calls()[1].params, document_);
    EXPECT_TRUE(peer().requests().empty());
}

TEST_F(RESTful_Catalog_Operator_Test, json_rpc_of_the_base_has_no_limits)
{
    script({});
    const Recorded_Waits waits;
    const Log_Capture log;
    RESTful_Catalog_Operator op = make(0, 0);
    for (int i = 0; i < 100; ++i) {
        next(not_delivered());
    }
    next(R"({"result": true})");
    EXPECT_TRUE(op.update(document_));
    EXPECT_EQ(waits.seconds().size(), 100u);
}

TEST_F(RESTful_Catalog_Operator_Test, a_record_that_cannot_be_written_is_not_sent_and_throws_nothing)
{
    script({});
    RESTful_Catalog_Operator op = make(-1, -1);
    for (const bool throws : {true, false}) {
        Broken_Set set(throws);
        for (const Step& step : steps) {
            const Log_Capture log;
            if (step.sends_record) {
                EXPECT_NO_THROW(EXPECT_FALSE(step.run(op, set, document_))) << step.name;
                EXPECT_EQ(log.count("no such tablespace"), throws ? 1u : 0u) << log.text();
                EXPECT_GE(log.count(LM_ERROR), 1u);
            }
        }
        const Log_Capture log;
        EXPECT_NO_THROW(EXPECT_FALSE(op.commit(set, true)));
        EXPECT_EQ(log.records().back().text, "Failed to commit backup set, uuid u-3, msg null.\n");
    }
    EXPECT_TRUE(peer().requests().empty());
}

// Commit

TEST_F(RESTful_Catalog_Operator_Test, commit_posts_the_set_to_the_collection)
{
    script({ok(R"({"result": true})"), ok(R"({"result": true, "more": 1})")});
    const Log_Capture log;
    RESTful_Catalog_Operator op = make();
    EXPECT_TRUE(op.commit(set_, false));
    EXPECT_EQ(last_request().method, "POST");
    EXPECT_EQ(last_request().target, "/kx/r/v2/sets");
    EXPECT_EQ(last_request().body, to_json(set_));
    EXPECT_TRUE(op.commit(document_, false));
    EXPECT_EQ(last_request().method, "POST");
    EXPECT_EQ(last_request().target, "/kx/r/v2/sets");
    EXPECT_EQ(json(last_request().body), document_);
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TEST_F(RESTful_Catalog_Operator_Test, a_commit_that_is_sent_again_says_that_it_is_the_same)
{
    script({Peer::drop(), ok(R"({"result": true})"), ok(R"({"result": true})")});
    const Recorded_Waits waits;
    const Log_Capture log;
    RESTful_Catalog_Operator op = make(-1, -1);
    EXPECT_TRUE(op.commit(document_, false));
    EXPECT_TRUE(op.commit(document_, false));
    const std::vector<Peer::Request> requests = peer().requests();
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_NE(requests[0].header("idempotency-key"), "");
    EXPECT_EQ(requests[1].header("idempotency-key"), requests[0].header("idempotency-key"));
    EXPECT_NE(requests[2].header("idempotency-key"), requests[0].header("idempotency-key"));
}

TEST_F(RESTful_Catalog_Operator_Test, a_commit_that_was_not_delivered_is_logged_without_an_answer)
{
    script({Peer::drop(), Peer::drop()});
    RESTful_Catalog_Operator op = make();
    const Log_Capture log;
    EXPECT_FALSE(op.commit(set_, false));
    EXPECT_FALSE(op.commit(document_, true));
    const std::vector<Log_Capture::Record> own = own_records(log);
    ASSERT_EQ(own.size(), 2u) << log.text();
    EXPECT_EQ(own[0].text, "Failed to commit backup set, uuid u 1&2, msg null.\n");
    EXPECT_EQ(own[1].text, "Failed to commit backup set, response state 0, msg null.\n");
    for (const Log_Capture::Record& record : own) {
        EXPECT_EQ(record.priority, LM_ERROR);
        EXPECT_TRUE(is_of_the_operator(record));
    }
}

TEST_F(RESTful_Catalog_Operator_Test, a_refused_commit_is_logged_with_the_answer)
{
    const Peer::Reply refusal = Peer::answer(409, R"({"message": "other content", "code": 3})");
    script({refusal, refusal});
    RESTful_Catalog_Operator op = make();
    const Log_Capture log;
    EXPECT_FALSE(op.commit(set_, true));
    EXPECT_FALSE(op.commit(document_, false));
    const std::vector<Log_Capture::Record> own = own_records(log);
    ASSERT_EQ(own.size(), 2u) << log.text();
    EXPECT_EQ(own[0].text,
              "Failed to commit backup set, uuid u 1&2, msg {\"code\":3,\"message\":\"other content\"}.\n");
    EXPECT_EQ(own[1].text,
              "Failed to commit backup set, response state 409, msg {\"code\":3,\"message\":\"other content\"}.\n");
    EXPECT_EQ(own[0].priority, LM_ERROR);
    EXPECT_EQ(own[1].priority, LM_ERROR);
}

TEST_F(RESTful_Catalog_Operator_Test, a_bad_result_of_a_commit_is_judged_by_the_base)
{
    script(std::vector(4, ok(R"({"result": "true"})")));
    RESTful_Catalog_Operator op = make();
    const Log_Capture log;
    EXPECT_FALSE(op.commit(set_, false));
    EXPECT_FALSE(op.commit(document_, false));
    EXPECT_FALSE(op.commit(set_, true));
    EXPECT_FALSE(op.commit(document_, true));
    EXPECT_EQ(log.count(), 4u);
    EXPECT_EQ(log.count(LM_ERROR, "Failed to commit backup set, result: '{\"result\":\"true\"}'.\n"), 4u) << log.text();
}

TEST_F(RESTful_Catalog_Operator_Test, a_queued_commit_is_confirmed_through_the_own_client)
{
    const Peer::Reply queued = Peer::answer(202, R"({"result": true, "queued": true, "uuid": "u-9"})");
    script({queued, Peer::answer(404), Peer::answer(404), Peer::answer(200, "whatever"), queued, Peer::answer(200)});
    RESTful_Catalog_Operator op = make();
    const Recorded_Waits waits;
    const Log_Capture log;
    EXPECT_TRUE(op.commit(set_, true));
    EXPECT_TRUE(op.commit(document_, true));
    const std::vector<Peer::Request> requests = peer().requests();
    ASSERT_EQ(requests.size(), 6u);
    for (const std::size_t poll : {1u, 2u, 3u, 5u}) {
        EXPECT_EQ(requests[poll].method, "GET");
        EXPECT_EQ(requests[poll].target, "/kx/r/v2/sets/exists?uuid=u-9");
        EXPECT_EQ(requests[poll].header("x-access-key"), "the key");
    }
    EXPECT_EQ(peer().connections(), 1u);
    EXPECT_EQ(waits.seconds().size(), 4u);
    EXPECT_EQ(log.count(), 2u) << log.text();
    EXPECT_EQ(log.count(LM_INFO, "Retry("), 2u) << log.text();
}

TEST_F(RESTful_Catalog_Operator_Test, a_queued_commit_is_not_confirmed_where_that_is_not_wanted)
{
    script(std::vector(2, Peer::answer(202, R"({"result": true, "queued": true, "uuid": "u-9"})")));
    RESTful_Catalog_Operator op = make();
    EXPECT_TRUE(op.commit(set_, false));
    EXPECT_TRUE(op.commit(document_, false));
    EXPECT_EQ(peer().requests().size(), 2u);
}

TEST_F(RESTful_Catalog_Operator_Test, a_confirmation_has_no_limits_of_its_own)
{
    std::vector<Peer::Reply> replies(70, Peer::answer(404));
    replies.insert(replies.begin(), Peer::answer(202, R"({"result": true, "queued": true, "uuid": "u-9"})"));
    replies.push_back(Peer::answer(200));
    script(replies);
    RESTful_Catalog_Operator op = make(0, 0);
    const Recorded_Waits waits;
    const Log_Capture log;
    EXPECT_TRUE(op.commit(document_, true));
    EXPECT_EQ(peer().requests().size(), 72u);
    EXPECT_EQ(log.count(LM_ERROR), 0u) << log.text();
}

TEST_F(RESTful_Catalog_Operator_Test, the_client_logs_errors_again_after_a_confirmation)
{
    script({Peer::answer(202, R"({"result": true, "queued": true, "uuid": "u-9"})"), Peer::answer(200),
            Peer::answer(500)});
    RESTful_Catalog_Operator op = make();
    const Recorded_Waits waits;
    const Log_Capture log;
    EXPECT_TRUE(op.commit(document_, true));
    EXPECT_EQ(log.count(), 0u) << log.text();
    EXPECT_FALSE(op.initialize(document_));
    EXPECT_EQ(log.count(LM_ERROR), 1u);
}

TEST_F(RESTful_Catalog_Operator_Test, confirmation_is_that_of_a_derived_operator)
{
    class Derived : public RESTful_Catalog_Operator
    {
    public:
        using RESTful_Catalog_Operator::RESTful_Catalog_Operator;
        bool commit_confirm(const Value& result, JSON_RESTful_Client* client) override
        {
            EXPECT_NE(client, nullptr);
            EXPECT_EQ(result, json(R"({"anything": 1})"));
            return ++confirmed == 1;
        }
        int confirmed = 0;
    };
    script({ok(R"({"anything": 1})"), ok(R"({"anything": 1})")});
    Derived op("127.0.0.1", peer().port(), false, nullptr, 0, -1);
    EXPECT_TRUE(op.commit(set_, true));
    EXPECT_FALSE(op.commit(document_, true));
    EXPECT_EQ(op.confirmed, 2);
}

// Views

TEST_F(RESTful_Catalog_Operator_Test, parameters_of_a_view_follow_module_and_name_in_the_order_of_their_keys)
{
    script({ok("{}")});
    const RESTful_Catalog_Operator op = make();
    EXPECT_TRUE(op.get_view("m", "v", {{"d", Value()}, {"c", 1.5}, {"b", true}, {"a", "x"}}, result_));
    EXPECT_EQ(last_request().method, "GET");
    EXPECT_EQ(last_request().target, "/kx/r/v2/sets/select?module=m&view=v&a=x&b=true&d=");
    EXPECT_EQ(last_request().body, "");
}

TEST_F(RESTful_Catalog_Operator_Test, parameters_of_a_view_are_written_by_their_types)
{
    script({ok("{}")});
    const RESTful_Catalog_Operator op = make();
    const Object params = {
        {"array", Array{1, 2}},
        {"empty", ""},
        {"false", false},
        {"great", std::numeric_limits<std::uint64_t>::max()},
        {"least", std::numeric_limits<std::int64_t>::min()},
        {"null", Value()},
        {"object", Object{{"x", 1}}},
        {"real", 2.0},
        {"secret", json_spirit::Secure_String("s 3")},
        {"text & more", "50% = \"x\"/\xc3\xa4"},
        {"zero", 0},
    };
    const Log_Capture log;
    EXPECT_TRUE(op.get_view("m 1", "v?", params, result_));
    EXPECT_EQ(last_request().target,
              "/kx/r/v2/sets/select?module=m%201&view=v%3F&empty=&false=false&great=18446744073709551615"
              "&least=-9223372036854775808&null=&secret=s%203&text%20%26%20more=50%25%20%3D%20%22x%22%2F%C3%A4&zero=0");
    EXPECT_EQ(log.count(), 0u) << log.text(); // nothing is said of what is left out
}

TEST_F(RESTful_Catalog_Operator_Test, a_view_without_parameters_has_two_pairs)
{
    script({ok("{}")});
    EXPECT_TRUE(make().get_view("m", "v", {}, result_));
    EXPECT_EQ(last_request().target, "/kx/r/v2/sets/select?module=m&view=v");
}

TEST_F(RESTful_Catalog_Operator_Test, a_view_without_module_or_name_is_an_emergency_and_sends_nothing)
{
    script({});
    const RESTful_Catalog_Operator op = make();
    const Log_Capture log;
    EXPECT_FALSE(op.get_view("", "v", {}, result_));
    EXPECT_FALSE(op.get_view(nullptr, "v", {}, result_));
    EXPECT_FALSE(op.get_view(nullptr, "", {}, result_)); // the module alone is named
    EXPECT_FALSE(op.get_view("m", "", {}, result_));
    EXPECT_FALSE(op.get_view("m", nullptr, {}, result_));
    EXPECT_FALSE(op.get_first_view("m", nullptr, {}, result_));
    ASSERT_EQ(log.count(), 6u) << log.text();
    for (std::size_t i = 0; i < 6; ++i) {
        const Log_Capture::Record& record = log.records()[i];
        EXPECT_EQ(record.priority, LM_EMERGENCY);
        EXPECT_TRUE(is_of_the_operator(record));
        EXPECT_TRUE(record.text.starts_with("Unexpected error in " + place(record)
                                            + (i < 3 ? ", module is NULL or \"\":\n" : ", view is NULL or \"\":\n")))
            << record.text;
    }
    EXPECT_TRUE(peer().requests().empty());
    EXPECT_EQ(result_, Value("as before"));
}

TEST_F(RESTful_Catalog_Operator_Test, a_view_hands_over_the_whole_answer_unjudged)
{
    const std::vector<std::string> answers = {R"({"rows": [1, {"x": null}], "next": "k"})", R"({"result": false})",
                                              "[]"};
    script({ok(answers[0]), ok(answers[1]), ok(answers[2])});
    const RESTful_Catalog_Operator op = make();
    for (const std::string& answer : answers) {
        EXPECT_TRUE(op.get_view("m", "v", {}, result_));
        EXPECT_EQ(result_, json(answer));
    }
}

TEST_F(RESTful_Catalog_Operator_Test, a_view_fails_when_it_is_refused_or_not_delivered)
{
    script({Peer::drop(), Peer::answer(404, R"({"rows": [1]})"), ok("this is not JSON"),
            Peer::answer(404, R"({"rows": [1]})")});
    const RESTful_Catalog_Operator op = make();
    const Log_Capture log;
    Value ignored;
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(op.get_view("m", "v", {}, ignored));
    }
    EXPECT_FALSE(op.get_first_view("m", "v", {}, result_)); // for all that its answer has a row
    EXPECT_EQ(result_, Value("as before"));
    EXPECT_TRUE(own_records(log).empty()) << log.text();
}

TEST_F(RESTful_Catalog_Operator_Test, the_first_row_of_a_view_is_copied)
{
    script({ok(R"({"rows": [{"uuid": "u-1"}, {"uuid": "u-2"}]})")});
    const RESTful_Catalog_Operator op = make();
    EXPECT_TRUE(op.get_first_view("m", "v", {{"x", 1}}, result_));
    EXPECT_EQ(result_, json(R"({"uuid": "u-1"})"));
    EXPECT_EQ(last_request().target, "/kx/r/v2/sets/select?module=m&view=v&x=1");
}

TEST_F(RESTful_Catalog_Operator_Test, without_a_first_row_the_caller_keeps_its_own)
{
    script({ok(R"({"rows": []})"), ok("[]"), ok(R"({"data": []})")});
    const RESTful_Catalog_Operator op = make();
    const Log_Capture log;
    EXPECT_FALSE(op.get_first_view("m", "v", {}, result_));
    EXPECT_FALSE(op.get_first_view("m", "v", {}, result_));
    EXPECT_EQ(log.count(), 0u) << log.text();
    EXPECT_FALSE(op.get_first_view("m", "v", {}, result_));
    EXPECT_EQ(log.text(), "Invalid catalog data, lack of rows\n");
    EXPECT_EQ(result_, Value("as before"));
}

TEST_F(RESTful_Catalog_Operator_Test, the_first_row_is_that_of_the_view_of_a_derived_operator)
{
    class Derived : public RESTful_Catalog_Operator
    {
    public:
        using RESTful_Catalog_Operator::RESTful_Catalog_Operator;
        bool get_view(const char* module, const char*, const Object&, Value& result) const override
        {
            result = Object{{"rows", Array{module}}};
            return true;
        }
    };
    EXPECT_TRUE(Derived("localhost", 1, false, nullptr, 0, 0).get_first_view("m", "v", {}, result_));
    EXPECT_EQ(result_, Value("m"));
}
