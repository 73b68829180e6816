// The texts about the program, made from what the commands say of themselves. Thread-safe.
#pragma once

#include "catalog/cli/command.h"

#include <memory>
#include <string>
#include <vector>

namespace catalog::cli {

inline constexpr const char* program_name = "backup-set";

/// What the texts tell about.
struct Program
{
    std::vector<Option> options; ///< those that every command takes
    std::vector<std::unique_ptr<Command>> commands;
};

/// `backup-set --help`.
std::string program_help(const Program& program);

/// `backup-set COMMAND --help`.
std::string command_help(const Program& program, const Command& command);

/// The manual page, in the language of man(7).
std::string manual_page(const Program& program, const std::string& version);

/// The completion for bash.
std::string bash_completion(const Program& program);

} // namespace catalog::cli
