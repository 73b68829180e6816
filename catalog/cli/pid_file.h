// A file that holds the number of the running process, for those who want to signal it.
//
// The file is locked while the object lives: that, and not the number in it, tells whether its process runs. Belongs to
// one thread.
#pragma once

#include <memory>
#include <string>

namespace catalog::cli {

class Pid_File
{
public:
    /// Null, with the reason, when the file cannot be written or belongs to a process that runs.
    static std::unique_ptr<Pid_File> take(const std::string& name, std::string& fault);

    Pid_File(const Pid_File&) = delete;
    Pid_File& operator=(const Pid_File&) = delete;
    ~Pid_File(); ///< removes the file

private:
    Pid_File(std::string name, int descriptor) : name_(std::move(name)), descriptor_(descriptor) {}

    const std::string name_;
    const int descriptor_;
};

} // namespace catalog::cli
