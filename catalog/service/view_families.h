// How the views of each family are opened. The arguments are those that the view's description names, checked.
#pragma once

#include "catalog/service/view_arguments.h"

#include <memory>

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

/// Makes `error` say that "after" is no key of a page. Always null.
Opened_View refuse_key(Error& error, const View_Arguments& arguments);

} // namespace catalog::service
