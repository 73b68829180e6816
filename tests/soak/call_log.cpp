#include "tests/soak/call_log.h"

#include <ace/Log_Msg.h>
#include <ace/Log_Record.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

namespace soak {

namespace {

struct Said
{
    int repeats = 0;
    std::string errors;
};
thread_local Said said;

/// The number behind `mark`, where it stands in the text.
std::optional<int> number_behind(std::string_view text, std::string_view mark)
{
    const std::size_t place = text.rfind(mark);
    int number = 0;
    if (place == std::string_view::npos) {
        return std::nullopt;
    }
    text.remove_prefix(place + mark.size());
    return std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc() ? std::optional(number)
                                                                                             : std::nullopt;
}

} // namespace

Call_Log::Call_Log() : previous_(ACE_Log_Msg::msg_backend(this))
{
    ACE_LOG_MSG->clr_flags(ACE_Log_Msg::STDERR);
    ACE_LOG_MSG->set_flags(ACE_Log_Msg::CUSTOM);
}

Call_Log::~Call_Log()
{
    ACE_LOG_MSG->clr_flags(ACE_Log_Msg::CUSTOM);
    ACE_LOG_MSG->set_flags(ACE_Log_Msg::STDERR);
    ACE_Log_Msg::msg_backend(previous_);
}

void Call_Log::clear()
{
    said = {};
}

int Call_Log::repeats()
{
    return said.repeats;
}

const std::string& Call_Log::errors()
{
    return said.errors;
}

std::optional<Outcome> Call_Log::outcome()
{
    constexpr std::array refusals = {-32001, -32002, -32003, 409, 404};  // conflict, state, not found
    constexpr std::array delays = {-32006, -32007, -32008, 429, 503, 0}; // not now, or nothing came
    for (const char* mark : {"response error, code: ", "Commit catalog error[", "failed, status "}) {
        if (const std::optional<int> code = number_behind(said.errors, mark)) {
            if (std::ranges::find(refusals, *code) != refusals.end()) {
                return Outcome::REFUSED;
            }
            return std::ranges::find(delays, *code) != delays.end() ? std::optional(Outcome::UNKNOWN) : std::nullopt;
        }
    }
    for (const char* silence : {"' failed after ", "Failed to commit catalog to backup server"}) {
        if (said.errors.find(silence) != std::string::npos) {
            return Outcome::UNKNOWN;
        }
    }
    return std::nullopt;
}

ssize_t Call_Log::log(ACE_Log_Record& record)
{
    const std::string_view text = record.msg_data();
    if (text.find("Retry(") != std::string_view::npos || text.find(" is sent again ") != std::string_view::npos) {
        ++said.repeats;
    } else if (record.type() >= LM_ERROR) {
        said.errors += text;
    }
    return 0;
}

} // namespace soak
