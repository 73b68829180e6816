#include "platform/http/detail/http_transport.h"

#include <curl/curl.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <ctime>
#include <exception>
#include <new>
#include <string_view>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t head_limit = 64u << 10; ///< bytes of an answer's heads and trailers together

/// Once per process, whichever thread comes first.
bool start_curl()
{
    static const bool started = ::curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return started;
}

/// Curl is kept from changing signal handlers. Then, with some of its TLS libraries, writing to a connection that has gone
/// would end the process.
class Sigpipe_Guard
{
public:
    Sigpipe_Guard()
    {
        ::sigemptyset(&pipe_);
        ::sigaddset(&pipe_, SIGPIPE);
        sigset_t pending;
        ::sigpending(&pending);
        was_pending_ = ::sigismember(&pending, SIGPIPE) == 1;
        ::pthread_sigmask(SIG_BLOCK, &pipe_, &before_);
    }
    Sigpipe_Guard(const Sigpipe_Guard&) = delete;
    Sigpipe_Guard& operator=(const Sigpipe_Guard&) = delete;
    ~Sigpipe_Guard()
    {
        if (!was_pending_) {
            const timespec at_once{};
            ::sigtimedwait(&pipe_, nullptr, &at_once);
        }
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }

private:
    sigset_t pipe_;
    sigset_t before_;
    bool was_pending_;
};

/// The host as a URL names it; empty for what is neither a name nor an address.
std::string url_host(const std::string& host)
{
    if (host.find(':') != std::string::npos) {
        const bool bracketed = host.front() == '[' && host.back() == ']';
        const std::string inner = bracketed ? host.substr(1, host.size() - 2) : host;
        const std::size_t percent = inner.find('%');
        const std::string address = inner.substr(0, percent);
        const std::string zone = percent == std::string::npos ? std::string() : inner.substr(percent + 1);
        in6_addr parsed;
        if (::inet_pton(AF_INET6, address.c_str(), &parsed) != 1
            || zone.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-")
                   != std::string::npos)
        {
            return {};
        }
        return '[' + address + (zone.empty() ? "" : "%25" + zone) + ']';
    }
    const bool is_name = std::ranges::all_of(host, [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '-'
               || c == '_' || static_cast<unsigned char>(c) >= 0x80;
    });
    return is_name ? host : std::string();
}

/// Where one answer goes.
struct Intake
{
    HTTP_Response& response;
    std::string& body;
    const std::size_t limit;
    const Clock::duration stall_timeout;

    Clock::time_point last_byte{};
    curl_off_t bytes = 0;
    std::size_t head_bytes = 0;
    int status = 0; ///< of the head that is being read
    bool connected = false;
    bool has_head = false;
    bool stalled = false;
    bool too_large = false;
    std::exception_ptr thrown{};

    void touch() { last_byte = Clock::now(); }

    void take_header(std::string_view line)
    {
        while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) {
            line.remove_suffix(1);
        }
        if (has_head) {
            return; // trailers
        }
        if (line.empty()) {
            has_head = status >= 200; // else more heads follow
            response.status(status);
        } else if (line.starts_with("HTTP/1.") && line.size() >= 12) {
            response.headers() = {};
            response.minor_version(line[7] - '0');
            status = std::atoi(line.data() + 9);
        } else if (const std::size_t colon = line.find(':'); colon != std::string_view::npos) {
            std::string_view value = line.substr(colon + 1);
            const std::size_t begin = value.find_first_not_of(" \t");
            value = begin == std::string_view::npos ? std::string_view()
                                                    : value.substr(begin, value.find_last_not_of(" \t") - begin + 1);
            response.headers().append(line.substr(0, colon), value);
        }
    }
};

// Curl's callbacks. Nothing may be thrown through its frames.

std::size_t on_header(char* data, std::size_t, std::size_t length, void* context)
{
    Intake& intake = *static_cast<Intake*>(context);
    try {
        intake.touch();
        if (length > head_limit - intake.head_bytes) {
            intake.too_large = true;
            return 0;
        }
        intake.head_bytes += length;
        intake.take_header(std::string_view(data, length));
        return length;
    } catch (...) {
        intake.thrown = std::current_exception();
        return 0;
    }
}

std::size_t on_body(char* data, std::size_t, std::size_t length, void* context)
{
    Intake& intake = *static_cast<Intake*>(context);
    try {
        intake.touch();
        if (length > intake.limit - intake.body.size()) {
            intake.too_large = true;
            return CURL_WRITEFUNC_ERROR;
        }
        intake.body.append(data, length);
        return length;
    } catch (...) {
        intake.thrown = std::current_exception();
        return CURL_WRITEFUNC_ERROR;
    }
}

int on_connected(void* context, char*, char*, int, int)
{
    Intake& intake = *static_cast<Intake*>(context);
    intake.connected = true;
    intake.touch();
    return CURL_PREREQFUNC_OK;
}

