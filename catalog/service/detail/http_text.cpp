#include "catalog/service/detail/http_text.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace catalog::service::detail {

namespace {

bool equals_ignoring_case(std::string_view left, std::string_view right)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [&](char a, char b) { return lower(a) == lower(b); });
}

int hexadecimal(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

std::optional<std::string> percent_decoded(std::string_view text)
{
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '%') {
            if (text.size() - i < 3) {
                return std::nullopt;
            }
            const int high = hexadecimal(text[i + 1]);
            const int low = hexadecimal(text[i + 2]);
            if (high < 0 || low < 0 || (high == 0 && low == 0)) {
                return std::nullopt;
            }
            c = static_cast<char>(high * 16 + low);
            i += 2;
        }
        decoded += c;
    }
    return decoded;
}

bool is_own_header(std::string_view name)
{
    static constexpr std::array names{"content-length", "transfer-encoding", "connection", "content-type", "date"};
    return std::any_of(names.begin(), names.end(),
                       [&](std::string_view own) { return equals_ignoring_case(name, own); });
}

void append_header(std::string& head, std::string_view name, std::string_view value)
{
    head.append(name).append(": ");
    for (const char c : value) {
        head += c == '\r' || c == '\n' || c == '\0' ? ' ' : c;
    }
    head += "\r\n";
}

} // namespace

std::optional<Target> split_target(std::string_view target)
{
    if (target == "*") {
        return Target{"*", ""};
    }
    if (!target.starts_with('/')) {
        // The form that is meant for proxies, which every server has to understand.
        const std::size_t scheme = target.find("://");
        if (scheme == std::string_view::npos || scheme == 0) {
            return std::nullopt;
        }
        target.remove_prefix(scheme + 3);
        const std::size_t path = target.find_first_of("/?");
        if (path == 0) {
            return std::nullopt;
        }
        target.remove_prefix(std::min(path, target.size()));
    }
    if (target.find('#') != std::string_view::npos) {
        return std::nullopt;
    }
    const std::size_t mark = target.find('?');
    std::optional<std::string> path = percent_decoded(target.substr(0, mark));
    if (!path) {
        return std::nullopt;
    }
    return Target{path->empty() ? "/" : std::move(*path),
                  std::string(mark == std::string_view::npos ? "" : target.substr(mark + 1))};
}

std::optional<std::string> bearer_key(std::string_view authorization)
{
    static constexpr std::string_view scheme = "Bearer ";
    if (!equals_ignoring_case(authorization.substr(0, scheme.size()), scheme)) {
        return std::nullopt;
    }
    authorization.remove_prefix(scheme.size());
    authorization.remove_prefix(std::min(authorization.find_first_not_of(' '), authorization.size()));
    return authorization.empty() ? std::nullopt : std::optional<std::string>(authorization);
}

std::string http_date(std::time_t time)
{
    static constexpr std::array days{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr std::array months{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    std::tm parts{};
    if (::gmtime_r(&time, &parts) == nullptr) {
        return {};
    }
    std::array<char, 64> text{};
    const int size = std::snprintf(text.data(), text.size(), "%s, %02d %s %d %02d:%02d:%02d GMT",
                                   days.at(static_cast<std::size_t>(parts.tm_wday)), parts.tm_mday,
                                   months.at(static_cast<std::size_t>(parts.tm_mon)), parts.tm_year + 1900,
                                   parts.tm_hour, parts.tm_min, parts.tm_sec);
    return {text.data(), static_cast<std::size_t>(size)};
}

void complete_headers(Reply& reply)
{
    const auto has = [&](std::string_view name) {
        return std::any_of(reply.headers.begin(), reply.headers.end(),
                           [&](const auto& header) { return equals_ignoring_case(header.first, name); });
    };
    if ((reply.status == 503 || reply.status == 429) && !has("Retry-After")) {
        reply.headers.emplace_back("Retry-After", "1");
    }
    if (reply.status == 401 && !has("WWW-Authenticate")) {
        reply.headers.emplace_back("WWW-Authenticate", "Bearer");
    }
}

std::string reply_head(const Reply& reply, std::string_view reason, Framing framing, std::size_t length,
                       bool keep_alive, std::time_t now)
{
    std::string head = "HTTP/1.1 " + std::to_string(reply.status) + ' ';
    head.append(reason).append("\r\n");
    append_header(head, "Server", "backup-set");
    append_header(head, "Date", http_date(now));
    if (framing != Framing::NONE && !reply.content_type.empty()) {
        append_header(head, "Content-Type", reply.content_type);
    }
    for (const auto& [name, value] : reply.headers) {
        if (!is_own_header(name)) {
            append_header(head, name, value);
        }
    }
    if (framing == Framing::LENGTH) {
        append_header(head, "Content-Length", std::to_string(length));
    } else if (framing == Framing::CHUNKED) {
        append_header(head, "Transfer-Encoding", "chunked");
    }
    const std::string upgrade = reply.status == 426 ? "upgrade, " : "";
    append_header(head, "Connection", upgrade + (keep_alive ? "keep-alive" : "close"));
    head += "\r\n";
    return head;
}

} // namespace catalog::service::detail
