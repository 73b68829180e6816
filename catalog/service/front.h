// Between the sockets and the catalog: what a server of connections hands over, and what it gets back.
//
// A front is called from several threads at once and never blocks its caller: it answers by the function that it was
// given, once, from any thread, perhaps before it returns.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace catalog::service {

enum class Role
{
    NONE,    ///< may ask for nothing but the service's health
    READER,  ///< may see
    WRITER,  ///< may also record sets
    OPERATOR ///< may also see the metrics
};

/// Who is at the other end of a connection.
struct Principal
{
    std::string name; ///< of the access key; empty where keys are not asked for
    Role role = Role::NONE;
};

/// A body that is made while it is sent.
class Body_Source
{
public:
    struct Part
    {
        std::string text;
        bool last = false;
        bool failed = false; ///< the rest cannot be made: the connection has to be closed without a proper end
    };
    using Taker = std::function<void(Part)>;

    virtual ~Body_Source() = default;

    /// Asks for the next part; the one before has been taken by the socket. `taker` is called once.
    virtual void next(Taker taker) = 0;
};

struct Reply
{
    int status = 200; ///< of HTTP; messages of a WebSocket have none
    std::string content_type = "application/json";
    std::vector<std::pair<std::string, std::string>> headers = {}; ///< further ones
    std::string body = {};                                         ///< or its first part
    std::unique_ptr<Body_Source> more = {};                        ///< the rest, when there is one
};
using Reply_Taker = std::function<void(Reply)>;

/// An HTTP request that has come whole.
struct Web_Request
{
    std::string method; ///< "GET"
    std::string path;   ///< percent-decoded, without the query
    std::string query;  ///< as it came, without '?'
    std::string content_type;
    std::string idempotency_key; ///< empty: none
    std::string body;
};

class Front
{
public:
    virtual ~Front() = default;

    /// Whom an access key belongs to; asked once per connection, and again only when the key changes. `key` is null when
    /// the peer sent none. Answers 200, 401 (unknown or missing key) or 429 (too many failed attempts of this peer).
    using Admission_Taker = std::function<void(int status, Principal)>;
    virtual void admit(const std::string& peer_address, const std::string* key, Admission_Taker taker) = 0;

    virtual void answer(Web_Request request, const Principal& principal, Reply_Taker taker) = 0;

    /// One JSON-RPC message of a WebSocket. An empty body: there is nothing to answer (a notification).
    virtual void answer(std::string message, const Principal& principal, Reply_Taker taker) = 0;

    /// The body of a refusal that the server makes by itself ("over the limit"), in the words of the service.
    virtual Reply refusal(int status, std::string_view message) = 0;
};

} // namespace catalog::service
