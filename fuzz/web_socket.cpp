// Sends frames to the server on a WebSocket. Its front gets the messages that were sent, whole and in order, and nothing
// else; what comes back is well-formed frames with the answers in the same order; the connection ends, and the server
// goes on serving others.
//
// Where the first byte is odd the rest goes out as it stands. Else it is a list of frames: a byte with the bits of the
// frame's beginning, one for its length (of which the highest bit multiplies it by 200), and so much content, which is
// masked here.
#include "fuzz/served.h"
#include "platform/json/detail/utf8.h"

#include <algorithm>

namespace {

using fuzz::check;

constexpr unsigned fin = 0x80;
constexpr unsigned reserved = 0x70;
enum Opcode : unsigned
{
    CONTINUATION,
    TEXT,
    BINARY,
    CLOSE = 8,
    PING,
    PONG
};

bool is_utf8(std::string_view text)
{
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end) {
        const std::size_t length = json_text::utf8_sequence_length(at, end);
        if (length == 0) {
            return false;
        }
        at += length;
    }
    return true;
}

/// What a peer that keeps to the rules makes of the frames that are sent to it.
class Expected
{
public:
    explicit Expected(std::size_t limit) : limit_(limit) {}

    void add(unsigned bits, std::string_view content)
    {
        const unsigned opcode = bits & 0x0fU;
        const bool last = (bits & fin) != 0;
        if (is_over_) {
            return;
        }
        const bool is_control = opcode >= CLOSE;
        is_over_ = (bits & reserved) != 0 || opcode > PONG || (opcode > BINARY && opcode < CLOSE) || opcode == CLOSE
                   || opcode == BINARY || (is_control && (!last || content.size() > 125))
                   || (opcode == CONTINUATION && !is_inside_) || (opcode == TEXT && is_inside_);
        if (is_over_ || is_control) {
            return;
        }
        message_ += content;
        is_inside_ = !last;
        is_over_ = message_.size() > limit_ || (last && !is_utf8(message_));
        if (last && !is_over_) {
            messages.push_back(std::exchange(message_, {}));
        }
    }

    /// Something was sent after which the server owes nothing.
    bool is_over() const { return is_over_; }

    std::vector<std::string> messages;

private:
    std::size_t limit_;
    bool is_over_ = false;
    bool is_inside_ = false; ///< a message
    std::string message_;
};

void append_frame(std::string& bytes, unsigned bits, std::string_view content)
{
    constexpr unsigned char mask[] = {0x5a, 0x01, 0xc3, 0x77};
    bytes += static_cast<char>(bits);
    if (content.size() < 126) {
        bytes += static_cast<char>(content.size() | 0x80U);
    } else {
        bytes += static_cast<char>(126 | 0x80U);
        bytes += static_cast<char>(content.size() >> 8U);
        bytes += static_cast<char>(content.size() & 0xffU);
    }
    bytes.append(reinterpret_cast<const char*>(mask), sizeof mask);
    for (std::size_t i = 0; i < content.size(); ++i) {
        bytes += static_cast<char>(static_cast<unsigned char>(content[i]) ^ mask[i % sizeof mask]);
    }
}

std::string frames(std::string_view input, Expected& expected)
{
    std::string bytes;
    while (input.size() >= 2) {
        const auto bits = static_cast<unsigned char>(input[0]);
        const auto length = static_cast<unsigned char>(input[1]);
        input.remove_prefix(2);
        std::string content(input.substr(0, length & 0x7fU));
        input.remove_prefix(content.size());
        if ((length & 0x80U) != 0) {
            const std::string once = content;
            for (int i = 1; i < 200; ++i) {
                content += once;
            }
        }
        append_frame(bytes, bits, content);
        expected.add(bits, content);
    }
    return bytes;
}

/// The messages in the frames that the server has sent.
std::vector<std::string> messages_of(std::string_view bytes)
{
    std::vector<std::string> messages;
    std::string message;
    bool is_inside = false;
    while (bytes.size() >= 2) {
        const auto bits = static_cast<unsigned char>(bytes[0]);
        std::size_t size = static_cast<unsigned char>(bytes[1]);
        const unsigned opcode = bits & 0x0fU;
        check((bits & reserved) == 0, "no bit is set that has no meaning");
        check(size < 0x80, "a server's frames are not masked");
        bytes.remove_prefix(2);
        const std::size_t more = size == 127 ? 8 : size == 126 ? 2 : 0;
        if (bytes.size() < more) {
            break;
        }
        if (more != 0) {
            size = 0;
            for (const char byte : bytes.substr(0, more)) {
                size = size << 8U | static_cast<unsigned char>(byte);
            }
            bytes.remove_prefix(more);
        }
        if (bytes.size() < size) {
            break; // the connection has ended on what we did
        }
        const std::string_view content = bytes.substr(0, size);
        bytes.remove_prefix(size);
        if (opcode >= CLOSE) {
            check(opcode <= PONG && (bits & fin) != 0 && size <= 125, "a frame that controls is small and whole");
            continue;
        }
        check(opcode == (is_inside ? CONTINUATION : TEXT), "a message begins as a text, and then goes on");
        message += content;
        is_inside = (bits & fin) == 0;
        if (!is_inside) {
            messages.push_back(std::exchange(message, {}));
        }
    }
    return messages;
}

bool is_prefix(const std::vector<std::string>& some, const std::vector<std::string>& all)
{
    return some.size() <= all.size() && std::equal(some.begin(), some.end(), all.begin());
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
    fuzz::Served& served = fuzz::Served::instance();
    const std::string_view input = fuzz::text_of(data + 1, size - 1);
    const bool is_raw = data[0] % 2 != 0;
    served.front.take_messages();
    {
        fuzz::Peer peer;
        peer.send("GET /rpc HTTP/1.1\r\nHost: test\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                  "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: AAECAwQFBgcICQoLDA0ODw==\r\n\r\n");
        check(peer.read_until("\r\n\r\n"), "a WebSocket opens");
        check(peer.take_input().starts_with("HTTP/1.1 101 "), "a WebSocket opens");
        Expected expected(served.options.frame_limit);
        peer.send(is_raw ? std::string(input) : frames(input, expected));
        peer.send_no_more();
        peer.read_all();

        const std::vector<std::string> answers = messages_of(peer.take_input());
        std::vector<std::string> seen = served.front.take_messages();
        if (!is_raw) {
            check(is_prefix(seen, expected.messages), "the front gets the messages that were sent");
            check(expected.is_over() || seen.size() == expected.messages.size(), "the front gets all of them");
        }
        for (const std::string& message : seen) {
            check(is_utf8(message), "a message is valid UTF-8");
        }
        std::erase(seen, std::string()); // has no answer
        check(is_prefix(answers, seen), "the answers come in the order of the messages");
    }
    fuzz::check_is_serving();
    return 0;
}
