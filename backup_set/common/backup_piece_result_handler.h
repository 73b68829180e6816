// The handler of piece rows: the owner's uuid as text, the attributes as JSON.
#pragma once

#include "backup_set/common/export.h"
#include "platform/database/query_result_handler.h"

class BACKUP_SET_EXPORT Backup_Piece_Result_Handler : public database::sql::Query_Result_Handler
{
public:
    Backup_Piece_Result_Handler();
};
