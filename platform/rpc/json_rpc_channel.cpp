#include "platform/rpc/json_rpc_channel.h"

#include "platform/text/log.h"

bool JSON_RPC_Session::make_rpc_request(const char* method, const json_spirit::Value& params,
                                        JSON_RPC_Object_var& request)
{
    if (method == nullptr || *method == '\0') {
        return false;
    }
    const JSON_RPC_Object_var made = JSON_RPC_Object::make_request(JSON_RPC_Object::new_id(), method, params);
    if (made.null()) {
        return false;
    }
    request = made;
    return true;
}

bool JSON_RPC_Session::request(const JSON_RPC_Object_var& request, JSON_RPC_Object_var& response, int timeout_s)
{
    const JSON_RPC_Channel_var channel(channel_);
    return !channel.null() && !request.null() && channel->call(*request, response, timeout_s);
}

bool JSON_RPC_Session::request(const char* method, JSON_Generator* params, JSON_RPC_Object_var& response, int timeout_s)
{
    if (method == nullptr || *method == '\0') {
        return log_null_or_empty("method");
    }
    if (params == nullptr) {
        return log_null("params");
    }
    const JSON_RPC_Channel_var channel(channel_);
    if (channel.null()) {
        return false;
    }
    const JSON_RPC_Object_var request = JSON_RPC_Object::make_request(JSON_RPC_Object::new_id(), method, *params);
    if (request.null()) {
        log_at(LM_ERROR, "JSON-RPC '%C' was not sent: its params could not be written.\n", method);
        return false;
    }
    return channel->call(*request, response, timeout_s);
}
