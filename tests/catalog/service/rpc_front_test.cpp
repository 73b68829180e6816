#include "catalog/service/rpc_front.h"

#include "catalog/service/access_keys.h"
#include "platform/json/json_dump.h"
#include "tests/catalog/service/front_test.h"

using namespace catalog::service;

namespace {

class Rpc_Front : public Service_Test
{
protected:
    std::string id_of(const std::string& message)
    {
        const Answer answer = rpc_message(message);
        return answer.body.substr(0, answer.body.find(R"(,"error")")) + "|"
               + answer.body.substr(answer.body.find(R"("code":)") + 7, 6);
    }
};

CATALOG_TEST_ENGINES(Rpc_Front);

TEST_P(Rpc_Front, commits_a_set_and_selects_it)
{
    const auto committed = rpc("commit", small(uuid(1)));
    EXPECT_EQ(JSON_Dump(json_spirit::Value(committed)).str(),
              R"({"id":1,"jsonrpc":"2.0","result":{"result":true,"uuid":")" + uuid(1) + R"("}})");

    const auto selected =
        rpc("select", R"({"module":"backup_set","view":"set","param":{"uuid":")" + uuid(1) + R"("}})");
    const auto& result = json_spirit::object_get_object_or_throw(selected, "result");
    const auto& rows = json_spirit::object_get_array_or_throw(result, "rows");
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(json_spirit::object_get_str_or_throw(rows[0].get_obj(), "uuid"), uuid(1));
}

TEST_P(Rpc_Front, gives_ids_back_as_they_were_written)
{
    for (const std::string id : {R"("a\u0062c")", "12345678901234567890123", "-7", "1.50", "null", R"("")"}) {
        const Answer answer = rpc_message(R"({"jsonrpc":"2.0","method":"nothing","id":)" + id + "}");
        EXPECT_TRUE(answer.body.starts_with(R"({"jsonrpc":"2.0","id":)" + id + R"(,"error":)")) << answer.body;
    }
}

TEST_P(Rpc_Front, tells_malformed_messages_apart)
{
    struct Case
    {
        const char* message;
        const char* answer;
    };
    const Case cases[] = {
        {R"({"jsonrpc":"2.0")", R"({"jsonrpc":"2.0","id":null|-32700)"},
        {"", R"({"jsonrpc":"2.0","id":null|-32700)"},
        {R"([])", R"({"jsonrpc":"2.0","id":null|-32600)"},
        {R"([{"jsonrpc":"2.0","id":1,"method":"backup_set.select","params":{}}])",
         R"({"jsonrpc":"2.0","id":null|-32600)"},
        {R"("text")", R"({"jsonrpc":"2.0","id":null|-32600)"},
        {R"({"id":1,"method":"backup_set.select"})", R"({"jsonrpc":"2.0","id":1|-32600)"},
        {R"({"jsonrpc":"1.0","id":1,"method":"backup_set.select"})", R"({"jsonrpc":"2.0","id":1|-32600)"},
        {R"({"jsonrpc":"2.0","id":1})", R"({"jsonrpc":"2.0","id":1|-32600)"},
        {R"({"jsonrpc":"2.0","id":1,"method":5})", R"({"jsonrpc":"2.0","id":1|-32600)"},
        {R"({"jsonrpc":"2.0","id":[1],"method":"m"})", R"({"jsonrpc":"2.0","id":null|-32600)"},
        {R"({"jsonrpc":"2.0","id":1,"id":2,"method":"m"})", R"({"jsonrpc":"2.0","id":null|-32600)"},
        {R"({"jsonrpc":"2.0","id":1,"method":"m","params":"text"})", R"({"jsonrpc":"2.0","id":1|-32600)"},
        {R"({"jsonrpc":"2.0","id":1,"method":"backup_set.nothing","params":{}})", R"({"jsonrpc":"2.0","id":1|-32601)"},
        {R"({"jsonrpc":"2.0","id":1,"method":"commit","params":{}})", R"({"jsonrpc":"2.0","id":1|-32601)"},
        {R"({"jsonrpc":"2.0","id":1,"method":"backup_set.commit","params":[1]})", R"({"jsonrpc":"2.0","id":1|-32602)"},
        {R"({"jsonrpc":"2.0","id":1,"method":"backup_set.commit"})", R"({"jsonrpc":"2.0","id":1|-32602)"},
        {R"({"jsonrpc":"2.0","id":1,"method":"backup_set.select","params":{}})", R"({"jsonrpc":"2.0","id":1|-32602)"},
        {R"({"jsonrpc":"2.0","id":1,"method":"backup_set.select","params":{"module":"backup_set","view":"sets","param":[]}})",
         R"({"jsonrpc":"2.0","id":1|-32602)"},
        {R"({"jsonrpc":"2.0","id":1,"method":"backup_set.select","params":{"module":"no","view":"sets"}})",
         R"({"jsonrpc":"2.0","id":1|-32602)"},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(id_of(each.message), each.answer) << each.message;
    }
}

TEST_P(Rpc_Front, refuses_a_document_with_the_key_at_fault)
{
    const auto answer = rpc("commit", R"({"catalog_module":"oracle_exp","uuid":"no uuid"})");
    EXPECT_EQ(rpc_error(answer), -32000);
    const auto& error = json_spirit::object_get_object_or_throw(answer, "error");
    const auto& data = json_spirit::object_get_object_or_throw(error, "data");
    EXPECT_EQ(json_spirit::object_get_str_or_throw(data, "key"), "uuid");
    EXPECT_EQ(json_spirit::object_get_str_or_throw(data, "name"), "refused");
}

TEST_P(Rpc_Front, a_notification_has_its_effect_and_no_answer)
{
    const Answer answer =
        rpc_message(R"({"jsonrpc":"2.0","method":"backup_set.commit","params":)" + small(uuid(2)) + "}");
    EXPECT_EQ(answer.body, "");
    EXPECT_EQ(count("backup_set"), 1);

    const Answer refused = rpc_message(R"({"jsonrpc":"2.0","method":"backup_set.commit","params":{}})");
    EXPECT_EQ(refused.body, "");
    EXPECT_EQ(count("backup_set"), 1);
}

TEST_P(Rpc_Front, a_step_out_of_order_names_the_state)
{
    const std::string pieces = R"({"uuid":")" + uuid(3) + R"(","pieces":[{"path":"a","object":"o","size":1}]})";
    const auto unknown = rpc("add_piece", pieces);
    EXPECT_EQ(rpc_error(unknown), -32002);
    EXPECT_NE(rpc_message_of(unknown).find("unknown"), std::string::npos) << rpc_message_of(unknown);

    EXPECT_EQ(rpc_error(rpc("initialize", small(uuid(3)), "\"i\"")), 0);
    EXPECT_EQ(rpc_error(rpc("complete", small(uuid(3)), "\"c\"")), 0);
    const auto complete = rpc("add_piece", pieces, "\"late\"");
    EXPECT_EQ(rpc_error(complete), -32002);
    EXPECT_NE(rpc_message_of(complete).find("complete"), std::string::npos) << rpc_message_of(complete);

    EXPECT_EQ(rpc_error(rpc("commit", small(uuid(3)), "\"m\"")), 0);
    const auto committed = rpc("abort", R"({"uuid":")" + uuid(3) + "\"}", "\"x\"");
    EXPECT_EQ(rpc_error(committed), -32002);
    EXPECT_NE(rpc_message_of(committed).find("committed"), std::string::npos) << rpc_message_of(committed);
}

