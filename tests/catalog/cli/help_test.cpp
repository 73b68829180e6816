#include "catalog/cli/help.h"

#include "catalog/cli/help_text.h"
#include "tests/catalog/cli/cli_test.h"

#include <array>
#include <cstdio>
#include <fstream>

using namespace catalog::cli;
using cli_test::count;
using cli_test::lines;
using cli_test::run;

namespace {

/// The commands, with the options that every command takes.
class Help : public ::testing::Test
{
protected:
    const std::vector<std::unique_ptr<Command>> commands = make_commands();
    const std::vector<std::string> common = {"--database", "--verbose", "-h", "--help", "--version"};
};

/// What the shell completes when the last of `words` is being typed, sorted.
std::vector<std::string> completed(const std::vector<std::string>& words)
{
    const Temp_Dir dir;
    std::ofstream(dir.file("completion")) << run({"--generate", "bash-completion"}).out;
    std::ofstream script(dir.file("script"));
    script << "cd " << dir.path().string() << "\nsource ./completion\nCOMP_WORDS=(backup-set";
    for (const std::string& word : words) {
        script << " '" << word << "'";
    }
    script << ")\nCOMP_CWORD=" << words.size() << "\n_backup_set\nprintf '%s\\n' \"${COMPREPLY[@]}\" | sort\n";
    script.close();
    const std::string command = "bash --norc " + dir.file("script") + " 2>&1";
    std::FILE* pipe = ::popen(command.c_str(), "r");
    std::string out;
    std::array<char, 4096> piece;
    for (std::size_t size; (size = std::fread(piece.data(), 1, piece.size(), pipe)) > 0;) {
        out.append(piece.data(), size);
    }
    EXPECT_EQ(::pclose(pipe), 0) << out;
    return lines(out);
}

using Words = std::vector<std::string>;

/// The text as a reader of the manual page sees it.
std::string without_marks(std::string page)
{
    for (const char* mark : {"\\fB", "\\fI", "\\fR", "\\&"}) {
        for (std::size_t at; (at = page.find(mark)) != std::string::npos;) {
            page.erase(at, 3 - (mark[1] == '&'));
        }
    }
    for (std::size_t at; (at = page.find("\\-")) != std::string::npos;) {
        page.erase(at, 1);
    }
    return page;
}

} // namespace

TEST_F(Help, program_help_names_every_command_option_and_exit_code)
{
    const cli_test::Result result = run({"--help"});
    EXPECT_EQ(result.exit, 0);
    EXPECT_EQ(result.err, "");
    for (const auto& command : commands) {
        EXPECT_NE(result.out.find("\n  " + command->name + " "), std::string::npos) << command->name;
    }
    for (const std::string& option : common) {
        EXPECT_NE(result.out.find(option), std::string::npos) << option;
    }
    for (int code = 0; code <= 4; ++code) {
        EXPECT_NE(result.out.find("\n  " + std::to_string(code) + " "), std::string::npos) << code;
    }
    EXPECT_EQ(run({"-h"}).out, result.out);
}

TEST_F(Help, help_of_a_command_names_its_options_and_has_an_example)
{
    for (const auto& command : commands) {
        const cli_test::Result result = run({command->name, "--help"});
        EXPECT_EQ(result.exit, 0) << command->name;
        EXPECT_EQ(result.err, "") << command->name;
        EXPECT_TRUE(result.out.starts_with("Usage: backup-set " + command->name)) << result.out;
        for (const Option& option : command->options) {
            EXPECT_NE(result.out.find("\n  " + option_title(option)), std::string::npos)
                << command->name << " " << option.name;
            EXPECT_FALSE(option.help.empty());
        }
        ASSERT_FALSE(command->examples.empty()) << command->name;
        for (const Example& example : command->examples) {
            EXPECT_TRUE(example.command.starts_with(command->name + " ") || example.command == command->name
                        || example.command.starts_with("show "))
                << example.command;
            EXPECT_NE(result.out.find("\n  backup-set " + example.command + "\n"), std::string::npos);
        }
        EXPECT_NE(result.out.find("\nExit codes:\n"), std::string::npos);
        EXPECT_EQ(run({"--help", command->name}).out, result.out) << "in either place";
    }
}

TEST_F(Help, lines_are_not_wider_than_a_terminal)
{
    for (const auto& command : commands) {
        for (const std::string& line : lines(run({command->name, "--help"}).out)) {
            const bool example = line.starts_with("  backup-set ");
            EXPECT_TRUE(example || line.size() <= 80) << line;
        }
    }
}

