#include "backup_set/common/catalog_operator.h"

#include "backup_set/common/backup_set.h"
#include "platform/http/http_query_string_builder.h"
#include "platform/http/json_restful_client.h"
#include "platform/json/json_dump.h"
#include "platform/json/object_get.h"
#include "platform/rpc/exponential_backoff_iterator.h"
#include "platform/rpc/global_json_rpc_channel.h"
#include "platform/text/log.h"

#include <ace/OS_NS_unistd.h>

#include <exception>
#include <optional>

namespace {

constexpr int answer_timeout_s = 600;

/// Waits of 1 second upwards, at most 60 each, without end of their own.
Exponential_Backoff_Iterator request_backoff()
{
    return {1, ~std::uint32_t{0}, 60, true};
}

bool is_bad(const char* text)
{
    return text == nullptr || *text == '\0';
}

/// True when one of the limits is spent: the attempts against the one, the waits against the other. -1 is no limit.
bool is_spent(int attempts, int attempt_limit, const Exponential_Backoff_Iterator& backoff, int wait_limit)
{
    return (attempt_limit != -1 && attempts > attempt_limit)
           || (wait_limit != -1 && backoff.cumulation() >= static_cast<std::uint32_t>(wait_limit)) || backoff.at_end();
}

void wait_for_retry(int attempts, const Exponential_Backoff_Iterator& backoff)
{
    log_at(LM_INFO, "Retry(%d) %N:%l at %u second(s) later.\n", attempts, *backoff);
    ACE_OS::sleep(*backoff);
}

/// Sets the error logging of a client off for a scope.
class Quiet_Client
{
public:
    explicit Quiet_Client(JSON_RESTful_Client& client) : client_(client) { client_.log_errors(false); }
    Quiet_Client(const Quiet_Client&) = delete;
    Quiet_Client& operator=(const Quiet_Client&) = delete;
    ~Quiet_Client() { client_.log_errors(true); }

private:
    JSON_RESTful_Client& client_;
};

} // namespace

Catalog_Operator::Catalog_Operator(int retries, int retry_timeout) : retries_(retries), retry_timeout_(retry_timeout) {}

Catalog_Operator::~Catalog_Operator() = default;

void Catalog_Operator::init(int retries, int retry_timeout)
{
    retries_ = retries;
    retry_timeout_ = retry_timeout;
}

bool Catalog_Operator::initialize(Backup_Set& set)
{
    json_spirit::Value result;
    return global_json_rpc_request("backup_set.initialize", set, result) && check_request_result(result);
}

bool Catalog_Operator::initialize(const json_spirit::Value& set)
{
    json_spirit::Value result;
    return global_json_rpc_request("backup_set.initialize", set, result) && check_request_result(result);
}

bool Catalog_Operator::add_piece(const std::string& uuid, const json_spirit::Array& pieces)
{
    const json_spirit::Object params{{"uuid", uuid}, {"pieces", pieces}};
    json_spirit::Value result;
    return global_json_rpc_request("backup_set.add_piece", params, result) && check_request_result(result);
}

bool Catalog_Operator::complete(Backup_Set& set)
{
    json_spirit::Value result;
    return global_json_rpc_request("backup_set.complete", set, result) && check_request_result(result);
}

bool Catalog_Operator::complete(const json_spirit::Value& set)
{
    json_spirit::Value result;
    return global_json_rpc_request("backup_set.complete", set, result) && check_request_result(result);
}

bool Catalog_Operator::abort(const std::string& uuid, json_spirit::Array& pieces)
{
    const json_spirit::Object params{{"uuid", uuid}};
    json_spirit::Value result;
    if (!global_json_rpc_request("backup_set.abort", params, result) || !check_request_result(result)) {
        return false;
    }
    json_spirit::Object& answer = result.get_obj(); // the check has seen an object
    const auto held = answer.find("pieces");
    json_spirit::Array* array = held != answer.end() ? held->second.if_array() : nullptr;
    if (array == nullptr) {
        return false;
    }
    pieces.swap(*array);
    return true;
}

bool Catalog_Operator::commit(Backup_Set& set, bool confirm)
{
    json_spirit::Value result;
    return global_json_rpc_request("backup_set.commit", set, result)
           && (confirm ? commit_confirm(result, nullptr) : check_request_result(result));
}

bool Catalog_Operator::commit(const json_spirit::Value& set, bool confirm)
{
    json_spirit::Value result;
    return global_json_rpc_request("backup_set.commit", set, result)
           && (confirm ? commit_confirm(result, nullptr) : check_request_result(result));
}

bool Catalog_Operator::update(Backup_Set& set)
{
    json_spirit::Value result;
    return global_json_rpc_request("backup_set.update", set, result);
}

bool Catalog_Operator::update(const json_spirit::Value& set)
{
    json_spirit::Value result;
    return global_json_rpc_request("backup_set.update", set, result);
}

bool Catalog_Operator::get_view(const char* module, const char* view, const json_spirit::Object& param,
                                json_spirit::Value& result) const
{
    if (is_bad(module)) {
        return log_null_or_empty("module");
    }
    if (is_bad(view)) {
        return log_null_or_empty("view");
    }
    const json_spirit::Object params{{"module", module}, {"view", view}, {"param", param}};
    return global_json_rpc_request("backup_set.select", params, result);
}

bool Catalog_Operator::get_first_view(const char* module, const char* view, const json_spirit::Object& param,
                                      json_spirit::Value& row) const
{
    json_spirit::Value result;
    return get_view(module, view, param, result) && get_first_row(result, row);
}

