#include "catalog/cli/pid_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <utility>

namespace catalog::cli {

namespace {

/// Whether the file under the name is still the one that is open: its last owner may have removed it just now.
bool is_in_place(const std::string& name, int descriptor)
{
    struct stat named = {};
    struct stat open = {};
    return ::stat(name.c_str(), &named) == 0 && ::fstat(descriptor, &open) == 0 && named.st_ino == open.st_ino
           && named.st_dev == open.st_dev;
}

std::string owner_of(int descriptor)
{
    std::array<char, 32> text{};
    const ssize_t length = ::pread(descriptor, text.data(), text.size() - 1, 0);
    std::string owner(text.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    owner.erase(owner.find_last_not_of(" \n") + 1);
    return owner;
}

} // namespace

std::unique_ptr<Pid_File> Pid_File::take(const std::string& name, std::string& fault)
{
    while (true) {
        const int descriptor = ::open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
        if (descriptor < 0) {
            fault = "cannot write " + name + ": " + std::generic_category().message(errno);
            return nullptr;
        }
        if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
            fault = name + " belongs to a process that runs (" + owner_of(descriptor) + ")";
            ::close(descriptor);
            return nullptr;
        }
        if (!is_in_place(name, descriptor)) {
            ::close(descriptor);
            continue;
        }
        const std::string text = std::to_string(::getpid()) + "\n";
        if (::ftruncate(descriptor, 0) != 0
            || ::pwrite(descriptor, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()))
        {
            fault = "cannot write " + name + ": " + std::generic_category().message(errno);
            ::close(descriptor);
            return nullptr;
        }
        return std::unique_ptr<Pid_File>(new Pid_File(name, descriptor));
    }
}

Pid_File::~Pid_File()
{
    ::unlink(name_.c_str());
    ::close(descriptor_);
}

} // namespace catalog::cli
