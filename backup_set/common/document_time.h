// Times as documents carry them.
#pragma once

#include "platform/text/posix_time.h"

#include <ctime>

/// "YYYY-MM-DD HH:MM:SS" in UTC.
inline POSIX_Time_To_ISO8601 document_time(std::time_t time)
{
    return POSIX_Time_To_ISO8601(time, "%Y-%m-%d %H:%M:%S");
}
