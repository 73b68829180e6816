#include "backup_set/common/catalog_operator.h"

#include "backup_set/common/oracle_backup_set.h"
#include "platform/http/json_restful_client.h"
#include "platform/json/json_dump.h"
#include "platform/json/json_generator.h"
#include "tests/backup_set/common/recorded_waits.h"
#include "tests/backup_set/common/scripted_channel.h"
#include "tests/support/log_capture.h"
#include "tests/support/scripted_http_peer.h"
#include "tests/support/virtual_place.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

using json_spirit::Array;
using json_spirit::Object;
using json_spirit::Value;

class Catalog_Operator_Test : public Scripted_Channel_Test
{
protected:
    Catalog_Operator_Test()
    {
        set_.uuid = "5d5ea2a0-4c1b-4a55-b93e-0d6f4f1c1a01";
        set_.name = "nightly";
        set_.dbid = 4711;
        set_.add_piece("/backup/o1.bkp", 4096);
    }

    Oracle_Backup_Set set_;
    const Value document_ = json(R"({"uuid": "u-1", "catalog_module": "oracle"})");
    Value result_ = "as before";
};

/// Something that is done to an operator, with what it sends.
struct Operation
{
    const char* name;
    const char* method;
    std::function<bool(Catalog_Operator&, Backup_Set&, const Value&)> run;
};

const Operation set_operations[] = {
    {"commit", "backup_set.commit",
     [](Catalog_Operator& op, Backup_Set& set, const Value&) { return op.commit(set, false); }},
    {"commit with confirmation", "backup_set.commit",
     [](Catalog_Operator& op, Backup_Set& set, const Value&) { return op.commit(set, true); }},
    {"update", "backup_set.update", [](Catalog_Operator& op, Backup_Set& set, const Value&) { return op.update(set); }},
    {"initialize", "backup_set.initialize",
     [](Catalog_Operator& op, Backup_Set& set, const Value&) { return op.initialize(set); }},
    {"complete", "backup_set.complete",
     [](Catalog_Operator& op, Backup_Set& set, const Value&) { return op.complete(set); }},
};

const Operation document_operations[] = {
    {"commit", "backup_set.commit",
     [](Catalog_Operator& op, Backup_Set&, const Value& document) { return op.commit(document, false); }},
    {"commit with confirmation", "backup_set.commit",
     [](Catalog_Operator& op, Backup_Set&, const Value& document) { return op.commit(document, true); }},
    {"update", "backup_set.update",
     [](Catalog_Operator& op, Backup_Set&, const Value& document) { return op.update(document); }},
    {"initialize", "backup_set.initialize",
     [](Catalog_Operator& op, Backup_Set&, const Value& document) { return op.initialize(document); }},
    {"complete", "backup_set.complete",
     [](Catalog_Operator& op, Backup_Set&, const Value& document) { return op.complete(document); }},
};

/// "file:line" as a record's text shows the place that it was logged at.
std::string place(const Log_Capture::Record& record)
{
    return record.file + ':' + std::to_string(record.line);
}

bool is_of_the_operator(const Log_Capture::Record& record)
{
    return record.file.ends_with("backup_set/common/catalog_operator.cpp");
}

/// A record that does in `generate_i` what it is told.
class Hooked_Set : public Backup_Set
{
public:
    explicit Hooked_Set(std::function<bool()> hook) : Backup_Set("hooked"), hook_(std::move(hook)) {}

protected:
    bool generate_i(YAJL_Gen&) override { return hook_(); }

private:
    std::function<bool()> hook_;
};

/// A client that answers polls as it is told and writes them down.
class Scripted_Client : public JSON_RESTful_Client
{
public:
    struct Poll
    {
        int method;
        std::string target;
        bool wants_result;
        bool logs_errors;
    };

    /// Fails `failures` times, then succeeds.
    explicit Scripted_Client(std::size_t failures) : JSON_RESTful_Client("localhost", 1, false), failures_(failures) {}

    bool get(HTTP_Request& request, Value* result) override
    {
        polls.push_back({request.method(), request.target(), result != nullptr, log_errors()});
        if (throws) {
            throw std::runtime_error("the client broke");
        }
        return polls.size() > failures_;
    }

    std::vector<Poll> polls;
    bool throws = false;

private:
    std::size_t failures_;
};

constexpr std::size_t never = static_cast<std::size_t>(-1);

const Value queued = Object{{"result", true}, {"queued", true}, {"uuid", "u 1&2"}};

} // namespace

// What the class is

TEST(Catalog_Operator, virtual_operations_stand_in_order)
{
    using Op = Catalog_Operator;
    static_assert(std::has_virtual_destructor_v<Op>); // it takes the first place
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(Backup_Set&, bool)>(&Op::commit)), 2u);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(const Value&, bool)>(&Op::commit)), 3u);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(Backup_Set&)>(&Op::update)), 4u);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(const Value&)>(&Op::update)), 5u);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(Backup_Set&)>(&Op::initialize)), 6u);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(const Value&)>(&Op::initialize)), 7u);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(const std::string&, const Array&)>(&Op::add_piece)), 8u);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(Backup_Set&)>(&Op::complete)), 9u);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(const Value&)>(&Op::complete)), 10u);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(const std::string&, Array&)>(&Op::abort)), 11u);
    using View = bool (Op::*)(const char*, const char*, const Object&, Value&) const;
    EXPECT_EQ(virtual_place(static_cast<View>(&Op::get_view)), 12u);
    EXPECT_EQ(virtual_place(static_cast<View>(&Op::get_first_view)), 13u);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(const Value&, JSON_RESTful_Client*)>(&Op::commit_confirm)), 14u);
}

TEST(Catalog_Operator, helpers_are_constant_and_not_virtual)
{
    using Op = Catalog_Operator;
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(const Value&, Value&) const>(&Op::get_first_row)), 0u);
    EXPECT_EQ(virtual_place(static_cast<bool (Op::*)(const Value&) const>(&Op::check_request_result)), 0u);
    EXPECT_EQ(
        virtual_place(static_cast<bool (Op::*)(const char*, const Value&, Value&) const>(&Op::global_json_rpc_request)),
        0u);
    EXPECT_EQ(
        virtual_place(static_cast<bool (Op::*)(const char*, Backup_Set&, Value&) const>(&Op::global_json_rpc_request)),
        0u);
}

TEST(Catalog_Operator, holds_two_32_bit_limits_and_nothing_else)
{
    EXPECT_EQ(sizeof(Catalog_Operator), sizeof(void*) + 2 * sizeof(ACE_INT32));
    ACE_INT32 limits[2];
    const Catalog_Operator op(3, 50);
    std::memcpy(limits, reinterpret_cast<const char*>(&op) + sizeof(void*), sizeof(limits));
    EXPECT_EQ(limits[0], 3);
    EXPECT_EQ(limits[1], 50);
}

// What is sent

