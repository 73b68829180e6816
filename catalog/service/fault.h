// What the service answers in place of a result, in one table for both of its protocols. Thread-safe.
//
// The names and the numbers are part of the protocol: they are never given another meaning.
#pragma once

#include "catalog/service/front.h"
#include "catalog/store/catalog_error.h"

#include <span>
#include <string>
#include <string_view>

namespace catalog::service {

enum class Fault_Kind
{
    NONE,
    PARSE_ERROR,
    INVALID_REQUEST,
    UNKNOWN_METHOD,
    INVALID_PARAMS,
    INTERNAL,
    REFUSED,
    CONFLICT,
    STATE,
    NOT_FOUND,
    FORBIDDEN,
    UNAUTHORIZED,
    TOO_MANY,
    UNAVAILABLE,
    TIME_LIMIT,
    FULL,
    SCHEMA,
    TOO_LARGE,
    UNSUPPORTED_MEDIA,
    METHOD_NOT_ALLOWED
};

/// A kind of fault as the protocols call it.
struct Fault_Code
{
    Fault_Kind kind;
    const char* name;    ///< "conflict": "code" of a REST error
    int rpc_code;        ///< "code" of a JSON-RPC error
    int status;          ///< of HTTP
    const char* meaning; ///< for the documentation
};

/// All kinds but NONE.
std::span<const Fault_Code> fault_codes();
const Fault_Code& fault_code(Fault_Kind kind);

struct Fault
{
    Fault_Kind kind = Fault_Kind::NONE;
    std::string message = {};
    std::string key = {};  ///< the document's key or the parameter at fault, when there is one
    int retry_after_s = 0; ///< when asking again may help; 0: not said

    explicit operator bool() const { return kind != Fault_Kind::NONE; }
};

Fault fault_of(const Error& error);

/// A text as a JSON string, quotes included.
std::string json_string(std::string_view text);

/// {"code": …, "message": …, "key": …}, with Retry-After where it is known.
Reply rest_refusal(const Fault& fault);

/// The same with another status than the fault's own.
Reply rest_refusal(const Fault& fault, int status);

/// A JSON-RPC error response; `id` is JSON.
std::string rpc_refusal(std::string_view id, const Fault& fault);

} // namespace catalog::service