TEST_P(Rpc_Front, abort_gives_the_pieces_in_an_object)
{
    rpc("initialize", small(uuid(4)), "\"i\"");
    rpc("add_piece", R"({"uuid":")" + uuid(4) + R"(","pieces":[{"path":"a","object":"o","size":1}]})", "\"p\"");
    const auto aborted = rpc("abort", R"({"uuid":")" + uuid(4) + "\"}", "\"x\"");
    const auto& result = json_spirit::object_get_object_or_throw(aborted, "result");
    EXPECT_TRUE(json_spirit::object_get_bool_or_throw(result, "result"));
    EXPECT_EQ(json_spirit::object_get_str_or_throw(result, "uuid"), uuid(4));
    const auto& pieces = json_spirit::object_get_array_or_throw(result, "pieces");
    ASSERT_EQ(pieces.size(), 1u);
    EXPECT_EQ(json_spirit::object_get_str_or_throw(pieces[0].get_obj(), "object"), "o");
}

TEST_P(Rpc_Front, the_same_id_has_one_effect_and_the_same_answer_after_a_restart)
{
    rpc("initialize", small(uuid(5)), "\"i\"");
    rpc("add_piece", R"({"uuid":")" + uuid(5) + R"(","pieces":[{"path":"a","object":"o","size":1}]})", "\"p\"");
    const std::string abort = R"({"uuid":")" + uuid(5) + "\"}";
    const auto first = rpc("abort", abort, "\"x\"");
    start(false);
    EXPECT_EQ(rpc("abort", abort, "\"x\""), first);
    EXPECT_EQ(rpc_error(rpc("abort", abort, "\"y\"")), -32002); // another request finds it gone
}

