#include "catalog/service/rpc_front.h"

#include "platform/json/document.h"
#include "platform/json/object_get.h"
#include "platform/text/log.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace catalog::service {

namespace {

using json_document::find_first;
using json_document::Member;

constexpr const char* set_document = "the set's document";
constexpr const char* done = "{\"result\": true, \"uuid\"}";

constexpr std::array methods = {
    RPC_Method{"backup_set.initialize", set_document, done, Role::WRITER},
    RPC_Method{"backup_set.add_piece", "{\"uuid\", \"pieces\"}", done, Role::WRITER},
    RPC_Method{"backup_set.complete", set_document, done, Role::WRITER},
    RPC_Method{"backup_set.abort", "{\"uuid\"}", "{\"result\": true, \"uuid\", \"pieces\"}", Role::WRITER},
    RPC_Method{"backup_set.commit", set_document,
               "{\"result\": true, \"uuid\"}, with \"queued\": true for a queued commit", Role::WRITER},
    RPC_Method{"backup_set.update", set_document, done, Role::WRITER},
    RPC_Method{"backup_set.select", "{\"module\", \"view\", \"param\"}", "the view's result", Role::READER},
};

constexpr std::string_view method_prefix = "backup_set.";

std::optional<Write_Operation> write_operation(std::string_view method)
{
    if (method.starts_with(method_prefix)) {
        for (const Write_Operation operation :
             {Write_Operation::INITIALIZE, Write_Operation::ADD_PIECE, Write_Operation::COMPLETE,
              Write_Operation::ABORT, Write_Operation::COMMIT, Write_Operation::UPDATE})
        {
            if (method.substr(method_prefix.size()) == operation_name(operation)) {
                return operation;
            }
        }
    }
    return std::nullopt;
}

std::string known_methods()
{
    std::string names;
    for (const RPC_Method& method : methods) {
        names += (names.empty() ? "" : ", ") + std::string(method.name);
    }
    return names;
}

bool is_repeated(const std::vector<Member>& members, std::string_view key)
{
    return std::ranges::count(members, key, &Member::key) > 1;
}

bool is_id(const Member& member)
{
    using namespace json_spirit;
    return (member.type == str_type || member.type == int_type || member.type == real_type || member.type == null_type)
           && member.text.size() <= longest_request_id;
}

/// A part of the message of a method, which has to be a text when it is there.
bool read_text(const json_spirit::Object& params, const char* key, std::string& text, Fault& fault)
{
    const std::string* const found = json_spirit::object_get_str(params, key);
    if (found == nullptr || found->empty()) {
        fault = {Fault_Kind::INVALID_PARAMS, std::string("\"") + key + "\" has to be a text that is not empty", key};
        return false;
    }
    text = *found;
    return true;
}

} // namespace

std::span<const RPC_Method> rpc_methods()
{
    return methods;
}

struct RPC_Front::Call
{
    std::string id; ///< JSON; empty for a notification
    std::string method;
    std::string params; ///< JSON; empty when there are none
};

void RPC_Front::answer(std::string message, const Principal& principal, Reply_Taker taker)
{
    const Request_Watch watch(operations_.metrics(), Protocol::RPC, "invalid");
    const auto refuse_with = [&](const std::string& id, const Fault& fault) {
        watch.done(fault);
        refuse(id, fault, taker);
    };
    std::vector<Member> members;
    std::string reason;
    if (!json_document::split_object(message, members, &reason)) {
        if (!json_document::validate(message, &reason)) {
            refuse_with("null", {Fault_Kind::PARSE_ERROR, reason});
        } else if (message[message.find_first_not_of(" \t\r\n")] == '[') {
            refuse_with("null", {Fault_Kind::INVALID_REQUEST,
                                 "batches are not taken: send one call a message, as many at once as you like"});
        } else {
            refuse_with("null", {Fault_Kind::INVALID_REQUEST, "a request is a JSON object"});
        }
        return;
    }
    for (const char* const key : {"jsonrpc", "id", "method", "params"}) {
        if (is_repeated(members, key)) {
            refuse_with("null", {Fault_Kind::INVALID_REQUEST, std::string("\"") + key + "\" is given twice", key});
            return;
        }
    }
    const Member* const id = find_first(members, "id");
    if (id != nullptr && !is_id(*id)) {
        refuse_with("null", {Fault_Kind::INVALID_REQUEST,
                             "\"id\" has to be a string, a number or null, of at most "
                                 + std::to_string(longest_request_id) + " bytes",
                             "id"});
        return;
    }
    Call call{id != nullptr ? std::string(id->text) : std::string(), {}, {}};
    // What is no request has an answer even without an id: it is no notification either.
    const std::string id_or_null = call.id.empty() ? "null" : call.id;
    const Member* const version = find_first(members, "jsonrpc");
    if (version == nullptr || version->type != json_spirit::str_type || json_document::unescape(version->text) != "2.0")
    {
        refuse_with(id_or_null, {Fault_Kind::INVALID_REQUEST, "\"jsonrpc\" has to be \"2.0\"", "jsonrpc"});
        return;
    }
    const Member* const method = find_first(members, "method");
    if (method == nullptr || method->type != json_spirit::str_type) {
        refuse_with(id_or_null, {Fault_Kind::INVALID_REQUEST, "\"method\" has to be a string", "method"});
        return;
    }
    call.method = json_document::unescape(method->text);
    if (const Member* const params = find_first(members, "params")) {
        if (params->type != json_spirit::obj_type && params->type != json_spirit::array_type) {
            refuse_with(id_or_null, {Fault_Kind::INVALID_REQUEST, "\"params\" has to be an object", "params"});
            return;
        }
        call.params = params->text;
    }
    if (call.id.empty()) {
        // A notification: whatever comes of it, nothing is answered.
        run(std::move(call), principal, [taker = std::move(taker)](const Reply&) {
            Reply nothing;
            nothing.status = 204;
            taker(std::move(nothing));
        });
        return;
    }
    run(std::move(call), principal, std::move(taker));
}

