#include "catalog/cli/help.h"
#include "catalog/cli/help_text.h"

#include <span>
#include <sstream>

namespace catalog::cli {

namespace {

/// Text for man(7): nothing in it is taken as a request or an escape.
std::string escaped(const std::string& text)
{
    std::string out;
    for (const char c : text) {
        const bool line_begins = out.empty() || out.back() == '\n';
        if (line_begins && (c == '.' || c == '\'')) {
            out += "\\&";
        }
        if (c == '-') {
            out += "\\-";
        } else if (c == '\\') {
            out += "\\e";
        } else {
            out += c;
        }
    }
    return out;
}

std::string bold(const std::string& text)
{
    return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(const std::string& text)
{
    return "\\fI" + escaped(text) + "\\fR";
}

/// Paragraphs, separated by empty lines.
std::string paragraphs(const std::string& text)
{
    std::string out;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        out += line.empty() ? ".PP\n" : escaped(line) + "\n";
    }
    return out;
}

std::string entry(const std::string& title, const std::string& meaning)
{
    return ".TP\n" + title + "\n" + escaped(meaning) + "\n";
}

std::string option_entries(const std::vector<Option>& options)
{
    std::string out;
    for (const Option& option : options) {
        const std::string title = option_title(option);
        const std::size_t value = title.size() - option.value.size();
        const std::string marked =
            option.is_argument() ? italic(title) : bold(title.substr(0, value)) + italic(title.substr(value));
        out += entry(marked, option_help(option) + ".");
    }
    return out;
}

std::string command_section(const Command& command)
{
    std::string out = ".SS " + escaped(command_synopsis(command)) + "\n";
    out += paragraphs(command.summary + ".\n\n" + command.description);
    out += option_entries(command.options);
    out += ".PP\n";
    for (const Example& example : command.examples) {
        out += escaped(example.what) + ":\n.PP\n.RS 4\n.nf\n";
        out += escaped(std::string(program_name) + " " + example.command) + "\n.fi\n.RE\n.PP\n";
    }
    return out;
}

std::string terms(std::span<const Term> all)
{
    std::string out;
    for (const Term& term : all) {
        out += entry(bold(term.name), std::string(term.meaning) + ".");
    }
    return out;
}

} // namespace

std::string manual_page(const Program& program, const std::string& version)
{
    std::string out = ".\\\" Made by `backup-set --generate man`.\n";
    out += ".TH BACKUP\\-SET 1 \"\" \"backup\\-set " + escaped(version) + "\" \"User Commands\"\n";
    out += ".SH NAME\nbackup\\-set \\- " + escaped(program_summary) + "\n";
    out += ".SH SYNOPSIS\n" + bold(program_name);
    out += " [" + italic("OPTION") + "]... " + italic("COMMAND");
    out += " [" + italic("OPTION") + "]... [" + italic("ARGUMENT") + "]...\n";
    out += ".SH DESCRIPTION\n" + paragraphs(program_description);
    out += ".SH OPTIONS\nBefore or behind the command:\n" + option_entries(program.options);
    out += ".SH COMMANDS\n";
    for (const auto& command : program.commands) {
        out += command_section(*command);
    }
    out += ".SH EXIT STATUS\n" + terms(exit_codes);
    out += ".SH ENVIRONMENT\n" + terms(environment_variables);
    out += ".SH FILES\n" + terms(files);
    return out;
}

} // namespace catalog::cli
