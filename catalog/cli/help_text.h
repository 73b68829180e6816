// The parts of the texts about the program that its help and its manual page share.
#pragma once

#include "catalog/cli/command.h"

#include <array>
#include <string>

namespace catalog::cli {

struct Term
{
    const char* name;
    const char* meaning;
};

inline constexpr const char* program_summary = "keeps the records of backup sets in a catalog";

inline constexpr const char* program_description =
    "A catalog holds the record of every backup run: what was backed up, when, into which objects and pools. It lives in "
    "an SQLite file or a PostgreSQL database, which gets its tables at the first use. `serve` makes a service of it for "
    "agents and for other hosts; with --server the commands that record and read sets go through such a service.\n\n"
    "Standard output carries what was asked for and nothing else; messages go to standard error. Where a command offers "
    "--format json, the output is JSON and nothing else.";

inline constexpr std::array exit_codes = {
    Term{"0", "done"},
    Term{"1", "the database, the service, a file or the output failed"},
    Term{"2", "the command line is wrong, or asks for what a type does not have"},
    Term{"3", "there is no such set, or no copy to read from"},
    Term{"4", "the input was refused, all or in part"},
};

inline constexpr std::array environment_variables = {
    Term{"BACKUP_SET_DATABASE", "The database's URL, when --database is not given"},
    Term{"BACKUP_SET_SERVER",
         "The service's URL, for the commands that take --server, when neither --server nor --database "
         "is given"},
    Term{"XDG_DATA_HOME", "The folder below which the default database lies; ~/.local/share when not set"},
};

inline constexpr std::array files = {
    Term{"$XDG_DATA_HOME/backup-set/catalog.db", "The default database; its folder is made when missing"},
};

/// "--format FORMAT", "UUID".
std::string option_title(const Option& option);

/// The help of an option with what may be given and what holds when it is not given.
std::string option_help(const Option& option);

/// "list [OPTION]...", "record [OPTION]... FILE...".
std::string command_synopsis(const Command& command);

} // namespace catalog::cli
