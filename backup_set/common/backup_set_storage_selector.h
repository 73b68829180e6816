// Picks, from the JSON list of a set's storages, the pool that the set should be read from.
//
// The choice is made in the constructor. Preferred is the first online first copy in list order, then the last online
// replica that is not virtual, then the last first copy that is not online; else nothing.
#pragma once

#include "backup_set/common/export.h"
#include "platform/json/value.h"

#include <ace/Basic_Types.h>

#include <string>

class BACKUP_SET_EXPORT Backup_Set_Storage_Selector
{
public:
    enum MODE : ACE_INT32
    {
        M_SOURCE = 1 ///< the pool to read the set from
    };

    /// Chooses among `storages` (objects with "pool_uuid", "state", "upstream_pool_uuid", as `Backup_Set_Storage` writes
    /// them). A mode that is not known is logged at LM_ERROR and chooses nothing.
    Backup_Set_Storage_Selector(const json_spirit::Array& storages, MODE mode);

    /// The chosen pool; empty when nothing suitable was found.
    const std::string& pool_uuid() const { return pool_uuid_; }

    /// Makes the choice of M_SOURCE.
    void get_source_pool(const json_spirit::Array& storages);

private:
    std::string pool_uuid_;
};
