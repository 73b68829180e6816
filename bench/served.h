// The catalog's service in a process of its own, which is this program started with `--serve`, and clients of it.
#pragma once

#include "platform/rpc/detail/websocket_channel.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/types.h>

class Served
{
public:
    /// Returns when the service listens.
    explicit Served(const std::string& database_url);
    Served(const Served&) = delete;
    Served& operator=(const Served&) = delete;
    /// Lets the service end, and waits for that.
    ~Served();

    std::uint16_t port() const { return port_; }

    /// What the process has in memory now, in MiB.
    double resident() const;

private:
    pid_t pid_ = -1;
    int input_ = -1; ///< the service ends when it does
    std::uint16_t port_ = 0;
};

/// A client with a connection of its own.
class Client
{
public:
    explicit Client(const Served& served);

    /// Calls and waits for the answer, which has to be a success.
    JSON_RPC_Object_var call(const JSON_RPC_Object& request);

private:
    WebSocket_Channel channel_;
};

/// A request whose params are the JSON text given.
JSON_RPC_Object_var make_request(const char* method, std::string_view params);
