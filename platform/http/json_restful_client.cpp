#include "platform/http/json_restful_client.h"

#include "platform/http/detail/http_transport.h"
#include "platform/json/json_generator.h"
#include "platform/json/yajl_gen.h"
#include "platform/text/exponential_backoff_iterator.h"
#include "platform/text/log.h"

#include <ace/OS_NS_unistd.h>
#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <exception>
#include <limits>
#include <memory>
#include <mutex>

namespace {

/// What a log line may show of a request's path or an error's text: no query, no byte that is not visible.
std::string shown(std::string text)
{
    for (char& c : text) {
        if (c < 0x20 || c > 0x7e) {
            c = '?';
        }
    }
    return text;
}

std::string shown_path(const HTTP_Request& request)
{
    return shown(request.path().substr(0, request.path().find('?')));
}

const char* shown_method(const HTTP_Request& request)
{
    const char* name = http_method_name(request.method());
    return name == nullptr ? "(no method)" : name;
}

/// Methods whose requests have a body, be it an empty one.
bool has_body(int method)
{
    return method == HTTP_POST || method == HTTP_PUT || method == HTTP_PATCH;
}

} // namespace

JSON_RESTful_Client::JSON_RESTful_Client(const std::string& host, std::uint16_t port, bool ssl,
                                         const HTTP_Client_Options& options) :
    session_(new HTTP_Session(host, port, ssl, options))
{}

JSON_RESTful_Client::JSON_RESTful_Client(const HTTP_Session_var& session) : session_(session) {}

JSON_RESTful_Client::~JSON_RESTful_Client() = default;

void JSON_RESTful_Client::set_header(int number, const char* value)
{
    if (value == nullptr) {
        headers_.remove(number);
    } else if (!headers_.set(number, value)) {
        const char* name = HTTP_Headers::name(number);
        log_at(LM_ERROR, "HTTP header %d (%C) cannot have the value that it was given.\n", number,
               name == nullptr ? "unknown" : name);
    }
}

bool JSON_RESTful_Client::get(HTTP_Request& request, json_spirit::Value* result)
{
    return send(request, nullptr, result, nullptr);
}

bool JSON_RESTful_Client::post(const std::string& path, JSON_Generator& body, json_spirit::Value* result)
{
    HTTP_Request request(HTTP_POST, path, true);
    return this->request(request, body, result);
}

bool JSON_RESTful_Client::post(const std::string& path, const json_spirit::Value* body, json_spirit::Value* result)
{
    HTTP_Request request(HTTP_POST, path, true);
    return body == nullptr ? send(request, nullptr, result, nullptr) : this->request(request, *body, result, nullptr);
}

bool JSON_RESTful_Client::request(HTTP_Request& request, JSON_Generator& body, json_spirit::Value* result)
{
    const auto write = [&body](std::string& text) {
        text = to_json(body);
        return !text.empty();
    };
    return send(request, write, result, nullptr);
}

bool JSON_RESTful_Client::request(HTTP_Request& request, const json_spirit::Value& body, json_spirit::Value* result,
                                  HTTP_Response* response)
{
    const auto write = [&body](std::string& target) {
        JSON_Text text;
        const bool whole = yajl_gen_value(text.get(), body);
        target = text.take();
        return whole;
    };
    return send(request, write, result, response);
}

bool JSON_RESTful_Client::send(const HTTP_Request& request, const Body_Writer& write_body, json_spirit::Value* result,
                               HTTP_Response* response)
{
    HTTP_Response unwanted;
    HTTP_Response& answer = response == nullptr ? unwanted : *response;
    try {
        answer = {};
        std::string body;
        if (write_body != nullptr && !write_body(body)) {
            return fail(request, 0, "the body cannot be written as JSON");
        }
        return deliver(request, write_body != nullptr || has_body(request.method()) ? &body : nullptr, result, answer);
    } catch (const std::exception& error) {
        return fail(request, answer.status(), shown(error.what()));
    } catch (...) { // a generator may throw what it likes
        return fail(request, answer.status(), "an exception of an unknown type");
    }
}

