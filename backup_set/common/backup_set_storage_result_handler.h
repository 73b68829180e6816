// The handler of storage rows: uuids as text, the attributes as JSON.
#pragma once

#include "backup_set/common/export.h"
#include "platform/database/query_result_handler.h"

class BACKUP_SET_EXPORT Backup_Set_Storage_Result_Handler : public database::sql::Query_Result_Handler
{
public:
    Backup_Set_Storage_Result_Handler();
};
