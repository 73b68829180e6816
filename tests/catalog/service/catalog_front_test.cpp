#include "catalog/service/catalog_front.h"

#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <future>

using namespace catalog;
using namespace catalog::service;

namespace {

/// Admission alone: no request reaches an engine.
class Admission : public ::testing::Test
{
protected:
    Admission()
    {
        std::string fault;
        add_access_key(file, "db1", Role::WRITER, key, fault);
    }

    void open(const Admission_Options& options)
    {
        std::string fault;
        front = std::make_unique<Catalog_Front>(operations, Access_Keys::open(file, fault), options);
    }

    std::pair<int, Principal> admit(const std::string& peer, const std::string* given)
    {
        std::promise<std::pair<int, Principal>> answer;
        front->admit(peer, given, [&](int status, Principal principal) {
            answer.set_value({status, std::move(principal)});
        });
        return answer.get_future().get();
    }

    static std::unique_ptr<Write_Target> no_target(Error& error)
    {
        error.kind = Error::DATABASE;
        error.database.kind = Database_Error::CONNECTION_LOST;
        return nullptr;
    }
    static std::unique_ptr<Catalog_Store> no_store(Error& error)
    {
        error.kind = Error::DATABASE;
        return nullptr;
    }

    Temp_Dir dir;
    std::string file = dir.file("keys");
    std::string key;
    Metrics metrics;
    Write_Engine writes{{}, no_target};
    Read_Engine reads{{}, no_store};
    Operations operations{writes, reads, metrics, false};
    std::unique_ptr<Catalog_Front> front;
};

TEST_F(Admission, of_a_known_key_gives_its_name_and_role)
{
    open({});
    const auto [status, principal] = admit("1.2.3.4", &key);
    EXPECT_EQ(status, 200);
    EXPECT_EQ(principal.name, "db1");
    EXPECT_EQ(principal.role, Role::WRITER);
}

TEST_F(Admission, without_keys_lets_everybody_do_everything)
{
    front = std::make_unique<Catalog_Front>(operations, nullptr);
    EXPECT_EQ(admit("1.2.3.4", nullptr).first, 200);
    EXPECT_EQ(admit("1.2.3.4", nullptr).second.role, Role::OPERATOR);
}

TEST_F(Admission, of_a_missing_key_is_refused_but_is_no_attempt)
{
    open({.most_failures = 2});
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(admit("1.2.3.4", nullptr).first, 401);
    }
    EXPECT_EQ(admit("1.2.3.4", &key).first, 200);
}

TEST_F(Admission, of_a_peer_that_failed_too_often_is_refused_whatever_it_shows)
{
    open({.most_failures = 3});
    const std::string wrong = "db1.0000";
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(admit("1.2.3.4", &wrong).first, 401);
    }
    EXPECT_EQ(admit("1.2.3.4", &key).first, 429);
    EXPECT_EQ(admit("1.2.3.5", &key).first, 200);
}

TEST_F(Admission, tells_a_refusal_in_the_words_of_the_service)
{
    open({});
    const Reply reply = front->refusal(413, "the body is too \"large\"");
    EXPECT_EQ(reply.status, 413);
    EXPECT_EQ(reply.body, R"({"code":"too_large","message":"the body is too \"large\""})");
    EXPECT_EQ(front->refusal(400, "m").body, R"({"code":"invalid_request","message":"m"})");
    EXPECT_EQ(front->refusal(429, "m").body, R"({"code":"too_many","message":"m"})");
    EXPECT_EQ(front->refusal(503, "m").body, R"({"code":"unavailable","message":"m"})");
    EXPECT_EQ(front->refusal(408, "m").status, 408);
}

TEST_F(Admission, refuses_writes_as_unavailable_while_the_database_is_away)
{
    Write_Options options;
    options.patience = std::chrono::milliseconds(50);
    Write_Engine hasty(options, no_target);
    Operations impatient(hasty, reads, metrics, false);
    Catalog_Front away(impatient, nullptr);
    const auto commit = [&](const char* document) {
        std::promise<Reply> answer;
        away.answer(Web_Request{"POST", "/kx/r/v2/sets", "", "application/json", "", document},
                    Principal{"", Role::OPERATOR}, [&](Reply reply) { answer.set_value(std::move(reply)); });
        return answer.get_future().get();
    };
    const Reply reply = commit(R"({"catalog_module":"oracle_exp","uuid":"00000000-0000-0000-0000-000000000001"})");
    EXPECT_EQ(reply.status, 503);
    ASSERT_EQ(reply.headers.size(), 1u);
    EXPECT_EQ(reply.headers[0].first, "Retry-After");
    EXPECT_EQ(commit("{}").status, 422) << "what is wrong by itself needs no database";
}

} // namespace