int on_progress(void* context, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent)
{
    Intake& intake = *static_cast<Intake*>(context);
    if (received + sent != intake.bytes) {
        intake.bytes = received + sent;
        intake.touch();
    }
    intake.stalled = intake.connected && Clock::now() - intake.last_byte >= intake.stall_timeout;
    return intake.stalled ? 1 : 0;
}

/// A list of header lines in the making.
class Header_List
{
public:
    Header_List() = default;
    Header_List(const Header_List&) = delete;
    Header_List& operator=(const Header_List&) = delete;
    ~Header_List() { ::curl_slist_free_all(list_); }

    void add(const std::string& line)
    {
        curl_slist* longer = ::curl_slist_append(list_, line.c_str());
        if (longer == nullptr) {
            throw std::bad_alloc();
        }
        list_ = longer;
    }

    curl_slist* get() const { return list_; }

private:
    curl_slist* list_ = nullptr;
};

/// Header fields that this file or curl writes.
bool is_own_header(const std::string& name)
{
    static constexpr HTTP_Headers::Number own[] = {HTTP_Headers::CONTENT_LENGTH, HTTP_Headers::EXPECT,
                                                   HTTP_Headers::TRANSFER_ENCODING, HTTP_Headers::UPGRADE};
    return std::ranges::any_of(
        own, [&name](int number) { return ::strcasecmp(name.c_str(), HTTP_Headers::name(number)) == 0; });
}

/// Whether the same request would fail in the same way again. A server whose certificate is not trusted may be put right
/// while the request waits; our own files and memory are not the network's matter.
bool is_hopeless(CURLcode code)
{
    switch (code) {
    case CURLE_BAD_FUNCTION_ARGUMENT:
    case CURLE_FAILED_INIT:
    case CURLE_NOT_BUILT_IN:
    case CURLE_OUT_OF_MEMORY:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_UNKNOWN_OPTION:
    case CURLE_URL_MALFORMAT:
        return true;
    default:
        return false;
    }
}

long milliseconds(int seconds)
{
    return std::max(seconds, 1) * 1000L;
}

const char* text_or_null(const std::string& text)
{
    return text.empty() ? nullptr : text.c_str();
}

} // namespace

/// A curl handle, which keeps the connection, and the process that it belongs to.
struct HTTP_Transport::Handle
{
    Handle() : curl(start_curl() ? ::curl_easy_init() : nullptr), owner(::getpid()) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle()
    {
        if (curl == nullptr) {
            return;
        }
        if (owner != ::getpid()) {
            leave_connection_to_parent();
        }
        const Sigpipe_Guard no_sigpipe;
        ::curl_easy_cleanup(curl);
    }

    template <class Value>
    void set(CURLoption option, Value value)
    {
        if (code == CURLE_OK) {
            code = (curl_easy_setopt)(curl, option, value); // in brackets: the function, not the checking macro
        }
    }

    /// After a fork the connection is the parent's: closing the handle must not say farewell on it.
    void leave_connection_to_parent() const
    {
        curl_socket_t connection = CURL_SOCKET_BAD;
        ::curl_easy_getinfo(curl, CURLINFO_ACTIVESOCKET, &connection);
        const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
        if (connection != CURL_SOCKET_BAD && nowhere >= 0) {
            ::dup2(nowhere, connection);
        }
        if (nowhere >= 0) {
            ::close(nowhere);
        }
    }

    CURL* const curl;
    const pid_t owner;
    CURLcode code = CURLE_OK; ///< of the first option that was refused
};

HTTP_Transport::HTTP_Transport(const std::string& host, std::uint16_t port, bool ssl,
                               const HTTP_Client_Options& options) :
    options_(options)
{
    const std::string named = url_host(host);
    place_ = (named.empty() ? "(no host)" : named) + ':' + std::to_string(port);
    if (!named.empty() && port != 0) {
        url_ = (ssl ? "https://" : "http://") + place_ + '/';
    }
}

HTTP_Transport::~HTTP_Transport() = default;

HTTP_Transport::Result HTTP_Transport::exchange(const Message& message, HTTP_Response& response, std::string& body)
{
    response = {};
    body.clear();
    if (url_.empty()) {
        return {Outcome::HOPELESS, "there is no such host or port"};
    }
    const auto is_visible = [](char c) { return c > 0x20 && c < 0x7f; };
    if (!message.target.starts_with('/') || !std::ranges::all_of(message.target, is_visible)) {
        return {Outcome::HOPELESS, "the path is not one that can be sent"};
    }

    const std::lock_guard lock(turn_);
    if (handle_ == nullptr || handle_->owner != ::getpid()) {
        handle_.reset();
        handle_ = std::make_unique<Handle>();
    }
    if (handle_->curl == nullptr) {
        handle_.reset();
        return {Outcome::HOPELESS, "libcurl cannot be started"};
    }
    Result result = perform(message, response, body);
    if (result.outcome != Outcome::ANSWERED) {
        response = {};
        body.clear();
    }
    return result;
}

