// Why an operation of the catalog did not succeed.
#pragma once

#include "platform/database/database_error.h"

#include <string>

namespace catalog {

struct Error
{
    enum Kind
    {
        NONE,
        REFUSED,  ///< the input is wrong: malformed JSON, unknown type, missing uuid, wrong kind under a known key, …
        CONFLICT, ///< the set is there already with other content
        STATE,    ///< the step is out of order for the state that the set is in, which the message names
        NOT_FOUND, ///< no such set
        SCHEMA,    ///< the database has no schema, an older one, or a newer one than this program knows
        DATABASE   ///< the database failed; see `database`
    };

    Kind kind = NONE;
    std::string message; ///< one line: what is wrong, where, and what to do
    std::string key;     ///< the document's key at fault, when there is one ("pieces[3].size")
    Database_Error database;

    explicit operator bool() const { return kind != NONE; }
};

} // namespace catalog
