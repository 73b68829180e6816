// What the program's exit code says.
#pragma once

namespace catalog::cli {

enum Exit_Code
{
    DONE = 0,
    FAILED = 1,    ///< the database, a file or the output failed
    USAGE = 2,     ///< the command line asks for what there is not
    NOT_FOUND = 3, ///< no such set, or no copy to read from
    REFUSED = 4    ///< the input was refused, all or in part
};

} // namespace catalog::cli
