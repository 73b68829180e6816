#include "tests/support/process_log.h"

#include <ace/Log_Msg.h>
#include <ace/Log_Record.h>

#include <algorithm>

Process_Log::Process_Log() : previous_(ACE_Log_Msg::msg_backend(this))
{
    ACE_LOG_MSG->clr_flags(ACE_Log_Msg::STDERR);
    ACE_LOG_MSG->set_flags(ACE_Log_Msg::CUSTOM);
}

Process_Log::~Process_Log()
{
    ACE_LOG_MSG->clr_flags(ACE_Log_Msg::CUSTOM);
    ACE_LOG_MSG->set_flags(ACE_Log_Msg::STDERR);
    ACE_Log_Msg::msg_backend(previous_);
}

std::string Process_Log::text() const
{
    const std::lock_guard lock(mutex_);
    std::string all;
    for (const std::string& text : texts_) {
        all += text;
    }
    return all;
}

std::size_t Process_Log::count(std::string_view part) const
{
    const std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(std::ranges::count_if(
        texts_, [part](const std::string& text) { return text.find(part) != std::string::npos; }));
}

ssize_t Process_Log::log(ACE_Log_Record& record)
{
    const std::lock_guard lock(mutex_);
    texts_.emplace_back(record.msg_data());
    return 0;
}
