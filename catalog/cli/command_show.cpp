#include "catalog/cli/catalog_access.h"
#include "catalog/cli/command.h"
#include "catalog/cli/session.h"
#include "catalog/cli/table.h"
#include "catalog/cli/terminal_text.h"
#include "platform/json/document.h"
#include "platform/json/json_dump.h"
#include "platform/json/json_generator.h"
#include "platform/json/object_get.h"
#include "platform/json/yajl_gen.h"

namespace catalog::cli {

namespace {

using json_document::Member;

constexpr std::size_t rows_a_part = 1000;

std::string text_of(const json_spirit::Object& object, const char* key)
{
    const json_spirit::Value* value = object_get(object, key);
    if (value == nullptr) {
        return "";
    }
    const std::string* text = value->if_str();
    return text != nullptr ? *text : JSON_Dump(*value).str();
}

std::string size_of(const json_spirit::Object& object)
{
    const std::int64_t* size = object_get_int64(object, "size");
    return size != nullptr ? byte_count(*size) : text_of(object, "size");
}

std::string attributes_of(const json_spirit::Object& object)
{
    const std::string text = text_of(object, "extended_attrs");
    return text == "{}" ? "" : text;
}

std::string states_of(const json_spirit::Object& object)
{
    std::string text;
    if (const json_spirit::Array* states = object_get_array(object, "state")) {
        for (const json_spirit::Value& state : *states) {
            text += (text.empty() ? "" : ",") + (state.if_str() != nullptr ? state.get_str() : JSON_Dump(state).str());
        }
    }
    return text;
}

std::vector<std::string> piece_row(const json_spirit::Object& piece)
{
    return {text_of(piece, "object"), size_of(piece), text_of(piece, "path"), attributes_of(piece)};
}

std::vector<std::string> storage_row(const json_spirit::Object& storage)
{
    return {text_of(storage, "pool_uuid"), states_of(storage), size_of(storage), text_of(storage, "upstream_pool_uuid"),
            attributes_of(storage)};
}

/// A table of the elements of arrays (an object counts as an array of one).
void print_elements(Output& out, const std::vector<Member>& members, Table table,
                    std::vector<std::string> (*row)(const json_spirit::Object&))
{
    std::size_t rows = 0;
    for (const Member& member : members) {
        std::vector<Member> elements;
        if (member.type != json_spirit::array_type || !json_document::split_array(member.text, elements)) {
            elements = {member};
        }
        for (const Member& element : elements) {
            json_spirit::Value value;
            json_spirit::read(element.text, value);
            table.row(row(value.if_obj() != nullptr ? value.get_obj() : json_spirit::Object()));
            if (++rows % rows_a_part == 0) {
                table.write(out, 2);
            }
        }
    }
    if (rows == 0) {
        out.line("  none");
    } else {
        table.write(out, 2);
    }
}

class Show_Command final : public Command
{
public:
    Show_Command()
    {
        name = "show";
        summary = "Shows a whole set";
        description = "Shows a set as it was recorded, key for key. The text has the document without its pieces and "
                      "storages, and then these as tables; json is the stored document alone, byte for byte.";
        Option uuid{"UUID", "", "The set's UUID, in any spelling", &uuid_};
        uuid.kind = Option::UUID;
        uuid.required = true;
        Option format{"--format", "FORMAT", "How to print the set", &format_};
        format.choices = {"text", "json"};
        options = {uuid, format};
        add_server_options(options, server_);
        examples = {{"show 6f1d2c3e-0d5b-4a6e-9f57-1c0b8a7d6e5f", "Shows a set to people"},
                    {"show 6f1d2c3e-0d5b-4a6e-9f57-1c0b8a7d6e5f --format json > set.json",
                     "Keeps its document, ready for `backup-set record` elsewhere"}};
    }

    Exit_Code run(Session& session) override
    {
        Exit_Code exit = DONE;
        const std::unique_ptr<Catalog_Access> catalog = open_access(session, server_, exit);
        if (catalog == nullptr) {
            return exit;
        }
        std::string document;
        Error error;
        if (!catalog->document(uuid_, document, error)) {
            return session.tell(error);
        }
        if (format_ == "json") {
            session.out.line(document);
            return DONE;
        }
        return print_text(session, document);
    }

private:
    static Exit_Code print_text(Session& session, const std::string& document)
    {
        std::vector<Member> members;
        std::string fault;
        if (!json_document::split_object(document, members, &fault)) {
            return session.tell(FAILED, "the stored document is damaged: " + fault);
        }
        std::vector<Member> pieces;
        std::vector<Member> storages;
        JSON_Text text(JSON_Text::PRETTY);
        {
            const YAJL_Gen gen(text.get());
            const YAJL_Map_Guard map(gen);
            for (const Member& member : members) {
                if (member.key == "pieces") {
                    pieces.push_back(member);
                } else if (member.key == "storage" || member.key == "storages") {
                    storages.push_back(member);
                } else {
                    gen << member.key;
                    yajl_gen_raw(text.get(), member.text);
                }
            }
        }
        session.out.line("Document");
        session.out.line(printable_json(text.view()));
        session.out.line("\nPieces");
        print_elements(session.out, pieces, Table({{"OBJECT"}, {"SIZE", Table::RIGHT}, {"PATH"}, {"ATTRIBUTES"}}),
                       piece_row);
        session.out.line("\nStorages");
        print_elements(session.out, storages,
                       Table({{"POOL"}, {"STATE"}, {"SIZE", Table::RIGHT}, {"REPLICATED FROM"}, {"ATTRIBUTES"}}),
                       storage_row);
        return DONE;
    }

    Server_Options server_;
    std::string uuid_;
    std::string format_ = "text";
};

} // namespace

std::unique_ptr<Command> make_show_command()
{
    return std::make_unique<Show_Command>();
}

} // namespace catalog::cli
