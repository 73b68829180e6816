// What the calling thread logs through ACE while the object lives.
//
// Belongs to the thread that made it and must be destroyed there. Captures may be nested: the inner one takes the
// records until it ends. With `Log_Capture::Quiet` (the default) nothing reaches the standard error output meanwhile;
// that holds for the whole process, because ACE keeps its flags once per process.
#pragma once

#include <ace/Log_Msg_Callback.h>
#include <ace/Log_Priority.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

class Log_Capture : private ACE_Log_Msg_Callback
{
public:
    struct Record
    {
        ACE_Log_Priority priority;
        std::string text; ///< the formatted message
        std::string file; ///< the source that logged, as the compiler names it
        int line;
    };
    enum Output
    {
        Quiet,
        Loud
    };

    explicit Log_Capture(Output output = Quiet);
    Log_Capture(const Log_Capture&) = delete;
    Log_Capture& operator=(const Log_Capture&) = delete;
    ~Log_Capture() override;

    const std::vector<Record>& records() const noexcept { return records_; }
    std::size_t count() const noexcept { return records_.size(); }
    std::size_t count(ACE_Log_Priority priority) const;
    /// How many records have `part` in their text.
    std::size_t count(std::string_view part) const;
    std::size_t count(ACE_Log_Priority priority, std::string_view part) const;
    /// All texts one after the other, for a message of a failing test.
    std::string text() const;
    void clear() noexcept { records_.clear(); }

private:
    void log(ACE_Log_Record& record) override;

    std::vector<Record> records_;
    ACE_Log_Msg_Callback* previous_;
    unsigned long previous_flags_;
};
