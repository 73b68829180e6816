// The catalog: writing, reading, listing and checking sets, one database transaction at a time.
//
// A store owns its database connection and belongs to one thread at a time. What was recorded comes back key for key, in
// order, unknown and repeated keys included. Nothing is ever half done: an operation that fails leaves the catalog as it
// was. Failures come as `Error`; the library's log has the details.
#pragma once

#include "catalog/schema/set_type.h"
#include "catalog/store/catalog_error.h"
#include "platform/database/database_connection.h"
#include "platform/json/value.h"

#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace catalog {

/// What a listing shows of a set.
struct Set_Summary
{
    std::string uuid;
    std::string type; ///< the type's id
    std::string name;
    std::string host;
    std::string host_uuid;
    std::string resource_uuid;
    std::string minor_resource_name;
    std::string backup_type; ///< the base record's "type"
    std::time_t backup_start_time = 0;
    std::time_t backup_end_time = 0;
    std::int64_t size = 0;
    std::int64_t source_size = 0;
    std::int64_t piece_count = 0;
    std::vector<std::string> states; ///< names of the states that its copies have, each once, in order of the bits
};

/// Which sets to list; what is empty does not filter. All given filters must match.
struct Set_Filter
{
    std::string type = {};                 ///< a type's id
    std::string host = {};                 ///< the host's name, or its uuid in any spelling
    std::string resource = {};             ///< the resource's uuid, in any spelling
    std::string minor_resource = {};       ///< minor resource id
    std::string state = {};                ///< name of a state that one of its copies has ("online")
    std::optional<std::time_t> since = {}; ///< started at this time or later
    std::optional<std::time_t> until = {}; ///< started before this time
};

/// One page of a listing: newest first, sets that started at the same time by uuid.
struct Set_Page
{
    std::vector<Set_Summary> sets;
    std::string next; ///< the key to continue after; empty on the last page
};

/// One placement of a set, as stored.
struct Storage_Copy
{
    std::string pool_uuid;
    std::string set_uuid;
    std::int64_t size = 0;
    std::uint64_t state = 0;
    std::string upstream_pool_uuid;
};

enum class Record_Outcome
{
    RECORDED,
    ALREADY_THERE ///< with the same content: nothing was written
};

struct Record_Result
{
    std::string uuid; ///< lower-case text form; empty on failure
    Record_Outcome outcome = Record_Outcome::RECORDED;
    Error error;
};

class Catalog_Store
{
public:
    enum class Schema_Policy
    {
        CREATE,     ///< an empty database gets the schema; an older one is refused with the advice to migrate
        LEAVE_ALONE ///< nothing is checked or made (for `schema` commands)
    };

    /// Opens the catalog at a database URL. Null on failure.
    static std::unique_ptr<Catalog_Store> open(const std::string& url, Schema_Policy policy, Error& error);

    explicit Catalog_Store(std::unique_ptr<Database_Connection> connection);
    ~Catalog_Store();

    Database_Connection& connection() { return *connection_; }

    /// The schema version in the database (0: none).
    bool schema_version(int& version, Error& error);

    /// Brings the schema to this program's version in one transaction. `from` and `to` get the versions.
    bool migrate(int& from, int& to, Error& error);

    /// Records one document (the JSON of a set, as its record's `generate` writes it), durably when it returns.
    Record_Result record(std::string_view document);

    /// Records several in one transaction. When one fails the others are recorded all the same, each result tells.
    std::vector<Record_Result> record(std::span<const std::string> documents);

    /// The whole document of a set, compact. NOT_FOUND when there is none. `uuid` may be in any spelling (REFUSED else).
    bool document(std::string_view uuid, std::string& document, Error& error);

    bool list(const Set_Filter& filter, std::size_t limit, std::string_view after, Set_Page& page, Error& error);

    /// The placements of a set, in the order of its document.
    bool storages(std::string_view uuid, std::vector<Storage_Copy>& copies, Error& error);

    /// All copies in a pool, newest set first.
    bool copies_in_pool(std::string_view pool_uuid, std::size_t limit, std::vector<Storage_Copy>& copies, Error& error);

    /// The select of a type: its `init_select_sql`, limited to sets of that type, and to one set when `uuid` is given.
    /// REFUSED when the type's select reads nothing, or `uuid` is no UUID.
    bool type_select(const Set_Type& type, std::string_view uuid, Select_SQL& sql, Error& error);

private:
    std::unique_ptr<Database_Connection> connection_;
};

} // namespace catalog
