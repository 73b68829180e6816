// Standard error: one plain line for each thing that went wrong.
//
// While an object lives it takes what the libraries log through ACE in the calling thread. A logged error is held back,
// for the command that called the library usually says the same with more context: its own `error` takes the place of
// the held lines. What no command claims is shown at the next `release`, at the latest at the end. With `set_verbose`
// every logged line is shown at once. Belongs to one thread and must be destroyed there; does not own the stream.
#pragma once

#include <ace/Log_Msg_Callback.h>

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace catalog::cli {

class Diagnostics : private ACE_Log_Msg_Callback
{
public:
    Diagnostics(std::ostream& stream, bool terminal);
    Diagnostics(const Diagnostics&) = delete;
    Diagnostics& operator=(const Diagnostics&) = delete;
    ~Diagnostics() override;

    void set_verbose(bool verbose) { verbose_ = verbose; }
    bool verbose() const { return verbose_; }

    /// "backup-set: error: …". The message may hold anything; it is made printable.
    void error(std::string_view message);
    void warning(std::string_view message);
    void note(std::string_view message);

    /// Shows the errors that were logged and claimed by nobody. True when there were any, now or before.
    bool release();

    /// The errors that were logged, each once, in one line; they are held no longer.
    std::string claim();

    /// Drops the errors that were logged: they are of no interest.
    void forget() { held_.clear(); }

    /// Shows how far a long work has come; only on a terminal, and not more often than people can read.
    void progress(std::string_view text);

    /// Takes the progress away. To be called before something is written to a terminal beside this object.
    void clear_progress();

private:
    void log(ACE_Log_Record& record) override;
    void line(std::string_view kind, std::string_view message);

    std::ostream& stream_;
    const bool terminal_;
    bool verbose_ = false;
    bool progress_shown_ = false;
    long long last_progress_ms_ = 0;
    bool unclaimed_ = false;
    std::vector<std::string> held_;
    ACE_Log_Msg_Callback* previous_callback_;
    unsigned long previous_flags_;
};

} // namespace catalog::cli
