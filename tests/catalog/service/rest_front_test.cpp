#include "catalog/service/rest_front.h"

#include "catalog/service/access_keys.h"
#include "tests/catalog/service/front_test.h"

using namespace catalog::service;

namespace {

constexpr const char* sets = "/kx/r/v2/sets";

class Rest_Front : public Service_Test
{
protected:
    static std::string pieces(unsigned number)
    {
        return R"({"uuid":")" + uuid(number) + R"(","pieces":[{"path":"a","object":"o","size":1}]})";
    }
    static std::string only_uuid(unsigned number) { return R"({"uuid":")" + uuid(number) + "\"}"; }
};

CATALOG_TEST_ENGINES(Rest_Front);

TEST_P(Rest_Front, commits_a_set_and_gives_it_back)
{
    const Answer before = rest("GET", "/kx/r/v2/sets/exists", "uuid=" + uuid(1));
    EXPECT_EQ(before.status, 404);
    EXPECT_EQ(code_of(before), "not_found");

    const Answer committed = rest("POST", sets, {}, small(uuid(1)));
    EXPECT_EQ(committed.status, 200);
    EXPECT_EQ(committed.body, R"({"result":true,"uuid":")" + uuid(1) + "\"}");
    EXPECT_EQ(rest("GET", "/kx/r/v2/sets/exists", "uuid=" + uuid(1)).status, 200);

    const Answer document = rest("GET", "/kx/r/v2/sets/" + uuid(1));
    EXPECT_EQ(document.status, 200);
    EXPECT_EQ(document.body, small(uuid(1)));
    EXPECT_EQ(rest("GET", "/kx/r/v2/sets/" + uuid(2)).status, 404);
    EXPECT_EQ(rest("GET", "/kx/r/v2/sets/no-uuid").status, 400);
}

TEST_P(Rest_Front, does_the_steps_by_their_action)
{
    EXPECT_EQ(rest("POST", sets, "action=Initialize", small(uuid(1))).status, 200);
    EXPECT_EQ(rest("POST", sets, "action=AddPiece", pieces(1)).status, 200);
    EXPECT_EQ(rest("POST", sets, "action=Complete", small(uuid(1))).status, 200);
    EXPECT_EQ(count("backup_set"), 0);
    EXPECT_EQ(rest("POST", sets, {}, small(uuid(1))).status, 200);
    EXPECT_EQ(count("backup_piece"), 1);

    const Answer unknown = rest("POST", sets, "action=initialize", small(uuid(2)));
    EXPECT_EQ(unknown.status, 400);
    EXPECT_NE(unknown.body.find("Initialize, AddPiece, Complete, Abort"), std::string::npos) << unknown.body;
}

TEST_P(Rest_Front, abort_gives_the_array_of_the_pieces)
{
    rest("POST", sets, "action=Initialize", small(uuid(1)));
    rest("POST", sets, "action=AddPiece", pieces(1));
    const Answer aborted = rest("POST", sets, "action=Abort", only_uuid(1));
    EXPECT_EQ(aborted.status, 200);
    const json_spirit::Value json = aborted.json();
    ASSERT_EQ(json.get_array().size(), 1u);
    EXPECT_EQ(json_spirit::object_get_str_or_throw(json.get_array()[0].get_obj(), "object"), "o");

    rest("POST", sets, "action=Initialize", small(uuid(2)));
    EXPECT_EQ(rest("POST", sets, "action=Abort", only_uuid(2)).body, "[]");
}

TEST_P(Rest_Front, a_step_out_of_order_is_409_and_names_the_state)
{
    const Answer answer = rest("POST", sets, "action=AddPiece", pieces(1));
    EXPECT_EQ(answer.status, 409);
    EXPECT_EQ(code_of(answer), "state");
    EXPECT_NE(answer.body.find("unknown"), std::string::npos) << answer.body;
}