TEST_F(Help, examples_are_understood)
{
    // Whatever they do with the catalog: none of them is a usage error.
    const Temp_Dir dir;
    for (const auto& command : commands) {
        for (const Example& example : command->examples) {
            Words words{"--database", "sqlite:" + dir.file("catalog.db")};
            std::istringstream text(example.command);
            for (std::string word; text >> word && word != "|" && word != ">";) {
                const bool quoted = word.front() == '\'';
                words.push_back(quoted ? word.substr(1, word.size() - 2) : word);
            }
            if (std::count(words.begin(), words.end(), "--database") > 1) {
                words.erase(words.begin(), words.begin() + 2);
                continue; // of another machine
            }
            const cli_test::Result result = run(words);
            if (std::count(words.begin(), words.end(), "--server") > 0) { // understood, but not with a database
                EXPECT_EQ(result.err, "backup-set: error: --database and --server exclude each other\n")
                    << example.command;
            } else {
                EXPECT_NE(result.exit, 2) << example.command;
            }
        }
    }
}

TEST_F(Help, manual_page_tells_of_every_command_option_and_exit_code)
{
    const cli_test::Result result = run({"--generate", "man"});
    EXPECT_EQ(result.exit, 0);
    const std::string page = without_marks(result.out);
    for (const auto& command : commands) {
        const std::size_t section = page.find("\n.SS " + command_synopsis(*command) + "\n");
        ASSERT_NE(section, std::string::npos) << command->name;
        const std::string text = page.substr(section, page.find("\n.S", section + 1) - section);
        EXPECT_NE(text.find(command->summary), std::string::npos);
        for (const Option& option : command->options) {
            EXPECT_NE(text.find("\n.TP\n" + option_title(option) + "\n" + option.help), std::string::npos)
                << command->name << " " << option.name;
        }
        for (const Example& example : command->examples) {
            EXPECT_NE(text.find("\nbackup-set " + example.command + "\n"), std::string::npos) << example.command;
        }
    }
    for (const std::string& option : common) {
        EXPECT_NE(page.find(option), std::string::npos) << option;
    }
    for (int code = 0; code <= 4; ++code) {
        EXPECT_NE(page.find("\n.TP\n" + std::to_string(code) + "\n"), std::string::npos) << code;
    }
    EXPECT_EQ(count(result.out, "BACKUP_SET_DATABASE"), 2u);
}

TEST_F(Help, manual_page_has_only_requests_that_man_knows)
{
    const std::string page = run({"--generate", "man"}).out;
    const Words known = {".TH", ".SH", ".SS", ".TP", ".PP", ".RS", ".RE", ".nf", ".fi", ".\\\""};
    for (const std::string& line : lines(page)) {
        EXPECT_FALSE(line.starts_with("'")) << line;
        if (line.starts_with(".")) {
            const std::string request = line.substr(0, line.find(' '));
            EXPECT_NE(std::find(known.begin(), known.end(), request), known.end()) << line;
        }
        for (const char c : line) {
            EXPECT_TRUE(c >= 0x20 && c < 0x7f) << line;
        }
    }
}

TEST_F(Help, completion_knows_commands_and_common_options)
{
    Words names;
    for (const auto& command : commands) {
        names.push_back(command->name);
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(completed({""}), names);
    EXPECT_EQ(completed({"--database", "list", "sh"}), Words{"show"}) << "the word list is a value there";
    EXPECT_EQ(completed({"s"}), (Words{"schema", "select-sql", "serve", "show"}));
    EXPECT_EQ(completed({"--ver"}), (Words{"--verbose", "--version"}));
}

TEST_F(Help, completion_knows_the_options_of_each_command)
{
    for (const auto& command : commands) {
        const Words words = completed({command->name, "-"});
        for (const Option& option : command->options) {
            const bool there = std::find(words.begin(), words.end(), option.name) != words.end();
            EXPECT_EQ(there, !option.is_argument()) << command->name << " " << option.name;
        }
        for (const std::string& option : common) {
            EXPECT_NE(std::find(words.begin(), words.end(), option), words.end()) << command->name << " " << option;
        }
    }
}

TEST_F(Help, completion_knows_values_and_arguments)
{
    EXPECT_EQ(completed({"list", "--format", ""}), (Words{"json", "ndjson", "table"}));
    EXPECT_EQ(completed({"list", "--format", "=", "j"}), Words{"json"});
    EXPECT_EQ(completed({"list", "--format", "="}), (Words{"json", "ndjson", "table"}));
    EXPECT_EQ(completed({"list", "--state", "off"}), Words{"offline"});
    EXPECT_EQ(completed({"list", "--type", "oracle_a"}), Words{"oracle_arch"});
    EXPECT_EQ(completed({"template", "oracle_e"}), Words{"oracle_exp"});
    EXPECT_EQ(completed({"schema", "m"}), Words{"migrate"});
    EXPECT_EQ(completed({"record", "scr"}), Words{"script"}) << "a file of the working folder";
    EXPECT_EQ(completed({"list", "--host", ""}), Words{""}) << "nothing to suggest";
}

TEST_F(Help, version_is_printed)
{
    const cli_test::Result result = run({"--version"});
    EXPECT_EQ(result.exit, 0);
    EXPECT_TRUE(result.out.starts_with("backup-set ")) << result.out;
}
