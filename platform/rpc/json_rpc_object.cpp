#include "platform/rpc/json_rpc_object.h"

#include "platform/json/json_generator.h"
#include "platform/json/object_get.h"
#include "platform/json/yajl_gen.h"
#include "platform/text/uuid.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid.hpp>
#include <string.h>
#include <yajl/yajl_gen.h>

#include <charconv>
#include <cstdint>
#include <utility>

namespace {

/// A text that is wiped before it is freed.
std::shared_ptr<const std::string> wiped_text(std::string text)
{
    return {new std::string(std::move(text)), [](std::string* old) {
                ::explicit_bzero(old->data(), old->size());
                delete old;
            }};
}

void write_id(const YAJL_Gen& gen, std::string_view id, bool is_number)
{
    gen << "id"_key;
    if (is_number) {
        yajl_gen_raw(gen.get(), id);
    } else if (id.empty()) {
        yajl_gen_null(gen.get());
    } else {
        gen << id;
    }
}

// Not in the templates below, where clang 14 takes a `_key` for a function to be called.

void write_version(const YAJL_Gen& gen)
{
    gen << "jsonrpc"_key
        << "2.0";
}

void write_method(const YAJL_Gen& gen, std::string_view method)
{
    gen << "method"_key << method;
}

/// Writes a message: what all have in common, then what `members(gen)` adds. Null when that returns false or leaves
/// something open.
template <class Members>
std::shared_ptr<const std::string> write_message(Members members)
{
    JSON_Text text;
    const YAJL_Gen gen(text.get());
    bool done = false;
    {
        const YAJL_Map_Guard map(gen);
        write_version(gen);
        done = members(gen);
        if (!done) {
            yajl_gen_null(text.get()); // where a value is lacking, which the guard would log; the text is dropped
        }
    }
    // Only behind a whole value yajl takes nothing more.
    if (!done || yajl_gen_null(text.get()) != yajl_gen_generation_complete) {
        return nullptr;
    }
    return wiped_text(text.take());
}

template <class Write_Params>
std::shared_ptr<const std::string> write_request(std::string_view id, std::string_view method, Write_Params params)
{
    return write_message([&](const YAJL_Gen& gen) {
        if (!id.empty()) {
            write_id(gen, id, false);
        }
        write_method(gen, method);
        return params(gen);
    });
}

auto params_writer(const json_spirit::Value& params)
{
    return [&params](const YAJL_Gen& gen) {
        if (params.is_null()) {
            return true;
        }
        gen << "params"_key;
        return yajl_gen_value(gen.get(), params);
    };
}

} // namespace

JSON_RPC_Object_var JSON_RPC_Object::make(Type type, std::string_view id, bool id_is_number, std::string_view method)
{
    JSON_RPC_Object_var object(new JSON_RPC_Object());
    object->type_ = type;
    object->id_ = id;
    object->id_is_number_ = id_is_number;
    object->method_ = method;
    return object;
}

JSON_RPC_Object_var JSON_RPC_Object::make_notify(std::string_view method, const json_spirit::Value& params)
{
    JSON_RPC_Object_var object = make(TYPE_NOTIFY, {}, false, method);
    object->text_ = write_request({}, method, params_writer(params));
    return object->text_ ? object : JSON_RPC_Object_var();
}

JSON_RPC_Object_var JSON_RPC_Object::make_request(std::string_view id, std::string_view method,
                                                  const json_spirit::Value& params)
{
    JSON_RPC_Object_var object = make(TYPE_REQUEST, id, false, method);
    object->text_ = write_request(id, method, params_writer(params));
    return object->text_ ? object : JSON_RPC_Object_var();
}

JSON_RPC_Object_var JSON_RPC_Object::make_request(std::string_view id, std::string_view method, JSON_Generator& params)
{
    JSON_RPC_Object_var object = make(TYPE_REQUEST, id, false, method);
    object->text_ = write_request(id, method, [&params](const YAJL_Gen& gen) {
        gen << "params"_key;
        return params.generate(gen.get());
    });
    return object->text_ ? object : JSON_RPC_Object_var();
}

JSON_RPC_Object_var JSON_RPC_Object::make_response(std::string_view id, bool id_is_number, json_spirit::Value result)
{
    JSON_RPC_Object_var object = make(TYPE_RESPONSE, id, id_is_number, {});
    object->text_ = write_message([&](const YAJL_Gen& gen) {
        write_id(gen, id, id_is_number);
        gen << "result"_key;
        return yajl_gen_value(gen.get(), result);
    });
    object->result_ = std::move(result);
    return object->text_ ? object : JSON_RPC_Object_var();
}

JSON_RPC_Object_var JSON_RPC_Object::make_response(std::string_view id, json_spirit::Value result)
{
    return make_response(id, false, std::move(result));
}

JSON_RPC_Object_var JSON_RPC_Object::make_response(const JSON_RPC_Object& request, json_spirit::Value result)
{
    return make_response(request.id_, request.id_is_number_, std::move(result));
}

