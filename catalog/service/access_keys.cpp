#include "catalog/service/access_keys.h"

#include "platform/text/log.h"

#include <fcntl.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <functional>
#include <span>
#include <sstream>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>

namespace catalog::service {

namespace {

constexpr std::string_view scheme = "pbkdf2-sha256";

// Keys have 256 random bits: nobody finds one by guessing, with or without a costly hash. The cost only makes a stolen
// file a little less useful for keys that people may have made up by themselves.
constexpr int usual_rounds = 5000;
constexpr int most_rounds = 10'000'000;

constexpr std::size_t secret_size = 32;
constexpr std::size_t salt_size = 16;
constexpr std::size_t hash_size = 32;
constexpr std::size_t longest_name = 64;
constexpr std::size_t longest_key = 512;
constexpr std::size_t most_peers = 10'000;

using Hash_Bytes = std::array<unsigned char, hash_size>;

std::string hex(std::span<const unsigned char> bytes)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 0x0f];
    }
    return text;
}

bool read_hex(std::string_view text, std::span<unsigned char> bytes)
{
    if (text.size() != bytes.size() * 2) {
        return false;
    }
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const char* const end = text.data() + 2 * i + 2;
        const auto [stop, fault] = std::from_chars(text.data() + 2 * i, end, bytes[i], 16);
        if (fault != std::errc() || stop != end) {
            return false;
        }
    }
    return true;
}

template <std::size_t size>
std::array<unsigned char, size> random_bytes()
{
    std::array<unsigned char, size> bytes;
    if (RAND_bytes(bytes.data(), static_cast<int>(size)) != 1) {
        throw std::runtime_error("the system gives no random bytes");
    }
    return bytes;
}

Hash_Bytes derive(std::string_view secret, std::span<const unsigned char> salt, int rounds)
{
    Hash_Bytes bytes;
    if (PKCS5_PBKDF2_HMAC(secret.data(), static_cast<int>(secret.size()), salt.data(), static_cast<int>(salt.size()),
                          rounds, EVP_sha256(), static_cast<int>(bytes.size()), bytes.data())
        != 1)
    {
        throw std::runtime_error("the hash of an access key cannot be made");
    }
    return bytes;
}

struct Salted_Hash
{
    int rounds = 0;
    std::array<unsigned char, salt_size> salt{};
    Hash_Bytes hash{};
};

/// "pbkdf2-sha256:ROUNDS:SALT:HASH".
std::optional<Salted_Hash> read_hash(std::string_view text)
{
    std::array<std::string_view, 4> parts;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const std::size_t end = i + 1 == parts.size() ? text.size() : std::min(text.find(':'), text.size());
        parts[i] = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    Salted_Hash read;
    const char* const end = parts[1].data() + parts[1].size();
    const auto [stop, fault] = std::from_chars(parts[1].data(), end, read.rounds);
    if (parts[0] != scheme || fault != std::errc() || stop != end || read.rounds < 1 || read.rounds > most_rounds
        || !read_hex(parts[2], read.salt) || !read_hex(parts[3], read.hash))
    {
        return std::nullopt;
    }
    return read;
}

std::string system_fault(const std::string& what, int number)
{
    return what + ": " + std::generic_category().message(number);
}

/// A file descriptor that is closed at the end.
class Descriptor
{
public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor()
    {
        if (number_ >= 0) {
            ::close(number_);
        }
    }
    int get() const { return number_; }

private:
    int number_;
};

bool check_rights(const std::string& file, std::string& fault)
{
    struct stat status = {};
    if (::stat(file.c_str(), &status) != 0) {
        fault = system_fault("cannot read the access keys in " + file, errno);
        return false;
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        fault = "the access keys in " + file + " can be written by others than their owner: run chmod go-w";
        return false;
    }
    if ((status.st_mode & S_IROTH) != 0) {
        log_at(LM_WARNING, "The access keys in %C can be read by everybody.\n", file.c_str());
    }
    return true;
}

bool read_line(const std::string& line, Access_Key& key)
{
    std::istringstream words(line);
    std::string role;
    std::string more;
    if (!(words >> key.name >> role >> key.hash) || (words >> more)) {
        return false;
    }
    key.role = role_by_name(role);
    return is_access_key_name(key.name) && key.role != Role::NONE && read_hash(key.hash);
}

