// A blocking TCP client for tests of servers: it sends the bytes that it is told and reads what comes, with a deadline.
//
// Knows as much of HTTP replies and of WebSocket frames as is needed to look at them. What goes wrong throws
// std::runtime_error. Belongs to one thread.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

class Raw_Client
{
public:
    struct Reply
    {
        int status = 0;
        std::map<std::string, std::string> headers; ///< names in lower case
        std::string body;
        bool is_whole = false; ///< false when the connection ended before the body did

        std::string header(const std::string& name) const
        {
            const auto found = headers.find(name);
            return found == headers.end() ? std::string() : found->second;
        }
    };
    struct Frame
    {
        unsigned opcode = 0; ///< 0 continuation, 1 text, 2 binary, 8 close, 9 ping, 10 pong
        bool last = true;
        std::string text;

        /// The code of a close frame; 0 when it has none.
        unsigned close_code() const;
    };

    explicit Raw_Client(std::uint16_t port, const std::string& address = "127.0.0.1");
    Raw_Client(const Raw_Client&) = delete;
    Raw_Client& operator=(const Raw_Client&) = delete;
    Raw_Client(Raw_Client&& other) noexcept;
    ~Raw_Client();

    /// Sends all of it.
    void send(std::string_view bytes);
    /// Sends what the connection takes at once; how much that was. 0 when it is full or has ended.
    std::size_t send_some(std::string_view bytes);
    /// Says that no more will be sent.
    void shut_down();
    /// Makes the buffer for received bytes small.
    void receive_little();

    /// Reads a reply; `head` when it has no body whatever its header says.
    Reply read_reply(bool head = false);
    /// Sends a request and reads its reply.
    Reply ask(std::string_view request);

    /// Takes the connection to WebSocket, and gives the server's reply to that. `headers` are whole lines.
    Reply upgrade(const std::string& path = "/rpc", const std::string& headers = {});
    /// Sends a frame, masked as a client has to.
    void send_frame(unsigned opcode, std::string_view text, bool last = true);
    void send_text(std::string_view text) { send_frame(1, text); }
    Frame read_frame();
    /// The next message, put together; answers pings on the way.
    std::string read_message();

    /// The next byte has come, or the end.
    bool has_input(std::chrono::milliseconds patience);
    /// Reads until the connection ends; false when that takes too long.
    bool ends(std::chrono::milliseconds patience = std::chrono::seconds(20));

    static std::string frame(unsigned opcode, std::string_view text, bool last = true);

private:
    /// Waits for more bytes; false at the end of the connection.
    bool receive(std::chrono::steady_clock::time_point deadline);
    std::string take(std::size_t size);
    void need(std::size_t size);

    int socket_ = -1;
    std::string input_;
};
