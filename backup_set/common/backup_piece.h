// One stored piece of a backup set: an object in a pool, or a directory.
//
// A plain value, owned by its set. Not synchronised.
#pragma once

#include "backup_set/common/export.h"
#include "platform/database/query_result_printer.h"
#include "platform/json/json_generator.h"
#include "platform/json/value.h"
#include "platform/sql/select_sql.h"

#include <string>

class Backup_Piece_Result_Handler;

namespace database::sql {
class Query_Result_Handler;
}

class BACKUP_SET_EXPORT Backup_Piece : public JSON_Generator, public database::sql::Query_Result_Token_Printer
{
public:
    /// Selects the columns of "backup_piece" under `alias`.
    static void init_select_sql(Select_SQL& sql, const char* alias);

    /// The handler for rows of that select; lives as long as the process.
    static database::sql::Query_Result_Handler* result_handler();

    /// Writes the piece as one JSON object; false (logged) when `handle` is null.
    bool generate(yajl_gen_t* handle) override;

    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;
    bool print_json(int index, const char* key, const json_spirit::Value& value) override;

    std::string path;    ///< as the agent saw it
    ACE_UINT64 size = 0; ///< bytes
    std::string object;  ///< name of the stored object; "dir" marks a directory
    json_spirit::Object extended_attrs;

private:
    static Backup_Piece_Result_Handler result_handler_;
};