TEST_P(Rest_Front, updates_the_set_that_the_query_names)
{
    rest("POST", sets, {}, small(uuid(1)));
    const std::string changed = small(uuid(1), R"("name":"other")");
    EXPECT_EQ(rest("PUT", sets, "uuid=" + uuid(1), changed).status, 200);
    EXPECT_EQ(rest("GET", "/kx/r/v2/sets/" + uuid(1)).body, changed);
    EXPECT_EQ(rest("PUT", sets, "uuid=" + uuid(2), changed).status, 422);
    EXPECT_EQ(rest("PUT", sets, "uuid=" + uuid(3), small(uuid(3))).status, 404);
}

TEST_P(Rest_Front, the_same_key_has_one_effect_and_the_same_answer_after_a_restart)
{
    rest("POST", sets, "action=Initialize", small(uuid(1)), "key-1");
    rest("POST", sets, "action=AddPiece", pieces(1), "key-2");
    const Answer first = rest("POST", sets, "action=Abort", only_uuid(1), "key-3");
    ASSERT_EQ(first.status, 200);
    start(false);
    const Answer second = rest("POST", sets, "action=Abort", only_uuid(1), "key-3");
    EXPECT_EQ(second.status, 200);
    EXPECT_EQ(second.body, first.body);
    EXPECT_EQ(rest("POST", sets, "action=Abort", only_uuid(1), "key-4").status, 409);
}

TEST_P(Rest_Front, other_content_is_a_conflict)
{
    EXPECT_EQ(rest("POST", sets, {}, small(uuid(1))).status, 200);
    EXPECT_EQ(rest("POST", sets, {}, small(uuid(1))).status, 200);
    const Answer conflict = rest("POST", sets, {}, small(uuid(1), R"("name":"other")"));
    EXPECT_EQ(conflict.status, 409);
    EXPECT_EQ(code_of(conflict), "conflict");
}

TEST_P(Rest_Front, tells_malformed_bodies_from_refused_ones)
{
    EXPECT_EQ(rest("POST", sets, {}, R"({"uuid":)").status, 400);
    EXPECT_EQ(code_of(rest("POST", sets, {}, R"({"uuid":)")), "parse_error");
    EXPECT_EQ(code_of(rest("POST", sets, {}, "")), "parse_error");
    EXPECT_EQ(code_of(rest("POST", sets, {}, "[]")), "invalid_params");
    const Answer refused = rest("POST", sets, {}, R"({"catalog_module":"oracle_exp","uuid":"no"})");
    EXPECT_EQ(refused.status, 422);
    EXPECT_EQ(json_spirit::object_get_str_or_throw(refused.json().get_obj(), "key"), "uuid");
    EXPECT_EQ(rest("POST", sets, {}, small(uuid(1)), {}, "text/plain").status, 415);
    EXPECT_EQ(rest("POST", sets, {}, small(uuid(1)), {}, "Application/JSON; charset=utf-8").status, 200);
    EXPECT_EQ(rest("POST", sets, {}, small(uuid(1)), {}, "").status, 200);
}

TEST_P(Rest_Front, a_long_document_is_kept_whole)
{
    // Longer than what waits with its rows.
    const std::string document =
        small(uuid(1), R"("filler":")" + std::string(600'000, 'x') + R"(","pieces":[{"path":"p"}])");
    EXPECT_EQ(rest("POST", sets, {}, document).status, 200);
    const Answer answer = rest("GET", "/kx/r/v2/sets/" + uuid(1));
    EXPECT_EQ(answer.status, 200);
    EXPECT_TRUE(answer.body == document);
}

TEST_P(Rest_Front, an_unknown_path_names_those_that_there_are)
{
    const Answer answer = rest("GET", "/kx/r/v2/set");
    EXPECT_EQ(answer.status, 404);
    for (const REST_Path& path : rest_paths()) {
        EXPECT_NE(answer.body.find(std::string(path.method) + ' ' + path.path), std::string::npos) << path.path;
    }
    EXPECT_EQ(rest("GET", "/kx/r/v2/sets/a/b").status, 404);
    EXPECT_EQ(rest("GET", "/kx/r/v2/sets/").status, 404);
}

