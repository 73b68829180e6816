// One placement of a backup set in a storage pool, with the state of that copy.
//
// A plain value, owned by its set. Not synchronised.
#pragma once

#include "backup_set/common/backup_set_state.h"
#include "backup_set/common/export.h"
#include "platform/database/query_result_printer.h"
#include "platform/json/json_generator.h"
#include "platform/json/value.h"
#include "platform/sql/select_sql.h"

#include <string>

class Backup_Set_Storage_Result_Handler;

namespace database::sql {
class Query_Result_Handler;
}

class BACKUP_SET_EXPORT Backup_Set_Storage : public JSON_Generator, public database::sql::Query_Result_Token_Printer
{
public:
    /// Selects the columns of "backup_set_storage" under `alias`.
    static void init_select_sql(Select_SQL& sql, const char* alias);

    /// The handler for rows of that select; lives as long as the process.
    static database::sql::Query_Result_Handler* result_handler();

    /// Writes the placement as one JSON object (without its set's uuid); false (logged) when `handle` is null.
    bool generate(yajl_gen_t* handle) override;

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;
    bool print_json(int index, const char* key, const json_spirit::Value& value) override;

    std::string set_uuid;
    std::string pool_uuid;          ///< the pool that holds this copy
    ACE_INT64 size = 0;             ///< bytes of the copy in the pool
    Backup_Set_State state{0};      ///< comes in as a number, goes out as names
    std::string upstream_pool_uuid; ///< the pool that this copy was replicated from; empty for a first copy
    json_spirit::Object extended_attrs;

private:
    static Backup_Set_Storage_Result_Handler result_handler_;
};
