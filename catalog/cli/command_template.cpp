#include "catalog/cli/command.h"
#include "catalog/cli/session.h"
#include "catalog/cli/type_reading.h"
#include "platform/json/json_generator.h"

namespace catalog::cli {

namespace {

class Template_Command final : public Command
{
public:
    Template_Command()
    {
        name = "template";
        summary = "Prints the document of a fresh record";
        description = "Prints the JSON document that a fresh record of a type writes: every key that its sets have, in "
                      "their order, with the values that stand for nothing. Needs no database.";
        options = {type_argument(type_)};
        examples = {{"template oracle", "Prints an empty Oracle set to start from"}};
    }

    Exit_Code run(Session& session) override
    {
        const std::unique_ptr<Backup_Set> record = find_set_type(type_)->make();
        const std::string document = to_json(*record);
        if (document.empty()) {
            return session.tell(FAILED, "a fresh record of type \"" + type_ + "\" cannot be written");
        }
        session.out.line(document);
        return DONE;
    }

private:
    std::string type_;
};

} // namespace

std::unique_ptr<Command> make_template_command()
{
    return std::make_unique<Template_Command>();
}

} // namespace catalog::cli
