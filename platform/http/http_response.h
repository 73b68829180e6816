// Answers to HTTP requests.
#pragma once

#include "platform/export.h"
#include "platform/http/http_headers.h"

#include <ace/Basic_Types.h>

/// A status and headers, as a gateway's answer has them.
class BACKUP_PLATFORM_EXPORT CGI_Response
{
public:
    int status() const { return status_; } ///< 0: there was no answer
    void status(int code) { status_ = code; }

    const HTTP_Headers& headers() const { return headers_; }
    HTTP_Headers& headers() { return headers_; }

private:
    int status_ = 0;
    HTTP_Headers headers_;
};

// The rules of the headers that frame a message; shared by requests and responses.
BACKUP_PLATFORM_EXPORT ACE_UINT64 http_content_length(const HTTP_Headers& headers);
BACKUP_PLATFORM_EXPORT void http_content_length(HTTP_Headers& headers, ACE_UINT64 length);
BACKUP_PLATFORM_EXPORT bool http_keep_alive(const HTTP_Headers& headers, int minor_version);
BACKUP_PLATFORM_EXPORT void http_keep_alive(HTTP_Headers& headers, bool keep);
BACKUP_PLATFORM_EXPORT bool http_chunked(const HTTP_Headers& headers);
BACKUP_PLATFORM_EXPORT void http_chunked(HTTP_Headers& headers, bool chunked);

/// A message over HTTP/1.x: `Message` with a minor version and the accessors of the headers that frame it.
template <class Message>
class HTTP_Base : public Message
{
public:
    using Message::Message;

    int minor_version() const { return minor_version_; }
    void minor_version(int version) { minor_version_ = version; }

    /// Decimal; 0 when absent.
    ACE_UINT64 content_length() const { return http_content_length(this->headers()); }
    void content_length(ACE_UINT64 length) { http_content_length(this->headers(), length); }

    /// "close" in the connection header says no, "Keep-Alive" yes; else yes exactly when the minor version is above 0.
    bool keep_alive() const { return http_keep_alive(this->headers(), minor_version_); }
    void keep_alive(bool keep) { http_keep_alive(this->headers(), keep); }

    /// True only when the transfer encoding is exactly "chunked".
    bool chunked_transfer_encoding() const { return http_chunked(this->headers()); }
    void chunked_transfer_encoding(bool chunked) { http_chunked(this->headers(), chunked); }

private:
    int minor_version_ = 1;
};

using HTTP_Response = HTTP_Base<CGI_Response>;
