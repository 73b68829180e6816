// The registry of set types: what each one is called, which class, tables and select it has, and how it is loaded.
//
// The command line, the tests, the store and the documentation walk it. Constant, lives as long as the process.
#pragma once

#include "backup_set/common/backup_set.h"
#include "catalog/schema/schema.h"
#include "platform/database/database_connection.h"
#include "platform/json/value.h"
#include "platform/sql/select_sql.h"

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace catalog {

/// A key of the common record that a type writes as well, behind the common one's.
struct Repeated_Key
{
    const char* key;
    json_spirit::Value_type type; ///< of the type's own value: the last member with the key is the type's if it is this
};

struct Set_Type
{
    const char* id;             ///< "oracle": how people and programs call it
    const char* class_name;     ///< "Oracle_Backup_Set"
    const char* catalog_module; ///< what a record of it writes under that key; "" for some, on purpose

    std::span<const char* const> tables;  ///< its own tables besides the common ones, in join order
    std::span<const char* const> aliases; ///< the aliases that its select takes, with the values used by default
    std::span<const Repeated_Key> repeated_keys;
    const char* remark; ///< what is particular about it, for the documentation; "" when nothing is

    /// Adds the type's select to `sql` (`init_select_sql`); `given` holds one alias per entry of `aliases`. A type may
    /// add nothing at all (then `sql` stays empty).
    void (*init_select)(Select_SQL& sql, std::span<const char* const> given);

    /// The alias under which that select reads "backup_set", or null when it does not read it: then it reads the type's
    /// own table alone, under the first alias.
    const char* (*base_alias)(std::span<const char* const> given);

    /// The select names "backup_set" and the type's own table (under the first alias) without relating them.
    bool unrelated;

    /// A fresh record.
    std::unique_ptr<Backup_Set> (*make)();

    /// Runs `sql` and hands each record to `take` (false stops). The result is the query's.
    bool (*load)(Database_Connection& connection, const Select_SQL& sql, const std::function<bool(Backup_Set&)>& take,
                 database::sql::Query_Result_Handler* handler);

    /// The handler for rows of its select: the class's own, or null where rows are best read without one.
    database::sql::Query_Result_Handler* (*handler)();
};

/// All types, in the order in which they are listed to people.
std::span<const Set_Type> set_types();

/// A type by its id, or null.
const Set_Type* find_set_type(std::string_view id);

/// The type that a document belongs to: by "catalog_module"; where that is empty, by "agent" being a type's id ("gbase"
/// counts as "mysql"). Null when neither says.
const Set_Type* set_type_of(std::string_view catalog_module, std::string_view agent);

/// The ids of all types, comma-separated, for messages.
std::string known_set_types();

} // namespace catalog