TEST_F(Catalog_Operator_Test, each_operation_sends_a_record_as_the_record_writes_itself)
{
    Catalog_Operator op(0, -1);
    const std::string written = to_json(set_);
    ASSERT_NE(written.find("\"dbid\""), std::string::npos); // a typed key
    for (const Operation& operation : set_operations) {
        next(R"({"result": true})");
        const Log_Capture log;
        EXPECT_TRUE(operation.run(op, set_, document_)) << operation.name;
        EXPECT_EQ(calls().back().method, operation.method) << operation.name;
        EXPECT_NE(calls().back().text.find("\"params\":" + written), std::string::npos) << calls().back().text;
        EXPECT_EQ(log.count(), 0u) << log.text();
    }
    EXPECT_EQ(calls().size(), std::size(set_operations));
}

TEST_F(Catalog_Operator_Test, each_operation_sends_a_document_as_it_is_given)
{
    Catalog_Operator op(0, -1);
    for (const Operation& operation : document_operations) {
        next(R"({"result": true})");
        const Log_Capture log;
        EXPECT_TRUE(operation.run(op, set_, document_)) << operation.name;
        EXPECT_EQ(calls().back().method, operation.method) << operation.name;
        EXPECT_EQ(calls().back().params, document_) << operation.name;
        EXPECT_EQ(log.count(), 0u) << log.text();
    }
    EXPECT_EQ(calls().size(), std::size(document_operations));
}

TEST_F(Catalog_Operator_Test, add_piece_sends_the_uuid_and_the_pieces)
{
    Catalog_Operator op(0, -1);
    next(R"({"result": true})");
    EXPECT_TRUE(op.add_piece("u-1", json(R"([{"path": "/a", "size": 1}, {"path": "/b", "size": 2}])").get_array()));
    EXPECT_EQ(calls().back().method, "backup_set.add_piece");
    EXPECT_EQ(calls().back().params,
              json(R"({"uuid": "u-1", "pieces": [{"path": "/a", "size": 1}, {"path": "/b", "size": 2}]})"));
}

TEST_F(Catalog_Operator_Test, add_piece_without_pieces_sends_an_empty_array)
{
    Catalog_Operator op(0, -1);
    next(R"({"result": true})");
    EXPECT_TRUE(op.add_piece("", {}));
    EXPECT_EQ(calls().back().params, json(R"({"uuid": "", "pieces": []})"));
}

TEST_F(Catalog_Operator_Test, abort_sends_the_uuid_alone)
{
    Catalog_Operator op(0, -1);
    next(R"({"result": true, "pieces": []})");
    Array pieces;
    EXPECT_TRUE(op.abort("u-1", pieces));
    EXPECT_EQ(calls().back().method, "backup_set.abort");
    EXPECT_EQ(calls().back().params, json(R"({"uuid": "u-1"})"));
}

TEST_F(Catalog_Operator_Test, get_view_sends_module_view_and_the_parameters_in_an_object)
{
    const Catalog_Operator op(0, -1);
    next(R"({"rows": []})");
    EXPECT_TRUE(
        op.get_view("backup_set", "sets", json(R"({"limit": 3, "deep": {"x": [1.5, null]}})").get_obj(), result_));
    EXPECT_EQ(calls().back().method, "backup_set.select");
    EXPECT_EQ(calls().back().params, json(R"({"module": "backup_set", "view": "sets",
                                              "param": {"limit": 3, "deep": {"x": [1.5, null]}}})"));
}

TEST_F(Catalog_Operator_Test, an_answer_is_waited_for_600_seconds)
{
    Catalog_Operator op(0, -1);
    otherwise(answer(R"({"result": true})"));
    EXPECT_TRUE(op.initialize(set_));
    EXPECT_TRUE(op.initialize(document_));
    EXPECT_EQ(calls()[0].timeout_s, 600);
    EXPECT_EQ(calls()[1].timeout_s, 600);
}

// Delivery

TEST_F(Catalog_Operator_Test, a_document_is_sent_again_as_the_same_request)
{
    const Recorded_Waits waits;
    const Log_Capture log;
    Catalog_Operator op(-1, -1);
    next(not_delivered());
    next(not_delivered());
    next(R"({"result": true})");
    EXPECT_TRUE(op.initialize(document_));
    ASSERT_EQ(calls().size(), 3u);
    EXPECT_FALSE(calls()[0].id.empty());
    EXPECT_EQ(calls()[1].text, calls()[0].text);
    EXPECT_EQ(calls()[2].text, calls()[0].text);
}

TEST_F(Catalog_Operator_Test, two_requests_of_one_document_are_told_apart)
{
    Catalog_Operator op(0, -1);
    otherwise(answer(R"({"result": true})"));
    EXPECT_TRUE(op.initialize(document_));
    EXPECT_TRUE(op.initialize(document_));
    EXPECT_NE(calls()[0].id, calls()[1].id);
}

TEST_F(Catalog_Operator_Test, a_record_is_sent_again_as_a_request_of_its_own)
{
    const Recorded_Waits waits;
    const Log_Capture log;
    Catalog_Operator op(-1, -1);
    int written = 0;
    Hooked_Set set([&] {
        ++written;
        return true;
    });
    next(not_delivered());
    next(not_delivered());
    next(R"({"result": true})");
    EXPECT_TRUE(op.initialize(set));
    ASSERT_EQ(calls().size(), 3u);
    EXPECT_EQ(written, 3);
    EXPECT_EQ(std::set<std::string>({calls()[0].id, calls()[1].id, calls()[2].id}).size(), 3u);
    EXPECT_EQ(calls()[2].params, calls()[0].params);
}

TEST_F(Catalog_Operator_Test, without_retries_there_is_one_attempt)
{
    const Recorded_Waits waits;
    Catalog_Operator op(0, -1);
    otherwise(not_delivered());
    Log_Capture log;
    EXPECT_FALSE(op.initialize(document_));
    EXPECT_EQ(calls().size(), 1u);
    ASSERT_EQ(log.count(), 1u) << log.text();
    EXPECT_EQ(log.records()[0].priority, LM_ERROR);
    EXPECT_EQ(log.records()[0].text, "JSON-RPC 'backup_set.initialize' failed after 0 retries.\n");
    EXPECT_TRUE(is_of_the_operator(log.records()[0]));

    log.clear();
    EXPECT_FALSE(op.initialize(set_));
    EXPECT_EQ(calls().size(), 2u);
    ASSERT_EQ(log.count(), 1u) << log.text();
    EXPECT_EQ(log.records()[0].priority, LM_ERROR);
    EXPECT_EQ(log.records()[0].text, "Failed to commit catalog to backup server\n");
    EXPECT_TRUE(is_of_the_operator(log.records()[0]));
    EXPECT_TRUE(waits.seconds().empty());
}

