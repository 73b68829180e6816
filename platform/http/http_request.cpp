#include "platform/http/http_request.h"

#include <array>

const char* http_method_name(int method)
{
    static constexpr std::array<const char*, HTTP_UNLINK + 1> names{
        nullptr, "CONNECT", "DELETE", "GET", "HEAD", "LINK", "OPTIONS", "PATCH", "POST", "PUT", "TRACE", "UNLINK",
    };
    return method > 0 && static_cast<std::size_t>(method) < names.size() ? names[static_cast<std::size_t>(method)]
                                                                         : nullptr;
}

HTTP_Request::HTTP_Request(int method, std::string_view path, bool may_repeat) :
    method_(method), path_(path), may_repeat_(may_repeat)
{}

bool HTTP_Request::carries_key() const
{
    switch (method_) {
    case HTTP_GET:
    case HTTP_HEAD:
    case HTTP_OPTIONS:
    case HTTP_TRACE:
        return may_repeat_;
    default:
        return true;
    }
}

std::string HTTP_Request::target() const
{
    std::string target = path_;
    if (!query_.empty()) {
        if (target.find('?') == std::string::npos) {
            target += '?';
        } else if (target.back() != '?' && target.back() != '&') {
            target += '&';
        }
        target += query_;
    }
    return target;
}
