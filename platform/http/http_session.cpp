#include "platform/http/http_session.h"

#include "platform/http/detail/http_transport.h"

HTTP_Session::HTTP_Session(const std::string& host, std::uint16_t port, bool ssl, const HTTP_Client_Options& options) :
    transport_(std::make_unique<HTTP_Transport>(host, port, ssl, options))
{}

HTTP_Session::~HTTP_Session() = default;

void HTTP_Session::intrusive_add_ref(HTTP_Session* session)
{
    if (session != nullptr) {
        ++session->users_;
    }
}

void HTTP_Session::intrusive_remove_ref(HTTP_Session* session)
{
    if (session != nullptr && --session->users_ == 0) {
        delete session;
    }
}
