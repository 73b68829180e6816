#include "catalog/cli/output.h"

#include <cerrno>

namespace catalog::cli {

void Output::write(std::string_view text)
{
    if (good()) {
        errno = 0;
        stream_.write(text.data(), static_cast<std::streamsize>(text.size()));
        check();
    }
}

void Output::line(std::string_view text)
{
    write(text);
    write("\n");
}

void Output::flush()
{
    if (good()) {
        errno = 0;
        stream_.flush();
        check();
    }
}

bool Output::closed() const
{
    return failed_ && error_number_ == EPIPE;
}

void Output::check()
{
    if (!stream_.good()) {
        failed_ = true;
        error_number_ = errno; // of the write(2) that the stream has just tried
    }
}

} // namespace catalog::cli
