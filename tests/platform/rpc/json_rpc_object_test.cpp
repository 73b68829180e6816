#include "platform/rpc/json_rpc_object.h"

#include "platform/json/json_dump.h"
#include "platform/json/json_generator.h"
#include "platform/json/yajl_gen.h"
#include "platform/text/uuid.h"
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>
#include <yajl/yajl_gen.h>

#include <cstdint>
#include <limits>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

using json_spirit::Array;
using json_spirit::Object;
using json_spirit::Value;

namespace {

/// Writes what a test says.
class Scripted_Generator : public JSON_Generator
{
public:
    explicit Scripted_Generator(bool (*script)(yajl_gen_t*)) : script_(script) {}
    bool generate(yajl_gen_t* gen) override { return script_(gen); }

private:
    bool (*script_)(yajl_gen_t*);
};

std::string fault_of(const std::string& text)
{
    std::string error;
    return JSON_RPC_Object::parse(text, &error).null() ? error : "none";
}

std::string dump(const Value& value)
{
    return JSON_Dump(value).str();
}

} // namespace

TEST(JSON_RPC_Object, is_of_no_type_when_made_of_nothing)
{
    const JSON_RPC_Object none;
    EXPECT_EQ(none.type(), JSON_RPC_Object::TYPE_NONE);
    EXPECT_EQ(none.id(), "");
    EXPECT_EQ(none.text(), "");
    EXPECT_TRUE(none.params().is_null());
}

TEST(JSON_RPC_Object, types_have_their_numbers)
{
    EXPECT_EQ(int{JSON_RPC_Object::TYPE_NONE}, 0);
    EXPECT_EQ(int{JSON_RPC_Object::TYPE_NOTIFY}, 1);
    EXPECT_EQ(int{JSON_RPC_Object::TYPE_REQUEST}, 2);
    EXPECT_EQ(int{JSON_RPC_Object::TYPE_RESPONSE}, 3);
    EXPECT_EQ(int{JSON_RPC_Object::TYPE_RESPONSE_ERROR}, 4);
}

TEST(JSON_RPC_Object, request_is_written_with_its_params)
{
    const JSON_RPC_Object_var request = JSON_RPC_Object::make_request("7f", "set.add", Object{{"a", Array{1, "x"}}});
    ASSERT_FALSE(request.null());
    EXPECT_EQ(request->text(), R"({"jsonrpc":"2.0","id":"7f","method":"set.add","params":{"a":[1,"x"]}})");
    EXPECT_EQ(request->type(), JSON_RPC_Object::TYPE_REQUEST);
    EXPECT_EQ(request->id(), "7f");
    EXPECT_EQ(request->method(), "set.add");
    EXPECT_EQ(dump(request->params()), R"({"a":[1,"x"]})");
}

TEST(JSON_RPC_Object, null_params_are_left_out)
{
    const JSON_RPC_Object_var request = JSON_RPC_Object::make_request("1", "m", Value());
    EXPECT_EQ(request->text(), R"({"jsonrpc":"2.0","id":"1","method":"m"})");
    EXPECT_TRUE(request->params().is_null());
}

TEST(JSON_RPC_Object, notification_has_no_id)
{
    const JSON_RPC_Object_var notify = JSON_RPC_Object::make_notify("m", Array{true});
    EXPECT_EQ(notify->text(), R"({"jsonrpc":"2.0","method":"m","params":[true]})");
    EXPECT_EQ(notify->type(), JSON_RPC_Object::TYPE_NOTIFY);
}

TEST(JSON_RPC_Object, request_takes_its_params_from_a_generator)
{
    Scripted_Generator params([](yajl_gen_t* out) {
        const YAJL_Gen gen(out);
        const YAJL_Map_Guard map(gen);
        gen << "a"_key << std::uint64_t{18446744073709551615u};
        return true;
    });
    const JSON_RPC_Object_var request = JSON_RPC_Object::make_request("1", "m", params);
    ASSERT_FALSE(request.null());
    EXPECT_EQ(request->text(), R"({"jsonrpc":"2.0","id":"1","method":"m","params":{"a":18446744073709551615}})");
    EXPECT_EQ(request->type(), JSON_RPC_Object::TYPE_REQUEST);
    EXPECT_EQ(dump(request->params()), R"({"a":18446744073709551615})");
}

TEST(JSON_RPC_Object, no_request_of_a_generator_that_fails)
{
    Scripted_Generator params([](yajl_gen_t* out) {
        const YAJL_Gen gen(out);
        const YAJL_Map_Guard map(gen);
        return false;
    });
    EXPECT_TRUE(JSON_RPC_Object::make_request("1", "m", params).null());
}

TEST(JSON_RPC_Object, no_request_of_a_generator_that_leaves_a_map_open)
{
    Scripted_Generator params([](yajl_gen_t* out) { return yajl_gen_map_open(out) == yajl_gen_status_ok; });
    EXPECT_TRUE(JSON_RPC_Object::make_request("1", "m", params).null());
}

