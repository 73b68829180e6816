// What the commands that read sets through a type's own select have in common.
#pragma once

#include "catalog/cli/catalog_access.h"
#include "catalog/cli/command.h"
#include "catalog/cli/session.h"
#include "catalog/schema/set_type.h"

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

/// Opens the catalog and prints what `read` gives of a type's sets, or of the one with a uuid unless that is empty, one a
/// line. Notes when the select reads only a part of a set.
Exit_Code
print_sets(Session& session, const Server_Options& server, const std::string& type_id, const std::string& uuid,
           bool (Catalog_Access::*read)(const Set_Type&, const std::string&, const Catalog_Access::Take&, Error&));

} // namespace catalog::cli
