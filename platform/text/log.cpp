#include "platform/text/log.h"

#include <cerrno>

void set_log_place(Source_Location where)
{
    ACE_Log_Msg::instance()->conditional_set(where.file, where.line, -1, errno);
}

bool log_null_or_empty(const char* name, Source_Location where)
{
    log_at(LM_EMERGENCY, Log_Format("Unexpected error in %N:%l, %C is NULL or \"\":\n%?\n", where), name);
    return false;
}

bool log_null(const char* name, Source_Location where)
{
    log_at(LM_EMERGENCY, Log_Format("Unexpected error in %N:%l, %C is NULL:\n%?\n", where), name);
    return false;
}