JSON_RPC_Object_var JSON_RPC_Object::make_error(std::string_view id, bool id_is_number, int code,
                                                std::string_view message)
{
    JSON_RPC_Object_var object = make(TYPE_RESPONSE_ERROR, id, id_is_number, {});
    object->error_code_ = code;
    object->error_message_ = message;
    object->text_ = write_message([&](const YAJL_Gen& gen) {
        write_id(gen, id, id_is_number);
        gen << "error"_key;
        const YAJL_Map_Guard map(gen);
        gen << "code"_key << code << "message"_key << message;
        return true;
    });
    return object;
}

JSON_RPC_Object_var JSON_RPC_Object::make_error(std::string_view id, int code, std::string_view message)
{
    return make_error(id, false, code, message);
}

JSON_RPC_Object_var JSON_RPC_Object::make_error(const JSON_RPC_Object& request, int code, std::string_view message)
{
    return make_error(request.id_, request.id_is_number_, code, message);
}

JSON_RPC_Object_var JSON_RPC_Object::parse(std::string_view text, std::string* error)
{
    json_spirit::Value value;
    if (!json_spirit::read(text, value, error)) {
        return JSON_RPC_Object_var();
    }
    JSON_RPC_Object_var object(new JSON_RPC_Object());
    json_spirit::Object* const message = value.if_obj();
    const char* const fault = message == nullptr ? "the message is no object" : object->read(*message);
    if (fault != nullptr) {
        if (error != nullptr) {
            *error = fault;
        }
        return JSON_RPC_Object_var();
    }
    return object;
}

/// Null, or what is wrong; so the next two.
const char* JSON_RPC_Object::read(json_spirit::Object& message)
{
    const std::string* const version = object_get_str(message, "jsonrpc");
    if (version == nullptr || *version != "2.0") {
        return "\"jsonrpc\" is not \"2.0\"";
    }
    const json_spirit::Value* const id = object_get(message, "id");
    const auto method = message.find("method");
    if (method == message.end()) {
        return read_answer(message);
    }
    if (method->second.if_str() == nullptr) {
        return "\"method\" is no text";
    }
    method_ = method->second.get_str();
    if (const auto params = message.find("params"); params != message.end()) {
        params_ = std::move(params->second);
    }
    type_ = id != nullptr ? TYPE_REQUEST : TYPE_NOTIFY;
    return id != nullptr ? read_id(id) : nullptr;
}

const char* JSON_RPC_Object::read_id(const json_spirit::Value* id)
{
    if (const std::string* const text = id->if_str()) {
        id_ = *text;
        return id_.empty() ? "\"id\" is empty" : nullptr;
    }
    id_is_number_ = true;
    if (const std::int64_t* const number = id->if_int64()) {
        id_ = std::to_string(*number);
        return nullptr;
    }
    if (const std::uint64_t* const number = id->if_uint64()) {
        id_ = std::to_string(*number);
        return nullptr;
    }
    return "\"id\" is neither a text nor an integer";
}

const char* JSON_RPC_Object::read_answer(json_spirit::Object& message)
{
    const json_spirit::Value* const id = object_get(message, "id");
    const auto result = message.find("result");
    const auto error = message.find("error");
    if ((result == message.end()) == (error == message.end())) {
        return "there is not one of \"method\", \"result\" and \"error\"";
    }
    if (result != message.end()) {
        type_ = TYPE_RESPONSE;
        result_ = std::move(result->second);
        return id == nullptr ? "\"id\" is missing" : read_id(id);
    }
    type_ = TYPE_RESPONSE_ERROR;
    const json_spirit::Object* const members = error->second.if_obj();
    if (members == nullptr) {
        return "\"error\" is no object";
    }
    const std::int64_t* const code = object_get_int64(*members, "code");
    const std::string* const text = object_get_str(*members, "message");
    if (code == nullptr || text == nullptr || !std::in_range<int>(*code)) {
        return "\"error\" lacks a code or a message";
    }
    error_code_ = static_cast<int>(*code);
    error_message_ = *text;
    return id == nullptr || id->is_null() ? nullptr : read_id(id);
}

std::string JSON_RPC_Object::new_id()
{
    // Each call asks the system, so that processes after a fork draw different ones.
    const boost::uuids::uuid uuid = boost::uuids::random_generator_pure()();
    char text[uuid_text_length + 1];
    write_uuid(uuid.data, text);
    return {text, uuid_text_length};
}

json_spirit::Value JSON_RPC_Object::params() const
{
    json_spirit::Value message;
    if (!text_ || !json_spirit::read(*text_, message)) {
        return params_;
    }
    json_spirit::Object& members = message.get_obj();
    const auto params = members.find("params");
    return params == members.end() ? json_spirit::Value() : std::move(params->second);
}

json_spirit::Value JSON_RPC_Object::take_params()
{
    return text_ ? params() : std::exchange(params_, json_spirit::Value());
}

const std::string& JSON_RPC_Object::text() const
{
    static const std::string none;
    return text_ ? *text_ : none;
}
