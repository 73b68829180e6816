// Where a JSON-RPC channel leads. A plain value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

struct JSON_RPC_Endpoint
{
    std::string host; ///< a name or an address, IPv6 without brackets
    std::uint16_t port = 0;
    bool tls = false;                  ///< the server's certificate must be good for `host`
    std::string access_key;            ///< sent in the handshake's header X-Access-Key; empty: none
    std::string certificate_authority; ///< PEM file; empty: the system's
    std::string client_certificate;    ///< PEM file; empty: none
    std::string client_key;            ///< PEM file; empty: in the certificate's file
    std::string path = "/rpc";
    std::size_t frame_limit = 64u << 20; ///< bytes of one message, either way
    int connect_timeout_s = 10;          ///< of name look-up, connection and handshakes together
    int ping_interval_s = 10;            ///< a peer that stays silent for two of these is dead
};