TEST(JSON_RPC_Object, exception_of_a_generator_passes_through)
{
    Scripted_Generator params([](yajl_gen_t*) -> bool { throw std::runtime_error("no piece"); });
    EXPECT_THROW(JSON_RPC_Object::make_request("1", "m", params), std::runtime_error);
}

TEST(JSON_RPC_Object, no_message_of_a_real_that_is_not_finite)
{
    const Log_Capture log;
    const Value infinite = Array{std::numeric_limits<double>::infinity()};
    EXPECT_TRUE(JSON_RPC_Object::make_request("1", "m", infinite).null());
    EXPECT_TRUE(JSON_RPC_Object::make_notify("m", infinite).null());
    EXPECT_TRUE(JSON_RPC_Object::make_response("1", infinite).null());
    EXPECT_EQ(log.text(), "");
}

TEST(JSON_RPC_Object, secret_is_in_clear_only_in_the_text)
{
    const Object params{{"password", json_spirit::Secure_String("geheim")}};
    const JSON_RPC_Object_var request = JSON_RPC_Object::make_request("1", "m", params);
    EXPECT_EQ(request->text(), R"({"jsonrpc":"2.0","id":"1","method":"m","params":{"password":"geheim"}})");
}

TEST(JSON_RPC_Object, response_is_written_and_holds_its_result)
{
    const JSON_RPC_Object_var response = JSON_RPC_Object::make_response("1", Object{{"result", true}});
    EXPECT_EQ(response->text(), R"({"jsonrpc":"2.0","id":"1","result":{"result":true}})");
    EXPECT_EQ(response->type(), JSON_RPC_Object::TYPE_RESPONSE);
    EXPECT_EQ(dump(response->result()), R"({"result":true})");
    EXPECT_EQ(JSON_RPC_Object::make_response("1", Value())->text(), R"({"jsonrpc":"2.0","id":"1","result":null})");
}

TEST(JSON_RPC_Object, error_is_written_with_code_and_message)
{
    const JSON_RPC_Object_var error = JSON_RPC_Object::make_error("1", -32601, "no \"x\"");
    EXPECT_EQ(error->text(), R"({"jsonrpc":"2.0","id":"1","error":{"code":-32601,"message":"no \"x\""}})");
    EXPECT_EQ(error->type(), JSON_RPC_Object::TYPE_RESPONSE_ERROR);
    EXPECT_EQ(error->error_code(), -32601);
    EXPECT_EQ(error->error_message(), "no \"x\"");
    EXPECT_EQ(JSON_RPC_Object::make_error("", -32700, "?")->text(),
              R"({"jsonrpc":"2.0","id":null,"error":{"code":-32700,"message":"?"}})");
}

TEST(JSON_RPC_Object, answer_has_the_id_of_its_request_text_or_number)
{
    for (const char* const id : {"\"1\"", "1", "-9223372036854775808", "18446744073709551615"}) {
        const JSON_RPC_Object_var request =
            JSON_RPC_Object::parse(R"({"jsonrpc":"2.0","id":)" + std::string(id) + R"(,"method":"m"})");
        ASSERT_FALSE(request.null()) << id;
        EXPECT_EQ(JSON_RPC_Object::make_response(*request, 5)->text(),
                  R"({"jsonrpc":"2.0","id":)" + std::string(id) + R"(,"result":5})");
        EXPECT_EQ(JSON_RPC_Object::make_error(*request, 1, "e")->text(),
                  R"({"jsonrpc":"2.0","id":)" + std::string(id) + R"(,"error":{"code":1,"message":"e"}})");
    }
}

TEST(JSON_RPC_Object, request_is_read)
{
    const JSON_RPC_Object_var request =
        JSON_RPC_Object::parse(R"({"params":[1,{"a":2}],"method":"m","id":"x","jsonrpc":"2.0","more":0})");
    ASSERT_FALSE(request.null());
    EXPECT_EQ(request->type(), JSON_RPC_Object::TYPE_REQUEST);
    EXPECT_EQ(request->id(), "x");
    EXPECT_FALSE(request->id_is_number());
    EXPECT_EQ(request->method(), "m");
    EXPECT_EQ(dump(request->params()), R"([1,{"a":2}])");
    EXPECT_EQ(dump(request->take_params()), R"([1,{"a":2}])");
    EXPECT_TRUE(request->params().is_null());
    EXPECT_EQ(request->text(), "");
}

TEST(JSON_RPC_Object, number_is_an_id_of_its_own)
{
    const JSON_RPC_Object_var request = JSON_RPC_Object::parse(R"({"jsonrpc":"2.0","id":12,"method":"m"})");
    ASSERT_FALSE(request.null());
    EXPECT_EQ(request->id(), "12");
    EXPECT_TRUE(request->id_is_number());
}

