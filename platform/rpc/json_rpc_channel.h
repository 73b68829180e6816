// The channel that carries JSON-RPC calls of the whole process, and the sessions that use it.
#pragma once

#include "platform/export.h"
#include "platform/rpc/json_rpc_object.h"

#include <ace/Bound_Ptr.h>
#include <ace/Thread_Mutex.h>

class JSON_Generator;

/// Carries calls. Implementations serve several threads at once.
class BACKUP_PLATFORM_EXPORT JSON_RPC_Channel
{
public:
    virtual ~JSON_RPC_Channel() = default;

    /// Sends `request` and waits at most `timeout_s` seconds for its answer. False when no answer came: the request was
    /// not delivered, or its answer was lost or late; `response` is then unchanged. An error response is an answer.
    virtual bool call(const JSON_RPC_Object& request, JSON_RPC_Object_var& response, int timeout_s) = 0;
};

using JSON_RPC_Channel_var = ACE_Strong_Bound_Ptr<JSON_RPC_Channel, ACE_Thread_Mutex>;
using JSON_RPC_Channel_weak_var = ACE_Weak_Bound_Ptr<JSON_RPC_Channel, ACE_Thread_Mutex>;

/// One use of a channel. Holds it weakly: when the channel goes away, requests fail.
class BACKUP_PLATFORM_EXPORT JSON_RPC_Session
{
public:
    explicit JSON_RPC_Session(const JSON_RPC_Channel_weak_var& channel) : channel_(channel) {}

    /// Makes a request with an id of its own, which it keeps when it is sent again. False, with `request` unchanged, when
    /// `method` is null or empty or `params` cannot be written (a real that is not finite). Null params are left out.
    static bool make_rpc_request(const char* method, const json_spirit::Value& params, JSON_RPC_Object_var& request);

    /// Sends a request and waits for the answer, as `JSON_RPC_Channel::call`.
    bool request(const JSON_RPC_Object_var& request, JSON_RPC_Object_var& response, int timeout_s);

    /// The same with a request of its own whose params `params` writes straight into the message. Nothing is sent when
    /// its `generate` returns false (logged; returns false) or throws (passes through).
    bool request(const char* method, JSON_Generator* params, JSON_RPC_Object_var& response, int timeout_s);

private:
    JSON_RPC_Channel_weak_var channel_;
};