TEST_P(Rest_Front, a_method_that_a_path_does_not_know_is_405_with_those_that_it_knows)
{
    const Answer sets_answer = rest("DELETE", sets);
    EXPECT_EQ(sets_answer.status, 405);
    EXPECT_EQ(sets_answer.header("Allow"), "POST, PUT");
    EXPECT_EQ(rest("POST", "/kx/r/v2/sets/select").header("Allow"), "GET");
    EXPECT_EQ(rest("DELETE", "/kx/r/v2/sets/" + uuid(1)).header("Allow"), "GET");
    EXPECT_EQ(rest("GET", "/rpc").header("Allow"), "POST");
}

TEST_P(Rest_Front, parameters_are_known_and_given_once)
{
    EXPECT_EQ(rest("GET", "/kx/r/v2/sets/exists").status, 400);
    EXPECT_EQ(rest("GET", "/kx/r/v2/sets/exists", "uuid=" + uuid(1) + "&uuid=" + uuid(1)).status, 400);
    EXPECT_EQ(rest("GET", "/kx/r/v2/sets/exists", "uuid=" + uuid(1) + "&more=1").status, 400);
    EXPECT_EQ(rest("GET", "/kx/r/v2/sets/exists", "uuid=%").status, 400);
    EXPECT_EQ(rest("GET", "/kx/r/v2/sets/exists", "uuid=no").status, 400);
    EXPECT_EQ(rest("GET", "/kx/r/v2/sets/select", "module=backup_set").status, 400);
}

TEST_P(Rest_Front, selects_the_same_as_json_rpc)
{
    for (unsigned i = 1; i <= 5; ++i) {
        ASSERT_EQ(rest("POST", sets, {}, small(uuid(i))).status, 200);
    }
    const Answer answer = rest("GET", "/kx/r/v2/sets/select", "module=backup_set&view=sets&limit=2");
    EXPECT_EQ(answer.status, 200);
    const json_spirit::Value json = answer.json();
    EXPECT_EQ(json_spirit::object_get_array_or_throw(json.get_obj(), "rows").size(), 2u);
    const auto by_rpc = rpc("select", R"({"module":"backup_set","view":"sets","param":{"limit":2}})");
    EXPECT_EQ(json_spirit::Value(json_spirit::object_get_object_or_throw(by_rpc, "result")), json);

    const Answer unknown = rest("GET", "/kx/r/v2/sets/select", "module=backup_set&view=nothing");
    EXPECT_EQ(unknown.status, 400);
    EXPECT_NE(unknown.body.find("latest"), std::string::npos) << unknown.body;
}

TEST_P(Rest_Front, a_long_result_comes_in_parts)
{
    std::string document = R"({"catalog_module":"oracle_exp","uuid":")" + uuid(1) + R"(","pieces":[)";
    for (int i = 0; i < 20000; ++i) {
        document += (i == 0 ? "" : ",") + std::string(R"({"path":"/data/a/rather/long/path/)") + std::to_string(i)
                    + R"(","object":"o","size":1,"extended_attrs":{}})";
    }
    document += "]}";
    ASSERT_EQ(rest("POST", sets, {}, document).status, 200);
    const Answer answer = rest("GET", "/kx/r/v2/sets/select", "module=backup_set&view=pieces&uuid=" + uuid(1));
    EXPECT_FALSE(answer.failed);
    EXPECT_GT(answer.parts, 1);
    EXPECT_EQ(json_spirit::object_get_array_or_throw(answer.json().get_obj(), "rows").size(), 20000u);
}

TEST_P(Rest_Front, a_queued_commit_is_202_and_there_when_it_was_applied)
{
    start(true);
    const Answer queued = rest("POST", sets, {}, small(uuid(1)));
    EXPECT_EQ(queued.status, 202);
    EXPECT_EQ(queued.body, R"({"result":true,"queued":true,"uuid":")" + uuid(1) + "\"}");
    EXPECT_EQ(rest("GET", "/kx/r/v2/sets/exists", "uuid=" + uuid(1)).status, 404);

    catalog::service::Queue_Worker worker(
        {},
        [url = url()](catalog::Error& error) {
            return catalog::Catalog_Store::open(url, catalog::Catalog_Store::Schema_Policy::CREATE, error);
        },
        metrics());
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    int status = 404;
    while (status == 404 && std::chrono::steady_clock::now() < deadline) {
        status = rest("GET", "/kx/r/v2/sets/exists", "uuid=" + uuid(1)).status;
    }
    EXPECT_EQ(status, 200);
}

