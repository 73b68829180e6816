#include "tests/support/curl.h"

#include "tests/support/temp_dir.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <system_error>

namespace {

constexpr int no_program = 127;

std::string read_file(const std::string& name)
{
    std::ifstream file(name, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string lower(std::string text)
{
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

} // namespace

std::string Curl_Answer::header(const std::string& name) const
{
    std::istringstream lines(headers);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t colon = line.find(':');
        if (colon != std::string::npos && lower(line.substr(0, colon)) == lower(name)) {
            const std::size_t first = line.find_first_not_of(' ', colon + 1);
            const std::size_t last = line.find_last_not_of(" \r");
            return first <= last && first != std::string::npos ? line.substr(first, last - first + 1) : std::string();
        }
    }
    return {};
}

Curl_Answer curl(const std::string& url, const std::vector<std::string>& arguments, const std::string& body)
{
    const Temp_Dir dir;
    {
        std::ofstream input(dir.file("input"), std::ios::binary);
        input << body;
    }
    std::vector<std::string> words = {"curl",        "--silent",      "--max-time",        "60",       "--noproxy",
                                      "*",           "--dump-header", dir.file("headers"), "--output", dir.file("body"),
                                      "--write-out", "%{http_code}"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    words.push_back(url);
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    const std::string input_name = dir.file("input");
    const std::string status_name = dir.file("status");
    const pid_t pid = ::fork();
    if (pid < 0) {
        throw std::system_error(errno, std::generic_category(), "cannot start a process");
    }
    if (pid == 0) {
        ::dup2(::open(input_name.c_str(), O_RDONLY), STDIN_FILENO);
        ::dup2(::open(status_name.c_str(), O_WRONLY | O_CREAT, 0600), STDOUT_FILENO);
        ::execvp(pointers.front(), pointers.data());
        ::_exit(no_program);
    }
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == no_program) {
        throw std::runtime_error("there is no program curl");
    }
    Curl_Answer answer;
    const std::string code = read_file(status_name);
    answer.status = code.empty() ? 0 : std::stoi(code);
    answer.headers = read_file(dir.file("headers"));
    answer.body = read_file(dir.file("body"));
    return answer;
}

Curl_Answer curl_post(const std::string& url, const std::string& body, const std::vector<std::string>& arguments)
{
    std::vector<std::string> words = {"--data-binary", "@-", "--header", "Content-Type: application/json"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return curl(url, words, body);
}
