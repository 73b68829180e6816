// Certificates for tests of TLS, made anew for each object: PEM files in a directory that goes away with it.
//
// One authority signs them all but those that say otherwise. Throws std::runtime_error when something cannot be made.
#pragma once

#include "tests/support/temp_dir.h"

#include <string>

/// The names of a certificate's file and of its private key's.
struct Certificate_Files
{
    std::string certificate;
    std::string key;
};

class Certificates
{
public:
    Certificates();

    const Temp_Dir& dir() const noexcept { return dir_; }

    /// The certificate of the authority.
    const std::string& authority() const noexcept { return authority_; }
    /// The certificate of an authority that signed none of the others.
    const std::string& other_authority() const noexcept { return other_authority_; }

    /// Of a server at localhost, 127.0.0.1 or ::1.
    const Certificate_Files& server() const noexcept { return server_; }
    /// Of a server at elsewhere.example only.
    const Certificate_Files& wrong_host() const noexcept { return wrong_host_; }
    /// Of a server as `server()`, whose time is over.
    const Certificate_Files& expired() const noexcept { return expired_; }
    /// Of a client.
    const Certificate_Files& client() const noexcept { return client_; }
    /// Of a client, signed by the other authority.
    const Certificate_Files& other_client() const noexcept { return other_client_; }

private:
    Temp_Dir dir_;
    std::string authority_;
    std::string other_authority_;
    Certificate_Files server_;
    Certificate_Files wrong_host_;
    Certificate_Files expired_;
    Certificate_Files client_;
    Certificate_Files other_client_;
};
