// A channel without a service behind it: it writes down the requests and answers as it was told.
#pragma once

#include "platform/json/value.h"
#include "platform/rpc/global_json_rpc_channel.h"
#include "platform/rpc/json_rpc_channel.h"

#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

inline json_spirit::Value json(const std::string& text)
{
    json_spirit::Value value;
    if (!json_spirit::read(text, value)) {
        throw std::invalid_argument("not JSON: " + text);
    }
    return value;
}

/// Answers one attempt, as `JSON_RPC_Channel::call` does.
using Channel_Step = std::function<bool(const JSON_RPC_Object& request, JSON_RPC_Object_var& response)>;

inline Channel_Step not_delivered()
{
    return [](const JSON_RPC_Object&, JSON_RPC_Object_var&) { return false; };
}

inline Channel_Step answer(const std::string& result)
{
    return [result](const JSON_RPC_Object& request, JSON_RPC_Object_var& response) {
        response = JSON_RPC_Object::make_response(request.id(), json(result));
        return true;
    };
}

inline Channel_Step refusal(int code, const std::string& message)
{
    return [code, message](const JSON_RPC_Object& request, JSON_RPC_Object_var& response) {
        response = JSON_RPC_Object::make_error(request.id(), code, message);
        return true;
    };
}

class Scripted_Channel : public JSON_RPC_Channel
{
public:
    struct Call
    {
        std::string id;
        std::string method;
        json_spirit::Value params;
        std::string text;
        int timeout_s;
    };

    /// What a test shares with a channel, which may be gone earlier.
    struct Script
    {
        std::deque<Channel_Step> steps; ///< one an attempt
        Channel_Step otherwise;         ///< answers when the steps are used up; without it that is a fault of the test
        std::vector<Call> calls;
        int channels = 0; ///< alive
    };

    explicit Scripted_Channel(Script& script) : script_(script) { ++script_.channels; }
    Scripted_Channel(const Scripted_Channel&) = delete;
    Scripted_Channel& operator=(const Scripted_Channel&) = delete;
    ~Scripted_Channel() override { --script_.channels; }

    bool call(const JSON_RPC_Object& request, JSON_RPC_Object_var& response, int timeout_s) override
    {
        EXPECT_EQ(request.type(), JSON_RPC_Object::TYPE_REQUEST);
        script_.calls.push_back({request.id(), request.method(), request.params(), request.text(), timeout_s});
        if (script_.steps.empty()) {
            if (!script_.otherwise) {
                ADD_FAILURE() << "nobody expected " << request.text();
                throw std::logic_error("the script is at its end");
            }
            return script_.otherwise(request, response);
        }
        const Channel_Step step = script_.steps.front();
        script_.steps.pop_front();
        return step(request, response);
    }

private:
    Script& script_;
};

/// Tests with a scripted channel as the channel of the process.
class Scripted_Channel_Test : public ::testing::Test
{
protected:
    Scripted_Channel_Test() { install(); }
    ~Scripted_Channel_Test() override { Global_JSON_RPC_Channel::remove(); }

    void install() { Global_JSON_RPC_Channel::install(JSON_RPC_Channel_var(new Scripted_Channel(script_))); }

    void next(Channel_Step step) { script_.steps.push_back(std::move(step)); }
    void next(const std::string& result) { next(answer(result)); }

    /// Answers everything that no step is left for.
    void otherwise(Channel_Step step) { script_.otherwise = std::move(step); }

    /// The requests of all attempts.
    const std::vector<Scripted_Channel::Call>& calls() const { return script_.calls; }

    /// How many channels there are that somebody holds.
    int channels() const { return script_.channels; }

private:
    Scripted_Channel::Script script_;
};
