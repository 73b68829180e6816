#include "platform/text/log.h"

#include <cerrno>

void set_log_place(const std::source_location& where)
{
    ACE_Log_Msg::instance()->conditional_set(where.file_name(), static_cast<int>(where.line()), -1, errno);
}

bool log_null_or_empty(const char* name, std::source_location where)
{
    log_at(LM_EMERGENCY, Log_Format("Unexpected error in %N:%l, %C is NULL or \"\":\n%?\n", where), name);
    return false;
}

bool log_null(const char* name, std::source_location where)
{
    log_at(LM_EMERGENCY, Log_Format("Unexpected error in %N:%l, %C is NULL:\n%?\n", where), name);
    return false;
}
