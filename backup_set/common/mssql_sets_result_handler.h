// The handler of SQL Server set rows: tables of its own, and "restorable" as a flag.
#pragma once

#include "backup_set/common/backup_set_result_handler.h"

class BACKUP_SET_EXPORT MSSQL_Sets_Result_Handler : public Backup_Set_Result_Handler
{
public:
    MSSQL_Sets_Result_Handler();

protected:
    bool handle_integer_i(Database_Connection& connection, int index, const char* name, ACE_INT64 value,
                          database::sql::Query_Result_Printer& printer) override;
};
