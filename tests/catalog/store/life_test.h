// Tests of the steps of a set's life.
#pragma once

#include "platform/text/uuid.h"
#include "tests/catalog/store/catalog_test.h"

#include <string>
#include <vector>

class Life_Test : public Catalog_Test
{
protected:
    using Operation = catalog::Write_Operation;

    static constexpr std::time_t now = 1'700'000'000; // 2023-11-14 22:13:20

    static catalog::Write_Request request(Operation operation, std::string params, std::string id = {})
    {
        catalog::Write_Request request;
        request.operation = operation;
        request.params = std::move(params);
        request.principal = "agent-1";
        request.id = std::move(id);
        return request;
    }

    static catalog::Write_Request queued(std::string params, std::string id = {})
    {
        catalog::Write_Request one = request(Operation::COMMIT, std::move(params), std::move(id));
        one.queue = true;
        return one;
    }

    catalog::Write_Answer apply(const catalog::Write_Request& request)
    {
        return store().apply(std::span(&request, 1), now).at(0);
    }

    catalog::Write_Answer apply(Operation operation, std::string params, std::string id = {})
    {
        return apply(request(operation, std::move(params), std::move(id)));
    }

    std::vector<catalog::Write_Answer> apply_all(const std::vector<catalog::Write_Request>& requests)
    {
        return store().apply(requests, now);
    }

    /// Applies what has to succeed.
    void expect_done(Operation operation, std::string params)
    {
        const catalog::Write_Answer answer = apply(operation, std::move(params));
        EXPECT_EQ(answer.error.kind, catalog::Error::NONE) << answer.error.message;
    }

    std::vector<catalog::Write_Answer> apply_queue(std::size_t limit = 100)
    {
        std::vector<catalog::Write_Answer> answers;
        catalog::Error error;
        EXPECT_TRUE(store().apply_queued(limit, answers, error)) << error.message;
        return answers;
    }

    catalog::Queue_Depth depth()
    {
        catalog::Queue_Depth depth;
        catalog::Error error;
        EXPECT_TRUE(store().queue_depth(depth, error)) << error.message;
        return depth;
    }

    bool exists(const std::string& uuid)
    {
        bool there = false;
        catalog::Error error;
        EXPECT_TRUE(store().set_exists(uuid, there, error)) << error.message;
        return there;
    }

    static std::string piece(const std::string& object, int size = 1)
    {
        return R"({"path":"/d","object":")" + object + R"(","size":)" + std::to_string(size)
               + R"(,"extended_attrs":{}})";
    }

    static std::string pieces(const std::string& uuid, const std::string& list)
    {
        return R"({"uuid":")" + uuid + R"(","pieces":[)" + list + "]}";
    }

    static std::string only_uuid(const std::string& uuid) { return R"({"uuid":")" + uuid + "\"}"; }

    /// Brings a set into a state.
    void bring(const std::string& uuid, const std::string& state)
    {
        if (state == "open" || state == "complete") {
            expect_done(Operation::INITIALIZE, small(uuid, R"("name":"initialized")"));
        }
        if (state == "complete") {
            expect_done(Operation::COMPLETE, small(uuid, R"("name":"completed")"));
        }
        if (state == "queued") {
            const catalog::Write_Answer answer = apply(queued(small(uuid, R"("name":"committed")")));
            EXPECT_EQ(answer.error.kind, catalog::Error::NONE) << answer.error.message;
            EXPECT_TRUE(answer.queued);
        }
        if (state == "committed") {
            expect_done(Operation::COMMIT, small(uuid, R"("name":"committed")"));
        }
    }

    /// In which state a set is, by what the catalog holds.
    std::string state_of(const std::string& uuid)
    {
        const auto bytes = read_uuid(uuid);
        const auto ask = [&](const char* text) {
            SQL sql(text);
            sql.bind(":uuid", *bytes);
            Text_Rows printer;
            if (!store().connection().query_and_print(sql, printer, GM_ORM_ROWS)) {
                throw std::runtime_error(store().connection().last_error().text());
            }
            return printer.rows;
        };
        const auto open = ask("SELECT state FROM open_set WHERE uuid = :uuid");
        const auto waits = ask("SELECT id FROM queued_commit WHERE state = 'waiting' AND set_uuid = :uuid");
        if (exists(uuid)) {
            return open.empty() && waits.empty() ? "committed" : "committed and more";
        }
        if (!waits.empty()) {
            return "queued";
        }
        return open.empty() ? "unknown" : open[0][0];
    }
};
