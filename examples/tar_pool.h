// How the file agent keeps data in a pool directory: files that appear whole or not at all, SHA-256 of all that is
// written, tar segments.
//
// Knows nothing of backup sets. Objects belong to one thread at a time. What fails throws std::runtime_error.
#pragma once

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <openssl/evp.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <utility>
#include <vector>

namespace tar_pool {

namespace fs = std::filesystem;

[[noreturn]] inline void fail(const fs::path& path, const std::string& reason)
{
    throw std::runtime_error(path.string() + ": " + reason);
}

[[noreturn]] inline void fail_with_errno(const fs::path& path)
{
    fail(path, std::strerror(errno));
}

/// A path as a file URI spells it: any bytes, UTF-8 or not, become plain ASCII and stay distinct.
inline std::string percent_encoded(std::string_view path)
{
    constexpr std::string_view plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (const char c : path) {
        if (plain.find(c) != std::string_view::npos) {
            text += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            text += {'%', digits[byte >> 4], digits[byte & 15]};
        }
    }
    return text;
}

class SHA256
{
public:
    SHA256() { check(EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr)); }

    void add(const void* bytes, std::size_t length) { check(EVP_DigestUpdate(context_.get(), bytes, length)); }

    /// The digest of all bytes so far, as 64 hexadecimal digits. To be asked once, last.
    std::string hex()
    {
        constexpr std::string_view digits = "0123456789abcdef";
        std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
        unsigned length = 0;
        check(EVP_DigestFinal_ex(context_.get(), digest.data(), &length));
        std::string text;
        for (unsigned i = 0; i < length; ++i) {
            text += {digits[digest[i] >> 4], digits[digest[i] & 15]};
        }
        return text;
    }

private:
    static void check(int done)
    {
        if (done != 1) {
            throw std::runtime_error("SHA-256 failed");
        }
    }

    std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context_{EVP_MD_CTX_new(), EVP_MD_CTX_free};
};

/// A descriptor that is closed at the end of the scope. -1: it could not be opened, see errno.
class Descriptor
{
public:
    Descriptor(const fs::path& path, int flags) : fd_(::open(path.c_str(), flags | O_CLOEXEC)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor()
    {
        if (fd_ != -1) {
            ::close(fd_);
        }
    }

    int get() const { return fd_; }

private:
    int fd_;
};

/// A file that gets its name when all of it is on the disk. Dropped before that, it leaves nothing behind.
class New_File
{
public:
    explicit New_File(fs::path path) :
        path_(std::move(path)), part_(path_.string() + ".part"), file_(std::fopen(part_.c_str(), "wbxe"))
    {
        if (file_ == nullptr) {
            fail_with_errno(part_);
        }
    }
    New_File(const New_File&) = delete;
    New_File& operator=(const New_File&) = delete;
    ~New_File()
    {
        if (file_ != nullptr) {
            std::fclose(file_);
            ::unlink(part_.c_str());
        }
    }

    void write(std::string_view bytes)
    {
        if (!try_write(bytes.data(), bytes.size())) {
            fail_with_errno(part_);
        }
    }
    bool try_write(const void* bytes, std::size_t length)
    {
        sha256_.add(bytes, length);
        size_ += length;
        return std::fwrite(bytes, 1, length, file_) == length;
    }

    std::uint64_t size() const { return size_; }
    std::string sha256() { return sha256_.hex(); } ///< of all that was written; to be asked once, last

    /// Brings the file, its times and its mode to the disk and gives it its name.
    void finish(mode_t mode = 0600, const timespec* modified = nullptr)
    {
        const int fd = ::fileno(file_);
        const std::array times{timespec{0, UTIME_NOW}, modified != nullptr ? *modified : timespec{0, UTIME_NOW}};
        const Descriptor directory(path_.has_parent_path() ? path_.parent_path() : ".", O_RDONLY | O_DIRECTORY);
        if (std::fflush(file_) != 0 || ::fchmod(fd, mode) != 0 || ::futimens(fd, times.data()) != 0 || ::fsync(fd) != 0
            || ::rename(part_.c_str(), path_.c_str()) != 0 || directory.get() == -1 || ::fsync(directory.get()) != 0)
        {
            fail_with_errno(path_);
        }
        std::fclose(std::exchange(file_, nullptr)); // nothing is left to be written
    }

private:
    fs::path path_;
    fs::path part_;
    std::FILE* file_;
    SHA256 sha256_;
    std::uint64_t size_ = 0;
};

/// What is to be backed up cannot be read: a reason to leave it out, not to end the run.
class Unreadable : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// A tar file being written. The GNU format takes names as they are, whatever their bytes and their length.
class Tar_Segment
{
public:
    explicit Tar_Segment(const fs::path& path) : file(path)
    {
        check(archive_write_set_format_gnutar(archive_.get()));
        check(archive_write_set_bytes_in_last_block(archive_.get(), 1));
        check(archive_write_open(archive_.get(), &file, nullptr, write, nullptr));
    }

