#include "catalog/cli/address.h"

#include <charconv>
#include <string_view>

namespace catalog::cli {

namespace {

struct Scheme
{
    std::string_view begin;
    bool json_rpc;
    bool tls;
};

constexpr Scheme schemes[] = {
    {"http://", false, false}, {"https://", false, true}, {"ws://", true, false}, {"wss://", true, true}};

} // namespace

bool read_address(const std::string& text, std::string& host, std::uint16_t& port)
{
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos) {
        return false;
    }
    const char* const end = text.data() + text.size();
    const auto [stop, fault] = std::from_chars(text.data() + colon + 1, end, port);
    host = text.substr(0, colon);
    if (host.size() >= 2 && host.front() == '[' && host.back() == ']') {
        host = host.substr(1, host.size() - 2);
    } else if (host.find(':') != std::string::npos) {
        return false;
    }
    return fault == std::errc() && stop == end;
}

bool read_server_url(const std::string& text, Server_Url& url, std::string& fault)
{
    for (const Scheme& scheme : schemes) {
        if (!text.starts_with(scheme.begin)) {
            continue;
        }
        url.json_rpc = scheme.json_rpc;
        url.tls = scheme.tls;
        std::string address = text.substr(scheme.begin.size());
        if (address.ends_with('/')) {
            address.pop_back();
        }
        if (address.find_first_of("/@?#") == std::string::npos && read_address(address, url.host, url.port)
            && !url.host.empty() && url.port != 0)
        {
            return true;
        }
        break;
    }
    // What was given is not repeated: there may be a password in it.
    fault =
        "a service is named by http://HOST:PORT or https://HOST:PORT (REST), or by ws://HOST:PORT or wss://HOST:PORT "
        "(JSON-RPC), with nothing behind the port";
    return false;
}

} // namespace catalog::cli
