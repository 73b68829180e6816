// What a REST client may be told beyond where its server is.
#pragma once

#include <cstddef>
#include <string>

/// Times below one second are taken as one second.
struct HTTP_Client_Options
{
    int connect_timeout_s = 10;  ///< of one attempt, from the look-up of the name to the end of the TLS handshake
    int request_timeout_s = 600; ///< of one attempt, from the connection to the end of the answer
    int stall_timeout_s = 60;    ///< without a byte in either direction, once connected
    std::size_t response_limit = 64u << 20; ///< bytes of an answer's body; of its headers: 64 KiB
    std::string certificate_authority;      ///< PEM file, the only authorities that are trusted; empty: the system's
    std::string client_certificate;         ///< PEM file; empty: none
    std::string client_key;                 ///< PEM file; empty: it stands in the certificate's file
};
