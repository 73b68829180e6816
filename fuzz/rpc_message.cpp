// Takes any text as a JSON-RPC message. What is read can be said again, and is then read as the same message.
#include "fuzz/fuzz.h"
#include "platform/json/value.h"
#include "platform/rpc/json_rpc_object.h"

#include <string>

namespace {

using fuzz::check;

JSON_RPC_Object_var said_again(const JSON_RPC_Object& message)
{
    switch (message.type()) {
    case JSON_RPC_Object::TYPE_NOTIFY:
        return JSON_RPC_Object::make_notify(message.method(), message.params());
    case JSON_RPC_Object::TYPE_REQUEST:
        return JSON_RPC_Object::make_request(message.id(), message.method(), message.params());
    case JSON_RPC_Object::TYPE_RESPONSE:
        return JSON_RPC_Object::make_response(message, message.result());
    case JSON_RPC_Object::TYPE_RESPONSE_ERROR:
        return message.id().empty()
                   ? JSON_RPC_Object::make_error(std::string_view(), message.error_code(), message.error_message())
                   : JSON_RPC_Object::make_error(message, message.error_code(), message.error_message());
    default:
        check(false, "a message that was read has a type");
        return JSON_RPC_Object_var();
    }
}

/// yajl writes no deeper than this; a message around a value takes some levels.
bool is_deep(std::string_view text)
{
    std::size_t open = 0;
    for (const char c : text) {
        open += c == '[' || c == '{' ? 1 : 0;
    }
    return open > 100;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::log_nothing();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text = fuzz::text_of(data, size);
    std::string error;
    const JSON_RPC_Object_var message = JSON_RPC_Object::parse(text, &error);
    if (message.null()) {
        check(!error.empty(), "a refusal has a reason");
        return 0;
    }
    json_spirit::Value value;
    check(json_spirit::read(text, value) && value.type() == json_spirit::obj_type, "a message is an object of JSON");
    check(message->text().empty(), "a message that was read has no text of its own");
    if (is_deep(text)) {
        return 0;
    }
    const JSON_RPC_Object_var sent = said_again(*message);
    check(!sent.null(), "a message can be said again");
    const JSON_RPC_Object_var heard = JSON_RPC_Object::parse(sent->text(), &error);
    check(!heard.null(), "what is said can be read");
    check(heard->type() == message->type() && heard->id() == message->id() && heard->method() == message->method()
              && heard->params() == message->params() && heard->result() == message->result()
              && heard->error_code() == message->error_code() && heard->error_message() == message->error_message(),
          "it is the same message");
    // A request is made with a text as its id.
    check(heard->id_is_number() == message->id_is_number() || message->type() == JSON_RPC_Object::TYPE_REQUEST,
          "an answer has the id of its request, text or number");
    return 0;
}
