#include "backup_set/common/column_intake.h"

#include "platform/text/log.h"

namespace column_intake {

std::optional<bool> check_key(const database::sql::Query_Result_Token_Printer& record, const char* key,
                              Source_Location where)
{
    if (key == nullptr || *key == '\0') {
        return log_null_or_empty("key", where);
    }
    return record.tokens().empty() ? std::nullopt : std::optional(true);
}

} // namespace column_intake