TEST_F(Catalog_Operator_Test, three_retries_are_four_attempts)
{
    const Recorded_Waits waits;
    Catalog_Operator op(3, -1);
    otherwise(not_delivered());
    Log_Capture log;
    EXPECT_FALSE(op.get_view("m", "v", {}, result_));
    EXPECT_EQ(calls().size(), 4u);
    EXPECT_EQ(waits.seconds().size(), 3u);
    EXPECT_EQ(log.count(LM_INFO), 3u);
    EXPECT_EQ(log.count(LM_ERROR), 1u);
    EXPECT_EQ(log.records().back().text, "JSON-RPC 'backup_set.select' failed after 3 retries.\n");

    log.clear();
    EXPECT_FALSE(op.update(set_));
    EXPECT_EQ(calls().size(), 8u);
    EXPECT_EQ(log.count(LM_INFO), 3u);
    EXPECT_EQ(log.count(LM_ERROR), 1u);
}

TEST_F(Catalog_Operator_Test, the_last_retry_may_deliver)
{
    const Recorded_Waits waits;
    const Log_Capture log;
    Catalog_Operator op(2, -1);
    next(not_delivered());
    next(not_delivered());
    next(R"({"result": true})");
    EXPECT_TRUE(op.complete(document_));
    EXPECT_EQ(log.count(LM_ERROR), 0u) << log.text();
}

TEST_F(Catalog_Operator_Test, each_retry_is_announced_with_its_number_place_and_wait)
{
    const Recorded_Waits waits;
    Catalog_Operator op(5, -1);
    otherwise(not_delivered());
    std::set<int> lines;
    for (const bool as_record : {false, true}) {
        const Log_Capture log;
        const std::size_t waited = waits.seconds().size();
        EXPECT_FALSE(as_record ? op.update(set_) : op.update(document_));
        ASSERT_EQ(log.count(), 6u);
        for (std::size_t i = 0; i < 5; ++i) {
            const Log_Capture::Record& record = log.records()[i];
            EXPECT_EQ(record.priority, LM_INFO);
            EXPECT_TRUE(is_of_the_operator(record));
            EXPECT_EQ(record.text, "Retry(" + std::to_string(i + 1) + ") " + place(record) + " at "
                                       + std::to_string(waits.seconds()[waited + i]) + " second(s) later.\n");
            lines.insert(record.line);
        }
    }
    EXPECT_EQ(lines.size(), 2u); // one for documents, one for records
}

TEST_F(Catalog_Operator_Test, waits_grow_from_one_second_to_at_most_sixty_with_jitter)
{
    otherwise(not_delivered());
    const Log_Capture log;
    bool jitter = false;
    for (int i = 0; i < 20; ++i) {
        const Recorded_Waits waits;
        Catalog_Operator op(40, -1);
        EXPECT_FALSE(op.update(document_));
        ASSERT_EQ(waits.seconds().size(), 40u);
        EXPECT_EQ(waits.seconds()[0], 1u);
        unsigned longest = 1;
        for (const unsigned wait : waits.seconds()) {
            EXPECT_GE(wait, 1u);
            EXPECT_LE(wait, longest);
            jitter = jitter || wait != longest;
            longest = std::min(2 * longest, 60u);
        }
        EXPECT_GT(*std::ranges::max_element(waits.seconds()), 32u);
    }
    EXPECT_TRUE(jitter);
}

TEST_F(Catalog_Operator_Test, without_limits_a_request_is_repeated_until_it_is_delivered)
{
    const Log_Capture log;
    Catalog_Operator op(-1, -1);
    for (const bool as_record : {false, true}) {
        const Recorded_Waits waits;
        for (int i = 0; i < 2000; ++i) {
            next(not_delivered());
        }
        next(R"({"result": true})");
        EXPECT_TRUE(as_record ? op.complete(set_) : op.complete(document_));
        EXPECT_EQ(waits.seconds().size(), 2000u);
    }
    EXPECT_EQ(log.count(LM_ERROR), 0u);
}

TEST_F(Catalog_Operator_Test, a_request_is_given_up_once_its_waits_add_up_to_the_time_limit)
{
    otherwise(not_delivered());
    Catalog_Operator op(-1, 5);
    for (const bool as_record : {false, true}) {
        for (int i = 0; i < 20; ++i) {
            const Recorded_Waits waits;
            const Log_Capture log;
            const std::size_t before = calls().size();
            EXPECT_FALSE(as_record ? op.update(set_) : op.update(document_));
            EXPECT_GE(waits.sum(), 5u);
            EXPECT_LT(waits.sum() - waits.seconds().back(), 5u);
            EXPECT_EQ(calls().size() - before, waits.seconds().size() + 1);
            EXPECT_EQ(log.records().back().text, as_record ? "Failed to commit catalog to backup server\n"
                                                           : "JSON-RPC 'backup_set.update' failed after -1 retries.\n");
        }
    }
}

TEST_F(Catalog_Operator_Test, a_time_limit_of_zero_allows_one_attempt)
{
    const Recorded_Waits waits;
    const Log_Capture log;
    otherwise(not_delivered());
    Catalog_Operator op(-1, 0);
    EXPECT_FALSE(op.update(document_));
    EXPECT_FALSE(op.update(set_));
    EXPECT_EQ(calls().size(), 2u);
    EXPECT_TRUE(waits.seconds().empty());
}

TEST_F(Catalog_Operator_Test, either_limit_ends_the_attempts)
{
    const Recorded_Waits waits;
    const Log_Capture log;
    otherwise(not_delivered());
    Catalog_Operator op(1, 1000);
    EXPECT_FALSE(op.update(document_));
    EXPECT_EQ(calls().size(), 2u);
    op.init(1000, 1);
    EXPECT_FALSE(op.update(document_)); // its first wait is a second
    EXPECT_EQ(calls().size(), 4u);
}

TEST_F(Catalog_Operator_Test, a_negative_time_limit_is_a_large_one)
{
    const Recorded_Waits waits;
    const Log_Capture log;
    Catalog_Operator op(-1, -2);
    for (int i = 0; i < 100; ++i) {
        next(not_delivered());
    }
    next(R"({"result": true})");
    EXPECT_TRUE(op.complete(document_));
}

TEST_F(Catalog_Operator_Test, a_number_of_retries_below_minus_one_allows_one_attempt)
{
    const Recorded_Waits waits;
    Catalog_Operator op(-2, -1);
    otherwise(not_delivered());
    const Log_Capture log;
    EXPECT_FALSE(op.complete(document_));
    EXPECT_EQ(calls().size(), 1u);
    EXPECT_EQ(log.text(), "JSON-RPC 'backup_set.complete' failed after -2 retries.\n");
}

