// A command of the program: what it is called, what people are told about it, what it takes, and what it does.
//
// The same texts make `--help`, the manual page and the completion for bash. A command belongs to one thread and is run
// once; it owns the values of its options.
#pragma once

#include "catalog/cli/exit_code.h"

#include <cstddef>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace catalog::cli {

class Session;

/// Where the value of an option goes. A list takes each occurrence.
using Option_Target =
    std::variant<bool*, std::string*, std::vector<std::string>*, std::size_t*, std::optional<std::time_t>*>;

struct Option
{
    std::string name;  ///< "--limit", "-h,--help"; without a hyphen it is an argument ("UUID")
    std::string value; ///< what people call its value ("N"); empty for a flag and for an argument
    std::string help;  ///< one or more sentences without a closing full stop
    Option_Target target;

    std::vector<std::string> choices = {}; ///< the only values allowed; empty: any
    enum Kind
    {
        PLAIN,
        UUID,  ///< checked to be one
        FILE,  ///< completed as file names
        CONFIG ///< a file that options are read from
    } kind = PLAIN;
    bool required = false;

    bool is_argument() const { return name.front() != '-'; }
    bool takes_value() const { return !std::holds_alternative<bool*>(target); }
};

struct Example
{
    std::string command; ///< without the program's name
    std::string what;    ///< what it does
};

class Command
{
public:
    virtual ~Command() = default;

    virtual Exit_Code run(Session& session) = 0;

    std::string name;
    std::string summary;     ///< one line, as in "lists the sets"
    std::string description; ///< paragraphs, separated by empty lines
    std::vector<Option> options;
    std::vector<Example> examples;
};

/// All commands, in the order in which people are told about them.
std::vector<std::unique_ptr<Command>> make_commands();

// One file each.
std::unique_ptr<Command> make_types_command();
std::unique_ptr<Command> make_template_command();
std::unique_ptr<Command> make_select_sql_command();
std::unique_ptr<Command> make_record_command();
std::unique_ptr<Command> make_list_command();
std::unique_ptr<Command> make_show_command();
std::unique_ptr<Command> make_load_command();
std::unique_ptr<Command> make_rows_command();
std::unique_ptr<Command> make_choose_copy_command();
std::unique_ptr<Command> make_queue_command();
std::unique_ptr<Command> make_schema_command();
std::unique_ptr<Command> make_serve_command();
std::unique_ptr<Command> make_access_key_command();

} // namespace catalog::cli
