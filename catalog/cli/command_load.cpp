#include "catalog/cli/command.h"
#include "catalog/cli/type_reading.h"

namespace catalog::cli {

namespace {

class Load_Command final : public Command
{
public:
    Load_Command()
    {
        name = "load";
        summary = "Reads sets through their record class";
        description =
            "Reads the sets of a type as a program that links the library does: the record class composes the select, "
            "takes each row column by column, and writes itself. Prints one document a line, without what is no column "
            "of the select (pieces, storages, parents). `backup-set show` prints a set as it was recorded.\n\n"
            "Some types have no select; for these the command fails with exit code 2. The select of some others reads "
            "the type's own table alone; standard error then notes what is missing.";
        options = {type_argument(type_), one_set_option(uuid_)};
        add_server_options(options, server_);
        examples = {{"load oracle", "Prints all Oracle sets"},
                    {"load file --uuid 6f1d2c3e-0d5b-4a6e-9f57-1c0b8a7d6e5f", "Prints one file set"}};
    }

    Exit_Code run(Session& session) override
    {
        return print_sets(session, server_, type_, uuid_, &Catalog_Access::records);
    }

private:
    Server_Options server_;
    std::string type_;
    std::string uuid_;
};

} // namespace

std::unique_ptr<Command> make_load_command()
{
    return std::make_unique<Load_Command>();
}

} // namespace catalog::cli