TEST_P(Rest_Front, roles_allow_what_they_are_for)
{
    const Log_Capture log;
    ASSERT_EQ(rest("POST", sets, {}, small(uuid(1))).status, 200);
    struct Case
    {
        const char* method;
        std::string path;
        std::string query;
        Role needed;
    };
    const Case cases[] = {
        {"POST", sets, "", Role::WRITER},
        {"PUT", sets, "uuid=" + uuid(1), Role::WRITER},
        {"POST", sets, "action=Initialize", Role::WRITER},
        {"POST", sets, "action=AddPiece", Role::WRITER},
        {"POST", sets, "action=Complete", Role::WRITER},
        {"POST", sets, "action=Abort", Role::WRITER},
        {"GET", "/kx/r/v2/sets/select", "module=backup_set&view=sets", Role::READER},
        {"GET", "/kx/r/v2/sets/exists", "uuid=" + uuid(1), Role::READER},
        {"GET", "/kx/r/v2/sets/" + uuid(1), "", Role::READER},
        {"GET", "/openapi.json", "", Role::READER},
        {"GET", "/metrics", "", Role::OPERATOR},
        {"GET", "/health", "", Role::NONE},
    };
    for (const Case& each : cases) {
        for (const Role role : {Role::NONE, Role::READER, Role::WRITER, Role::OPERATOR}) {
            principal.role = role;
            const int status = rest(each.method, each.path, each.query, small(uuid(1))).status;
            const bool refused = status == 401 || status == 403;
            EXPECT_EQ(refused, role < each.needed) << role_name(role) << ' ' << each.method << ' ' << each.path;
            if (refused) {
                EXPECT_EQ(status, role == Role::NONE ? 401 : 403);
            }
        }
    }
}

TEST_P(Rest_Front, health_says_when_the_database_answers)
{
    const Answer answer = rest("GET", "/health");
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, R"({"status":"ok"})");
}

TEST_P(Rest_Front, metrics_count_what_was_asked)
{
    rest("POST", sets, {}, small(uuid(1)));
    rest("POST", sets, {}, "nonsense");
    rpc("commit", small(uuid(2)));
    const Answer answer = rest("GET", "/metrics");
    EXPECT_EQ(answer.status, 200);
    EXPECT_TRUE(answer.content_type.starts_with("text/plain; version=0.0.4"));
    for (const char* const line : {
             R"(backup_set_requests_total{protocol="rest",operation="commit",outcome="done"} 1)",
             R"(backup_set_requests_total{protocol="rest",operation="commit",outcome="parse_error"} 1)",
             R"(backup_set_requests_total{protocol="rpc",operation="commit",outcome="done"} 1)",
             R"(backup_set_request_seconds_count{protocol="rest",operation="commit"} 2)",
             R"(backup_set_sets{state="committed",type="oracle_exp"} 2)",
         })
    {
        EXPECT_NE(answer.body.find(std::string(line) + "\n"), std::string::npos) << line << "\n" << answer.body;
    }
}

TEST_P(Rest_Front, takes_one_call_of_json_rpc)
{
    const Answer answer = rest(
        "POST", "/rpc", {}, R"({"jsonrpc":"2.0","id":7,"method":"backup_set.commit","params":)" + small(uuid(1)) + "}");
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, R"({"jsonrpc":"2.0","id":7,"result":{"result":true,"uuid":")" + uuid(1) + R"("}})");
    EXPECT_EQ(rest("POST", "/rpc", {}, R"({"jsonrpc":"2.0","method":"backup_set.abort","params":{}})").status, 204);
    EXPECT_EQ(rest("POST", "/rpc", {}, "{}", {}, "text/xml").status, 415);
}

} // namespace
