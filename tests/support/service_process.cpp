#include "tests/support/service_process.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <system_error>
#include <thread>

namespace {

constexpr std::chrono::seconds longest_start{60};
constexpr std::chrono::seconds longest_stop{60};
constexpr std::chrono::milliseconds pace{5};

std::string program_path()
{
    if (const char* const named = std::getenv("BACKUP_SET_PROGRAM")) {
        return named;
    }
    const std::filesystem::path here = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    for (const auto& folder : {here, here.parent_path()}) {
        if (std::filesystem::exists(folder / "backup-set")) {
            return (folder / "backup-set").string();
        }
    }
    throw std::runtime_error("there is no program backup-set beside " + here.string());
}

} // namespace

Service_Process::Service_Process(const std::string& database_url, std::vector<std::string> arguments,
                                 std::uint16_t port)
{
    std::vector<std::string> words = {program_path(), "--database", database_url,
                                      "serve",        "--listen",   "127.0.0.1:" + std::to_string(port)};
    words.insert(words.end(), std::make_move_iterator(arguments.begin()), std::make_move_iterator(arguments.end()));
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    const std::string errors = dir_.file("errors");
    pid_ = ::fork();
    if (pid_ < 0) {
        throw std::system_error(errno, std::generic_category(), "cannot start a process");
    }
    if (pid_ == 0) {
        const int out = ::open(errors.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        const int in = ::open("/dev/null", O_RDONLY);
        ::dup2(in, STDIN_FILENO);
        ::dup2(out, STDOUT_FILENO);
        ::dup2(out, STDERR_FILENO);
        ::execv(pointers.front(), pointers.data());
        ::_exit(127);
    }
    try {
        wait_until_listening();
    } catch (...) {
        kill();
        throw;
    }
}

Service_Process::~Service_Process()
{
    kill();
}

std::string Service_Process::url(const std::string& path) const
{
    return "http://127.0.0.1:" + std::to_string(port_) + path;
}

std::string Service_Process::errors() const
{
    std::ifstream file(dir_.file("errors"));
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

int Service_Process::stop(int signal)
{
    if (pid_ > 0) {
        ::kill(pid_, signal);
    }
    return wait_for_end();
}

void Service_Process::kill()
{
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        wait_for_end();
    }
}

void Service_Process::wait_until_listening()
{
    const auto deadline = std::chrono::steady_clock::now() + longest_start;
    while (std::chrono::steady_clock::now() < deadline) {
        const bool ended = has_ended();
        const std::string said = errors();
        constexpr const char* sign = "listening on ";
        const std::size_t place = said.find(sign);
        const std::size_t end = place != std::string::npos ? said.find('\n', place) : std::string::npos;
        if (end != std::string::npos && !ended) {
            const std::size_t colon = said.rfind(':', end);
            port_ = static_cast<std::uint16_t>(std::stoi(said.substr(colon + 1, end - colon - 1)));
            return;
        }
        if (ended) {
            throw std::runtime_error("the service did not start: " + said);
        }
        std::this_thread::sleep_for(pace);
    }
    throw std::runtime_error("the service does not listen: " + errors());
}

bool Service_Process::has_ended()
{
    if (pid_ > 0 && ::waitpid(pid_, &status_, WNOHANG) == pid_) {
        pid_ = -1;
    }
    return pid_ < 0;
}

int Service_Process::wait_for_end()
{
    const auto deadline = std::chrono::steady_clock::now() + longest_stop;
    while (!has_ended()) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("the service does not end: " + errors());
        }
        std::this_thread::sleep_for(pace);
    }
    return WIFSIGNALED(status_) ? -WTERMSIG(status_) : WEXITSTATUS(status_);
}
