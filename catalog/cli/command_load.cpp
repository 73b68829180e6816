#include "catalog/cli/command.h"
#include "catalog/cli/session.h"
#include "catalog/cli/terminal_text.h"
#include "catalog/cli/type_reading.h"
#include "platform/json/json_generator.h"

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
        examples = {{"load oracle", "Prints all Oracle sets"},
                    {"load file --uuid 6f1d2c3e-0d5b-4a6e-9f57-1c0b8a7d6e5f", "Prints one file set"}};
    }

    Exit_Code run(Session& session) override
    {
        Exit_Code exit = DONE;
        Type_Reading reading = open_type_reading(session, type_, uuid_, exit);
        if (reading.store == nullptr) {
            return exit;
        }
        JSON_Text text;
        std::size_t count = 0;
        bool written = true;
        const auto take = [&](Backup_Set& record) {
            text.clear();
            written = record.generate(text.get());
            if (written) {
                session.diagnostics.clear_progress();
                session.out.line(text.view());
                session.diagnostics.progress(count_of(++count, "set"));
            }
            return written && session.out.good();
        };
        const bool loaded = reading.type->load(reading.store->connection(), reading.sql, take, reading.type->handler());
        if (!written) {
            return session.tell(FAILED,
                                "a set of type \"" + type_ + "\" cannot be written, after " + count_of(count, "set"));
        }
        return finish_reading(session, reading, loaded, uuid_, count);
    }

private:
    std::string type_;
    std::string uuid_;
};

} // namespace

std::unique_ptr<Command> make_load_command()
{
    return std::make_unique<Load_Command>();
}

} // namespace catalog::cli
