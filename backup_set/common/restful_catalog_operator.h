// Carries backup sets to the catalog service and reads its views, by REST.
//
// The operator owns one HTTP client, which carries, retries within its own limits, and reads JSON. Every failure is false;
// commits and bad arguments are logged here, what happens on the way by the client; nothing is thrown. One operator serves
// one thread at a time; a session that is shared with others takes care of itself.
#pragma once

#include "backup_set/common/catalog_operator.h"
#include "platform/http/http_session.h"

#include <memory>
#include <string>

class BACKUP_SET_EXPORT RESTful_Catalog_Operator : public Catalog_Operator
{
public:
    // `retries` and `retry_timeout` are the client's limits: attempts after the first, and seconds that the waits may add
    // up to; -1 is no limit. The base has no limits.

    /// Speaks to upstream, see `Upstream_JSON_RESTful_Client::configure`.
    RESTful_Catalog_Operator(int retries, int retry_timeout);

    /// Speaks to a server. `access_key` may be null or empty: none is sent. A null or empty `host` is logged and makes an
    /// operator that must not be used, which `operator bool` tells.
    RESTful_Catalog_Operator(const char* host, unsigned short port, bool ssl, const char* access_key, int retries,
                             int retry_timeout);

    /// Speaks over a shared session. `check_rsp_status`: whether the client looks at the status of answers.
    RESTful_Catalog_Operator(const std::string& network_access_key, HTTP_Session_var sess, bool check_rsp_status,
                             int retries, int retry_timeout);
    RESTful_Catalog_Operator(const std::string& network_access_key, const std::string& tenant_access_key,
                             HTTP_Session_var sess, bool check_rsp_status, int retries, int retry_timeout);
    ~RESTful_Catalog_Operator() override;

    /// Whether there is a client. Implicit, so that the answer can be kept.
    operator bool() const { return client_ != nullptr; }

    bool commit(Backup_Set& set, bool with_confirm) override;
    bool commit(const json_spirit::Value& cat, bool with_confirm) override;

    /// True when the service accepted the change; a set is named by its own uuid.
    bool update(Backup_Set& set) override;
    using Catalog_Operator::update; // meant: a document is updated by JSON-RPC, under the base's limits

    bool initialize(Backup_Set& set) override;
    bool initialize(const json_spirit::Value& cat) override;
    bool add_piece(const std::string& uuid, const json_spirit::Array& pieces) override;
    bool complete(Backup_Set& set) override;
    bool complete(const json_spirit::Value& cat) override;
    bool abort(const std::string& uuid, json_spirit::Array& pieces) override;

    /// Texts, secrets, booleans, integers and nulls of `params` are sent; reals, arrays and objects are left out.
    bool get_view(const char* module, const char* view, const json_spirit::Object& params,
                  json_spirit::Value& result) const override;
    bool get_first_view(const char* module, const char* view, const json_spirit::Object& params,
                        json_spirit::Value& result) const override;

private:
    void limit_client(int retries, int retry_timeout);
    bool judge_commit(const json_spirit::Value& result, bool with_confirm);

    std::unique_ptr<JSON_RESTful_Client> client_; ///< null only when there was no host
};
