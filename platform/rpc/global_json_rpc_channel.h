// The process-wide JSON-RPC channel.
#pragma once

#include "platform/export.h"
#include "platform/rpc/json_rpc_channel.h"

#include <cstddef>
#include <cstdint>
#include <string>

/// Where the channel leads.
struct JSON_RPC_Endpoint
{
    std::string host;
    std::uint16_t port = 0;
    bool tls = false;
    std::string access_key;            ///< sent in the handshake's header X-Access-Key; empty: none
    std::string certificate_authority; ///< PEM file; empty: the system's
    std::string client_certificate;    ///< PEM file; empty: none
    std::string client_key;            ///< PEM file
    std::string path = "/rpc";
    std::size_t frame_limit = 64u << 20; ///< bytes of one message
    int connect_timeout_s = 10;
    int ping_interval_s = 10; ///< a peer that stays silent for two of these is dead
};

/// Thread-safe. A process that never configures a channel has none; after a fork the child has none until it configures.
class BACKUP_PLATFORM_EXPORT Global_JSON_RPC_Channel
{
public:
    /// The channel, connected anew when it had gone (not more often than its own short pacing); null when there is none or
    /// it cannot be reached.
    static JSON_RPC_Channel_var instance();

    /// Says where the channel leads; an earlier channel is closed. Nothing is connected yet.
    static void configure(const JSON_RPC_Endpoint& endpoint);

    /// Puts a channel in place of the configured one.
    static void install(JSON_RPC_Channel_var channel);

    /// Closes and forgets the channel and its configuration.
    static void remove();
};
