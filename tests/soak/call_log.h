// What the calling thread has logged during a call: the operators answer false for a refusal and for silence alike, and only
// their log lines tell the two apart.
#pragma once

#include "tests/soak/set_model.h"

#include <ace/Log_Msg_Backend.h>

#include <optional>
#include <string>

namespace soak {

/// While it lives, what is logged goes to the thread that logs it and not to the standard error output. One at a time.
class Call_Log : private ACE_Log_Msg_Backend
{
public:
    Call_Log();
    Call_Log(const Call_Log&) = delete;
    Call_Log& operator=(const Call_Log&) = delete;
    ~Call_Log() override;

    /// Forgets what the calling thread has logged.
    static void clear();

    /// How often a request of the calling thread was repeated.
    static int repeats();

    /// The errors that the calling thread has logged.
    static const std::string& errors();

    /// What the errors say about a call that was false; nothing when they fit no answer that a service may give here.
    static std::optional<Outcome> outcome();

private:
    int open(const ACE_TCHAR*) override { return 0; }
    int reset() override { return 0; }
    int close() override { return 0; }
    ssize_t log(ACE_Log_Record& record) override;

    ACE_Log_Msg_Backend* previous_;
};

} // namespace soak
