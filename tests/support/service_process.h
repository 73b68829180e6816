// `backup-set serve` in a process of its own, on a port of its own.
//
// The program is the one that the environment's BACKUP_SET_PROGRAM names, or else `backup-set` beside the test program or
// in the folder above it. A service that still runs at the end of its object is killed. Belongs to one thread.
#pragma once

#include "tests/support/temp_dir.h"

#include <csignal>
#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

class Service_Process
{
public:
    /// Starts the service on a free port of 127.0.0.1 (or on `port`) and waits until it listens. `arguments` are further
    /// options of `serve`. Throws std::runtime_error, with what the program said, when it ends instead.
    explicit Service_Process(const std::string& database_url, std::vector<std::string> arguments = {},
                             std::uint16_t port = 0);
    Service_Process(const Service_Process&) = delete;
    Service_Process& operator=(const Service_Process&) = delete;
    ~Service_Process();

    std::uint16_t port() const { return port_; }

    /// "http://127.0.0.1:PORT" and the path.
    std::string url(const std::string& path = {}) const;

    pid_t pid() const { return pid_; }

    /// What it has written on standard error.
    std::string errors() const;

    /// Sends the signal, and waits for its end. The exit code, or minus the signal that has ended it.
    int stop(int signal = SIGTERM);

    /// SIGKILL, and waits for its end.
    void kill();

private:
    void wait_until_listening();
    int wait_for_end();
    bool has_ended();

    Temp_Dir dir_;
    pid_t pid_ = -1;
    int status_ = 0;
    std::uint16_t port_ = 0;
};
