#include "catalog/cli/help.h"

#include "catalog/cli/help_text.h"

#include <sstream>

namespace catalog::cli {

namespace {

constexpr std::size_t line_width = 80;
constexpr std::size_t title_width = 20;
constexpr std::size_t most_choices_listed = 12;

/// The words of `text` in lines of at most `line_width`, each after `indent` blanks; an empty line stays one.
std::string wrapped(const std::string& text, std::size_t indent)
{
    std::string out;
    std::istringstream paragraphs(text);
    for (std::string paragraph; std::getline(paragraphs, paragraph);) {
        std::istringstream words(paragraph);
        std::string line;
        for (std::string word; words >> word;) {
            if (!line.empty() && indent + line.size() + 1 + word.size() > line_width) {
                out += std::string(indent, ' ') + line + "\n";
                line.clear();
            }
            line += (line.empty() ? "" : " ") + word;
        }
        out += line.empty() ? "\n" : std::string(indent, ' ') + line + "\n";
    }
    return out;
}

/// A title, and beside or below it what it means.
std::string entry(const std::string& title, const std::string& meaning)
{
    constexpr std::size_t indent = 2;
    const std::string text = wrapped(meaning, indent + title_width);
    if (title.size() + 2 > title_width) {
        return std::string(indent, ' ') + title + "\n" + text;
    }
    return std::string(indent, ' ') + title + text.substr(indent + title.size());
}

std::string option_entries(const std::vector<Option>& options)
{
    std::string out;
    for (const Option& option : options) {
        out += entry(option_title(option), option_help(option));
    }
    return out;
}

std::string exit_code_entries()
{
    std::string out = "\nExit codes:\n";
    for (const Term& code : exit_codes) {
        out += entry(code.name, code.meaning);
    }
    return out;
}

} // namespace

std::string option_title(const Option& option)
{
    std::string names = option.name;
    if (const std::size_t comma = names.find(','); comma != std::string::npos) {
        names.insert(comma + 1, " ");
    }
    return option.value.empty() ? names : names + " " + option.value;
}

std::string option_help(const Option& option)
{
    std::string help = option.help;
    if (!option.choices.empty() && option.choices.size() <= most_choices_listed) {
        help += " (";
        for (const std::string& choice : option.choices) {
            help += (&choice == &option.choices.front() ? "" : ", ") + choice;
        }
        const auto* text = std::get_if<std::string*>(&option.target);
        help += text != nullptr && !(*text)->empty() ? "; " + **text + " when not given)" : ")";
    }
    return help;
}

std::string command_synopsis(const Command& command)
{
    std::string text = command.name + " [OPTION]...";
    for (const Option& option : command.options) {
        if (option.is_argument()) {
            const bool list = std::holds_alternative<std::vector<std::string>*>(option.target);
            text += " " + option.name + (list ? "..." : "");
        }
    }
    return text;
}

std::string program_help(const Program& program)
{
    const std::string name = program_name;
    std::string out = "Usage: " + name + " [OPTION]... COMMAND [OPTION]... [ARGUMENT]...\n\n";
    out += wrapped(name + " " + program_summary + ".", 0) + "\n";
    out += wrapped(program_description, 0);
    out += "\nCommands:\n";
    for (const auto& command : program.commands) {
        out += entry(command->name, command->summary);
    }
    out += "\nOptions, before or behind the command:\n" + option_entries(program.options);
    out += "\nEnvironment:\n";
    for (const Term& variable : environment_variables) {
        out += entry(variable.name, variable.meaning);
    }
    out += exit_code_entries();
    out += "\nExample:\n  " + name + " list --since 2024-05-01\n";
    out += "\nMore: `" + name + " COMMAND --help`\n";
    return out;
}

std::string command_help(const Program& program, const Command& command)
{
    const std::string name = program_name;
    std::string out = "Usage: " + name + " " + command_synopsis(command) + "\n\n";
    out += command.summary + ".\n\n";
    out += wrapped(command.description, 0);
    if (!command.options.empty()) {
        out += "\nOptions and arguments:\n" + option_entries(command.options);
    }
    out += "\nOptions of every command:\n" + option_entries(program.options);
    out += command.examples.size() == 1 ? "\nExample:\n" : "\nExamples:\n";
    for (const Example& example : command.examples) {
        out += "  " + name + " " + example.command + "\n" + wrapped(example.what, 6);
    }
    return out + exit_code_entries();
}

} // namespace catalog::cli
