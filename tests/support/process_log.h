// What all threads of the process log through ACE while the object lives; nothing of it reaches the standard error output.
//
// One at a time. Must not be mixed with a Log_Capture. Thread-safe.
#pragma once

#include <ace/Log_Msg_Backend.h>

#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

class Process_Log : private ACE_Log_Msg_Backend
{
public:
    Process_Log();
    Process_Log(const Process_Log&) = delete;
    Process_Log& operator=(const Process_Log&) = delete;
    ~Process_Log() override;

    /// All texts one after the other.
    std::string text() const;
    /// How many messages have `part` in their text.
    std::size_t count(std::string_view part) const;

private:
    int open(const ACE_TCHAR*) override { return 0; }
    int reset() override { return 0; }
    int close() override { return 0; }
    ssize_t log(ACE_Log_Record& record) override;

    mutable std::mutex mutex_;
    std::vector<std::string> texts_;
    ACE_Log_Msg_Backend* previous_;
};
