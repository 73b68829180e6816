#include "backup_set/common/restful_catalog_operator.h"

#include "backup_set/common/backup_set.h"
#include "platform/http/http_query_string_builder.h"
#include "platform/http/json_restful_client.h"
#include "platform/json/json_dump.h"
#include "platform/text/log.h"

#include <exception>

namespace {

constexpr const char* sets_path = "/kx/r/v2/sets";

bool is_bad(const char* text)
{
    return text == nullptr || *text == '\0';
}

std::string action_path(const char* action)
{
    std::string path = "/kx/r/v2/sets?";
    HTTP_Query_String_Builder builder(path);
    builder("action", action);
    return path;
}

/// Sends what a record generates; an exception of the record is a failure.
template <class Send>
bool send_set(const Backup_Set& set, Send send)
{
    try {
        return send();
    } catch (const std::exception& error) {
        log_at(LM_ERROR, "Failed to generate backup set with agent '%s': %s.\n", set.agent.c_str(), error.what());
        return false;
    }
}

} // namespace

RESTful_Catalog_Operator::RESTful_Catalog_Operator(int retries, int retry_timeout) :
    Catalog_Operator(-1, -1), client_(std::make_unique<Upstream_JSON_RESTful_Client>())
{
    limit_client(retries, retry_timeout);
}

RESTful_Catalog_Operator::RESTful_Catalog_Operator(const char* host, unsigned short port, bool ssl,
                                                   const char* access_key, int retries, int retry_timeout) :
    Catalog_Operator(-1, -1)
{
    if (is_bad(host)) {
        log_null_or_empty("host");
        return;
    }
    client_ = std::make_unique<JSON_RESTful_Client>(host, port, ssl);
    limit_client(retries, retry_timeout);
    if (!is_bad(access_key)) {
        client_->set_header(HTTP_Headers::X_ACCESS_KEY, access_key);
    }
}

RESTful_Catalog_Operator::RESTful_Catalog_Operator(const std::string& network_access_key, HTTP_Session_var sess,
                                                   bool check_rsp_status, int retries, int retry_timeout) :
    Catalog_Operator(-1, -1),
    client_(std::make_unique<Network_JSON_RESTful_Client>(network_access_key, sess, check_rsp_status))
{
    limit_client(retries, retry_timeout);
}

RESTful_Catalog_Operator::RESTful_Catalog_Operator(const std::string& network_access_key,
                                                   const std::string& tenant_access_key, HTTP_Session_var sess,
                                                   bool check_rsp_status, int retries, int retry_timeout) :
    Catalog_Operator(-1, -1),
    client_(
        std::make_unique<Network_JSON_RESTful_Client>(network_access_key, tenant_access_key, sess, check_rsp_status))
{
    limit_client(retries, retry_timeout);
}

RESTful_Catalog_Operator::~RESTful_Catalog_Operator() = default;

void RESTful_Catalog_Operator::limit_client(int retries, int retry_timeout)
{
    client_->retries(retries);
    client_->retry_timeout(retry_timeout);
}

bool RESTful_Catalog_Operator::finish_commit(const json_spirit::Value& result, bool with_confirm)
{
    return with_confirm ? commit_confirm(result, client_.get()) : check_request_result(result);
}

bool RESTful_Catalog_Operator::commit(Backup_Set& set, bool with_confirm)
{
    HTTP_Request request(HTTP_POST, sets_path, true);
    json_spirit::Value result;
    if (!send_set(set, [&] { return client_->request(request, set, &result); })) {
        log_at(LM_ERROR, "Failed to commit backup set, uuid %s, msg %s.\n", set.uuid.c_str(),
               JSON_Dump(result, false).c_str());
        return false;
    }
    return finish_commit(result, with_confirm);
}

bool RESTful_Catalog_Operator::commit(const json_spirit::Value& set, bool with_confirm)
{
    HTTP_Request request(HTTP_POST, sets_path, true);
    json_spirit::Value result;
    HTTP_Response response;
    if (!client_->request(request, set, &result, &response)) {
        log_at(LM_ERROR, "Failed to commit backup set, response state %d, msg %s.\n", response.status(),
               JSON_Dump(result, false).c_str());
        return false;
    }
    return finish_commit(result, with_confirm);
}

bool RESTful_Catalog_Operator::update(Backup_Set& set)
{
    std::string path = "/kx/r/v2/sets?";
    HTTP_Query_String_Builder builder(path);
    builder("uuid", set.uuid);
    HTTP_Request request(HTTP_PUT, path);
    return send_set(set, [&] { return client_->request(request, set, nullptr); });
}

bool RESTful_Catalog_Operator::initialize(Backup_Set& set)
{
    return send_set(set, [&] { return client_->post(action_path("Initialize"), set, nullptr); });
}

bool RESTful_Catalog_Operator::initialize(const json_spirit::Value& set)
{
    return client_->post(action_path("Initialize"), &set, nullptr);
}

bool RESTful_Catalog_Operator::add_piece(const std::string& uuid, const json_spirit::Array& pieces)
{
    const json_spirit::Value body(json_spirit::Object{{"uuid", uuid}, {"pieces", pieces}});
    return client_->post(action_path("AddPiece"), &body, nullptr);
}

bool RESTful_Catalog_Operator::complete(Backup_Set& set)
{
    return send_set(set, [&] { return client_->post(action_path("Complete"), set, nullptr); });
}

bool RESTful_Catalog_Operator::complete(const json_spirit::Value& set)
{
    return client_->post(action_path("Complete"), &set, nullptr);
}

bool RESTful_Catalog_Operator::abort(const std::string& uuid, json_spirit::Array& pieces)
{
    const json_spirit::Value body(json_spirit::Object{{"uuid", uuid}});
    json_spirit::Value result;
    if (!client_->post(action_path("Abort"), &body, &result)) {
        return false;
    }
    json_spirit::Array* array = result.if_array(); // an array here, an object with "pieces" by JSON-RPC
    if (array == nullptr) {
        return false;
    }
    pieces.swap(*array);
    return true;
}

bool RESTful_Catalog_Operator::get_view(const char* module, const char* view, const json_spirit::Object& params,
                                        json_spirit::Value& result) const
{
    if (is_bad(module)) {
        return log_null_or_empty("module");
    }
    if (is_bad(view)) {
        return log_null_or_empty("view");
    }
    std::string path = "/kx/r/v2/sets/select?";
    HTTP_Query_String_Builder builder(path);
    builder("module", module)("view", view);
    for (const auto& [key, value] : params) {
        switch (value.type()) {
        case json_spirit::str_type:
            builder(key, value.get_str());
            break;
        case json_spirit::secure_str_type:
            builder(key, value.get_secure_str());
            break;
        case json_spirit::bool_type:
            builder(key, value.get_bool());
            break;
        case json_spirit::int_type:
            if (const std::int64_t* number = value.if_int64()) {
                builder(key, *number);
            } else {
                builder(key, value.get_uint64());
            }
            break;
        case json_spirit::null_type:
            builder(key, "");
            break;
        default:
            break; // meant: reals, arrays and objects are left out
        }
    }
    HTTP_Request request(HTTP_GET, path);
    return client_->get(request, &result);
}

bool RESTful_Catalog_Operator::get_first_view(const char* module, const char* view, const json_spirit::Object& params,
                                              json_spirit::Value& row) const
{
    json_spirit::Value result;
    return get_view(module, view, params, result) && get_first_row(result, row);
}