TEST_F(Catalog_Operator_Test, init_replaces_both_limits)
{
    const Recorded_Waits waits;
    const Log_Capture log;
    otherwise(not_delivered());
    Catalog_Operator op(-1, -1);
    op.init(2, -1);
    EXPECT_FALSE(op.complete(document_));
    EXPECT_EQ(calls().size(), 3u);
    op.init(-1, 0);
    EXPECT_FALSE(op.complete(document_));
    EXPECT_EQ(calls().size(), 4u);
}

TEST_F(Catalog_Operator_Test, a_copy_has_the_limits_of_the_original)
{
    const Recorded_Waits waits;
    const Log_Capture log;
    otherwise(not_delivered());
    const Catalog_Operator original(2, -1);
    Catalog_Operator copy(original);
    EXPECT_FALSE(copy.complete(document_));
    EXPECT_EQ(calls().size(), 3u);
    Catalog_Operator assigned(-1, -1);
    assigned = original;
    EXPECT_FALSE(assigned.complete(document_));
    EXPECT_EQ(calls().size(), 6u);
}

TEST_F(Catalog_Operator_Test, attempts_without_a_channel_fail)
{
    const Recorded_Waits waits;
    const Log_Capture log;
    Global_JSON_RPC_Channel::remove();
    Catalog_Operator op(2, -1);
    EXPECT_FALSE(op.complete(document_));
    EXPECT_EQ(log.records().back().text, "JSON-RPC 'backup_set.complete' failed after 2 retries.\n");
    EXPECT_FALSE(op.complete(set_));
    EXPECT_EQ(log.records().back().text, "Failed to commit catalog to backup server\n");
    EXPECT_EQ(waits.seconds().size(), 4u);
    EXPECT_TRUE(calls().empty());
}

TEST_F(Catalog_Operator_Test, a_request_survives_a_channel_that_goes_and_comes_back)
{
    for (const bool as_record : {false, true}) {
        const Recorded_Waits waits([&](std::size_t before) {
            if (before == 0) {
                Global_JSON_RPC_Channel::remove();
            } else if (before == 3) {
                install();
            }
        });
        const Log_Capture log;
        Catalog_Operator op(-1, -1);
        next(not_delivered());
        next(R"({"result": true})");
        EXPECT_TRUE(as_record ? op.complete(set_) : op.complete(document_));
        EXPECT_EQ(waits.seconds().size(), 4u);
    }
    EXPECT_EQ(calls().size(), 4u);
    EXPECT_EQ(calls()[1].text, calls()[0].text);
}

TEST_F(Catalog_Operator_Test, a_channel_that_is_gone_is_not_kept_through_the_wait)
{
    const Log_Capture log;
    std::vector<int> alive;
    const Recorded_Waits waits([&](std::size_t) {
        Global_JSON_RPC_Channel::remove();
        alive.push_back(channels());
    });
    Catalog_Operator op(1, -1);
    otherwise(not_delivered());
    EXPECT_FALSE(op.complete(document_));
    install();
    EXPECT_FALSE(op.complete(set_));
    EXPECT_EQ(alive, std::vector<int>({0, 0}));
}

TEST_F(Catalog_Operator_Test, a_record_that_cannot_write_itself_fails_its_attempts)
{
    const Recorded_Waits waits;
    const Log_Capture log;
    int written = 0;
    Hooked_Set set([&] {
        ++written;
        return false;
    });
    Catalog_Operator op(2, -1);
    EXPECT_FALSE(op.complete(set));
    EXPECT_EQ(written, 3);
    EXPECT_TRUE(calls().empty());
    EXPECT_EQ(log.records().back().text, "Failed to commit catalog to backup server\n");
}

TEST_F(Catalog_Operator_Test, what_a_record_throws_is_logged_once_and_not_repeated)
{
    const Recorded_Waits waits;
    Log_Capture log;
    Catalog_Operator op(-1, -1);
    Hooked_Set set([]() -> bool { throw std::runtime_error("no such tablespace"); });
    EXPECT_NO_THROW(EXPECT_FALSE(op.commit(set, true)));
    ASSERT_EQ(log.count(), 1u) << log.text();
    EXPECT_EQ(log.records()[0].priority, LM_ERROR);
    EXPECT_EQ(log.records()[0].text, "'backup_set.commit' failed: no such tablespace.\n");
    EXPECT_TRUE(is_of_the_operator(log.records()[0]));

    log.clear();
    Hooked_Set stranger([]() -> bool { throw 5; });
    EXPECT_NO_THROW(EXPECT_FALSE(op.commit(stranger, true)));
    EXPECT_EQ(log.text(), "'backup_set.commit' failed: an exception of an unknown type.\n");
    EXPECT_TRUE(calls().empty());
    EXPECT_TRUE(waits.seconds().empty());
}

TEST_F(Catalog_Operator_Test, what_a_channel_throws_is_logged_once)
{
    const Log_Capture log;
    Catalog_Operator op(0, -1);
    otherwise([](const JSON_RPC_Object&, JSON_RPC_Object_var&) -> bool { throw std::runtime_error("broken"); });
    EXPECT_NO_THROW(EXPECT_FALSE(op.update(document_)));
    EXPECT_NO_THROW(EXPECT_FALSE(op.complete(set_)));
    EXPECT_EQ(log.text(), "'backup_set.update' failed: broken.\n'backup_set.complete' failed: broken.\n");
}

TEST_F(Catalog_Operator_Test, a_request_that_cannot_be_made_is_not_sent)
{
    const Value unwritable(Object{{"size", std::numeric_limits<double>::infinity()}});
    const Recorded_Waits waits;
    const Log_Capture log;
    Catalog_Operator op(-1, -1);
    EXPECT_FALSE(op.global_json_rpc_request("backup_set.commit", unwritable, result_));
    ASSERT_FALSE(log.records().empty());
    EXPECT_EQ(log.records().back().priority, LM_ERROR);
    EXPECT_EQ(log.records().back().text, "Failed to make rpc request for 'backup_set.commit'.\n");
    EXPECT_TRUE(is_of_the_operator(log.records().back()));
    EXPECT_EQ(std::ranges::count_if(log.records(), is_of_the_operator), 1);
    EXPECT_TRUE(calls().empty());
    EXPECT_TRUE(waits.seconds().empty());
    EXPECT_EQ(result_, Value("as before"));
}

TEST_F(Catalog_Operator_Test, a_missing_method_is_an_emergency_at_a_line_of_each_form)
{
    const Log_Capture log;
    const Catalog_Operator op(-1, -1);
    EXPECT_FALSE(op.global_json_rpc_request(nullptr, document_, result_));
    EXPECT_FALSE(op.global_json_rpc_request("", document_, result_));
    EXPECT_FALSE(op.global_json_rpc_request(nullptr, set_, result_));
    EXPECT_FALSE(op.global_json_rpc_request("", set_, result_));
    ASSERT_EQ(log.count(), 4u) << log.text();
    for (const Log_Capture::Record& record : log.records()) {
        EXPECT_EQ(record.priority, LM_EMERGENCY);
        EXPECT_TRUE(is_of_the_operator(record));
        EXPECT_TRUE(record.text.starts_with("Unexpected error in " + place(record) + ", method is NULL or \"\":\n"))
            << record.text;
    }
    EXPECT_EQ(log.records()[0].line, log.records()[1].line);
    EXPECT_EQ(log.records()[2].line, log.records()[3].line);
    EXPECT_NE(log.records()[0].line, log.records()[2].line);
    EXPECT_TRUE(calls().empty());
    EXPECT_EQ(result_, Value("as before"));
}