HTTP_Transport::Result HTTP_Transport::perform(const Message& message, HTTP_Response& response, std::string& body)
{
    Header_List headers;
    for (const auto& [name, value] : message.headers.all()) {
        if (!is_own_header(name)) {
            std::string line = name;
            line += value.empty() ? ";" : ": ";
            headers.add(line += value);
        }
    }
    headers.add("Expect:"); // not sent: bodies follow at once
    if (message.headers.get(HTTP_Headers::CONTENT_TYPE) == nullptr) {
        headers.add("Content-Type:"); // else that of a form
    }

    Intake intake{response, body, options_.response_limit, std::chrono::seconds(std::max(options_.stall_timeout_s, 1))};
    char error[CURL_ERROR_SIZE] = "";

    Handle& handle = *handle_;
    ::curl_easy_reset(handle.curl); // keeps the connection
    handle.code = CURLE_OK;
    handle.set(CURLOPT_ERRORBUFFER, error);
    handle.set(CURLOPT_NOSIGNAL, 1L);
    handle.set(CURLOPT_URL, url_.c_str());
    handle.set(CURLOPT_REQUEST_TARGET, message.target.c_str());
    handle.set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    handle.set(CURLOPT_PROXY, "");
    handle.set(CURLOPT_FOLLOWLOCATION, 0L);
    handle.set(CURLOPT_MAXCONNECTS, 1L);
    handle.set(CURLOPT_CONNECTTIMEOUT_MS, milliseconds(options_.connect_timeout_s));
    handle.set(CURLOPT_TIMEOUT_MS, milliseconds(options_.request_timeout_s));

    handle.set(CURLOPT_SSL_VERIFYPEER, 1L);
    handle.set(CURLOPT_SSL_VERIFYHOST, 2L);
    handle.set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    if (!options_.certificate_authority.empty()) {
        handle.set(CURLOPT_CAINFO, options_.certificate_authority.c_str());
        handle.set(CURLOPT_CAPATH, static_cast<const char*>(nullptr)); // else the system's are trusted as well
    }
    handle.set(CURLOPT_SSLCERT, text_or_null(options_.client_certificate));
    handle.set(CURLOPT_SSLKEY, text_or_null(options_.client_key));

    if (std::string_view(message.method) == "HEAD") {
        handle.set(CURLOPT_NOBODY, 1L);
    } else if (message.body != nullptr) {
        handle.set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(message.body->size()));
        handle.set(CURLOPT_POSTFIELDS, message.body->c_str());
    }
    handle.set(CURLOPT_CUSTOMREQUEST, message.method);
    handle.set(CURLOPT_HTTPHEADER, headers.get());

    handle.set(CURLOPT_HEADERFUNCTION, &on_header);
    handle.set(CURLOPT_HEADERDATA, static_cast<void*>(&intake));
    handle.set(CURLOPT_WRITEFUNCTION, &on_body);
    handle.set(CURLOPT_WRITEDATA, static_cast<void*>(&intake));
    handle.set(CURLOPT_PREREQFUNCTION, &on_connected);
    handle.set(CURLOPT_PREREQDATA, static_cast<void*>(&intake));
    handle.set(CURLOPT_NOPROGRESS, 0L);
    handle.set(CURLOPT_XFERINFOFUNCTION, &on_progress);
    handle.set(CURLOPT_XFERINFODATA, static_cast<void*>(&intake));

    CURLcode code = handle.code;
    if (code == CURLE_OK) {
        const Sigpipe_Guard no_sigpipe;
        code = ::curl_easy_perform(handle.curl);
    }
    ::curl_easy_reset(handle.curl); // forgets what stands on this stack

    if (intake.thrown) {
        std::rethrow_exception(intake.thrown);
    }
    if (code == CURLE_OK) { // also when the connection ended within the head
        return intake.has_head ? Result{Outcome::ANSWERED, {}}
                               : Result{Outcome::NOT_DELIVERED, "the answer broke off within its head"};
    }
    if (intake.too_large) {
        return {Outcome::HOPELESS, "the answer is longer than " + std::to_string(intake.limit)
                                       + " bytes, or its head than " + std::to_string(head_limit)};
    }
    if (intake.stalled) {
        return {Outcome::NOT_DELIVERED,
                "not a byte for " + std::to_string(std::max(options_.stall_timeout_s, 1)) + " s"};
    }
    return {is_hopeless(code) ? Outcome::HOPELESS : Outcome::NOT_DELIVERED,
            error[0] != '\0' ? error : ::curl_easy_strerror(code)};
}