bool is_comment(const std::string& line)
{
    const std::size_t first = line.find_first_not_of(" \t\r");
    return first == std::string::npos || line[first] == '#';
}

std::string first_word(const std::string& line)
{
    std::string word;
    std::istringstream(line) >> word;
    return word;
}

bool write_all(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written < 0) {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

/// Puts `text` in the place of the file, whole or not at all.
bool replace_file(const std::string& file, const std::string& text, int folder, std::string& fault)
{
    const std::string fresh = file + ".new";
    {
        const Descriptor out(::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (out.get() < 0 || !write_all(out.get(), text) || ::fsync(out.get()) != 0) {
            fault = system_fault("cannot write " + fresh, errno);
            return false;
        }
    }
    if (::rename(fresh.c_str(), file.c_str()) != 0 || ::fsync(folder) != 0) {
        fault = system_fault("cannot write " + file, errno);
        return false;
    }
    return true;
}

/// Changes the lines of the file, one program at a time.
bool change_file(const std::string& file, bool make, std::string& fault,
                 const std::function<bool(std::vector<std::string>& lines)>& change)
{
    const std::filesystem::path parent = std::filesystem::path(file).parent_path();
    const std::string folder_name = parent.empty() ? "." : parent.string();
    const Descriptor folder(::open(folder_name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.get() < 0 || ::flock(folder.get(), LOCK_EX) != 0) {
        fault = system_fault("cannot use the folder " + folder_name, errno);
        return false;
    }
    std::vector<std::string> lines;
    std::error_code ignored; // what cannot be looked at is told when it is read
    if (!make || std::filesystem::exists(file, ignored)) {
        std::vector<Access_Key> keys;
        if (!read_access_keys(file, keys, fault)) {
            return false;
        }
        std::ifstream in(file);
        for (std::string line; std::getline(in, line);) {
            lines.push_back(line);
        }
    }
    if (!change(lines)) {
        return false;
    }
    std::string text;
    for (const std::string& line : lines) {
        text += line + '\n';
    }
    return replace_file(file, text, folder.get(), fault);
}

} // namespace

const char* role_name(Role role)
{
    switch (role) {
    case Role::READER:
        return "reader";
    case Role::WRITER:
        return "writer";
    case Role::OPERATOR:
        return "operator";
    case Role::NONE:
        break;
    }
    return "none";
}

Role role_by_name(std::string_view name)
{
    for (const Role role : {Role::READER, Role::WRITER, Role::OPERATOR}) {
        if (name == role_name(role)) {
            return role;
        }
    }
    return Role::NONE;
}

bool is_access_key_name(std::string_view name)
{
    const auto fits = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
    };
    return !name.empty() && name.size() <= longest_name && std::ranges::all_of(name, fits);
}

std::string hash_secret(std::string_view secret)
{
    const auto salt = random_bytes<salt_size>();
    return std::string(scheme) + ':' + std::to_string(usual_rounds) + ':' + hex(salt) + ':'
           + hex(derive(secret, salt, usual_rounds));
}

bool secret_matches(std::string_view secret, const std::string& hash)
{
    const std::optional<Salted_Hash> wanted = read_hash(hash);
    if (!wanted) {
        return false;
    }
    const Hash_Bytes found = derive(secret, wanted->salt, wanted->rounds);
    return CRYPTO_memcmp(found.data(), wanted->hash.data(), found.size()) == 0;
}

bool read_access_keys(const std::string& file, std::vector<Access_Key>& keys, std::string& fault)
{
    if (!check_rights(file, fault)) {
        return false;
    }
    std::ifstream in(file);
    if (!in) {
        fault = system_fault("cannot read the access keys in " + file, errno);
        return false;
    }
    std::vector<Access_Key> read;
    std::size_t number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (is_comment(line)) {
            continue;
        }
        const std::string place = file + ":" + std::to_string(number) + ": ";
        Access_Key key;
        if (!read_line(line, key)) {
            fault = place + "not a key: a line is NAME ROLE HASH, the role reader, writer or operator";
            return false;
        }
        if (std::ranges::find(read, key.name, &Access_Key::name) != read.end()) {
            fault = place + "a second key of the name " + key.name;
            return false;
        }
        read.push_back(std::move(key));
    }
    keys = std::move(read);
    return true;
}

