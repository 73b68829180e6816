// A place in the source, for log lines.
//
// As a default argument, `Source_Location::current()` is the place of the call. clang 14 has no std::source_location, so
// this stands in for it. A plain value without ownership: the file name is a literal of the program.
#pragma once

struct Source_Location
{
    const char* file;
    int line;

    static constexpr Source_Location current(const char* file = __builtin_FILE(), int line = __builtin_LINE()) noexcept
    {
        return {file, line};
    }
};