bool Catalog_Operator::get_first_row(const json_spirit::Value& result, json_spirit::Value& row) const
{
    const json_spirit::Object* answer = result.if_obj();
    if (answer == nullptr) {
        return false;
    }
    const json_spirit::Array* rows = object_get_array(*answer, "rows");
    if (rows == nullptr) {
        log_at(LM_ERROR, "Invalid catalog data, lack of rows\n");
        return false;
    }
    if (rows->empty()) {
        return false;
    }
    row = rows->front();
    return true;
}

bool Catalog_Operator::check_request_result(const json_spirit::Value& result) const
{
    // The messages say "commit" whatever the operation.
    const json_spirit::Object* answer = result.if_obj();
    if (answer == nullptr) {
        log_at(LM_ERROR, "Invalid commit backup set result '%s'.\n", JSON_Dump(result, false).c_str());
        return false;
    }
    const bool* done = object_get_bool(*answer, "result");
    if (done == nullptr || !*done) {
        log_at(LM_ERROR, "Failed to commit backup set, result: '%s'.\n", JSON_Dump(result, false).c_str());
        return false;
    }
    return true;
}

bool Catalog_Operator::commit_confirm(const json_spirit::Value& result, JSON_RESTful_Client* client)
{
    if (!check_request_result(result)) {
        return false;
    }
    const json_spirit::Object& answer = result.get_obj();
    const bool* queued = object_get_bool(answer, "queued");
    const std::string* uuid = object_get_str(answer, "uuid");
    if (queued == nullptr || !*queued || uuid == nullptr || uuid->empty()) {
        return true; // it was done at once
    }
    HTTP_Request request(HTTP_GET, "/kx/r/v2/sets/exists");
    HTTP_Query_String_Builder(request.query())("uuid", *uuid);
    ACE_OS::sleep(1);

    std::optional<Upstream_JSON_RESTful_Client> upstream;
    std::optional<Quiet_Client> quiet;
    if (client == nullptr) {
        client = &upstream.emplace();
        client->retries(retries_);
        client->retry_timeout(retry_timeout_);
        client->log_errors(false);
    } else {
        quiet.emplace(*client);
    }
    Exponential_Backoff_Iterator backoff = request_backoff();
    for (int attempts = 1; !client->get(request, nullptr); ++attempts, ++backoff) {
        // Meant: the two limits are crossed here.
        if (is_spent(attempts, retry_timeout_, backoff, retries_)) {
            return false;
        }
        wait_for_retry(attempts, backoff);
    }
    return true;
}

/// Repeats `attempt` (which takes a session) until it delivers, within the operator's limits.
template <class Attempt>
bool Catalog_Operator::deliver(Attempt attempt) const
{
    Exponential_Backoff_Iterator backoff = request_backoff();
    for (int attempts = 1;; ++attempts, ++backoff) {
        const JSON_RPC_Channel_var channel = Global_JSON_RPC_Channel::instance();
        if (!channel.null()) {
            JSON_RPC_Session session{JSON_RPC_Channel_weak_var(channel)};
            if (attempt(session)) {
                return true;
            }
        }
        if (is_spent(attempts, retries_, backoff, retry_timeout_)) {
            return false;
        }
        wait_for_retry(attempts, backoff);
    }
}

bool Catalog_Operator::global_json_rpc_request(const char* method, const json_spirit::Value& params,
                                               json_spirit::Value& result) const
{
    if (is_bad(method)) {
        return log_null_or_empty("method");
    }
    JSON_RPC_Object_var request;
    if (!JSON_RPC_Session::make_rpc_request(method, params, request)) {
        log_at(LM_ERROR, "Failed to make rpc request for '%s'.\n", method);
        return false;
    }
    JSON_RPC_Object_var response;
    if (!deliver([&](JSON_RPC_Session& session) { return session.request(request, response, answer_timeout_s); })) {
        log_at(LM_ERROR, "JSON-RPC '%s' failed after %d retries.\n", method, retries_);
        return false;
    }
    if (response->type() == JSON_RPC_Object::TYPE_RESPONSE_ERROR) {
        log_at(LM_ERROR, "JSON-RPC '%s' response error, code: %d, msg: %s.\n", method, response->error_code(),
               response->error_message().c_str());
        return false;
    }
    if (response->type() != JSON_RPC_Object::TYPE_RESPONSE) {
        log_at(LM_ERROR, "Invalid JSON-RPC response type '%d' of '%s'.\n", static_cast<int>(response->type()), method);
        return false;
    }
    result = std::move(response->result());
    return true;
}

bool Catalog_Operator::global_json_rpc_request(const char* method, Backup_Set& set, json_spirit::Value& result) const
{
    if (is_bad(method)) {
        return log_null_or_empty("method");
    }
    JSON_RPC_Object_var response;
    bool delivered = false;
    try {
        // Each attempt is a request of its own.
        delivered = deliver(
            [&](JSON_RPC_Session& session) { return session.request(method, &set, response, answer_timeout_s); });
    } catch (const std::exception& error) {
        log_at(LM_ERROR, "Failed to generate backup set with agent '%s': %s.\n", set.agent.c_str(), error.what());
        return false;
    }
    // The messages speak of a commit whatever the method.
    if (!delivered) {
        log_at(LM_ERROR, "Failed to commit catalog to backup server\n");
        return false;
    }
    if (response->type() == JSON_RPC_Object::TYPE_RESPONSE_ERROR) {
        log_at(LM_ERROR, "Commit catalog error[%d: %s].\n", response->error_code(), response->error_message().c_str());
        return false;
    }
    if (response->type() != JSON_RPC_Object::TYPE_RESPONSE) {
        log_at(LM_ERROR, "Invalid JSON-RPC response type '%d' of '%s'.\n", static_cast<int>(response->type()),
               "backup_set.commit");
        return false;
    }
    result = std::move(response->result());
    return true;
}
