#include "catalog/service/fault.h"

#include "platform/json/json_generator.h"
#include "platform/json/yajl_gen.h"

#include <array>

namespace catalog::service {

namespace {

constexpr int retry_after_s = 1;

using enum Fault_Kind;

constexpr std::array codes = {
    Fault_Code{PARSE_ERROR, "parse_error", -32700, 400, "the message or the body is no valid JSON"},
    Fault_Code{INVALID_REQUEST, "invalid_request", -32600, 400, "the message is no request, or the URL is malformed"},
    Fault_Code{UNKNOWN_METHOD, "unknown_method", -32601, 404, "there is no such method, or no such path"},
    Fault_Code{INVALID_PARAMS, "invalid_params", -32602, 400, "the parameters are not those of the method or the path"},
    Fault_Code{INTERNAL, "internal_error", -32603, 500, "the service failed; its log says more"},
    Fault_Code{REFUSED, "refused", -32000, 422, "the document or a value in it cannot be taken; \"key\" says which"},
    Fault_Code{CONFLICT, "conflict", -32001, 409, "the catalog has the set with other content"},
    Fault_Code{STATE, "state", -32002, 409, "the step is out of order; the message names the state of the set"},
    Fault_Code{NOT_FOUND, "not_found", -32003, 404, "there is no such set"},
    Fault_Code{FORBIDDEN, "forbidden", -32004, 403, "the access key's role does not allow this"},
    Fault_Code{UNAUTHORIZED, "unauthorized", -32005, 401, "an access key is needed, or the one given is not known"},
    Fault_Code{TOO_MANY, "too_many", -32006, 429, "more requests, or failed attempts, than are allowed"},
    Fault_Code{UNAVAILABLE, "unavailable", -32007, 503, "the database or the service cannot do this now; ask again"},
    Fault_Code{TIME_LIMIT, "time_limit", -32008, 503, "the request took longer than a statement may take"},
    Fault_Code{FULL, "full", -32009, 507, "the database has no room left"},
    Fault_Code{SCHEMA, "schema", -32010, 503, "the database has another schema than this program works with"},
    Fault_Code{TOO_LARGE, "too_large", -32011, 413, "the body or the message is larger than allowed"},
    Fault_Code{UNSUPPORTED_MEDIA, "unsupported_media", -32012, 415, "the body is not application/json"},
    Fault_Code{METHOD_NOT_ALLOWED, "method_not_allowed", -32013, 405, "the path does not know the HTTP method"},
};

Fault_Kind database_fault(const Database_Error& error)
{
    switch (error.kind) {
    case Database_Error::BUSY:
    case Database_Error::CONNECTION_LOST:
    case Database_Error::READ_ONLY:
        return UNAVAILABLE;
    case Database_Error::CANCELLED:
        return TIME_LIMIT;
    case Database_Error::FULL:
        return FULL;
    default:
        return INTERNAL;
    }
}

Fault_Kind fault_kind(const Error& error)
{
    switch (error.kind) {
    case Error::NONE:
        return Fault_Kind::NONE;
    case Error::REFUSED:
        return REFUSED;
    case Error::CONFLICT:
        return CONFLICT;
    case Error::STATE:
        return STATE;
    case Error::NOT_FOUND:
        return NOT_FOUND;
    case Error::SCHEMA:
        return SCHEMA;
    case Error::DATABASE:
        break;
    }
    return database_fault(error.database);
}

/// What people outside may read of a failure: statements and addresses stay in the log.
std::string public_message(Fault_Kind kind, const Error& error)
{
    switch (kind) {
    case UNAVAILABLE:
        return "the database cannot be used now; ask again later";
    case TIME_LIMIT:
        return "the database took longer than a statement may take";
    case FULL:
        return "the database has no room left";
    case INTERNAL:
        return "the database failed; the service's log says more";
    default:
        return error.message;
    }
}

} // namespace

std::span<const Fault_Code> fault_codes()
{
    return codes;
}

const Fault_Code& fault_code(Fault_Kind kind)
{
    for (const Fault_Code& code : codes) {
        if (code.kind == kind) {
            return code;
        }
    }
    return fault_code(INTERNAL);
}

Fault fault_of(const Error& error)
{
    const Fault_Kind kind = fault_kind(error);
    return {kind, public_message(kind, error), error.key, kind == UNAVAILABLE ? retry_after_s : 0};
}

std::string json_string(std::string_view text)
{
    JSON_Text json;
    YAJL_Gen(json.get()) << text;
    return json.take();
}

Reply rest_refusal(const Fault& fault)
{
    return rest_refusal(fault, fault_code(fault.kind).status);
}

Reply rest_refusal(const Fault& fault, int status)
{
    Reply reply;
    reply.status = status;
    if (fault.retry_after_s > 0) {
        reply.headers.emplace_back("Retry-After", std::to_string(fault.retry_after_s));
    }
    if (status == 401) {
        reply.headers.emplace_back("WWW-Authenticate", "Bearer");
    }
    JSON_Text json;
    {
        const YAJL_Gen gen(json.get());
        const YAJL_Map_Guard map(gen);
        gen << "code"_key << fault_code(fault.kind).name << "message"_key << fault.message;
        if (!fault.key.empty()) {
            gen << "key"_key << fault.key;
        }
    }
    reply.body = json.take();
    return reply;
}

std::string rpc_refusal(std::string_view id, const Fault& fault)
{
    JSON_Text json;
    {
        const YAJL_Gen gen(json.get());
        const YAJL_Map_Guard map(gen);
        gen << "jsonrpc"_key
            << "2.0"
            << "id"_key;
        yajl_gen_raw(json.get(), id);
        gen << "error"_key;
        const YAJL_Map_Guard error(gen);
        gen << "code"_key << fault_code(fault.kind).rpc_code << "message"_key << fault.message << "data"_key;
        const YAJL_Map_Guard data(gen);
        gen << "name"_key << fault_code(fault.kind).name;
        if (!fault.key.empty()) {
            gen << "key"_key << fault.key;
        }
        if (fault.retry_after_s > 0) {
            gen << "retry_after"_key << fault.retry_after_s;
        }
    }
    return json.take();
}

} // namespace catalog::service
