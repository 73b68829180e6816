#include "catalog/cli/program.h"

#include "catalog/cli/command.h"
#include "catalog/cli/help.h"
#include "catalog/cli/session.h"
#include "catalog/cli/version.h"
#include "platform/text/posix_time.h"
#include "platform/text/uuid.h"

#include <CLI/CLI.hpp>
#include <unistd.h>

#include <charconv>
#include <iostream>
#include <system_error>

namespace catalog::cli {

namespace {

/// The values of the options that every command takes.
struct Common_Options
{
    std::string database;
    std::string config;
    bool verbose = false;
    bool help = false;
    bool version = false;
    std::string generate; ///< for the installation, not told to people
};

std::vector<Option> common_options(Common_Options& values)
{
    return {
        {"--database", "URL",
         "The catalog's database: sqlite:PATH or postgresql://...; when not given, that of BACKUP_SET_DATABASE or a file of "
         "the user's own",
         &values.database},
        {.name = "--config",
         .value = "FILE",
         .help =
             "Read options from the file, \"name = value\" each; those of a command in its section, as in [serve]. What "
             "the command line says goes first",
         .target = &values.config,
         .kind = Option::CONFIG},
        {"--verbose", "", "Also print what the libraries log", &values.verbose},
        {"-h,--help", "", "Print help, of the command when one is given, and exit", &values.help},
        {"--version", "", "Print the version and exit", &values.version},
    };
}

bool read_number(const std::string& text, std::size_t& number)
{
    std::size_t read = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, fault] = std::from_chars(text.data(), end, read);
    if (fault != std::errc() || rest != end) {
        return false;
    }
    number = read;
    return true;
}

bool read_time(const std::string& text, std::optional<std::time_t>& time)
{
    std::time_t read = 0;
    if (!iso8601_to_posix_time(text, read) && !iso8601_to_posix_time(text + " 00:00:00", read)) {
        return false;
    }
    time = read;
    return true;
}

/// Checks that a value is a UUID.
std::string check_uuid(const std::string& text)
{
    return read_uuid(text) ? std::string() : "\"" + text + "\" is not a UUID";
}

/// Makes an option known to the parser.
class Option_Adder
{
public:
    Option_Adder(CLI::App& app, const Option& option) : app_(app), option_(option) {}

    CLI::Option* operator()(bool* flag) const { return app_.add_flag(option_.name, *flag); }
    CLI::Option* operator()(std::string* text) const { return app_.add_option(option_.name, *text); }

    CLI::Option* operator()(std::size_t* number) const { return add_read(number, read_number, "is not a number"); }

    CLI::Option* operator()(std::vector<std::string>* list) const
    {
        // As an option each occurrence takes one value; as an argument it takes all.
        return app_.add_option(option_.name, *list)->allow_extra_args(option_.is_argument());
    }

    CLI::Option* operator()(std::optional<std::time_t>* time) const
    {
        return add_read(time, read_time, "is not a time: give \"2024-05-01 22:30:00\" or \"2024-05-01\"");
    }

private:
    template <class T>
    CLI::Option* add_read(T* target, bool (*read)(const std::string&, T&), const char* otherwise) const
    {
        const auto take = [name = option_.name, target, read, otherwise](const std::string& text) {
            if (!read(text, *target)) {
                throw CLI::ValidationError(name, "\"" + text + "\" " + otherwise);
            }
        };
        return app_.add_option_function<std::string>(option_.name, take);
    }

    CLI::App& app_;
    const Option& option_;
};

void add_option(CLI::App& app, const Option& option)
{
    if (option.kind == Option::CONFIG) {
        app.set_config(option.name);
        app.allow_config_extras(CLI::config_extras_mode::error); // a name that is not known is a mistake
        return;
    }
    CLI::Option* added = std::visit(Option_Adder(app, option), option.target);
    if (option.required) {
        added->required();
    }
    if (!option.choices.empty()) {
        added->check(CLI::IsMember(option.choices));
    }
    if (option.kind == Option::UUID) {
        added->check(CLI::Validator(check_uuid, "UUID"));
    }
}

Command* command_of(const CLI::App& app, const Program& program)
{
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    for (const auto& command : program.commands) {
        if (!chosen.empty() && chosen.front()->get_name() == command->name) {
            return command.get();
        }
    }
    return nullptr;
}

std::string advice(const Command* command)
{
    return std::string("; see `") + program_name + (command != nullptr ? " " + command->name : "") + " --help`";
}

/// What `--help`, `--version` and the hidden option print; empty for a command that is to be run.
std::string text_asked_for(const Common_Options& common, const Program& program, const Command* command)
{
    if (common.help) {
        return command != nullptr ? command_help(program, *command) : program_help(program);
    }
    if (common.version) {
        return std::string(program_name) + " " + program_version + "\n";
    }
    if (common.generate == "man") {
        return manual_page(program, program_version);
    }
    return common.generate.empty() ? std::string() : bash_completion(program);
}

/// Reads the command line and does what it says.
Exit_Code run_command_line(int argc, const char* const* argv, Session& session)
{
    Common_Options common;
    const Program program{common_options(common), make_commands()};
    CLI::App app;
    app.set_help_flag();
    app.fallthrough();
    app.require_subcommand(0, 1);
    for (const Option& option : program.options) {
        add_option(app, option);
    }
    app.add_option("--generate", common.generate)->check(CLI::IsMember({"man", "bash-completion"}));
    for (const auto& command : program.commands) {
        CLI::App* subcommand = app.add_subcommand(command->name);
        for (const Option& option : command->options) {
            add_option(*subcommand, option);
        }
    }
    std::string fault;
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        fault = error.what();
    }
    Command* command = command_of(app, program);
    const std::string text = text_asked_for(common, program, command);
    if (!text.empty()) {
        session.out.write(text);
        return DONE;
    }
    if (!fault.empty()) {
        return session.tell(USAGE, fault + advice(command));
    }
    if (command == nullptr) {
        return session.tell(USAGE, "no command is given" + advice(nullptr));
    }
    session.database = common.database;
    session.diagnostics.set_verbose(common.verbose);
    return command->run(session);
}

/// What becomes of the exit code when the output went nowhere, in whole or in part.
Exit_Code output_result(Exit_Code exit, Output& out, Diagnostics& diagnostics)
{
    out.flush();
    if (out.good() || out.closed()) { // closed: whoever reads it has seen enough
        return exit;
    }
    const int number = out.error_number();
    diagnostics.error("cannot write the output"
                      + (number != 0 ? ": " + std::generic_category().message(number) : std::string()));
    return FAILED;
}

} // namespace

int run(int argc, const char* const* argv, std::istream& in, std::ostream& out, std::ostream& err)
{
    const bool terminal = err.rdbuf() == std::cerr.rdbuf() && ::isatty(STDERR_FILENO) == 1;
    Diagnostics diagnostics(err, terminal);
    Output output(out);
    Session session(in, output, diagnostics);
    Exit_Code exit = FAILED;
    try {
        exit = run_command_line(argc, argv, session);
    } catch (const std::exception& error) {
        exit = session.tell(FAILED, error.what());
    }
    exit = output_result(exit, output, diagnostics);
    return diagnostics.release() && exit == DONE ? FAILED : exit;
}

} // namespace catalog::cli