    /// Adds the file, directory or link at `path`, of which lstat(2) said `status`, as `name`. Returns the SHA-256 of a
    /// file's content, else an empty text. Throws Unreadable; an entry that was begun then ends in zeros.
    std::string add(const std::string& name, const fs::path& path, const struct stat& status)
    {
        const std::unique_ptr<archive_entry, void (*)(archive_entry*)> entry(archive_entry_new(), archive_entry_free);
        archive_entry_copy_pathname(entry.get(), name.c_str());
        archive_entry_copy_stat(entry.get(), &status);
        if (S_ISLNK(status.st_mode)) {
            std::error_code error;
            archive_entry_copy_symlink(entry.get(), fs::read_symlink(path, error).c_str());
            if (error) {
                throw Unreadable(error.message());
            }
        }
        if (!S_ISREG(status.st_mode)) {
            check(archive_write_header(archive_.get(), entry.get()));
            return {};
        }
        const Descriptor source(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
        if (source.get() == -1) {
            throw Unreadable(std::strerror(errno));
        }
        check(archive_write_header(archive_.get(), entry.get()));
        return add_content(source.get(), static_cast<std::size_t>(status.st_size));
    }

    void close() { check(archive_write_close(archive_.get())); }

    New_File file; ///< complete after `close`

private:
    // Exactly `size` bytes: what a file gains while it is read is left to the next run.
    std::string add_content(int source, std::size_t size)
    {
        SHA256 sha256;
        while (size > 0) {
            const ssize_t count = ::read(source, buffer_.data(), std::min(size, buffer_.size()));
            if (count <= 0) {
                throw Unreadable(count == 0 ? "became shorter while it was read" : std::strerror(errno));
            }
            const auto length = static_cast<std::size_t>(count);
            sha256.add(buffer_.data(), length);
            if (archive_write_data(archive_.get(), buffer_.data(), length) != count) {
                check(ARCHIVE_FATAL);
            }
            size -= length;
        }
        return sha256.hex();
    }

    void check(int result)
    {
        if (result < ARCHIVE_WARN) {
            throw std::runtime_error(archive_error_string(archive_.get()));
        }
    }

    static la_ssize_t write(archive* archive, void* file, const void* bytes, std::size_t length)
    {
        if (static_cast<New_File*>(file)->try_write(bytes, length)) {
            return static_cast<la_ssize_t>(length);
        }
        archive_set_error(archive, errno, "cannot write the segment: %s", std::strerror(errno));
        return ARCHIVE_FATAL;
    }

    std::unique_ptr<archive, int (*)(archive*)> archive_{archive_write_new(), archive_write_free};
    std::vector<char> buffer_ = std::vector<char>(1 << 18);
};

/// Calls `take(bytes, length)` for the content of the file called `name` in a tar file.
template <class Take>
void read_from_tar(const fs::path& tar, const std::string& name, Take take)
{
    const std::unique_ptr<archive, int (*)(archive*)> reader(archive_read_new(), archive_read_free);
    const auto check = [&](int result) {
        if (result < ARCHIVE_WARN) {
            fail(tar, archive_error_string(reader.get()));
        }
        return result != ARCHIVE_EOF;
    };
    check(archive_read_support_format_tar(reader.get()));
    check(archive_read_open_filename(reader.get(), tar.c_str(), 1 << 16));
    archive_entry* entry = nullptr;
    while (check(archive_read_next_header(reader.get(), &entry))) {
        if (name == archive_entry_pathname(entry)) {
            const void* bytes = nullptr;
            std::size_t length = 0;
            la_int64_t offset = 0;
            while (check(archive_read_data_block(reader.get(), &bytes, &length, &offset))) {
                take(bytes, length);
            }
            return;
        }
    }
    fail(tar, "does not hold " + name);
}

} // namespace tar_pool
