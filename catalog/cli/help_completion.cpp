#include "catalog/cli/help.h"

#include <algorithm>
#include <string_view>

namespace catalog::cli {

namespace {

std::string joined(const std::vector<std::string>& words, const char* separator)
{
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : separator) + word;
    }
    return text;
}

/// The spellings of an option: "-h,--help" has two.
std::vector<std::string> spellings(const Option& option)
{
    std::vector<std::string> names;
    for (std::size_t begin = 0; begin <= option.name.size();) {
        const std::size_t end = std::min(option.name.find(',', begin), option.name.size());
        names.push_back(option.name.substr(begin, end - begin));
        begin = end + 1;
    }
    return names;
}

std::vector<std::string> option_words(const std::vector<Option>& options)
{
    std::vector<std::string> words;
    for (const Option& option : options) {
        if (!option.is_argument()) {
            const std::vector<std::string> names = spellings(option);
            words.insert(words.end(), names.begin(), names.end());
        }
    }
    return words;
}

/// What completes a value: its choices, file names, or nothing.
std::string value_words(const Option& option)
{
    if (option.kind == Option::FILE || option.kind == Option::CONFIG) {
        return "compgen -f -- \"$word\"";
    }
    return "compgen -W \"" + joined(option.choices, " ") + "\" -- \"$word\"";
}

/// A branch `LABEL) reply those words`.
std::string branch(const std::string& label, const std::string& words)
{
    return "        " + label + ") mapfile -t COMPREPLY < <(" + words + ") ;;\n";
}

std::string value_branches(const std::string& command, const std::vector<Option>& options)
{
    std::string out;
    for (const Option& option : options) {
        if (!option.is_argument() && option.takes_value()) {
            out += branch(command + ":" + option.name, value_words(option));
        }
    }
    return out;
}

} // namespace

std::string bash_completion(const Program& program)
{
    std::vector<std::string> names;
    std::vector<std::string> with_value;
    for (const auto& command : program.commands) {
        names.push_back(command->name);
    }
    for (const Option& option : program.options) {
        if (option.takes_value()) {
            with_value.push_back(option.name);
        }
    }
    const std::string common = joined(option_words(program.options), " ");

    std::string out = "# Completion for backup-set, made by `backup-set --generate bash-completion`.\n"
                      "\n"
                      "_backup_set() {\n"
                      "    local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command= i\n"
                      "    COMPREPLY=()\n"
                      "    # \"--format=json\" comes as three words.\n"
                      "    if [[ $word == = ]]; then\n"
                      "        word=\n"
                      "    elif [[ $previous == = ]]; then\n"
                      "        previous=${COMP_WORDS[COMP_CWORD - 2]}\n"
                      "    fi\n"
                      "    for ((i = 1; i < COMP_CWORD; ++i)); do\n"
                      "        case ${COMP_WORDS[i]} in\n";
    out += "        " + joined(with_value, " | ") + ") ((++i)) ;;\n";
    out += "        " + joined(names, " | ")
           + ")\n"
             "            command=${COMP_WORDS[i]}\n"
             "            break\n"
             "            ;;\n"
             "        esac\n"
             "    done\n"
             "    case $command:$previous in\n";
    for (const auto& command : program.commands) {
        out += value_branches(command->name, command->options);
    }
    out += value_branches("*", program.options);
    out += "    *)\n"
           "        case $command:$word in\n";
    for (const auto& command : program.commands) {
        out += branch("    " + command->name + ":-*",
                      "compgen -W \"" + joined(option_words(command->options), " ") + " " + common + "\" -- \"$word\"");
        for (const Option& option : command->options) {
            if (option.is_argument()) {
                out += branch("    " + command->name + ":*", value_words(option));
            }
        }
    }
    out += branch("    :-*", "compgen -W \"" + common + "\" -- \"$word\"");
    out += branch("    :*", "compgen -W \"" + joined(names, " ") + "\" -- \"$word\"");
    out += "        esac\n"
           "        ;;\n"
           "    esac\n"
           "}\n"
           "complete -F _backup_set backup-set\n";
    return out;
}

} // namespace catalog::cli
