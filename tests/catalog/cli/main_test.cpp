// The program as the shell sees it: exit codes, pipes, terminals, outputs that fail.

#include "platform/json/value.h"
#include "tests/catalog/cli/child_process.h"
#include "tests/support/sanitizer.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>

using namespace cli_test;

namespace {

class Main : public ::testing::Test
{
protected:
    std::vector<std::string> with_database(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), {"--database", catalog.url()});
        return arguments;
    }

    void record(int count)
    {
        const Result result = catalog.run({"record", "-"}, documents(1, count));
        ASSERT_EQ(result.exit, 0) << result.err;
    }

    const Catalog catalog{false};
};

/// The most memory that a process has had, in KiB.
long peak_kib(const Child& child)
{
    std::ifstream status("/proc/" + std::to_string(child.pid()) + "/status");
    for (std::string text; std::getline(status, text);) {
        if (text.starts_with("VmHWM:")) {
            return std::stol(text.substr(6));
        }
    }
    return 0;
}

/// A sanitizer, where there is one, gives memory back at once.
void without_quarantine()
{
    const char* options = std::getenv("ASAN_OPTIONS");
    ::setenv("ASAN_OPTIONS", (std::string(options != nullptr ? options : "") + ":quarantine_size_mb=0").c_str(), 1);
}

void to_full_device()
{
    const int device = ::open("/dev/full", O_WRONLY);
    ::dup2(device, STDOUT_FILENO);
}

} // namespace

TEST_F(Main, exit_codes)
{
    EXPECT_EQ(run_child(with_database({"record", "-"}), document(1)).exit, 0);
    EXPECT_EQ(run_child(with_database({"record", "/no/such/file"})).exit, 1);
    EXPECT_EQ(run_child({"--nonsense"}).exit, 2);
    EXPECT_EQ(run_child(with_database({"show", sample_uuid(2)})).exit, 3);
    EXPECT_EQ(run_child(with_database({"record", "-"}), "{}").exit, 4);
    EXPECT_EQ(run_child({"--help"}).exit, 0);
    EXPECT_EQ(run_child({"--version"}).exit, 0);
}

TEST_F(Main, version_is_that_of_the_project)
{
    EXPECT_EQ(run_child({"--version"}).out, "backup-set " BACKUP_SET_PROJECT_VERSION "\n");
}

TEST_F(Main, environment_names_the_database)
{
    record(1);
    const auto prepare = [this] { ::setenv("BACKUP_SET_DATABASE", catalog.url().c_str(), 1); };
    const Result result = run_child({"show", sample_uuid(1), "--format", "json"}, {}, prepare);
    EXPECT_EQ(result.out, document(1) + "\n");
}

TEST_F(Main, a_pipe_that_stays_open_gets_each_answer_at_once)
{
    Child child(with_database({"record", "-"}));
    for (int number = 1; number <= 3; ++number) {
        child.write(document(number) + "\n");
        std::string line;
        ASSERT_TRUE(child.read_line(line)) << "no answer to document " << number;
        EXPECT_EQ(line, sample_uuid(number));
        EXPECT_EQ(catalog.run({"show", line, "--format", "json"}).out, document(number) + "\n")
            << "printed, so it is there";
    }
    EXPECT_EQ(child.finish().exit, 0);
}

TEST_F(Main, reader_that_goes_away_ends_it_quietly)
{
    record(2000);
    for (const char* command : {"rows", "load"}) {
        Child child(with_database({command, "oracle"}));
        std::string line;
        ASSERT_TRUE(child.read_line(line));
        child.close_output();
        const Result result = child.finish();
        EXPECT_EQ(result.exit, 0) << command << ": " << result.err;
        EXPECT_EQ(result.err, "") << command;
    }
    Child child(with_database({"list", "--limit", "0", "--format", "json"}));
    child.close_output();
    const Result result = child.finish();
    EXPECT_EQ(result.exit, 0);
    EXPECT_EQ(result.err, "");
}

TEST_F(Main, record_goes_on_when_its_reader_goes_away)
{
    Child child(with_database({"record", "-"}));
    child.close_output();
    child.write(documents(1, 300));
    const Result result = child.finish();
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(lines(catalog.run({"list", "--limit", "0", "--format", "ndjson"}).out).size(), 300u);
}