TEST(JSON_RPC_Object, notification_is_read)
{
    const JSON_RPC_Object_var notify = JSON_RPC_Object::parse(R"({"jsonrpc":"2.0","method":"m"})");
    ASSERT_FALSE(notify.null());
    EXPECT_EQ(notify->type(), JSON_RPC_Object::TYPE_NOTIFY);
}

TEST(JSON_RPC_Object, response_is_read)
{
    const JSON_RPC_Object_var response = JSON_RPC_Object::parse(R"({"jsonrpc":"2.0","id":"x","result":null})");
    ASSERT_FALSE(response.null());
    EXPECT_EQ(response->type(), JSON_RPC_Object::TYPE_RESPONSE);
    EXPECT_TRUE(response->result().is_null());
}

TEST(JSON_RPC_Object, error_is_read_with_an_id_or_without)
{
    const JSON_RPC_Object_var error =
        JSON_RPC_Object::parse(R"({"jsonrpc":"2.0","id":"x","error":{"code":-5,"message":"m","data":[]}})");
    ASSERT_FALSE(error.null());
    EXPECT_EQ(error->type(), JSON_RPC_Object::TYPE_RESPONSE_ERROR);
    EXPECT_EQ(error->id(), "x");
    EXPECT_EQ(error->error_code(), -5);
    EXPECT_EQ(error->error_message(), "m");
    for (const char* const text : {R"({"jsonrpc":"2.0","id":null,"error":{"code":1,"message":""}})",
                                   R"({"jsonrpc":"2.0","error":{"code":1,"message":""}})"})
    {
        const JSON_RPC_Object_var unread = JSON_RPC_Object::parse(text);
        ASSERT_FALSE(unread.null()) << text;
        EXPECT_EQ(unread->id(), "");
    }
}

TEST(JSON_RPC_Object, what_is_no_message_is_refused_with_the_reason)
{
    EXPECT_NE(fault_of("{").find("byte"), std::string::npos) << fault_of("{");
    EXPECT_EQ(fault_of("[]"), "the message is no object");
    EXPECT_EQ(fault_of(R"([{"jsonrpc":"2.0","method":"m"}])"), "the message is no object");
    EXPECT_EQ(fault_of(R"({"method":"m"})"), "\"jsonrpc\" is not \"2.0\"");
    EXPECT_EQ(fault_of(R"({"jsonrpc":"1.0","method":"m"})"), "\"jsonrpc\" is not \"2.0\"");
    EXPECT_EQ(fault_of(R"({"jsonrpc":2.0,"method":"m"})"), "\"jsonrpc\" is not \"2.0\"");
    EXPECT_EQ(fault_of(R"({"jsonrpc":"2.0","id":"x","method":1})"), "\"method\" is no text");
    const std::string id = "\"id\" is neither a text nor an integer";
    EXPECT_EQ(fault_of(R"({"jsonrpc":"2.0","id":null,"method":"m"})"), id);
    EXPECT_EQ(fault_of(R"({"jsonrpc":"2.0","id":1.5,"method":"m"})"), id);
    EXPECT_EQ(fault_of(R"({"jsonrpc":"2.0","id":[],"result":1})"), id);
    EXPECT_EQ(fault_of(R"({"jsonrpc":"2.0","id":null,"result":1})"), id);
    EXPECT_EQ(fault_of(R"({"jsonrpc":"2.0","id":"","method":"m"})"), "\"id\" is empty");
    EXPECT_EQ(fault_of(R"({"jsonrpc":"2.0","result":1})"), "\"id\" is missing");
    const std::string none = "there is not one of \"method\", \"result\" and \"error\"";
    EXPECT_EQ(fault_of(R"({"jsonrpc":"2.0","id":"x"})"), none);
    EXPECT_EQ(fault_of(R"({"jsonrpc":"2.0","id":"x","result":1,"error":{"code":1,"message":""}})"), none);
    EXPECT_EQ(fault_of(R"({"jsonrpc":"2.0","id":"x","error":"e"})"), "\"error\" is no object");
    const std::string error = "\"error\" lacks a code or a message";
    EXPECT_EQ(fault_of(R"({"jsonrpc":"2.0","id":"x","error":{"code":1}})"), error);
    EXPECT_EQ(fault_of(R"({"jsonrpc":"2.0","id":"x","error":{"code":"1","message":""}})"), error);
    EXPECT_EQ(fault_of(R"({"jsonrpc":"2.0","id":"x","error":{"code":2147483648,"message":""}})"), error);
}

TEST(JSON_RPC_Object, new_ids_are_uuids_and_all_different)
{
    std::set<std::string> ids;
    for (int i = 0; i < 1000; ++i) {
        const std::string id = JSON_RPC_Object::new_id();
        ASSERT_EQ(id.size(), uuid_text_length);
        EXPECT_TRUE(read_uuid(id).has_value()) << id;
        EXPECT_EQ(id[14], '4') << id;
        ids.insert(id);
    }
    EXPECT_EQ(ids.size(), 1000u);
}
