// REST clients: JSON in, JSON out.
//
// A client belongs to one thread at a time. It keeps its connection alive. What was not delivered is sent again, after
// growing waits, within the client's limits; an answer, whatever its status, ends that. Requests that may have arrived
// carry an Idempotency-Key header, the same on each attempt. Redirects are not followed; certificates are checked; the
// access key never appears in a log line.
#pragma once

#include "platform/export.h"
#include "platform/http/http_client_options.h"
#include "platform/http/http_request.h"
#include "platform/http/http_response.h"
#include "platform/http/http_session.h"
#include "platform/json/value.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

class JSON_Generator;
class HTTP_Transport;

class BACKUP_PLATFORM_EXPORT JSON_RESTful_Client
{
public:
    JSON_RESTful_Client(const std::string& host, std::uint16_t port, bool ssl, const HTTP_Client_Options& options = {});
    JSON_RESTful_Client(const JSON_RESTful_Client&) = delete;
    JSON_RESTful_Client& operator=(const JSON_RESTful_Client&) = delete;
    virtual ~JSON_RESTful_Client();

    /// A header of every request, by its number in the table of HTTP_Headers.
    void set_header(int number, const char* value);

    void retries(int count) { retries_ = count; }                 ///< attempts after the first; -1: no limit
    void retry_timeout(int seconds) { retry_timeout_ = seconds; } ///< limit of the summed waits; -1: no limit
    void log_errors(bool on) { log_errors_ = on; }
    int retries() const { return retries_; }
    int retry_timeout() const { return retry_timeout_; }
    bool log_errors() const { return log_errors_; }

    // All of these: true when the answer's status is 200 to 299 and, where a result is wanted, its body is JSON. The
    // result, when given, gets the body of any answer that is JSON, also of a refusal. No body at all is null.
    virtual bool get(HTTP_Request& request, json_spirit::Value* result);
    virtual bool post(const std::string& path, JSON_Generator& body, json_spirit::Value* result);
    virtual bool post(const std::string& path, const json_spirit::Value* body, json_spirit::Value* result);
    virtual bool request(HTTP_Request& request, JSON_Generator& body, json_spirit::Value* result);
    virtual bool request(HTTP_Request& request, const json_spirit::Value& body, json_spirit::Value* result,
                         HTTP_Response* response);

protected:
    /// For clients that have a session instead of a connection of their own.
    explicit JSON_RESTful_Client(const HTTP_Session_var& session);

    /// False: the status of an answer is not looked at.
    bool check_status_ = true;

private:
    bool deliver(HTTP_Request& request, const std::string* body, json_spirit::Value* result, HTTP_Response& response);

    HTTP_Session_var session_;
    HTTP_Headers headers_;
    int retries_ = -1;
    int retry_timeout_ = -1;
    bool log_errors_ = true;
};

/// A client of the upstream server that the process was told of once.
class BACKUP_PLATFORM_EXPORT Upstream_JSON_RESTful_Client : public JSON_RESTful_Client
{
public:
    /// Takes what `configure` said last. Before any `configure` every request fails, with one log line.
    Upstream_JSON_RESTful_Client();

    /// Says where upstream is. Thread-safe.
    static void configure(const std::string& host, std::uint16_t port, bool ssl, const std::string& access_key,
                          const HTTP_Client_Options& options = {});
};

/// A client over a shared session, with a network's key and, optionally, a tenant's.
class BACKUP_PLATFORM_EXPORT Network_JSON_RESTful_Client : public JSON_RESTful_Client
{
public:
    Network_JSON_RESTful_Client(const std::string& network_access_key, const HTTP_Session_var& session,
                                bool check_rsp_status);
    Network_JSON_RESTful_Client(const std::string& network_access_key, const std::string& tenant_access_key,
                                const HTTP_Session_var& session, bool check_rsp_status);
};
