// One kept-alive connection to an HTTP server, shared by the clients that are given it.
#pragma once

#include "platform/export.h"
#include "platform/http/http_client_options.h"

#include <ace/Intrusive_Auto_Ptr.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

class HTTP_Transport;

/// Made by `new` into an HTTP_Session_var, counted by its users, destroyed by the last; thread-safe: requests of several
/// threads take turns. The connection is made by the first request, and again when it had gone. A host that is neither a
/// name nor an IP address (IPv6 with or without brackets) makes every request fail.
class BACKUP_PLATFORM_EXPORT HTTP_Session
{
public:
    HTTP_Session(const std::string& host, std::uint16_t port, bool ssl, const HTTP_Client_Options& options = {});
    HTTP_Session(const HTTP_Session&) = delete;
    HTTP_Session& operator=(const HTTP_Session&) = delete;

    HTTP_Transport& transport() { return *transport_; }

    static void intrusive_add_ref(HTTP_Session* session);
    static void intrusive_remove_ref(HTTP_Session* session);

private:
    ~HTTP_Session();

    std::unique_ptr<HTTP_Transport> transport_;
    std::atomic<int> users_{0};
};

using HTTP_Session_var = ACE_Intrusive_Auto_Ptr<HTTP_Session>;
