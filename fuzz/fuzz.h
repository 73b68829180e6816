// What the fuzzers have in common.
#pragma once

#include <ace/Log_Msg.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace fuzz {

/// Ends the program, which is what a fuzzer notices, when what has to hold does not.
inline void check(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

inline std::string_view text_of(const std::uint8_t* data, std::size_t size)
{
    return {reinterpret_cast<const char*>(data), size};
}

/// Refusals are logged; a fuzzer provokes little else.
inline void log_nothing()
{
    ACE_Log_Msg::instance()->clr_flags(ACE_Log_Msg::STDERR);
}

} // namespace fuzz