void RPC_Front::run(Call call, const Principal& principal, Reply_Taker taker)
{
    const std::optional<Write_Operation> operation = write_operation(call.method);
    const bool is_select = call.method == "backup_set.select";
    Fault fault;
    if (!operation && !is_select) {
        fault = {Fault_Kind::UNKNOWN_METHOD, "there is no such method; known are: " + known_methods(), "method"};
    } else if (!call.params.starts_with('{')) {
        fault = {Fault_Kind::INVALID_PARAMS, "the params of " + call.method + " have to be an object", "params"};
    }
    if (fault) {
        const Request_Watch watch(operations_.metrics(), Protocol::RPC, "invalid");
        watch.done(fault);
        refuse(call.id, fault, taker);
    } else if (operation) {
        write(std::move(call), *operation, principal, std::move(taker));
    } else {
        select(std::move(call), principal, std::move(taker));
    }
}

void RPC_Front::write(Call call, Write_Operation operation, const Principal& principal, Reply_Taker taker)
{
    Write_Request request;
    request.operation = operation;
    request.params = std::move(call.params);
    request.id = call.id == "null" ? std::string() : call.id;
    const auto answer = [this, id = std::move(call.id), operation, taker = std::move(taker)](const Fault& fault,
                                                                                             const Write_Answer& done) {
        if (fault) {
            refuse(id, fault, taker);
            return;
        }
        Reply reply;
        reply.body = R"({"jsonrpc":"2.0","id":)" + id + R"(,"result":)" + write_result(operation, done) + '}';
        taker(std::move(reply));
    };
    operations_.write(Protocol::RPC, principal, std::move(request), answer);
}

void RPC_Front::select(Call call, const Principal& principal, Reply_Taker taker)
{
    const Request_Watch watch(operations_.metrics(), Protocol::RPC, "select");
    json_spirit::Value params;
    json_spirit::read(call.params, params); // part of a valid message
    json_spirit::Object& object = params.get_obj();
    std::string module;
    std::string view;
    Fault fault;
    json_spirit::Object parameters;
    if (read_text(object, "module", module, fault) && read_text(object, "view", view, fault)) {
        const auto param = object.find("param");
        if (param != object.end() && !param->second.is_null()) {
            if (json_spirit::Object* const given = param->second.if_obj()) {
                parameters = std::move(*given);
            } else {
                fault = {Fault_Kind::INVALID_PARAMS, "\"param\" has to be an object", "param"};
            }
        }
    }
    if (fault) {
        watch.done(fault);
        refuse(call.id, fault, taker);
        return;
    }
    std::string before = R"({"jsonrpc":"2.0","id":)" + call.id + R"(,"result":)";
    operations_.select(Protocol::RPC, principal, std::move(module), std::move(view), std::move(parameters),
                       std::move(before), "}",
                       [this, id = std::move(call.id), taker = std::move(taker)](const Fault& outcome, Reply reply) {
                           if (outcome) {
                               refuse(id, outcome, taker);
                           } else {
                               taker(std::move(reply));
                           }
                       });
}

void RPC_Front::refuse(const std::string& id, const Fault& fault, const Reply_Taker& taker)
{
    if (id.empty()) {
        log_at(LM_WARNING, "A notification was refused: %C\n", fault.message.c_str());
    }
    Reply reply;
    reply.body = rpc_refusal(id.empty() ? "null" : id, fault);
    taker(std::move(reply));
}

} // namespace catalog::service
