// Logging through ACE with the place that logs.
//
// Every message goes through the calling thread's ACE_Log_Msg: first the source file and line are set
// (`ACE_Log_Msg::conditional_set`), then the text is logged (`ACE_Log_Msg::log`). The place is taken from a default
// argument, so that it is the caller's and no macro is needed. Thread-safe: ACE_Log_Msg is per thread.
#pragma once

#include "platform/export.h"
#include "platform/text/source_location.h"

#include <ace/Log_Msg.h>

/// A format with ACE's directives, and the place where it was written down.
struct Log_Format
{
    const char* text;
    Source_Location where;

    Log_Format(const char* format, Source_Location place = Source_Location::current()) : text(format), where(place) {}
};

/// Sets the place for the next message of this thread.
BACKUP_PLATFORM_EXPORT void set_log_place(Source_Location where);

/// Logs `format` with `arguments`, which must fit its directives (they are passed as C variadic arguments).
template <class... Arguments>
void log_at(ACE_Log_Priority priority, Log_Format format, Arguments... arguments)
{
    set_log_place(format.where);
    ACE_Log_Msg::instance()->log(priority, format.text, arguments...);
}

/// Logs, at LM_EMERGENCY, that the argument called `name` is null or an empty text. Always returns false.
BACKUP_PLATFORM_EXPORT bool log_null_or_empty(const char* name, Source_Location where = Source_Location::current());

/// Logs, at LM_EMERGENCY, that the argument called `name` is null. Always returns false.
BACKUP_PLATFORM_EXPORT bool log_null(const char* name, Source_Location where = Source_Location::current());