TEST_P(Rpc_Front, an_abort_without_an_id_of_its_own_is_answered)
{
    rpc("initialize", small(uuid(6)), "\"i\"");
    const auto aborted = rpc("abort", R"({"uuid":")" + uuid(6) + "\"}", "null");
    EXPECT_EQ(rpc_error(aborted), 0);
    EXPECT_EQ(rpc_error(rpc("abort", R"({"uuid":")" + uuid(6) + "\"}", "null")), -32002);
}

TEST_P(Rpc_Front, other_content_of_a_committed_set_is_a_conflict)
{
    EXPECT_EQ(rpc_error(rpc("commit", small(uuid(7)), "\"a\"")), 0);
    EXPECT_EQ(rpc_error(rpc("commit", small(uuid(7)), "\"b\"")), 0);
    EXPECT_EQ(rpc_error(rpc("commit", small(uuid(7), R"("name":"other")"), "\"c\"")), -32001);
    EXPECT_EQ(count("backup_set"), 1);
}

TEST_P(Rpc_Front, roles_allow_what_they_are_for)
{
    struct Case
    {
        Role role;
        const char* method;
        bool allowed;
    };
    const Case cases[] = {
        {Role::READER, "select", true},      {Role::WRITER, "select", true},     {Role::OPERATOR, "select", true},
        {Role::READER, "commit", false},     {Role::WRITER, "commit", true},     {Role::OPERATOR, "commit", true},
        {Role::READER, "initialize", false}, {Role::READER, "add_piece", false}, {Role::READER, "complete", false},
        {Role::READER, "abort", false},      {Role::READER, "update", false},
    };
    const Log_Capture log;
    for (const Case& each : cases) {
        principal.role = each.role;
        const std::string params =
            std::string_view(each.method) == "select" ? R"({"module":"backup_set","view":"sets"})" : small(uuid(8));
        const auto answer = rpc(each.method, params, "\"role\"");
        EXPECT_EQ(rpc_error(answer), each.allowed ? 0 : -32004) << role_name(each.role) << ' ' << each.method;
    }
    principal.role = Role::NONE;
    EXPECT_EQ(rpc_error(rpc("select", R"({"module":"backup_set","view":"sets"})")), -32005);
    EXPECT_EQ(log.count("tester"), 6u); // each refusal of a key that is known
}

TEST_P(Rpc_Front, queued_commits_say_so_and_wait)
{
    start(true);
    const auto queued = rpc("commit", small(uuid(9)));
    const auto& result = json_spirit::object_get_object_or_throw(queued, "result");
    EXPECT_TRUE(json_spirit::object_get_bool_or_throw(result, "result"));
    EXPECT_TRUE(json_spirit::object_get_bool_or_throw(result, "queued"));
    EXPECT_EQ(json_spirit::object_get_str_or_throw(result, "uuid"), uuid(9));
    EXPECT_EQ(count("backup_set"), 0);
}

} // namespace
