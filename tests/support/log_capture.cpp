#include "tests/support/log_capture.h"

#include <ace/Log_Msg.h>
#include <ace/Log_Record.h>

#include <algorithm>

Log_Capture::Log_Capture(Output output) : previous_(ACE_LOG_MSG->msg_callback()), previous_flags_(ACE_LOG_MSG->flags())
{
    ACE_LOG_MSG->msg_callback(this);
    ACE_LOG_MSG->set_flags(ACE_Log_Msg::MSG_CALLBACK);
    if (output == Quiet) {
        ACE_LOG_MSG->clr_flags(ACE_Log_Msg::STDERR);
    }
}

Log_Capture::~Log_Capture()
{
    ACE_LOG_MSG->msg_callback(previous_);
    ACE_LOG_MSG->clr_flags(ACE_Log_Msg::MSG_CALLBACK | ACE_Log_Msg::STDERR);
    ACE_LOG_MSG->set_flags(previous_flags_ & (ACE_Log_Msg::MSG_CALLBACK | ACE_Log_Msg::STDERR));
}

std::size_t Log_Capture::count(ACE_Log_Priority priority) const
{
    return count(priority, {});
}

std::size_t Log_Capture::count(std::string_view part) const
{
    return static_cast<std::size_t>(std::ranges::count_if(
        records_, [part](const Record& record) { return record.text.find(part) != std::string::npos; }));
}

std::size_t Log_Capture::count(ACE_Log_Priority priority, std::string_view part) const
{
    return static_cast<std::size_t>(std::ranges::count_if(records_, [priority, part](const Record& record) {
        return record.priority == priority && record.text.find(part) != std::string::npos;
    }));
}

std::string Log_Capture::text() const
{
    std::string all;
    for (const Record& record : records_) {
        all += record.text;
    }
    return all;
}

void Log_Capture::log(ACE_Log_Record& record)
{
    const char* file = ACE_LOG_MSG->file();
    records_.push_back({static_cast<ACE_Log_Priority>(record.type()), record.msg_data(), file != nullptr ? file : "",
                        ACE_LOG_MSG->linenum()});
}
