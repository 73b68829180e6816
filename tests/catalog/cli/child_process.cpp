#include "tests/catalog/cli/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <sys/wait.h>
#include <system_error>
#include <thread>

namespace cli_test {

namespace {

void close_descriptor(int& descriptor)
{
    if (descriptor >= 0) {
        ::close(descriptor);
        descriptor = -1;
    }
}

struct Pipe
{
    Pipe()
    {
        std::array<int, 2> ends;
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::system_error(errno, std::generic_category(), "pipe");
        }
        reading = ends[0];
        writing = ends[1];
    }
    int reading;
    int writing;
};

/// A terminal: what is written to `writing` can be read from `reading`.
Pipe make_terminal()
{
    Pipe terminal;
    close_descriptor(terminal.reading);
    close_descriptor(terminal.writing);
    if (::openpty(&terminal.reading, &terminal.writing, nullptr, nullptr, nullptr) != 0) {
        throw std::system_error(errno, std::generic_category(), "openpty");
    }
    ::fcntl(terminal.reading, F_SETFD, FD_CLOEXEC);
    ::fcntl(terminal.writing, F_SETFD, FD_CLOEXEC);
    return terminal;
}

} // namespace

std::string program_path()
{
    if (const char* named = std::getenv("BACKUP_SET_PROGRAM")) {
        return named;
    }
    const std::filesystem::path here = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    for (const std::filesystem::path& folder : {here, here.parent_path()}) {
        if (std::filesystem::is_regular_file(folder / "backup-set")) {
            return (folder / "backup-set").string();
        }
    }
    throw std::runtime_error("there is no program backup-set beside " + here.string()
                             + "; build it, or name it in "
                               "BACKUP_SET_PROGRAM");
}

Child::Child(const std::vector<std::string>& arguments, const std::function<void()>& prepare, Errors errors)
{
    const std::string path = program_path();
    std::vector<char*> words{const_cast<char*>(path.c_str())};
    for (const std::string& argument : arguments) {
        words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    std::signal(SIGPIPE, SIG_IGN); // of this process: a child that has gone is told by write
    Pipe in;
    Pipe out;
    Pipe err = errors == TO_TERMINAL ? make_terminal() : Pipe();
    pid_ = ::fork();
    if (pid_ < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (pid_ == 0) {
        ::dup2(in.reading, STDIN_FILENO);
        ::dup2(out.writing, STDOUT_FILENO);
        ::dup2(err.writing, STDERR_FILENO);
        std::signal(SIGPIPE, SIG_DFL);
        if (prepare) {
            prepare();
        }
        ::execv(path.c_str(), words.data());
        ::_exit(127);
    }
    close_descriptor(in.reading);
    close_descriptor(out.writing);
    close_descriptor(err.writing);
    in_ = in.writing;
    out_ = out.reading;
    err_ = err.reading;
}

Child::~Child()
{
    if (pid_ > 0) {
        kill();
        finish();
    }
    close_descriptor(out_);
    close_descriptor(err_);
}

void Child::write(const std::string& text)
{
    for (std::size_t at = 0; at < text.size() && in_ >= 0;) {
        // Its answers are taken meanwhile, so that neither waits for the other.
        std::array<pollfd, 3> ready = {{{in_, POLLOUT, 0}, {out_, POLLIN, 0}, {err_, POLLIN, 0}}};
        ::poll(ready.data(), ready.size(), -1);
        if (ready[1].revents != 0) {
            read_some(out_, result_.out);
        }
        if (ready[2].revents != 0) {
            read_some(err_, result_.err);
        }
        if (ready[0].revents != 0) {
            // Not more than a pipe takes at once.
            const ssize_t size = ::write(in_, text.data() + at, std::min<std::size_t>(text.size() - at, 4096));
            if (size < 0) {
                close_input();
                return;
            }
            at += static_cast<std::size_t>(size);
        }
    }
}

void Child::close_input()
{
    close_descriptor(in_);
}

void Child::close_output()
{
    close_descriptor(out_);
}

bool Child::read_line(std::string& line, double seconds)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (true) {
        const std::size_t end = result_.out.find('\n');
        if (end != std::string::npos) {
            line = result_.out.substr(0, end);
            result_.out.erase(0, end + 1);
            return true;
        }
        const std::chrono::duration<double> left = deadline - std::chrono::steady_clock::now();
        if (out_ < 0 || left.count() <= 0 || !wait_for_output(left.count())) {
            return false;
        }
    }
}

void Child::kill()
{
    ::kill(pid_, SIGKILL);
}

Result Child::finish()
{
    close_input();
    while ((out_ >= 0 || err_ >= 0) && wait_for_output(300)) {
    }
    int status = 0;
    while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    result_.exit = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return result_;
}

void Child::read_some(int& descriptor, std::string& text)
{
    std::array<char, 65536> piece;
    const ssize_t size = ::read(descriptor, piece.data(), piece.size());
    if (size > 0) {
        text.append(piece.data(), static_cast<std::size_t>(size));
    } else if (size == 0 || errno != EINTR) {
        close_descriptor(descriptor); // the end; a terminal that nobody writes to any more gives EIO
    }
}

/// Reads what there is. False when nothing came in time.
bool Child::wait_for_output(double seconds)
{
    std::array<pollfd, 2> ready = {{{out_, POLLIN, 0}, {err_, POLLIN, 0}}};
    if (::poll(ready.data(), ready.size(), static_cast<int>(seconds * 1000)) <= 0) {
        return false;
    }
    if (ready[0].revents != 0) {
        read_some(out_, result_.out);
    }
    if (ready[1].revents != 0) {
        read_some(err_, result_.err);
    }
    return true;
}

Result run_child(const std::vector<std::string>& arguments, const std::string& input,
                 const std::function<void()>& prepare, Child::Errors errors)
{
    Child child(arguments, prepare, errors);
    child.write(input);
    return child.finish();
}

} // namespace cli_test
