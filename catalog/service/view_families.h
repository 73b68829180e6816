// How the views of each family are opened, and their selects. The arguments are those that the view's description names, checked.
#pragma once

#include "catalog/service/view_arguments.h"
#include "catalog/store/set_listing.h"
#include "platform/sql/select_sql.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace catalog::service {

using Opened_View = std::unique_ptr<View>;

Opened_View open_sets(const View_Description&, const View_Arguments&, const View_Limits&, Error&);
Opened_View open_set(const View_Description&, const View_Arguments&, const View_Limits&, Error&);
Opened_View open_latest(const View_Description&, const View_Arguments&, const View_Limits&, Error&);
Opened_View open_chain(const View_Description&, const View_Arguments&, const View_Limits&, Error&);
Opened_View open_storages(const View_Description&, const View_Arguments&, const View_Limits&, Error&);
Opened_View open_pool(const View_Description&, const View_Arguments&, const View_Limits&, Error&);
Opened_View open_pieces(const View_Description&, const View_Arguments&, const View_Limits&, Error&);
Opened_View open_type_sets(const View_Description&, const View_Arguments&, const View_Limits&, Error&);
Opened_View open_type_records(const View_Description&, const View_Arguments&, const View_Limits&, Error&);

/// The select of the uuid of a resource's newest set: of those with an end, or by its start alone. Empty type: any.
Select_SQL latest_select(const UUID_Bytes& resource, const std::string& type, bool ended);

/// The select of the copies in a pool behind one of them (null: from the newest on).
struct Pool_Key
{
    Page_Key set;
    std::int64_t id = 0;
};
Select_SQL pool_select(const UUID_Bytes& pool, const Pool_Key* after, std::size_t rows);

/// The select of the places of a type's sets; see there.
struct Type_Place
{
    std::string start_time; ///< as the database has it; empty where the type's select does not read it
    UUID_Bytes uuid{};
    std::int64_t piece_count = 0;
};
Select_SQL type_places_select(const Set_Type& type, const std::optional<UUID_Bytes>& one_set,
                              const std::optional<Type_Place>& after, std::size_t sets);

/// Adds to a select that reads the sets of a type that they stand behind a place ("<") or not behind it (">=").
void add_place(Select_SQL& sql, const Set_Type& type, const Type_Place& place, const char* relation);

/// Makes `error` say that "after" is no key of a page. Always null.
Opened_View refuse_key(Error& error, const View_Arguments& arguments);

} // namespace catalog::service