// Answers

TEST_F(Catalog_Operator_Test, a_request_hands_over_the_whole_result)
{
    const Catalog_Operator op(0, -1);
    for (const char* result : {R"({"rows": [1, {"x": null}]})", "[]", "null", "17"}) {
        next(result);
        EXPECT_TRUE(op.global_json_rpc_request("any.method", document_, result_));
        EXPECT_EQ(result_, json(result));
        next(result);
        result_ = "as before";
        EXPECT_TRUE(op.global_json_rpc_request("any.method", set_, result_));
        EXPECT_EQ(result_, json(result));
    }
    EXPECT_EQ(calls().back().method, "any.method");
}

TEST_F(Catalog_Operator_Test, an_error_response_is_final_and_logged_with_code_and_message)
{
    const Recorded_Waits waits;
    Log_Capture log;
    Catalog_Operator op(-1, -1);
    otherwise(refusal(-32602, "no such key: siez"));
    EXPECT_FALSE(op.global_json_rpc_request("backup_set.complete", document_, result_));
    ASSERT_EQ(log.count(), 1u) << log.text();
    EXPECT_EQ(log.records()[0].priority, LM_ERROR);
    EXPECT_EQ(log.records()[0].text,
              "JSON-RPC 'backup_set.complete' response error, code: -32602, msg: no such key: siez.\n");
    EXPECT_TRUE(is_of_the_operator(log.records()[0]));

    log.clear();
    EXPECT_FALSE(op.global_json_rpc_request("backup_set.complete", set_, result_));
    ASSERT_EQ(log.count(), 1u) << log.text();
    EXPECT_EQ(log.records()[0].priority, LM_ERROR);
    EXPECT_EQ(log.records()[0].text, "Commit catalog error[-32602: no such key: siez].\n");
    EXPECT_TRUE(is_of_the_operator(log.records()[0]));

    EXPECT_EQ(calls().size(), 2u);
    EXPECT_TRUE(waits.seconds().empty());
    EXPECT_EQ(result_, Value("as before"));
}

TEST_F(Catalog_Operator_Test, a_percent_sign_in_a_message_of_the_service_is_a_percent_sign)
{
    const Log_Capture log;
    Catalog_Operator op(0, -1);
    otherwise(refusal(1, "100%s %n full"));
    EXPECT_FALSE(op.update(document_));
    EXPECT_FALSE(op.update(set_));
    EXPECT_EQ(log.text(), "JSON-RPC 'backup_set.update' response error, code: 1, msg: 100%s %n full.\n"
                          "Commit catalog error[1: 100%s %n full].\n");
}

