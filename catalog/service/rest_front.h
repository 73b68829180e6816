// The REST half of the service, and all else that is asked for over HTTP. Thread-safe.
//
// What is served stands in one table, from which requests are routed and the OpenAPI description is made.
#pragma once

#include "catalog/service/operations.h"
#include "catalog/service/rpc_front.h"

#include <span>
#include <string>
#include <string_view>

namespace catalog::service {

/// A parameter of a path, for the description.
struct REST_Parameter
{
    const char* name;
    const char* in; ///< "query", "path", "header"
    bool required;
    const char* meaning;
    std::span<const char* const> choices = {}; ///< the only values allowed; empty: any
};

/// What a request's body or an answer holds.
enum class REST_Content
{
    NOTHING,
    SET,      ///< a set's document
    SET_PART, ///< a set's document, {"uuid", "pieces"} or {"uuid"}, by the action
    DONE,     ///< {"result": true, "uuid"}, or the pieces of an aborted set
    VIEW,     ///< the result of a view
    RPC,      ///< a JSON-RPC message
    HEALTH,
    METRICS,
    OPENAPI
};

struct REST_Path
{
    const char* method;
    const char* path; ///< "{uuid}" stands for one segment
    const char* id;   ///< of the operation
    const char* summary;
    Role role;
    std::span<const REST_Parameter> parameters;
    REST_Content body;
    REST_Content answer;
};

std::span<const REST_Path> rest_paths();

class REST_Front
{
public:
    REST_Front(Operations& operations, RPC_Front& rpc) : operations_(operations), rpc_(rpc) {}

    void answer(Web_Request request, const Principal& principal, Reply_Taker taker);

private:
    struct Call;

    void route(Call call, const REST_Path& path);
    void write(Call call);
    void update(Call call);
    void select(Call call);
    void health(Call call);
    void metrics(const Call& call);
    void openapi(const Call& call);

    Operations& operations_;
    RPC_Front& rpc_;
};

} // namespace catalog::service
