#include "catalog/cli/diagnostics.h"

#include "catalog/cli/terminal_text.h"

#include <ace/Log_Msg.h>
#include <ace/Log_Record.h>

#include <chrono>

namespace catalog::cli {

namespace {

constexpr long long progress_pace_ms = 200;

constexpr unsigned long own_flags = ACE_Log_Msg::MSG_CALLBACK | ACE_Log_Msg::STDERR;

long long now_ms()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

std::string_view without_line_end(std::string_view text)
{
    while (!text.empty() && text.back() == '\n') {
        text.remove_suffix(1);
    }
    return text;
}

} // namespace

Diagnostics::Diagnostics(std::ostream& stream, bool terminal) :
    stream_(stream), terminal_(terminal), previous_callback_(ACE_LOG_MSG->msg_callback()),
    previous_flags_(ACE_LOG_MSG->flags())
{
    ACE_LOG_MSG->msg_callback(this);
    ACE_LOG_MSG->clr_flags(ACE_Log_Msg::STDERR);
    ACE_LOG_MSG->set_flags(ACE_Log_Msg::MSG_CALLBACK);
}

Diagnostics::~Diagnostics()
{
    release();
    clear_progress();
    ACE_LOG_MSG->msg_callback(previous_callback_);
    ACE_LOG_MSG->clr_flags(own_flags);
    ACE_LOG_MSG->set_flags(previous_flags_ & own_flags);
}

void Diagnostics::error(std::string_view message)
{
    held_.clear();
    line("error", message);
}

void Diagnostics::warning(std::string_view message)
{
    line("warning", message);
}

void Diagnostics::note(std::string_view message)
{
    line("note", message);
}

bool Diagnostics::release()
{
    unclaimed_ = unclaimed_ || !held_.empty();
    for (const std::string& message : held_) {
        line("error", message);
    }
    held_.clear();
    return unclaimed_;
}

std::string Diagnostics::claim()
{
    std::string text;
    for (const std::string& message : held_) {
        if (text.find(message) == std::string::npos) {
            text += (text.empty() ? "" : "; ") + message;
        }
    }
    held_.clear();
    return text;
}

void Diagnostics::progress(std::string_view text)
{
    if (!terminal_ || now_ms() - last_progress_ms_ < progress_pace_ms) {
        return;
    }
    last_progress_ms_ = now_ms();
    clear_progress();
    stream_ << printable(text) << std::flush;
    progress_shown_ = true;
}

void Diagnostics::clear_progress()
{
    if (progress_shown_) {
        stream_ << "\r\x1b[K" << std::flush;
        progress_shown_ = false;
    }
}

void Diagnostics::log(ACE_Log_Record& record)
{
    const std::string_view text = without_line_end(record.msg_data());
    const auto priority = static_cast<ACE_Log_Priority>(record.type());
    if (verbose_) {
        line("log", std::string(ACE_Log_Record::priority_name(priority)) + ": " + std::string(text));
    }
    if (priority >= LM_ERROR) {
        // A stack trace may follow on further lines; those are for `--verbose`.
        held_.emplace_back(text.substr(0, text.find('\n')));
    } else if (priority >= LM_WARNING && !verbose_) {
        warning(text);
    }
}

void Diagnostics::line(std::string_view kind, std::string_view message)
{
    clear_progress();
    stream_ << "backup-set: " << kind << ": " << printable(message) << '\n' << std::flush;
}

} // namespace catalog::cli