TEST_F(Catalog_Operator_Test, texts_that_are_too_long_for_a_log_line_do_no_harm)
{
    const Log_Capture log;
    Catalog_Operator op(0, -1);
    const std::string length(100'000, 'x');
    next(refusal(1, length));
    EXPECT_FALSE(op.update(document_));
    next("{\"result\": \"" + length + "\"}");
    EXPECT_FALSE(op.complete(document_));
    ASSERT_EQ(log.count(), 2u);
    EXPECT_TRUE(
        log.records()[0].text.starts_with("JSON-RPC 'backup_set.update' response error, code: 1, msg: xxxxxxxx"));
    EXPECT_TRUE(log.records()[1].text.starts_with("Failed to commit backup set, result: '{\"result\":\"xxxxxxxx"));
}

TEST_F(Catalog_Operator_Test, a_response_of_another_type_is_refused_by_its_number)
{
    const Recorded_Waits waits;
    Catalog_Operator op(-1, -1);
    struct
    {
        const char* number;
        JSON_RPC_Object_var object;
    } const others[] = {
        {"0", JSON_RPC_Object_var(new JSON_RPC_Object)},
        {"0", JSON_RPC_Object_var()}, // nothing at all
        {"1", JSON_RPC_Object::make_notify("hello", Object())},
        {"2", JSON_RPC_Object::make_request("id", "hello", Object())},
    };
    for (const auto& other : others) {
        const Log_Capture log;
        otherwise([&](const JSON_RPC_Object&, JSON_RPC_Object_var& response) {
            response = other.object;
            return true;
        });
        EXPECT_FALSE(op.global_json_rpc_request("backup_set.initialize", document_, result_));
        EXPECT_FALSE(op.global_json_rpc_request("backup_set.initialize", set_, result_)); // it says commit all the same
        ASSERT_EQ(log.count(), 2u) << log.text();
        EXPECT_EQ(log.text(), std::string("Invalid JSON-RPC response type '") + other.number
                                  + "' of 'backup_set.initialize'.\nInvalid JSON-RPC response type '" + other.number
                                  + "' of 'backup_set.commit'.\n");
        EXPECT_EQ(log.count(LM_ERROR), 2u);
        EXPECT_TRUE(is_of_the_operator(log.records()[0]));
        EXPECT_TRUE(is_of_the_operator(log.records()[1]));
    }
    EXPECT_EQ(result_, Value("as before"));
    EXPECT_EQ(calls().size(), 8u);
}

TEST_F(Catalog_Operator_Test, only_an_object_whose_result_is_true_passes)
{
    const Catalog_Operator op(0, 0);
    Log_Capture log;
    EXPECT_TRUE(op.check_request_result(json(R"({"result": true})")));
    EXPECT_TRUE(op.check_request_result(json(R"({"result": true, "more": 1})")));
    EXPECT_EQ(log.count(), 0u) << log.text();

    for (const char* bad : {R"({"result":"true"})", R"({"result":false})", R"({"result":1})", R"({"result":null})",
                            R"({"Result":true})", "{}"})
    {
        log.clear();
        EXPECT_FALSE(op.check_request_result(json(bad)));
        ASSERT_EQ(log.count(), 1u) << log.text();
        EXPECT_EQ(log.records()[0].priority, LM_ERROR);
        EXPECT_EQ(log.records()[0].text, std::string("Failed to commit backup set, result: '") + bad + "'.\n");
        EXPECT_TRUE(is_of_the_operator(log.records()[0]));
    }
    for (const char* bad : {"[]", R"([{"result":true}])", "true", "null", R"("true")", "1"}) {
        log.clear();
        EXPECT_FALSE(op.check_request_result(json(bad)));
        ASSERT_EQ(log.count(), 1u) << log.text();
        EXPECT_EQ(log.records()[0].priority, LM_ERROR);
        EXPECT_EQ(log.records()[0].text, std::string("Invalid commit backup set result '") + bad + "'.\n");
        EXPECT_TRUE(is_of_the_operator(log.records()[0]));
    }
}

TEST_F(Catalog_Operator_Test, every_operation_but_update_judges_the_result_with_the_same_messages)
{
    Catalog_Operator op(0, -1);
    otherwise(answer(R"({"result": false})"));
    Array pieces;
    const auto check = [&](const std::function<bool()>& run, const char* name) {
        const Log_Capture log;
        EXPECT_FALSE(run()) << name;
        EXPECT_EQ(log.text(), "Failed to commit backup set, result: '{\"result\":false}'.\n") << name;
    };
    for (const Operation& operation : set_operations) {
        if (std::string(operation.name) != "update") {
            check([&] { return operation.run(op, set_, document_); }, operation.name);
        }
    }
    for (const Operation& operation : document_operations) {
        if (std::string(operation.name) != "update") {
            check([&] { return operation.run(op, set_, document_); }, operation.name);
        }
    }
    check([&] { return op.add_piece("u-1", pieces); }, "add_piece");
    check([&] { return op.abort("u-1", pieces); }, "abort");
}

TEST_F(Catalog_Operator_Test, update_takes_any_result)
{
    Catalog_Operator op(0, -1);
    const Log_Capture log;
    for (const char* result : {R"({"result": false})", "[]", "null", R"("no")"}) {
        otherwise(answer(result));
        EXPECT_TRUE(op.update(set_)) << result;
        EXPECT_TRUE(op.update(document_)) << result;
    }
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TEST_F(Catalog_Operator_Test, every_operation_fails_when_the_service_refuses)
{
    Catalog_Operator op(0, -1);
    otherwise(refusal(7, "not now"));
    const Log_Capture log;
    for (const Operation& operation : set_operations) {
        EXPECT_FALSE(operation.run(op, set_, document_)) << operation.name;
    }
    for (const Operation& operation : document_operations) {
        EXPECT_FALSE(operation.run(op, set_, document_)) << operation.name;
    }
    Array pieces = {"mine"};
    EXPECT_FALSE(op.add_piece("u-1", pieces));
    EXPECT_FALSE(op.abort("u-1", pieces));
    EXPECT_EQ(pieces, Array{"mine"});
    EXPECT_FALSE(op.get_view("m", "v", {}, result_));
    EXPECT_FALSE(op.get_first_view("m", "v", {}, result_));
    EXPECT_EQ(result_, Value("as before"));
    EXPECT_EQ(log.count(), calls().size()); // one line each
    EXPECT_EQ(log.count(LM_ERROR, "not now"), calls().size());
}

TEST_F(Catalog_Operator_Test, abort_replaces_the_pieces_of_the_caller)
{
    Catalog_Operator op(0, -1);
    next(R"({"result": true, "pieces": [{"path": "/a"}, {"path": "/b"}]})");
    Array pieces = {"mine", 1, 2};
    EXPECT_TRUE(op.abort("u-1", pieces));
    EXPECT_EQ(Value(pieces), json(R"([{"path": "/a"}, {"path": "/b"}])"));
}

TEST_F(Catalog_Operator_Test, abort_without_an_array_of_pieces_fails_and_leaves_the_pieces_of_the_caller)
{
    Catalog_Operator op(0, -1);
    const Log_Capture log;
    for (const char* result :
         {R"({"result": true})", R"({"result": true, "pieces": {}})", R"({"result": true, "pieces": null})"})
    {
        next(result);
        Array pieces = {"mine"};
        EXPECT_FALSE(op.abort("u-1", pieces)) << result;
        EXPECT_EQ(pieces, Array{"mine"}) << result;
    }
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TEST_F(Catalog_Operator_Test, abort_takes_no_bare_array_and_no_pieces_of_a_refusal)
{
    Catalog_Operator op(0, -1);
    const Log_Capture log;
    for (const char* result : {R"([{"path": "/a"}])", R"({"result": false, "pieces": [{"path": "/a"}]})"}) {
        next(result);
        Array pieces = {"mine"};
        EXPECT_FALSE(op.abort("u-1", pieces)) << result;
        EXPECT_EQ(pieces, Array{"mine"}) << result;
    }
    EXPECT_EQ(log.count(LM_ERROR), 2u);
}

// Views

TEST_F(Catalog_Operator_Test, a_view_without_module_or_name_is_an_emergency_and_sends_nothing)
{
    const Catalog_Operator op(-1, -1);
    const Log_Capture log;
    EXPECT_FALSE(op.get_view("", "v", {}, result_));
    EXPECT_FALSE(op.get_view(nullptr, "v", {}, result_));
    EXPECT_FALSE(op.get_view(nullptr, nullptr, {}, result_)); // the module comes first
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
    EXPECT_TRUE(calls().empty());
    EXPECT_EQ(result_, Value("as before"));
}

TEST_F(Catalog_Operator_Test, a_view_is_not_judged)
{
    const Catalog_Operator op(0, -1);
    for (const char* result : {R"({"result": false})", "[]", "null"}) {
        next(result);
        EXPECT_TRUE(op.get_view("m", "v", {}, result_));
        EXPECT_EQ(result_, json(result));
    }
}

TEST_F(Catalog_Operator_Test, the_first_row_of_a_view_is_copied)
{
    const Catalog_Operator op(0, -1);
    next(R"({"rows": [{"uuid": "u-1"}, {"uuid": "u-2"}]})");
    EXPECT_TRUE(op.get_first_view("m", "v", {{"x", 1}}, result_));
    EXPECT_EQ(result_, json(R"({"uuid": "u-1"})"));
    EXPECT_EQ(calls()[0].params, json(R"({"module": "m", "view": "v", "param": {"x": 1}})"));
}

TEST_F(Catalog_Operator_Test, without_a_first_row_the_caller_keeps_its_own)
{
    const Catalog_Operator op(0, -1);
    struct
    {
        const char* answer;
        const char* logged;
    } const cases[] = {
        {R"({"rows": []})", ""},
        {"[]", ""},
        {"null", ""},
        {R"([{"rows": [1]}])", ""},
        {R"({"data": []})", "Invalid catalog data, lack of rows\n"},
        {R"({"rows": {}})", "Invalid catalog data, lack of rows\n"},
        {"{}", "Invalid catalog data, lack of rows\n"},
    };
    for (const auto& each : cases) {
        const Log_Capture log;
        next(each.answer);
        EXPECT_FALSE(op.get_first_view("m", "v", {}, result_)) << each.answer;
        EXPECT_FALSE(op.get_first_row(json(each.answer), result_)) << each.answer;
        EXPECT_EQ(result_, Value("as before"));
        EXPECT_EQ(log.text(), std::string(each.logged) + each.logged);
        EXPECT_EQ(log.count(LM_ERROR), log.count());
        EXPECT_TRUE(std::ranges::all_of(log.records(), is_of_the_operator));
    }
}

TEST_F(Catalog_Operator_Test, the_first_row_is_that_of_the_view_of_a_derived_operator)
{
    class Derived : public Catalog_Operator
    {
    public:
        Derived() : Catalog_Operator(0, 0) {}
        bool get_view(const char* module, const char* view, const Object& param, Value& result) const override
        {
            result = Object{{"rows", Array{Object{{"of", module}, {"view", view}, {"param", param}}}}};
            return true;
        }
    };
    EXPECT_TRUE(Derived().get_first_view("m", "v", {{"x", 1}}, result_));
    EXPECT_EQ(result_, json(R"({"of": "m", "view": "v", "param": {"x": 1}})"));
    EXPECT_TRUE(calls().empty());
}

// Confirmation

TEST_F(Catalog_Operator_Test, a_commit_is_confirmed_only_where_that_is_wanted)
{
    class Derived : public Catalog_Operator
    {
    public:
        Derived() : Catalog_Operator(0, 0) {}
        bool commit_confirm(const Value& result, JSON_RESTful_Client* client) override
        {
            EXPECT_EQ(client, nullptr);
            confirmed.push_back(JSON_Dump(result).str());
            return outcome;
        }
        std::vector<std::string> confirmed;
        bool outcome = true;
    } op;
    otherwise(answer(R"({"result":true,"uuid":"u-1"})"));
    EXPECT_TRUE(op.commit(set_, false));
    EXPECT_TRUE(op.commit(document_, false));
    EXPECT_TRUE(op.confirmed.empty());
    EXPECT_TRUE(op.commit(set_, true));
    EXPECT_TRUE(op.commit(document_, true));
    EXPECT_EQ(op.confirmed, std::vector<std::string>(2, R"({"result":true,"uuid":"u-1"})"));
    op.outcome = false;
    EXPECT_FALSE(op.commit(set_, true));
    EXPECT_FALSE(op.commit(document_, true));
}

TEST_F(Catalog_Operator_Test, a_queued_commit_without_confirmation_is_a_success)
{
    const Recorded_Waits waits;
    Catalog_Operator op(0, -1);
    otherwise(answer(R"({"result": true, "queued": true, "uuid": "u-1"})"));
    EXPECT_TRUE(op.commit(set_, false));
    EXPECT_TRUE(op.commit(document_, false));
    EXPECT_TRUE(waits.seconds().empty());
}

TEST(Catalog_Operator_Confirm, a_bad_result_is_not_asked_for)
{
    const Recorded_Waits waits;
    const Log_Capture log;
    Scripted_Client client(0);
    EXPECT_FALSE(
        Catalog_Operator(-1, -1).commit_confirm(Object{{"result", false}, {"queued", true}, {"uuid", "u-1"}}, &client));
    EXPECT_FALSE(Catalog_Operator(-1, -1).commit_confirm(Value(), &client));
    EXPECT_EQ(log.text(),
              "Failed to commit backup set, result: '{\"queued\":true,\"result\":false,\"uuid\":\"u-1\"}'.\n"
              "Invalid commit backup set result 'null'.\n");
    EXPECT_TRUE(client.polls.empty());
    EXPECT_TRUE(client.log_errors());
    EXPECT_TRUE(waits.seconds().empty());
}

TEST(Catalog_Operator_Confirm, a_commit_that_was_not_queued_is_done_at_once)
{
    const Recorded_Waits waits;
    const Log_Capture log;
    Scripted_Client client(0);
    for (const char* result :
         {R"({"result": true})", R"({"result": true, "queued": false})",
          R"({"result": true, "queued": false, "uuid": "u-1"})", R"({"result": true, "queued": "true", "uuid": "u-1"})",
          R"({"result": true, "queued": 1, "uuid": "u-1"})", R"({"result": true, "queued": true})",
          R"({"result": true, "queued": true, "uuid": ""})", R"({"result": true, "queued": true, "uuid": 7})",
          R"({"result": true, "uuid": "u-1"})"})
    {
        EXPECT_TRUE(Catalog_Operator(0, 0).commit_confirm(json(result), &client)) << result;
        EXPECT_TRUE(Catalog_Operator(0, 0).commit_confirm(json(result), nullptr)) << result;
    }
    EXPECT_TRUE(client.polls.empty());
    EXPECT_TRUE(waits.seconds().empty());
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TEST(Catalog_Operator_Confirm, a_queued_commit_is_asked_for_after_a_second)
{
    Scripted_Client client(0);
    std::size_t polls_before_the_first_wait = 1;
    const Recorded_Waits waits([&](std::size_t) { polls_before_the_first_wait = client.polls.size(); });
    const Log_Capture log;
    EXPECT_TRUE(Catalog_Operator(0, 0).commit_confirm(queued, &client));
    EXPECT_EQ(waits.seconds(), std::vector<unsigned>{1});
    EXPECT_EQ(polls_before_the_first_wait, 0u);
    ASSERT_EQ(client.polls.size(), 1u);
    EXPECT_EQ(client.polls[0].method, 3);
    EXPECT_EQ(client.polls[0].target, "/kx/r/v2/sets/exists?uuid=u%201%262");
    EXPECT_FALSE(client.polls[0].wants_result);
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TEST(Catalog_Operator_Confirm, the_service_is_asked_until_it_knows_the_set)
{
    const Recorded_Waits waits;
    const Log_Capture log;
    Scripted_Client client(5);
    EXPECT_TRUE(Catalog_Operator(-1, -1).commit_confirm(queued, &client));
    ASSERT_EQ(client.polls.size(), 6u);
    for (const Scripted_Client::Poll& poll : client.polls) {
        EXPECT_EQ(poll.target, client.polls[0].target);
    }
    ASSERT_EQ(waits.seconds().size(), 6u);
    ASSERT_EQ(log.count(), 5u) << log.text();
    for (std::size_t i = 0; i < 5; ++i) {
        const Log_Capture::Record& record = log.records()[i];
        EXPECT_EQ(record.priority, LM_INFO);
        EXPECT_TRUE(is_of_the_operator(record));
        EXPECT_EQ(record.text, "Retry(" + std::to_string(i + 1) + ") " + place(record) + " at "
                                   + std::to_string(waits.seconds()[i + 1]) + " second(s) later.\n");
    }
}

TEST(Catalog_Operator_Confirm, without_limits_it_is_asked_without_end)
{
    const Recorded_Waits waits;
    const Log_Capture log;
    Scripted_Client client(500);
    EXPECT_TRUE(Catalog_Operator(-1, -1).commit_confirm(queued, &client));
    EXPECT_EQ(client.polls.size(), 501u);
    EXPECT_LE(*std::ranges::max_element(waits.seconds()), 60u);
    EXPECT_GT(*std::ranges::max_element(waits.seconds()), 32u);
}

TEST(Catalog_Operator_Confirm, attempts_are_counted_against_the_limit_of_the_seconds)
{
    const Recorded_Waits waits;
    const Log_Capture log;
    Scripted_Client client(never);
    EXPECT_FALSE(Catalog_Operator(1000, 3).commit_confirm(queued, &client));
    EXPECT_EQ(client.polls.size(), 4u);
    EXPECT_EQ(log.count(LM_INFO), 3u);
    EXPECT_EQ(log.count(), 3u) << log.text(); // nothing is said of the end
}

TEST(Catalog_Operator_Confirm, waits_are_summed_against_the_limit_of_the_retries)
{
    for (int i = 0; i < 20; ++i) {
        const Recorded_Waits waits;
        const Log_Capture log;
        Scripted_Client client(never);
        EXPECT_FALSE(Catalog_Operator(5, -1).commit_confirm(queued, &client));
        EXPECT_GE(waits.sum(1), 5u); // the second before the first question does not count
        EXPECT_LT(waits.sum(1) - waits.seconds().back(), 5u);
        EXPECT_EQ(client.polls.size(), waits.seconds().size());
        EXPECT_EQ(log.count(LM_ERROR), 0u) << log.text();
    }
}

TEST(Catalog_Operator_Confirm, without_retries_it_is_asked_once)
{
    const Recorded_Waits waits;
    const Log_Capture log;
    Scripted_Client client(never);
    EXPECT_FALSE(Catalog_Operator(0, -1).commit_confirm(queued, &client));
    EXPECT_FALSE(Catalog_Operator(-1, 0).commit_confirm(queued, &client));
    EXPECT_EQ(client.polls.size(), 2u);
    EXPECT_EQ(waits.seconds(), std::vector<unsigned>({1, 1}));
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TEST(Catalog_Operator_Confirm, the_client_logs_no_errors_meanwhile_and_does_afterwards)
{
    const Recorded_Waits waits;
    const Log_Capture log;
    for (const bool before : {true, false}) {
        for (const std::size_t failures : {std::size_t{2}, never}) {
            Scripted_Client client(failures);
            client.log_errors(before);
            EXPECT_EQ(Catalog_Operator(-1, 4).commit_confirm(queued, &client), failures == 2);
            for (const Scripted_Client::Poll& poll : client.polls) {
                EXPECT_FALSE(poll.logs_errors);
            }
            EXPECT_TRUE(client.log_errors());
        }
    }
}

TEST(Catalog_Operator_Confirm, what_a_client_throws_is_logged_once_and_leaves_its_error_logging_on)
{
    const Recorded_Waits waits;
    const Log_Capture log;
    Scripted_Client client(0);
    client.throws = true;
    EXPECT_NO_THROW(EXPECT_FALSE(Catalog_Operator(-1, -1).commit_confirm(queued, &client)));
    ASSERT_EQ(log.count(), 1u);
    EXPECT_EQ(log.records()[0].priority, LM_ERROR);
    EXPECT_EQ(log.records()[0].text, "'/kx/r/v2/sets/exists' failed: the client broke.\n");
    EXPECT_EQ(client.polls.size(), 1u);
    EXPECT_TRUE(client.log_errors());
}

TEST(Catalog_Operator_Confirm, limits_of_a_given_client_are_its_own)
{
    const Recorded_Waits waits;
    Scripted_Client client(0);
    client.retries(17);
    client.retry_timeout(18);
    EXPECT_TRUE(Catalog_Operator(3, 4).commit_confirm(queued, &client));
    EXPECT_EQ(client.retries(), 17);
    EXPECT_EQ(client.retry_timeout(), 18);
}

TEST(Catalog_Operator_Confirm, without_a_client_upstream_is_asked)
{
    const Scripted_HTTP_Peer peer(
        {Scripted_HTTP_Peer::answer(404, R"({"code": 404})"), Scripted_HTTP_Peer::answer(204)});
    Upstream_JSON_RESTful_Client::configure("127.0.0.1", peer.port(), false, "the key");
    const Recorded_Waits waits;
    const Log_Capture log;
    EXPECT_TRUE(Catalog_Operator(-1, -1).commit_confirm(queued, nullptr));
    ASSERT_EQ(peer.requests().size(), 2u);
    for (const Scripted_HTTP_Peer::Request& request : peer.requests()) {
        EXPECT_EQ(request.method, "GET");
        EXPECT_EQ(request.target, "/kx/r/v2/sets/exists?uuid=u%201%262");
        EXPECT_EQ(request.header("x-access-key"), "the key");
    }
    EXPECT_EQ(waits.seconds().size(), 2u);
    EXPECT_EQ(log.count(LM_INFO, "Retry(1) "), 1u);
    EXPECT_EQ(log.count(), 1u) << log.text(); // nothing of the refusal
}

TEST(Catalog_Operator_Confirm, upstream_is_asked_within_the_limits_of_the_operator)
{
    const Scripted_HTTP_Peer peer(std::vector(1000, Scripted_HTTP_Peer::drop()));
    Upstream_JSON_RESTful_Client::configure("127.0.0.1", peer.port(), false, "");
    const Log_Capture log;
    {
        const Recorded_Waits waits;
        EXPECT_FALSE(Catalog_Operator(-1, 1).commit_confirm(queued, nullptr));
        EXPECT_EQ(peer.requests().size(),
                  4u); // the client gives up after a second of waits, the operator after two polls
    }
    const Recorded_Waits waits;
    EXPECT_FALSE(Catalog_Operator(2, -1).commit_confirm(queued, nullptr));
    // The waits between polls are a second and then one or two, so there are three polls, of three attempts each.
    EXPECT_EQ(peer.requests().size(), 4u + 9u);
    EXPECT_EQ(waits.seconds().size(), 1u + 2u + 6u);
    EXPECT_EQ(log.count(LM_ERROR), 0u) << log.text();
}

// Threads

TEST(Catalog_Operator_Threads, one_operator_serves_several_threads)
{
    class Echo : public JSON_RPC_Channel
    {
        bool call(const JSON_RPC_Object& request, JSON_RPC_Object_var& response, int) override
        {
            response = JSON_RPC_Object::make_response(request.id(), request.params());
            return true;
        }
    };
    Global_JSON_RPC_Channel::install(JSON_RPC_Channel_var(new Echo));
    const Catalog_Operator op(0, -1);
    std::vector<int> wrong(4);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&op, &wrong, i] {
            for (int n = 0; n < 200; ++n) {
                const Value params(Object{{"thread", i}, {"request", n}});
                Value result;
                if (!op.global_json_rpc_request("echo", params, result) || !(result == params)) {
                    ++wrong[static_cast<std::size_t>(i)];
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    Global_JSON_RPC_Channel::remove();
    EXPECT_EQ(wrong, std::vector<int>(4));
}
