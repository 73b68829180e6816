// A directory of its own for one test, removed with all that is in it at the end.
#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

class Temp_Dir
{
public:
    Temp_Dir()
    {
        std::string name = (std::filesystem::temp_directory_path() / "backup-set-test-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), "cannot make " + name);
        }
        path_ = name;
    }
    Temp_Dir(const Temp_Dir&) = delete;
    Temp_Dir& operator=(const Temp_Dir&) = delete;
    ~Temp_Dir()
    {
        std::error_code ignored; // what cannot be removed stays behind in the system's directory for such files
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& path() const noexcept { return path_; }

    /// The full name of a file in the directory.
    std::string file(const std::string& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};
