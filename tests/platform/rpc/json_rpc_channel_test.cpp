#include "platform/rpc/json_rpc_channel.h"

#include "platform/json/json_dump.h"
#include "platform/json/json_generator.h"
#include "platform/json/yajl_gen.h"
#include "platform/text/uuid.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using json_spirit::Object;
using json_spirit::Value;

namespace {

/// Notes what it is called with, and answers with its number of calls, or not at all.
class Noting_Channel : public JSON_RPC_Channel
{
public:
    struct Notes
    {
        std::vector<std::string> ids = {};
        std::vector<std::string> texts = {};
        std::vector<int> timeouts = {};
        bool delivers = true;
    };

    explicit Noting_Channel(Notes& notes) : notes_(notes) {}

    bool call(const JSON_RPC_Object& request, JSON_RPC_Object_var& response, int timeout_s) override
    {
        notes_.ids.push_back(request.id());
        notes_.texts.push_back(request.text());
        notes_.timeouts.push_back(timeout_s);
        if (notes_.delivers) {
            response = JSON_RPC_Object::make_response(request, notes_.ids.size());
        }
        return notes_.delivers;
    }

private:
    Notes& notes_;
};

class Params : public JSON_Generator
{
public:
    enum Outcome
    {
        WRITTEN,
        FAILED,
        THROWN
    };

    explicit Params(Outcome outcome = WRITTEN) : outcome_(outcome) {}

    bool generate(yajl_gen_t* out) override
    {
        ++calls;
        const YAJL_Gen gen(out);
        const YAJL_Map_Guard map(gen);
        gen << "n"_key << calls;
        if (outcome_ == THROWN) {
            throw std::runtime_error("no piece");
        }
        return outcome_ == WRITTEN;
    }

    int calls = 0;

private:
    Outcome outcome_;
};

class JSON_RPC_Session_To_Channel : public ::testing::Test
{
protected:
    Noting_Channel::Notes notes_;
    JSON_RPC_Channel_var channel_ = JSON_RPC_Channel_var(new Noting_Channel(notes_));
    JSON_RPC_Session session_ = JSON_RPC_Session(JSON_RPC_Channel_weak_var(channel_));
    JSON_RPC_Object_var response_;
};

} // namespace

TEST(JSON_RPC_Session, made_request_has_method_params_and_a_uuid)
{
    JSON_RPC_Object_var request;
    ASSERT_TRUE(JSON_RPC_Session::make_rpc_request("set.abort", Object{{"uuid", "u"}}, request));
    EXPECT_EQ(request->type(), JSON_RPC_Object::TYPE_REQUEST);
    EXPECT_EQ(request->method(), "set.abort");
    EXPECT_EQ(JSON_Dump(request->params()).str(), R"({"uuid":"u"})");
    EXPECT_TRUE(read_uuid(request->id()).has_value()) << request->id();
    const std::string first = request->id();
    ASSERT_TRUE(JSON_RPC_Session::make_rpc_request("set.abort", Value(), request));
    EXPECT_NE(request->id(), first);
}

TEST(JSON_RPC_Session, no_request_without_a_method_or_of_params_that_cannot_be_written)
{
    JSON_RPC_Object_var request;
    EXPECT_FALSE(JSON_RPC_Session::make_rpc_request(nullptr, Object(), request));
    EXPECT_FALSE(JSON_RPC_Session::make_rpc_request("", Object(), request));
    EXPECT_FALSE(JSON_RPC_Session::make_rpc_request("m", std::numeric_limits<double>::quiet_NaN(), request));
    EXPECT_TRUE(request.null());
}

TEST_F(JSON_RPC_Session_To_Channel, request_sent_again_keeps_its_id)
{
    JSON_RPC_Object_var request;
    ASSERT_TRUE(JSON_RPC_Session::make_rpc_request("m", Value(), request));
    notes_.delivers = false;
    EXPECT_FALSE(session_.request(request, response_, 600));
    EXPECT_TRUE(response_.null());
    notes_.delivers = true;
    EXPECT_TRUE(session_.request(request, response_, 7));
    EXPECT_EQ(response_->result().get_int(), 2);
    EXPECT_EQ(notes_.ids, (std::vector<std::string>{request->id(), request->id()}));
    EXPECT_EQ(notes_.timeouts, (std::vector<int>{600, 7}));
}

TEST_F(JSON_RPC_Session_To_Channel, generator_makes_a_request_of_its_own_each_time)
{
    Params params;
    EXPECT_TRUE(session_.request("m", &params, response_, 600));
    EXPECT_TRUE(session_.request("m", &params, response_, 600));
    ASSERT_EQ(notes_.ids.size(), 2u);
    EXPECT_TRUE(read_uuid(notes_.ids[0]).has_value());
    EXPECT_TRUE(read_uuid(notes_.ids[1]).has_value());
    EXPECT_NE(notes_.ids[0], notes_.ids[1]);
    EXPECT_EQ(notes_.texts[1], R"({"jsonrpc":"2.0","id":")" + notes_.ids[1] + R"(","method":"m","params":{"n":2}})");
}

TEST_F(JSON_RPC_Session_To_Channel, nothing_is_sent_of_a_generator_that_fails)
{
    const Log_Capture log;
    Params params(Params::FAILED);
    EXPECT_FALSE(session_.request("m", &params, response_, 600));
    EXPECT_EQ(params.calls, 1);
    EXPECT_EQ(notes_.ids.size(), 0u);
    EXPECT_EQ(log.text(), "JSON-RPC 'm' was not sent: its params could not be written.\n");
}

TEST_F(JSON_RPC_Session_To_Channel, nothing_is_sent_of_a_generator_that_throws)
{
    Params params(Params::THROWN);
    EXPECT_THROW(session_.request("m", &params, response_, 600), std::runtime_error);
    EXPECT_EQ(notes_.ids.size(), 0u);
}

TEST_F(JSON_RPC_Session_To_Channel, neither_method_nor_generator_may_be_null)
{
    const Log_Capture log;
    Params params;
    EXPECT_FALSE(session_.request(nullptr, &params, response_, 600));
    EXPECT_FALSE(session_.request("", &params, response_, 600));
    EXPECT_FALSE(session_.request("m", nullptr, response_, 600));
    EXPECT_EQ(log.count(LM_EMERGENCY), 3u);
    EXPECT_FALSE(session_.request(JSON_RPC_Object_var(), response_, 600));
    EXPECT_EQ(notes_.ids.size(), 0u);
}

TEST_F(JSON_RPC_Session_To_Channel, requests_fail_when_the_channel_has_gone)
{
    JSON_RPC_Object_var request;
    ASSERT_TRUE(JSON_RPC_Session::make_rpc_request("m", Value(), request));
    channel_.reset();
    EXPECT_FALSE(session_.request(request, response_, 600));
    Params params;
    EXPECT_FALSE(session_.request("m", &params, response_, 600));
    EXPECT_EQ(params.calls, 0);
}

TEST(JSON_RPC_Session, does_not_keep_the_channel)
{
    struct Channel : Noting_Channel
    {
        Channel(Notes& notes, bool& gone) : Noting_Channel(notes), gone_(gone) {}
        Channel(const Channel&) = delete;
        Channel& operator=(const Channel&) = delete;
        ~Channel() override { gone_ = true; }
        bool& gone_;
    };
    Noting_Channel::Notes notes;
    bool gone = false;
    JSON_RPC_Channel_var channel(new Channel(notes, gone));
    const JSON_RPC_Session session{JSON_RPC_Channel_weak_var(channel)};
    channel.reset();
    EXPECT_TRUE(gone);
}
