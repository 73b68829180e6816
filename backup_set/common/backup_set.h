// The catalog's record of one backup run of one resource, and the base of the records of all kinds of sources.
//
// A record describes the SELECT that loads it (`init_select_sql`), takes a row column by column through the printer
// callbacks, and writes itself as one JSON object (`generate`). It is a plain value that owns its pieces, storages and
// attributes; copies are deep. Not synchronised: a record belongs to one thread at a time. Nothing is thrown; failures are
// false and one log line.
#pragma once

#include "backup_set/common/backup_piece.h"
#include "backup_set/common/backup_set_storage.h"
#include "backup_set/common/export.h"
#include "platform/database/query_result_printer.h"
#include "platform/json/json_generator.h"
#include "platform/json/value.h"
#include "platform/json/yajl_gen.h"
#include "platform/sql/select_sql.h"

#include <ctime>
#include <string>
#include <vector>

class Backup_Set_Result_Handler;

namespace database::sql {
class Query_Result_Handler;
}

using backup_set_storages_t = std::vector<Backup_Set_Storage>;
using backup_pieces_t = std::vector<Backup_Piece>;

class BACKUP_SET_EXPORT Backup_Set : public JSON_Generator, public database::sql::Query_Result_Token_Printer
{
public:
    /// `module` is the type name of the set; it is kept, not copied, and must be a constant text. Null stands for "".
    explicit Backup_Set(const char* module);
    Backup_Set(const Backup_Set& other);
    Backup_Set(Backup_Set&& other) noexcept;
    ~Backup_Set() override;

    /// Selects the columns of "backup_set" under `alias`. Storages, pieces and parents are not columns.
    static void init_select_sql(Select_SQL& sql, const char* alias);

    /// The handler for rows of that select; lives as long as the process.
    static database::sql::Query_Result_Handler* result_handler();

    /// Writes the record as one JSON object: the common keys, then the typed ones. False (logged) when `handle` is null or
    /// the typed keys fail; the object is closed all the same.
    bool generate(yajl_gen_t* handle) override;

    // One column each. False (logged) for a key that is null or empty; unknown keys are ignored; nothing is stored while
    // an array is open. A value under a key of another callback is ignored.
    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;
    bool print_int(int index, const char* key, ACE_INT64 value) override;
    bool print_json(int index, const char* key, const json_spirit::Value& value) override;

protected:
    /// Writes the typed keys into the open object. False makes `generate` fail.
    virtual bool generate_i(YAJL_Gen& gen);

public:
    // Pieces and storages are appended in call order and never de-duplicated.
    void add_piece(const std::string& path, ACE_UINT64 size);
    void add_directory_piece(const std::string& path, ACE_UINT64 size);
    void add_piece(const Backup_Piece& piece);
    void add_storage(const Backup_Set_Storage& storage);
    void add_storage(const std::string& pool_uuid, ACE_INT64 storage_size);
    void add_storage(const std::string& pool_uuid, ACE_INT64 storage_size, const json_spirit::Object& storage_attrs);

    const char* const catalog_module; ///< never null, not owned
    std::string uuid;
    std::string name;
    std::string def_uuid;      ///< the backup definition; column and key "definition_uuid"
    std::string activity_uuid; ///< the job instance; column and key "job_instance_uuid"
    std::string uid;           ///< owning user
    std::string host_uuid;
    std::string resource_uuid;
    std::string minor_resource_id;
    std::string minor_resource_name;
    std::string agent;
    std::string incarnation;
    std::string type;
    std::time_t first_time = 0; ///< of the first data in the set; 0: unset (UTC seconds, like all times here)
    std::time_t last_time = 0;  ///< of the last data in the set; 0: unset
    std::time_t backup_start_time = 0;
    std::time_t backup_end_time = 0; ///< 0: unset
    ACE_INT64 source_size = 0;       ///< bytes of the protected data
    ACE_INT64 size = 0;              ///< bytes of the stored set
    std::string uri;
    std::string host;
    std::string instance;
    std::string instance_version;
    ACE_INT64 first_scn = 0;
    ACE_INT64 last_scn = 0;
    json_spirit::Object resource_tree;
    json_spirit::Object extended_attrs;
    std::vector<std::string> parents; ///< uuids of the sets that this one depends on
    backup_set_storages_t storages;
    backup_pieces_t pieces;
    json_spirit::Object uname; ///< the host's operating system
    json_spirit::Object lsb;   ///< the host's distribution

private:
    static Backup_Set_Result_Handler result_handler_;
};
