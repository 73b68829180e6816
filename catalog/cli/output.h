// Standard output: what the command was asked for, and nothing else.
//
// Remembers the first failed write with its reason, so that a command can stop and the program can tell. Belongs to one
// thread; does not own the stream.
#pragma once

#include <ostream>
#include <string_view>

namespace catalog::cli {

class Output
{
public:
    explicit Output(std::ostream& stream) : stream_(stream) {}

    void write(std::string_view text);
    void line(std::string_view text);
    void flush();

    /// False once a write has failed: what is written then goes nowhere.
    bool good() const { return !failed_; }

    /// True when the reader has gone away (`… | head`).
    bool closed() const;

    /// Why a write failed.
    int error_number() const { return error_number_; }

private:
    void check();

    std::ostream& stream_;
    bool failed_ = false;
    int error_number_ = 0;
};

} // namespace catalog::cli
