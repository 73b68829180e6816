// Carries backup sets to the catalog service and reads its views, by REST.
//
// Failures are false; what is not delivered is retried by the client. One operator serves one thread at a time.
#pragma once

#include "backup_set/common/catalog_operator.h"
#include "platform/http/http_session.h"

#include <memory>
#include <string>

class BACKUP_SET_EXPORT RESTful_Catalog_Operator : public Catalog_Operator
{
public:
    /// Speaks to upstream (`Upstream_JSON_RESTful_Client::configure`).
    RESTful_Catalog_Operator(int retries, int retry_timeout);

    /// Speaks to a server. `access_key` may be null or empty. A null or empty `host` is logged and leaves an operator that
    /// must not be used: test it by `operator bool`.
    RESTful_Catalog_Operator(const char* host, unsigned short port, bool ssl, const char* access_key, int retries,
                             int retry_timeout);

    /// Speaks over a shared session. `check_rsp_status`: whether the status of answers is looked at.
    RESTful_Catalog_Operator(const std::string& network_access_key, HTTP_Session_var sess, bool check_rsp_status,
                             int retries, int retry_timeout);
    RESTful_Catalog_Operator(const std::string& network_access_key, const std::string& tenant_access_key,
                             HTTP_Session_var sess, bool check_rsp_status, int retries, int retry_timeout);
    ~RESTful_Catalog_Operator() override;

    explicit operator bool() const { return client_ != nullptr; }

    bool commit(Backup_Set& set, bool with_confirm) override;
    bool commit(const json_spirit::Value& set, bool with_confirm) override;
    bool update(Backup_Set& set) override;
    using Catalog_Operator::update; // meant: the update of a JSON value stays the JSON-RPC operation
    bool initialize(Backup_Set& set) override;
    bool initialize(const json_spirit::Value& set) override;
    bool add_piece(const std::string& uuid, const json_spirit::Array& pieces) override;
    bool complete(Backup_Set& set) override;
    bool complete(const json_spirit::Value& set) override;
    bool abort(const std::string& uuid, json_spirit::Array& pieces) override;
    bool get_view(const char* module, const char* view, const json_spirit::Object& params,
                  json_spirit::Value& result) const override;
    bool get_first_view(const char* module, const char* view, const json_spirit::Object& params,
                        json_spirit::Value& row) const override;

private:
    bool finish_commit(const json_spirit::Value& result, bool with_confirm);
    void limit_client(int retries, int retry_timeout);

    std::unique_ptr<JSON_RESTful_Client> client_;
};