bool JSON_RESTful_Client::deliver(const HTTP_Request& request, const std::string* body, json_spirit::Value* result,
                                  HTTP_Response& response)
{
    const char* method = http_method_name(request.method());
    if (method == nullptr || request.method() == HTTP_CONNECT) { // a tunnel has no answer in JSON
        return fail(request, 0, "the method cannot be sent");
    }
    if (!session_) {
        return fail(request, 0, "no server is configured");
    }

    HTTP_Headers headers = headers_;
    for (const auto& [name, value] : request.headers().all()) {
        headers.set(name, value);
    }
    if (headers.get(HTTP_Headers::ACCEPT) == nullptr) {
        headers.set(HTTP_Headers::ACCEPT, "application/json");
    }
    if (body != nullptr && !body->empty() && headers.get(HTTP_Headers::CONTENT_TYPE) == nullptr) {
        headers.set(HTTP_Headers::CONTENT_TYPE, "application/json");
    }
    if (request.carries_key() && headers.get(HTTP_Headers::IDEMPOTENCY_KEY) == nullptr) {
        headers.set(HTTP_Headers::IDEMPOTENCY_KEY, boost::uuids::to_string(boost::uuids::random_generator()()));
    }

    HTTP_Transport& transport = session_->transport();
    const std::string target = request.target();
    const HTTP_Transport::Message message{method, target, headers, body};
    Exponential_Backoff_Iterator wait(1, std::numeric_limits<std::uint32_t>::max(), 60, true);
    std::string answer;
    for (int attempt = 1;; ++attempt, ++wait) {
        const HTTP_Transport::Result sent = transport.exchange(message, response, answer);
        if (sent.outcome == HTTP_Transport::Outcome::ANSWERED) {
            return judge(request, response, answer, result);
        }
        if (sent.outcome == HTTP_Transport::Outcome::HOPELESS || (retries_ != -1 && attempt > retries_)
            || (retry_timeout_ != -1 && wait.cumulation() >= static_cast<unsigned>(retry_timeout_)) || wait.at_end())
        {
            return fail(request, 0, shown(sent.reason));
        }
        if (log_errors_) {
            log_at(LM_INFO, "HTTP %C %C to %C is sent again in %u second(s), retry %d: %C.\n", method,
                   shown_path(request).c_str(), transport.place().c_str(), *wait, attempt, shown(sent.reason).c_str());
        }
        ACE_OS::sleep(*wait);
    }
}

bool JSON_RESTful_Client::judge(const HTTP_Request& request, const HTTP_Response& response, const std::string& body,
                                json_spirit::Value* result) const
{
    bool is_json = true;
    std::string error;
    if (result != nullptr) {
        if (body.empty()) {
            *result = json_spirit::Value();
        } else {
            is_json = json_spirit::read(body, *result, &error);
        }
    }
    if (check_status_ && (response.status() < 200 || response.status() > 299)) {
        return fail(request, response.status(), "refused");
    }
    return is_json || fail(request, response.status(), "the answer is not JSON: " + shown(error));
}

bool JSON_RESTful_Client::fail(const HTTP_Request& request, int status, const std::string& reason) const
{
    if (log_errors_) {
        log_at(LM_ERROR, "HTTP %C %C to %C failed, status %d: %C.\n", shown_method(request),
               shown_path(request).c_str(), session_ ? session_->transport().place().c_str() : "(no server)", status,
               reason.c_str());
    }
    return false;
}

struct Upstream_JSON_RESTful_Client::Place
{
    std::string host;
    std::uint16_t port;
    bool ssl;
    std::string access_key;
    HTTP_Client_Options options;

    static inline std::mutex lock;
    static inline std::shared_ptr<const Place> configured; ///< null: nowhere yet

    static std::shared_ptr<const Place> current()
    {
        const std::lock_guard guard(lock);
        return configured;
    }
};

Upstream_JSON_RESTful_Client::Upstream_JSON_RESTful_Client() : Upstream_JSON_RESTful_Client(Place::current().get()) {}

Upstream_JSON_RESTful_Client::Upstream_JSON_RESTful_Client(const Place* place) :
    JSON_RESTful_Client(HTTP_Session_var(
        place == nullptr ? nullptr : new HTTP_Session(place->host, place->port, place->ssl, place->options)))
{
    if (place != nullptr && !place->access_key.empty()) {
        set_header(HTTP_Headers::X_ACCESS_KEY, place->access_key.c_str());
    }
}

void Upstream_JSON_RESTful_Client::configure(const std::string& host, std::uint16_t port, bool ssl,
                                             const std::string& access_key, const HTTP_Client_Options& options)
{
    std::shared_ptr<const Place> place = std::make_shared<Place>(Place{host, port, ssl, access_key, options});
    const std::lock_guard guard(Place::lock);
    Place::configured.swap(place);
}

Network_JSON_RESTful_Client::Network_JSON_RESTful_Client(const std::string& network_access_key,
                                                         const HTTP_Session_var& session, bool check_rsp_status) :
    Network_JSON_RESTful_Client(network_access_key, {}, session, check_rsp_status)
{}

Network_JSON_RESTful_Client::Network_JSON_RESTful_Client(const std::string& network_access_key,
                                                         const std::string& tenant_access_key,
                                                         const HTTP_Session_var& session, bool check_rsp_status) :
    JSON_RESTful_Client(session)
{
    check_status_ = check_rsp_status;
    if (!network_access_key.empty()) {
        set_header(HTTP_Headers::X_NETWORK_ACCESS_KEY, network_access_key.c_str());
    }
    if (!tenant_access_key.empty()) {
        set_header(HTTP_Headers::X_TENANT_ACCESS_KEY, tenant_access_key.c_str());
    }
}
