// The real program in a process of its own.
//
// It is the one that the environment's BACKUP_SET_PROGRAM names, or else `backup-set` beside the test program or in the
// folder above it. A child that still runs at the end of its object is killed.
#pragma once

#include "tests/catalog/cli/cli_test.h"

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace cli_test {

/// The program's path. Throws std::runtime_error when there is none: that is a failure, not a reason to skip.
std::string program_path();

class Child
{
public:
    enum Errors
    {
        TO_PIPE,
        TO_TERMINAL ///< standard error is a terminal of its own
    };

    /// Starts the program. `prepare` runs in the child before it (limits, rights, other descriptors).
    explicit Child(const std::vector<std::string>& arguments, const std::function<void()>& prepare = {},
                   Errors errors = TO_PIPE);
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child();

    pid_t pid() const { return pid_; }

    /// Writes to its standard input; what it does not take, because it has gone, is dropped.
    void write(const std::string& text);
    void close_input();
    void close_output();

    /// The next line of its standard output, waiting for at most some seconds. False when none comes.
    bool read_line(std::string& line, double seconds = 30);

    void kill();

    /// Closes its input, reads all that it writes and waits for its end. An end by a signal is `-signal`.
    Result finish();

private:
    void read_some(int& descriptor, std::string& text);
    bool wait_for_output(double seconds);

    pid_t pid_ = -1;
    int in_ = -1;
    int out_ = -1;
    int err_ = -1;
    Result result_{0, {}, {}};
};

/// Runs the program with an input of its own and waits for its end.
Result run_child(const std::vector<std::string>& arguments, const std::string& input = {},
                 const std::function<void()>& prepare = {}, Child::Errors errors = Child::TO_PIPE);

} // namespace cli_test
