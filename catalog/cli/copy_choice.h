// Why the storage selector picks the copy that it picks, copy by copy. Thread-safe.
#pragma once

#include "platform/json/value.h"

#include <string>
#include <vector>

namespace catalog::cli {

struct Copy_Verdict
{
    std::string pool_uuid;
    std::string upstream_pool_uuid;  ///< empty for a first copy
    std::vector<std::string> states; ///< as the document has them
    bool chosen = false;
    std::string reason;
};

/// One verdict for each element of `storages`, by the rules of `Backup_Set_Storage_Selector`. At most one is chosen.
std::vector<Copy_Verdict> explain_choice(const json_spirit::Array& storages);

/// The storages of a set's document: what stands under "storage" and "storages", in order. False, with the reason in
/// `fault`, when the document cannot be read.
bool storages_of_document(const std::string& document, json_spirit::Array& storages, std::string& fault);

} // namespace catalog::cli
