// Where a service listens, as people write it. Thread-safe.
#pragma once

#include <cstdint>
#include <string>

namespace catalog::cli {

/// Reads "HOST:PORT"; the host of an IPv6 address stands in brackets, which `host` gets without them. An empty host stays
/// empty.
bool read_address(const std::string& text, std::string& host, std::uint16_t& port);

struct Server_Url
{
    bool json_rpc = false; ///< by WebSocket; else by REST
    bool tls = false;
    std::string host;
    std::uint16_t port = 0;
};

/// Reads "http://HOST:PORT", "https://…", "ws://…" or "wss://…"; a slash may follow. False, with the reason, for all else.
bool read_server_url(const std::string& text, Server_Url& url, std::string& fault);

} // namespace catalog::cli
