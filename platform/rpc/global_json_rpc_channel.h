// The process-wide JSON-RPC channel.
//
// Thread-safe. A process that never configures a channel has none and starts no thread; one that does has a thread for
// the connection from the first `instance()` on.
//
// Fork: the child has no channel until it configures or installs one; the parent's goes on, whatever the child does.
// Exit: when the process exits (or ACE::fini runs) the connection ends, and threads that still wait for an answer go on
// waiting until the process is gone: their code does not run while static objects are destroyed. Who wants them to
// return calls `remove()` before.
#pragma once

#include "platform/export.h"
#include "platform/rpc/json_rpc_channel.h"
#include "platform/rpc/json_rpc_endpoint.h"

class BACKUP_PLATFORM_EXPORT Global_JSON_RPC_Channel
{
public:
    /// The channel, connected anew when it had gone, but not within a second of the last attempt. Null when there is none
    /// or it cannot be reached (logged). One thread's attempt, at most the endpoint's connect time-out long, serves all
    /// that ask meanwhile; a channel that is alive is handed out at once.
    static JSON_RPC_Channel_var instance();

    /// Says where the channel leads; an earlier channel is closed. Nothing is connected yet.
    static void configure(const JSON_RPC_Endpoint& endpoint);

    /// Puts a channel in place of the configured one, which is closed and forgotten. A null one is as `remove`.
    static void install(JSON_RPC_Channel_var channel);

    /// Closes and forgets the channel and its configuration. Calls in flight on a configured channel return false.
    static void remove();
};
