#include "backup_set/common/restful_catalog_operator.h"

#include "backup_set/common/backup_set.h"
#include "platform/http/http_query_string_builder.h"
#include "platform/http/json_restful_client.h"
#include "platform/json/json_dump.h"
#include "platform/text/log.h"

namespace {

constexpr const char* sets_path = "/kx/r/v2/sets";

bool is_null_or_empty(const char* text)
{
    return text == nullptr || *text == '\0';
}

/// The collection of sets with one query pair.
std::string sets_with(const char* key, const std::string& value)
{
    std::string path = "/kx/r/v2/sets?";
    HTTP_Query_String_Builder query(path);
    query(key, value);
    return path;
}

/// Adds a parameter of a view. Meant: reals, arrays and objects are left out without a word.
void add_parameter(HTTP_Query_String_Builder& query, const std::string& key, const json_spirit::Value& value)
{
    switch (value.type()) {
    case json_spirit::str_type:
        query(key, value.get_str());
        break;
    case json_spirit::secure_str_type:
        query(key, value.get_secure_str());
        break;
    case json_spirit::bool_type:
        query(key, value.get_bool());
        break;
    case json_spirit::int_type:
        if (const std::int64_t* const number = value.if_int64()) {
            query(key, ACE_INT64{*number});
        } else {
            query(key, ACE_UINT64{value.get_uint64()});
        }
        break;
    case json_spirit::null_type:
        query(key, "");
        break;
    case json_spirit::real_type:
    case json_spirit::array_type:
    case json_spirit::obj_type:
        break;
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
    if (is_null_or_empty(host)) {
        log_null_or_empty("host");
        return;
    }
    client_ = std::make_unique<JSON_RESTful_Client>(host, port, ssl);
    limit_client(retries, retry_timeout);
    if (!is_null_or_empty(access_key)) {
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

bool RESTful_Catalog_Operator::commit(Backup_Set& set, bool with_confirm)
{
    HTTP_Request request(HTTP_POST, sets_path, true);
    json_spirit::Value result;
    if (!client_->request(request, set, &result)) {
        log_at(LM_ERROR, "Failed to commit backup set, uuid %s, msg %s.\n", set.uuid.c_str(),
               JSON_Dump(result, false).c_str());
        return false;
    }
    return judge_commit(result, with_confirm);
}

bool RESTful_Catalog_Operator::commit(const json_spirit::Value& cat, bool with_confirm)
{
    HTTP_Request request(HTTP_POST, sets_path, true);
    json_spirit::Value result;
    HTTP_Response response;
    if (!client_->request(request, cat, &result, &response)) {
        log_at(LM_ERROR, "Failed to commit backup set, response state %d, msg %s.\n", response.status(),
               JSON_Dump(result, false).c_str());
        return false;
    }
    return judge_commit(result, with_confirm);
}

bool RESTful_Catalog_Operator::update(Backup_Set& set)
{
    HTTP_Request request(HTTP_PUT, sets_with("uuid", set.uuid));
    return client_->request(request, set, nullptr);
}

bool RESTful_Catalog_Operator::initialize(Backup_Set& set)
{
    return client_->post(sets_with("action", "Initialize"), set, nullptr);
}

bool RESTful_Catalog_Operator::initialize(const json_spirit::Value& cat)
{
    return client_->post(sets_with("action", "Initialize"), &cat, nullptr);
}

bool RESTful_Catalog_Operator::add_piece(const std::string& uuid, const json_spirit::Array& pieces)
{
    const json_spirit::Value body(json_spirit::Object{{"uuid", uuid}, {"pieces", pieces}});
    return client_->post(sets_with("action", "AddPiece"), &body, nullptr);
}

bool RESTful_Catalog_Operator::complete(Backup_Set& set)
{
    return client_->post(sets_with("action", "Complete"), set, nullptr);
}

bool RESTful_Catalog_Operator::complete(const json_spirit::Value& cat)
{
    return client_->post(sets_with("action", "Complete"), &cat, nullptr);
}

bool RESTful_Catalog_Operator::abort(const std::string& uuid, json_spirit::Array& pieces)
{
    const json_spirit::Value body(json_spirit::Object{{"uuid", uuid}});
    json_spirit::Value result;
    if (!client_->post(sets_with("action", "Abort"), &body, &result)) {
        return false;
    }
    json_spirit::Array* const held_pieces = result.if_array(); // meant: a bare array here, in an object by JSON-RPC
    if (held_pieces == nullptr) {
        return false;
    }
    pieces.swap(*held_pieces);
    return true;
}

bool RESTful_Catalog_Operator::get_view(const char* module, const char* view, const json_spirit::Object& params,
                                        json_spirit::Value& result) const
{
    if (is_null_or_empty(module)) {
        return log_null_or_empty("module");
    }
    if (is_null_or_empty(view)) {
        return log_null_or_empty("view");
    }
    std::string path = "/kx/r/v2/sets/select?";
    HTTP_Query_String_Builder query(path);
    query("module", module)("view", view);
    for (const auto& [key, value] : params) {
        add_parameter(query, key, value);
    }
    HTTP_Request request(HTTP_GET, path);
    return client_->get(request, &result);
}

bool RESTful_Catalog_Operator::get_first_view(const char* module, const char* view, const json_spirit::Object& params,
                                              json_spirit::Value& result) const
{
    json_spirit::Value answer;
    return get_view(module, view, params, answer) && get_first_row(answer, result);
}

void RESTful_Catalog_Operator::limit_client(int retries, int retry_timeout)
{
    client_->retries(retries);
    client_->retry_timeout(retry_timeout);
}

bool RESTful_Catalog_Operator::judge_commit(const json_spirit::Value& result, bool with_confirm)
{
    return with_confirm ? commit_confirm(result, client_.get()) : check_request_result(result);
}
