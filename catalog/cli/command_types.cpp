#include "catalog/cli/command.h"
#include "catalog/cli/session.h"
#include "catalog/cli/table.h"
#include "catalog/schema/set_type.h"
#include "platform/json/json_generator.h"
#include "platform/json/yajl_gen.h"

namespace catalog::cli {

namespace {

class Types_Command final : public Command
{
public:
    Types_Command()
    {
        name = "types";
        summary = "Lists the types of backup sets";
        description = "Lists every type: its id, the record class, what the class writes under \"catalog_module\", and "
                      "the tables that it has besides the common ones.";
        Option format{"--format", "FORMAT", "How to print the types", &format_};
        format.choices = {"table", "json"};
        options = {format};
        examples = {{"types", "Shows the types as a table"},
                    {"types --format json", "Prints them as JSON, aliases and remarks included"}};
    }

    Exit_Code run(Session& session) override
    {
        format_ == "json" ? print_json(session.out) : print_table(session.out);
        return DONE;
    }

private:
    static std::string joined(std::span<const char* const> names)
    {
        std::string text;
        for (const char* name : names) {
            text += (text.empty() ? "" : ", ") + std::string(name);
        }
        return text;
    }

    static void print_table(Output& out)
    {
        Table table({{"TYPE"}, {"CLASS"}, {"CATALOG_MODULE"}, {"TABLES"}});
        for (const Set_Type& type : set_types()) {
            table.row({type.id, type.class_name, type.catalog_module, joined(type.tables)});
        }
        table.write(out);
    }

    static void print_names(YAJL_Gen& gen, std::span<const char* const> names)
    {
        const YAJL_Array_Guard array(gen);
        for (const char* name : names) {
            gen << name;
        }
    }

    static void print_json(Output& out)
    {
        JSON_Text text;
        YAJL_Gen gen(text.get());
        {
            const YAJL_Array_Guard array(gen);
            for (const Set_Type& type : set_types()) {
                const YAJL_Map_Guard map(gen);
                gen << "id"_key << type.id;
                gen << "class"_key << type.class_name;
                gen << "catalog_module"_key << type.catalog_module;
                gen << "tables"_key;
                print_names(gen, type.tables);
                gen << "aliases"_key;
                print_names(gen, type.aliases);
                gen << "remark"_key << type.remark;
            }
        }
        out.line(text.view());
    }

    std::string format_ = "table";
};

} // namespace

std::unique_ptr<Command> make_types_command()
{
    return std::make_unique<Types_Command>();
}

} // namespace catalog::cli
