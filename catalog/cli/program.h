// The program `backup-set`.
#pragma once

#include <istream>
#include <ostream>

namespace catalog::cli {

/// Runs the program with its own standard streams or others, and gives its exit code. Failures are told on `err`.
/// Belongs to one thread; while it runs, the log of that thread goes to `err` as well.
int run(int argc, const char* const* argv, std::istream& in, std::ostream& out, std::ostream& err);

} // namespace catalog::cli
