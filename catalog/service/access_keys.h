// The access keys of the service: who may ask for what.
//
// A key is "NAME.SECRET". The file keeps one key a line, "NAME ROLE HASH", beside empty lines and comments ("# …"); it
// holds no secret, only salted hashes. Whoever can write the file can let himself in, so one that others can write is
// refused.
#pragma once

#include "catalog/service/front.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace catalog::service {

/// "reader", "writer", "operator"; "none" for NONE.
const char* role_name(Role role);

/// NONE when there is no such role that a key may have.
Role role_by_name(std::string_view name);

struct Access_Key
{
    std::string name;
    Role role = Role::NONE;
    std::string hash;
};

/// A name of a key: letters, digits, '-' and '_', at most 64.
bool is_access_key_name(std::string_view name);

/// The salted hash of a secret, as the file keeps it.
std::string hash_secret(std::string_view secret);

/// Whether a secret belongs to a hash. Takes the same time whatever the answer, about a millisecond.
bool secret_matches(std::string_view secret, const std::string& hash);

/// The keys of a file, as it stands. False, with the reason, when it cannot be used.
bool read_access_keys(const std::string& file, std::vector<Access_Key>& keys, std::string& fault);

/// Adds a key to the file, which is made when missing, and gives the whole key: it is not to be had again.
bool add_access_key(const std::string& file, const std::string& name, Role role, std::string& key, std::string& fault);

/// Takes a key out of the file. False as well when there is none of that name.
bool remove_access_key(const std::string& file, const std::string& name, std::string& fault);

/// The keys of a file while the service runs: a file that changes is read again. Thread-safe.
class Access_Keys
{
public:
    /// Null, with the reason, when the file cannot be used.
    static std::unique_ptr<Access_Keys> open(const std::string& file, std::string& fault);

    /// Whom a key belongs to, or nothing. Takes about a millisecond: not for a thread that serves connections.
    std::optional<Principal> find(std::string_view key);

private:
    struct Stamp
    {
        long long inode = 0;
        long long size = 0;
        long long time_ns = 0;

        friend bool operator==(const Stamp&, const Stamp&) = default;
    };

    explicit Access_Keys(std::string file) : file_(std::move(file)) {}

    static Stamp stamp_of(const std::string& file);
    std::optional<Access_Key> key_of(std::string_view name);

    const std::string file_;
    std::mutex mutex_;
    Stamp stamp_;
    std::vector<Access_Key> keys_;
};

/// Counts the failed attempts of each peer in a sliding window. Thread-safe.
class Attempt_Limit
{
public:
    using Clock = std::chrono::steady_clock;

    Attempt_Limit(std::size_t most, Clock::duration window) : most_(most), window_(window) {}

    /// False while the peer has failed too often.
    bool allows(const std::string& peer, Clock::time_point now = Clock::now());

    void failed(const std::string& peer, Clock::time_point now = Clock::now());

    /// How long until the peer may try again.
    std::chrono::seconds wait(const std::string& peer, Clock::time_point now = Clock::now());

private:
    void forget_old(Clock::time_point now);

    const std::size_t most_;
    const Clock::duration window_;
    std::mutex mutex_;
    std::map<std::string, std::vector<Clock::time_point>> failures_; ///< of each peer, at most `most_`, oldest first
};

} // namespace catalog::service
