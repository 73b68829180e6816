// REST clients: JSON in, JSON out.
//
// A client belongs to one thread at a time. It keeps its connection alive. What was not delivered is sent again, after
// waits of 1 second that grow to 60, within the client's limits; an answer, whatever its status, ends that. Not delivered
// is a request without an answer, or with one that broke off; a request that cannot succeed (a body that cannot be written,
// an answer beyond the limit, a certificate file that cannot be read) is not repeated. Requests that may have arrived carry
// an Idempotency-Key header, a UUID, the same on each attempt. A connection that the server closed while it was idle is
// made anew without counting as an attempt.
//
// Redirects are not followed, the environment's proxies are not used, certificates are checked. Nothing is thrown. A
// failure is one line at LM_ERROR: method, path, "host:port", the status (0: no answer) and the reason; a repetition is one
// at LM_INFO. Neither holds queries, headers or bodies, and so no access key.
#pragma once

#include "platform/export.h"
#include "platform/http/http_client_options.h"
#include "platform/http/http_request.h"
#include "platform/http/http_response.h"
#include "platform/http/http_session.h"
#include "platform/json/value.h"

#include <cstdint>
#include <functional>
#include <string>

class JSON_Generator;

class BACKUP_PLATFORM_EXPORT JSON_RESTful_Client
{
public:
    JSON_RESTful_Client(const std::string& host, std::uint16_t port, bool ssl, const HTTP_Client_Options& options = {});
    JSON_RESTful_Client(const JSON_RESTful_Client&) = delete;
    JSON_RESTful_Client& operator=(const JSON_RESTful_Client&) = delete;
    virtual ~JSON_RESTful_Client();

    /// A header of every request, by its number in the table of HTTP_Headers; null takes it back. What cannot be sent (see
    /// `HTTP_Headers::set`) is refused, with a log line that does not show the value.
    void set_header(int number, const char* value);

    void retries(int count) { retries_ = count; }                 ///< attempts after the first; -1: no limit
    void retry_timeout(int seconds) { retry_timeout_ = seconds; } ///< limit of the summed waits; -1: no limit
    void log_errors(bool on) { log_errors_ = on; }                ///< and repetitions
    int retries() const { return retries_; }
    int retry_timeout() const { return retry_timeout_; }
    bool log_errors() const { return log_errors_; }

    // All of these: true when the answer's status is 200 to 299 and, where a result is wanted, its body is JSON. The
    // result, when given, gets the body of any answer that is JSON, also of a refusal; no body at all is null. It is
    // unchanged where there is no answer or none in JSON. Headers of the request go before those of the client.
    virtual bool get(HTTP_Request& request, json_spirit::Value* result);
    virtual bool post(const std::string& path, JSON_Generator& body, json_spirit::Value* result);
    /// A null body is an empty one.
    virtual bool post(const std::string& path, const json_spirit::Value* body, json_spirit::Value* result);
    virtual bool request(HTTP_Request& request, JSON_Generator& body, json_spirit::Value* result);
    /// `response`, when given, gets status and headers of the answer; status 0: there was none.
    virtual bool request(HTTP_Request& request, const json_spirit::Value& body, json_spirit::Value* result,
                         HTTP_Response* response);

protected:
    /// For clients that have a session instead of a connection of their own. With a null session every request fails.
    explicit JSON_RESTful_Client(const HTTP_Session_var& session);

    /// False: the status of an answer is not looked at.
    bool check_status_ = true;

private:
    /// Writes a body; false when it cannot be written whole.
    using Body_Writer = std::function<bool(std::string&)>;

    bool send(const HTTP_Request& request, const Body_Writer& write_body, json_spirit::Value* result,
              HTTP_Response* response);
    bool deliver(const HTTP_Request& request, const std::string* body, json_spirit::Value* result,
                 HTTP_Response& response);
    bool judge(const HTTP_Request& request, const HTTP_Response& response, const std::string& body,
               json_spirit::Value* result) const;
    bool fail(const HTTP_Request& request, int status, const std::string& reason) const;

    HTTP_Session_var session_;
    HTTP_Headers headers_;
    int retries_ = -1;
    int retry_timeout_ = -1;
    bool log_errors_ = true;
};

/// A client of the upstream server that the process was told of once, with a connection of its own.
class BACKUP_PLATFORM_EXPORT Upstream_JSON_RESTful_Client : public JSON_RESTful_Client
{
public:
    /// Takes what `configure` said last. Before any `configure` every request fails, with one log line.
    Upstream_JSON_RESTful_Client();

    /// Says where upstream is; clients that were made before stay as they are. An empty access key is not sent. Thread-safe.
    static void configure(const std::string& host, std::uint16_t port, bool ssl, const std::string& access_key,
                          const HTTP_Client_Options& options = {});

private:
    struct Place;

    explicit Upstream_JSON_RESTful_Client(const Place* place);
};

/// A client over a shared session, with a network's key (header X-Network-Access-Key) and, optionally, a tenant's
/// (X-Tenant-Access-Key). Empty keys are not sent.
class BACKUP_PLATFORM_EXPORT Network_JSON_RESTful_Client : public JSON_RESTful_Client
{
public:
    /// `check_rsp_status` false: an answer counts as success whatever its status.
    Network_JSON_RESTful_Client(const std::string& network_access_key, const HTTP_Session_var& session,
                                bool check_rsp_status);
    Network_JSON_RESTful_Client(const std::string& network_access_key, const std::string& tenant_access_key,
                                const HTTP_Session_var& session, bool check_rsp_status);
};
