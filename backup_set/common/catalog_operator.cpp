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
#include <utility>

namespace {

constexpr int answer_timeout_s = 600;
constexpr ACE_INT32 no_limit = -1;

bool is_null_or_empty(const char* text)
{
    return text == nullptr || *text == '\0';
}

/// The outcome of `operation`; false, with one log line, when it throws. `name` says in that line what failed, `where` is
/// the line's place. Records and channels may throw what they like.
template <class Operation>
bool without_throwing(const char* name, Operation operation, Source_Location where = Source_Location::current())
{
    try {
        return operation();
    } catch (const std::exception& error) {
        log_at(LM_ERROR, Log_Format("'%C' failed: %C.\n", where), name, error.what());
    } catch (...) {
        log_at(LM_ERROR, Log_Format("'%C' failed: an exception of an unknown type.\n", where), name);
    }
    return false;
}

/// Repeats `attempt` after growing waits until it succeeds, or until one of the limits is spent: the number of attempts
/// against the one, the sum of the waits against the other.
template <class Attempt>
bool repeat(Attempt attempt, ACE_INT32 attempt_limit, ACE_INT32 wait_limit,
            Source_Location where = Source_Location::current())
{
    Exponential_Backoff_Iterator wait(1, ~0u, 60, true);
    for (int attempts = 1; !attempt(); ++attempts, ++wait) {
        if (attempt_limit != no_limit && attempts > attempt_limit) {
            return false;
        }
        if (wait_limit != no_limit && wait.cumulation() >= static_cast<ACE_UINT32>(wait_limit)) {
            return false;
        }
        if (wait.at_end()) {
            return false;
        }
        log_at(LM_INFO, Log_Format("Retry(%d) %N:%l at %u second(s) later.\n", where), attempts, *wait);
        ACE_OS::sleep(*wait);
    }
    return true;
}

/// One attempt over the channel of this moment; without a channel it fails.
template <class Request>
bool over_channel(Request request)
{
    const JSON_RPC_Channel_var channel = Global_JSON_RPC_Channel::instance();
    if (channel.null()) {
        return false;
    }
    JSON_RPC_Session session{JSON_RPC_Channel_weak_var(channel)};
    return request(session);
}

JSON_RPC_Object::Type type_of(const JSON_RPC_Object_var& response)
{
    return response.null() ? JSON_RPC_Object::TYPE_NONE : response->type();
}

/// Keeps the error logging of a client off for a scope.
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
    json_spirit::Value result; // meant: any result will do
    return global_json_rpc_request("backup_set.update", set, result);
}

bool Catalog_Operator::update(const json_spirit::Value& set)
{
    json_spirit::Value result; // meant: any result will do
    return global_json_rpc_request("backup_set.update", set, result);
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
    const json_spirit::Value params(json_spirit::Object{{"uuid", uuid}, {"pieces", pieces}});
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
    const json_spirit::Value params(json_spirit::Object{{"uuid", uuid}});
    json_spirit::Value result;
    if (!global_json_rpc_request("backup_set.abort", params, result) || !check_request_result(result)) {
        return false;
    }
    json_spirit::Object& answer = *result.if_obj(); // the check has seen an object
    const auto held = answer.find("pieces");
    json_spirit::Array* const held_pieces = held != answer.end() ? held->second.if_array() : nullptr;
    if (held_pieces == nullptr) {
        return false;
    }
    pieces.swap(*held_pieces);
    return true;
}

bool Catalog_Operator::get_view(const char* module, const char* view, const json_spirit::Object& param,
                                json_spirit::Value& result) const
{
    if (is_null_or_empty(module)) {
        return log_null_or_empty("module");
    }
    if (is_null_or_empty(view)) {
        return log_null_or_empty("view");
    }
    const json_spirit::Value params(json_spirit::Object{{"module", module}, {"view", view}, {"param", param}});
    return global_json_rpc_request("backup_set.select", params, result);
}

bool Catalog_Operator::get_first_view(const char* module, const char* view, const json_spirit::Object& param,
                                      json_spirit::Value& row) const
{
    json_spirit::Value result;
    return get_view(module, view, param, result) && get_first_row(result, row);
}

