// What the commands that read sets through a type's own select have in common.
#pragma once

#include "catalog/cli/command.h"
#include "catalog/cli/session.h"
#include "catalog/schema/set_type.h"
#include "catalog/store/catalog_store.h"
#include "platform/sql/select_sql.h"

#include <memory>
#include <string>

namespace catalog::cli {

/// The argument TYPE.
Option type_argument(std::string& target);

/// The option --uuid.
Option one_set_option(std::string& target);

/// True for a type whose select reads nothing.
bool selects_nothing(const Set_Type& type);

/// Tells that a type's select reads nothing, and what to do instead.
Exit_Code tell_selects_nothing(Session& session, const Set_Type& type);

/// A type's select in an open catalog.
struct Type_Reading
{
    const Set_Type* type = nullptr;
    std::unique_ptr<Catalog_Store> store; ///< null on failure
    Select_SQL sql;
};

/// Opens the catalog and composes the select of the sets of a type, or of one of them. On failure the store is null, the
/// reason has been told and `exit` has its code. Notes when the select reads only a part of a set.
Type_Reading open_type_reading(Session& session, const std::string& type_id, const std::string& uuid, Exit_Code& exit);

/// Tells how a query of a reading went and gives the exit code. `rows` is how many it gave.
Exit_Code finish_reading(Session& session, Type_Reading& reading, bool succeeded, const std::string& uuid,
                         std::size_t rows);

} // namespace catalog::cli
