// Sends any bytes to the server as requests of HTTP. What comes back is whole replies and nothing else, the connection
// ends, and the server goes on serving others.
//
// The first byte says after how many bytes the sender pauses for the first time, so that requests come in two pieces.
#include "fuzz/served.h"

#include <charconv>

namespace {

using fuzz::check;

std::string lower(std::string_view text)
{
    std::string made(text);
    for (char& c : made) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return made;
}

/// The value of a header, empty when it is not there.
std::string_view header(std::string_view head, const std::string& name)
{
    const std::size_t line = lower(head).find("\r\n" + name + ": ");
    if (line == std::string::npos) {
        return {};
    }
    head.remove_prefix(line + name.size() + 4);
    return head.substr(0, head.find("\r\n"));
}

std::size_t number(std::string_view digits, int base)
{
    std::size_t value = 0;
    const auto [end, fault] = std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
    check(fault == std::errc() && end == digits.data() + digits.size(), "a length is a number");
    return value;
}

std::string_view take(std::string_view& text, std::size_t size)
{
    check(size <= text.size(), "a reply is as long as it says");
    const std::string_view taken = text.substr(0, size);
    text.remove_prefix(size);
    return taken;
}

std::string_view take_line(std::string_view& text)
{
    const std::size_t end = text.find("\r\n");
    check(end != std::string_view::npos, "a line has an end");
    const std::string_view line = take(text, end);
    take(text, 2);
    return line;
}

void check_replies(std::string_view text)
{
    while (!text.empty()) {
        const std::size_t end = text.find("\r\n\r\n");
        check(end != std::string_view::npos, "a head has an end");
        const std::string_view head = take(text, end + 4);
        check(head.starts_with("HTTP/1.1 ") && head.size() > 12, "a reply begins with its status");
        const std::size_t status = number(head.substr(9, 3), 10);
        if (status == 101) {
            return; // frames follow
        }
        if (status < 200 || status == 204) {
            continue;
        }
        if (header(head, "transfer-encoding") == "chunked") {
            for (std::size_t size = 1; size != 0;) {
                size = number(take_line(text), 16);
                take(text, size);
                check(take_line(text).empty(), "a chunk ends where it says");
            }
        } else if (const std::string_view length = header(head, "content-length"); !length.empty()) {
            take(text, number(length, 10));
        } else {
            check(header(head, "connection") == "close", "a body without a length ends with the connection");
            return;
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzz::log_nothing();
    fuzz::Served::instance();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 1) {
        return 0;
    }
    const std::string_view bytes = fuzz::text_of(data + 1, size - 1);
    {
        fuzz::Peer peer;
        peer.send(bytes.substr(0, data[0]));
        if (bytes.size() > data[0]) {
            peer.send(bytes.substr(data[0]));
        }
        peer.send_no_more();
        peer.read_all();
        // A reply to HEAD says how long the body would be.
        if (!peer.was_cut() && bytes.find("HEAD ") == std::string_view::npos) {
            check_replies(peer.take_input());
        }
    }
    fuzz::check_is_serving();
    return 0;
}