bool Catalog_Operator::commit_confirm(const json_spirit::Value& result, JSON_RESTful_Client* client)
{
    if (!check_request_result(result)) {
        return false;
    }
    const json_spirit::Object& answer = *result.if_obj(); // the check has seen an object
    const bool* const queued = json_spirit::object_get_bool(answer, "queued");
    const std::string* const uuid = json_spirit::object_get_str(answer, "uuid");
    if (queued == nullptr || !*queued || uuid == nullptr || uuid->empty()) {
        return true; // done at once
    }
    return without_throwing("/kx/r/v2/sets/exists", [&] {
        HTTP_Request request(HTTP_GET, "/kx/r/v2/sets/exists");
        HTTP_Query_String_Builder query(request.query());
        query("uuid", *uuid);
        ACE_OS::sleep(1); // time to work its queue off

        const auto becomes_known = [&](JSON_RESTful_Client& to) {
            // Meant: the limits are crossed here. That of the seconds counts the attempts, that of the retries the waits.
            return repeat([&] { return to.get(request, nullptr); }, retry_timeout_, retries_);
        };
        if (client != nullptr) {
            const Quiet_Client quiet(*client);
            return becomes_known(*client);
        }
        Upstream_JSON_RESTful_Client upstream;
        upstream.retries(retries_);
        upstream.retry_timeout(retry_timeout_);
        upstream.log_errors(false);
        return becomes_known(upstream);
    });
}

bool Catalog_Operator::get_first_row(const json_spirit::Value& result, json_spirit::Value& row) const
{
    const json_spirit::Object* const answer = result.if_obj();
    if (answer == nullptr) {
        return false;
    }
    const json_spirit::Array* const rows = json_spirit::object_get_array(*answer, "rows");
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
    // Meant: the messages speak of a commit whatever the operation.
    const json_spirit::Object* const answer = result.if_obj();
    if (answer == nullptr) {
        log_at(LM_ERROR, "Invalid commit backup set result '%s'.\n", JSON_Dump(result, false).c_str());
        return false;
    }
    const bool* const done = json_spirit::object_get_bool(*answer, "result");
    if (done == nullptr || !*done) {
        log_at(LM_ERROR, "Failed to commit backup set, result: '%s'.\n", JSON_Dump(result, false).c_str());
        return false;
    }
    return true;
}

bool Catalog_Operator::global_json_rpc_request(const char* method, const json_spirit::Value& params,
                                               json_spirit::Value& result) const
{
    if (is_null_or_empty(method)) {
        return log_null_or_empty("method");
    }
    return without_throwing(method, [&] {
        JSON_RPC_Object_var request;
        if (!JSON_RPC_Session::make_rpc_request(method, params, request)) {
            log_at(LM_ERROR, "Failed to make rpc request for '%s'.\n", method);
            return false;
        }
        JSON_RPC_Object_var response;
        const auto attempt = [&] {
            return over_channel([&](JSON_RPC_Session& to) { return to.request(request, response, answer_timeout_s); });
        };
        if (!repeat(attempt, retries_, retry_timeout_)) {
            log_at(LM_ERROR, "JSON-RPC '%s' failed after %d retries.\n", method, retries_); // meant: the limit
            return false;
        }
        const JSON_RPC_Object::Type type = type_of(response);
        if (type == JSON_RPC_Object::TYPE_RESPONSE_ERROR) {
            log_at(LM_ERROR, "JSON-RPC '%s' response error, code: %d, msg: %s.\n", method, response->error_code(),
                   response->error_message().c_str());
            return false;
        }
        if (type != JSON_RPC_Object::TYPE_RESPONSE) {
            log_at(LM_ERROR, "Invalid JSON-RPC response type '%d' of '%s'.\n", static_cast<int>(type), method);
            return false;
        }
        result = std::move(response->result());
        return true;
    });
}

bool Catalog_Operator::global_json_rpc_request(const char* method, Backup_Set& set, json_spirit::Value& result) const
{
    if (is_null_or_empty(method)) {
        return log_null_or_empty("method");
    }
    return without_throwing(method, [&] {
        JSON_RPC_Object_var response;
        const auto attempt = [&] { // each attempt is a request of its own
            return over_channel(
                [&](JSON_RPC_Session& to) { return to.request(method, &set, response, answer_timeout_s); });
        };
        // Meant: the messages speak of a commit whatever the method.
        if (!repeat(attempt, retries_, retry_timeout_)) {
            log_at(LM_ERROR, "Failed to commit catalog to backup server\n");
            return false;
        }
        const JSON_RPC_Object::Type type = type_of(response);
        if (type == JSON_RPC_Object::TYPE_RESPONSE_ERROR) {
            log_at(LM_ERROR, "Commit catalog error[%d: %s].\n", response->error_code(),
                   response->error_message().c_str());
            return false;
        }
        if (type != JSON_RPC_Object::TYPE_RESPONSE) {
            log_at(LM_ERROR, "Invalid JSON-RPC response type '%d' of '%s'.\n", static_cast<int>(type),
                   "backup_set.commit");
            return false;
        }
        result = std::move(response->result());
        return true;
    });
}