bool add_access_key(const std::string& file, const std::string& name, Role role, std::string& key, std::string& fault)
{
    if (!is_access_key_name(name)) {
        fault = "a name of a key has letters, digits, '-' and '_', at most " + std::to_string(longest_name);
        return false;
    }
    const std::string secret = hex(random_bytes<secret_size>());
    const bool added = change_file(file, true, fault, [&](std::vector<std::string>& lines) {
        for (const std::string& line : lines) {
            if (first_word(line) == name) {
                fault = "there is a key of the name " + name + " already";
                return false;
            }
        }
        lines.push_back(name + ' ' + role_name(role) + ' ' + hash_secret(secret));
        return true;
    });
    if (added) {
        key = name + '.' + secret;
    }
    return added;
}

bool remove_access_key(const std::string& file, const std::string& name, std::string& fault)
{
    return change_file(file, false, fault, [&](std::vector<std::string>& lines) {
        const auto removed = std::erase_if(lines, [&](const std::string& line) { return first_word(line) == name; });
        if (removed == 0) {
            fault = "there is no key of the name " + name;
        }
        return removed != 0;
    });
}

std::unique_ptr<Access_Keys> Access_Keys::open(const std::string& file, std::string& fault)
{
    std::unique_ptr<Access_Keys> keys(new Access_Keys(file));
    keys->stamp_ = stamp_of(file);
    return read_access_keys(file, keys->keys_, fault) ? std::move(keys) : nullptr;
}

Access_Keys::Stamp Access_Keys::stamp_of(const std::string& file)
{
    struct stat status = {};
    if (::stat(file.c_str(), &status) != 0) {
        return {};
    }
    return {static_cast<long long>(status.st_ino), static_cast<long long>(status.st_size),
            status.st_mtim.tv_sec * 1'000'000'000LL + status.st_mtim.tv_nsec};
}

std::optional<Access_Key> Access_Keys::key_of(std::string_view name)
{
    const std::lock_guard lock(mutex_);
    const Stamp stamp = stamp_of(file_);
    if (stamp != stamp_) {
        stamp_ = stamp;
        std::string fault;
        if (!read_access_keys(file_, keys_, fault)) {
            log_at(LM_ERROR, "%C; the keys read before stay.\n", fault.c_str());
        }
    }
    const auto place = std::ranges::find(keys_, name, &Access_Key::name);
    return place != keys_.end() ? std::optional(*place) : std::nullopt;
}

std::optional<Principal> Access_Keys::find(std::string_view key)
{
    // A name that is not there takes as long as one that is.
    static const std::string nobody = hash_secret("");
    if (key.size() > longest_key) {
        return std::nullopt;
    }
    const std::size_t dot = std::min(key.find('.'), key.size());
    const std::string_view secret = key.substr(std::min(dot + 1, key.size()));
    const std::optional<Access_Key> found = key_of(key.substr(0, dot));
    if (!secret_matches(secret, found ? found->hash : nobody) || !found) {
        return std::nullopt;
    }
    return Principal{found->name, found->role};
}

bool Attempt_Limit::allows(const std::string& peer, Clock::time_point now)
{
    return wait(peer, now).count() == 0;
}

void Attempt_Limit::failed(const std::string& peer, Clock::time_point now)
{
    const std::lock_guard lock(mutex_);
    if (failures_.size() >= most_peers) {
        forget_old(now);
    }
    std::vector<Clock::time_point>& failures = failures_[peer];
    failures.push_back(now);
    if (failures.size() > most_) {
        failures.erase(failures.begin());
    }
}

std::chrono::seconds Attempt_Limit::wait(const std::string& peer, Clock::time_point now)
{
    const std::lock_guard lock(mutex_);
    const auto place = failures_.find(peer);
    if (place == failures_.end() || place->second.size() < most_) {
        return std::chrono::seconds(0);
    }
    const Clock::time_point free = place->second.front() + window_;
    return free > now ? std::chrono::ceil<std::chrono::seconds>(free - now) : std::chrono::seconds(0);
}

void Attempt_Limit::forget_old(Clock::time_point now)
{
    std::erase_if(failures_, [&](const auto& peer) { return peer.second.back() + window_ <= now; });
    if (failures_.size() >= most_peers) {
        failures_.clear(); // so many peers at once are not slowed down by counting
    }
}

} // namespace catalog::service
