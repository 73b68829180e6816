// The front with real engines and a real store behind it, asked without sockets.
#pragma once

#include "catalog/service/catalog_front.h"
#include "catalog/service/upkeep.h"
#include "platform/json/object_get.h"
#include "tests/catalog/store/catalog_test.h"

#include <future>
#include <memory>
#include <string>
#include <vector>

class Service_Test : public Catalog_Test
{
protected:
    void SetUp() override
    {
        Catalog_Test::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        store(); // makes the schema
        start(false);
    }

    void TearDown() override { stop(); }

    /// Begins anew: what a restart of the service is to its clients.
    void start(bool queue_commits)
    {
        using namespace catalog;
        using namespace catalog::service;
        stop();
        metrics_ = std::make_unique<Metrics>();
        const auto open_store = [url = url()](Error& error) {
            return Catalog_Store::open(url, Catalog_Store::Schema_Policy::CREATE, error);
        };
        class Target final : public Write_Target
        {
        public:
            explicit Target(std::unique_ptr<Catalog_Store> store) : store_(std::move(store)) {}
            std::vector<Write_Answer> apply(std::span<Life_Step> steps) override { return store_->apply(steps); }

        private:
            std::unique_ptr<Catalog_Store> store_;
        };
        writes_ = std::make_unique<Write_Engine>(Write_Options{}, [open_store](Error& error) {
            auto store = open_store(error);
            return store != nullptr ? std::make_unique<Target>(std::move(store)) : nullptr;
        });
        reads_ = std::make_unique<Read_Engine>(Read_Options{}, open_store);
        operations_ = std::make_unique<Operations>(*writes_, *reads_, *metrics_, queue_commits);
        front_ = std::make_unique<Catalog_Front>(*operations_, nullptr);
    }

    void stop()
    {
        if (writes_ != nullptr) {
            writes_->stop();
            reads_->stop();
            front_.reset();
            operations_.reset();
            reads_.reset();
            writes_.reset();
        }
    }

    catalog::service::Front& front() { return *front_; }
    catalog::service::Metrics& metrics() { return *metrics_; }
    catalog::service::Operations& operations() { return *operations_; }

    struct Answer
    {
        int status = 0;
        std::string content_type;
        std::string body;
        std::vector<std::pair<std::string, std::string>> headers;
        bool failed = false;
        int parts = 1;

        std::string header(const std::string& name) const
        {
            for (const auto& [key, value] : headers) {
                if (key == name) {
                    return value;
                }
            }
            return {};
        }

        json_spirit::Value json() const
        {
            json_spirit::Value value;
            std::string error;
            EXPECT_TRUE(json_spirit::read(body, value, &error)) << error << ": " << body;
            return value;
        }
    };

    /// As whom the test asks.
    catalog::service::Principal principal{"tester", catalog::service::Role::OPERATOR};

    static Answer whole(catalog::service::Reply reply)
    {
        Answer answer{reply.status, reply.content_type, std::move(reply.body), std::move(reply.headers)};
        std::unique_ptr<catalog::service::Body_Source> more = std::move(reply.more);
        while (more != nullptr) {
            std::promise<catalog::service::Body_Source::Part> taken;
            more->next([&](catalog::service::Body_Source::Part part) { taken.set_value(std::move(part)); });
            const catalog::service::Body_Source::Part part = taken.get_future().get();
            answer.body += part.text;
            answer.failed = part.failed;
            ++answer.parts;
            if (part.last || part.failed) {
                more.reset();
            }
        }
        return answer;
    }

    Answer rest(const std::string& method, const std::string& path, const std::string& query = {},
                const std::string& body = {}, const std::string& idempotency_key = {},
                const std::string& content_type = "application/json")
    {
        std::promise<catalog::service::Reply> taken;
        front().answer(catalog::service::Web_Request{method, path, query, content_type, idempotency_key, body},
                       principal, [&](catalog::service::Reply reply) { taken.set_value(std::move(reply)); });
        return whole(taken.get_future().get());
    }

    Answer rpc_message(const std::string& message)
    {
        std::promise<catalog::service::Reply> taken;
        front().answer(message, principal, [&](catalog::service::Reply reply) { taken.set_value(std::move(reply)); });
        return whole(taken.get_future().get());
    }

    /// A call with the id 1, or another one as JSON.
    json_spirit::Object rpc(const std::string& method, const std::string& params, const std::string& id = "1")
    {
        const Answer answer = rpc_message(R"({"jsonrpc":"2.0","id":)" + id + R"(,"method":"backup_set.)" + method
                                          + R"(","params":)" + params + "}");
        return answer.json().get_obj();
    }

    static std::int64_t rpc_error(const json_spirit::Object& response)
    {
        const json_spirit::Object* const error = json_spirit::object_get_object(response, "error");
        return error != nullptr ? json_spirit::object_get_int64_or_throw(*error, "code") : 0;
    }

    static std::string rpc_message_of(const json_spirit::Object& response)
    {
        return json_spirit::object_get_str_or_throw(json_spirit::object_get_object_or_throw(response, "error"),
                                                    "message");
    }

    /// The text of a reply's JSON member.
    static std::string code_of(const Answer& answer)
    {
        return json_spirit::object_get_str_or_throw(answer.json().get_obj(), "code");
    }

private:
    std::unique_ptr<catalog::service::Metrics> metrics_;
    std::unique_ptr<catalog::service::Write_Engine> writes_;
    std::unique_ptr<catalog::service::Read_Engine> reads_;
    std::unique_ptr<catalog::service::Operations> operations_;
    std::unique_ptr<catalog::service::Catalog_Front> front_;
};
