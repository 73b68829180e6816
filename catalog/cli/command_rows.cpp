#include "catalog/cli/command.h"
#include "catalog/cli/type_reading.h"

namespace catalog::cli {

namespace {

class Rows_Command final : public Command
{
public:
    Rows_Command()
    {
        name = "rows";
        summary = "Reads the rows of a type's select straight to JSON";
        description =
            "Runs the select of a type and writes each row as one JSON object a line, with the set's storages and pieces "
            "as arrays under \"storages\" and \"pieces\". No record is made on the way; rows are written while they are "
            "read, however many there are.\n\n"
            "Some types have no select; for these the command fails with exit code 2. Where a type's select reads the "
            "type's own table alone, the rows have that table's columns and \"uuid\"; standard error notes it.";
        options = {type_argument(type_), one_set_option(uuid_)};
        add_server_options(options, server_);
        examples = {{"rows oracle | head -n 1", "Prints one row"},
                    {"rows file --uuid 6f1d2c3e-0d5b-4a6e-9f57-1c0b8a7d6e5f", "Prints the row of one set"}};
    }

    Exit_Code run(Session& session) override
    {
        return print_sets(session, server_, type_, uuid_, &Catalog_Access::rows);
    }

private:
    Server_Options server_;
    std::string type_;
    std::string uuid_;
};

} // namespace

std::unique_ptr<Command> make_rows_command()
{
    return std::make_unique<Rows_Command>();
}

} // namespace catalog::cli
