// The handler of backup set rows: translates uuids, JSON and states, and adds what hangs off a set by sub-queries.
//
// Besides the tables of its base it treats four kinds of columns: "storages" and "pieces" (the value is the set's uuid)
// become arrays of rows, "state" (bits) becomes an array of names, "media_tags" (the value is a storage's id) becomes an
// array of tags; for web answers, names are cleaned of characters that are unsafe in file names. Constant once made; may
// serve several threads.
#pragma once

#include "backup_set/common/export.h"
#include "platform/database/query_result_handler.h"
#include "platform/json/value.h"

#include <ace/Basic_Types.h>

class BACKUP_SET_EXPORT Backup_Set_Result_Handler : public database::sql::Query_Result_Handler
{
public:
    enum Val_Flag
    {
        VF_BASE = 0,  ///< no extra treatment
        VF_WEBSVC = 1 ///< the rows answer a web request: names are cleaned
    };

    /// A null table selects the default one. With `pool_uuids` (not owned, may be null) the storages of a set are only
    /// those in these pools. `flags` is a set of `Val_Flag` bits.
    Backup_Set_Result_Handler(const database::sql::Key_Trans* keys, const database::sql::Val_Trans* values,
                              const json_spirit::Array* pool_uuids, ACE_INT64 flags);

protected:
    bool handle_binary_i(Database_Connection& connection, int index, const char* name, const char* value,
                         std::size_t length, database::sql::Query_Result_Printer& printer) override;
    bool handle_integer_i(Database_Connection& connection, int index, const char* name, ACE_INT64 value,
                          database::sql::Query_Result_Printer& printer) override;
    bool handle_string_i(Database_Connection& connection, int index, const char* name, const char* value,
                         std::size_t length, database::sql::Query_Result_Printer& printer) override;

private:
    const json_spirit::Array* pool_uuids_;
    ACE_INT64 flags_;
};