TEST_F(Main, output_that_cannot_be_written_is_a_failure)
{
    record(3);
    const std::vector<std::vector<std::string>> commands = {{"types"},
                                                            {"template", "oracle"},
                                                            {"select-sql", "oracle"},
                                                            {"list"},
                                                            {"list", "--format", "json"},
                                                            {"show", sample_uuid(1)},
                                                            {"load", "oracle"},
                                                            {"rows", "oracle"},
                                                            {"choose-copy", sample_uuid(1)},
                                                            {"schema", "show"},
                                                            {"record", "-"},
                                                            {"--help"}};
    for (const std::vector<std::string>& command : commands) {
        const Result result = run_child(with_database(command), document(4), to_full_device);
        EXPECT_EQ(result.exit, 1) << command[0];
        EXPECT_EQ(result.err, "backup-set: error: cannot write the output: No space left on device\n") << command[0];
    }
    EXPECT_EQ(catalog.run({"show", sample_uuid(4)}).exit, 0) << "recording itself did not fail";
}

TEST_F(Main, long_output_to_a_full_device_stops)
{
    record(2000);
    for (const char* command : {"rows", "load"}) {
        const Result result = run_child(with_database({command, "oracle"}), {}, to_full_device);
        EXPECT_EQ(result.exit, 1);
        EXPECT_EQ(result.err, "backup-set: error: cannot write the output: No space left on device\n") << command;
    }
}

TEST_F(Main, progress_is_shown_on_a_terminal_only)
{
    const std::string input = documents(1, 3000);
    const Result on_terminal = run_child(with_database({"record", "-"}), input, {}, Child::TO_TERMINAL);
    EXPECT_EQ(on_terminal.exit, 0);
    EXPECT_EQ(lines(on_terminal.out).size(), 3000u);
    EXPECT_NE(on_terminal.err.find("recorded "), std::string::npos) << on_terminal.err;
    EXPECT_TRUE(on_terminal.err.ends_with("\r\x1b[K")) << "it is taken away at the end";
    const Result in_pipe = run_child(with_database({"record", "-"}), input);
    EXPECT_EQ(in_pipe.exit, 0);
    EXPECT_EQ(in_pipe.err, "");
    const Result loading = run_child(with_database({"load", "oracle"}), {}, {}, Child::TO_TERMINAL);
    EXPECT_EQ(lines(loading.out).size(), 3000u);
    EXPECT_NE(loading.err.find(" set"), std::string::npos) << loading.err;
    EXPECT_EQ(run_child(with_database({"load", "oracle"})).err, "");
}

TEST_F(Main, rows_need_no_memory_for_each)
{
    // Rows with their pieces are some 2 KB of JSON each; the program may grow by far less. A sanitizer makes it slow.
    constexpr int rows = is_sanitized ? 10000 : 20000;
    record(rows);
    Child child(with_database({"rows", "oracle"}), without_quarantine);
    std::string line;
    ASSERT_TRUE(child.read_line(line));
    const long early = peak_kib(child);
    ASSERT_GT(early, 0);
    long late = early;
    std::size_t count = 1;
    std::size_t bytes = line.size();
    while (child.read_line(line)) {
        bytes += line.size();
        if (++count % 1000 == 0) {
            late = std::max(late, peak_kib(child));
        }
    }
    EXPECT_EQ(count, std::size_t{rows});
    EXPECT_GT(bytes, (std::size_t{20} << 20) * rows / 20000);
    EXPECT_LT(late - early, 8192);
    EXPECT_EQ(child.finish().exit, 0);
}

TEST_F(Main, an_input_of_any_length_needs_no_memory_for_each_document)
{
    Child child(with_database({"record", "-"}), without_quarantine);
    Sample sample;
    sample.extra = ",\"filler\":\"" + std::string(10000, 'x') + "\"";
    long early = 0;
    for (int number = 1; number <= 5000; ++number) {
        sample.number = number;
        child.write(document(sample) + "\n");
        if (number == 1500) {
            early = peak_kib(child);
        }
    }
    const long late = peak_kib(child);
    const Result result = child.finish();
    EXPECT_EQ(result.exit, 0) << result.err;
    EXPECT_EQ(lines(result.out).size(), 5000u);
    EXPECT_GT(early, 0);
    EXPECT_LT(late - early, 16384) << "of 50 MB read, 35 MB after the first look";
}

TEST_F(Main, terminated_by_a_signal_it_leaves_no_half_set)
{
    Child child(with_database({"record", "-"}));
    child.write(documents(1, 50));
    std::string line;
    ASSERT_TRUE(child.read_line(line));
    ::kill(child.pid(), SIGTERM);
    EXPECT_EQ(child.finish().exit, -SIGTERM);
    EXPECT_EQ(catalog.run({"show", line}).exit, 0);
}
