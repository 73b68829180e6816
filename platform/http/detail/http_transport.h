// One exchange at a time over one kept-alive connection, by libcurl. Thread-safe: callers take turns.
//
// HTTP/1.1 only. Proxies of the environment are not used, redirects are not followed, no answer is waited for before a body
// is sent. The certificate of a TLS server has to be of a trusted authority and for the host.
#pragma once

#include "platform/http/http_client_options.h"
#include "platform/http/http_response.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

class HTTP_Transport
{
public:
    struct Message
    {
        const char* method;
        const std::string& target;
        const HTTP_Headers& headers; ///< those that frame the message are left out: they are written here
        const std::string* body;     ///< null: none
    };

    enum class Outcome
    {
        ANSWERED,      ///< the answer is there, whole
        NOT_DELIVERED, ///< no answer, or not all of it; the request may have arrived
        HOPELESS       ///< it would end in the same way again
    };

    struct Result
    {
        Outcome outcome;
        std::string reason; ///< why there is no answer; holds neither headers nor the target
    };

    HTTP_Transport(const std::string& host, std::uint16_t port, bool ssl, const HTTP_Client_Options& options);
    HTTP_Transport(const HTTP_Transport&) = delete;
    HTTP_Transport& operator=(const HTTP_Transport&) = delete;
    ~HTTP_Transport();

    /// Sends `message` once and reads the answer into `response` and `body`, which lose what they held.
    Result exchange(const Message& message, HTTP_Response& response, std::string& body);

    /// "host:port", for messages.
    const std::string& place() const { return place_; }

private:
    struct Handle;

    Result perform(const Message& message, HTTP_Response& response, std::string& body);

    std::string url_; ///< empty: the host is none
    std::string place_;
    const HTTP_Client_Options options_;
    std::mutex turn_;
    std::unique_ptr<Handle> handle_;
};
