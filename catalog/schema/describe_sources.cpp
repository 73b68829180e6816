#include "catalog/schema/describe_sources.h"

#include "catalog/schema/schema.h"
#include "catalog/schema/set_type.h"
#include "platform/json/document.h"

#include <stdexcept>
#include <vector>

namespace catalog {

namespace {

/// The callback that a record gets for a column, as it is read without a handler.
const char* callback_of(Column_Kind kind)
{
    switch (kind) {
    case Column_Kind::TEXT:
    case Column_Kind::UUID:
        return "`print_cstr`";
    case Column_Kind::TIME:
        return "`print_cstr`, as \"YYYY-MM-DD HH:MM:SS\"";
    case Column_Kind::INTEGER:
        return "`print_int`";
    case Column_Kind::UNSIGNED:
        return "`print_uint`";
    case Column_Kind::BOOLEAN:
        return "`print_bool`";
    case Column_Kind::JSON_OBJECT:
        return "`print_json`, an object";
    case Column_Kind::JSON_ARRAY:
        return "`print_json`, an array";
    }
    return "";
}

std::string quoted_list(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "`" : ", `") + name + '`';
    }
    return text;
}

/// The keys of a document behind those of the common record, which ends with "uname".
std::vector<std::string> typed_keys(const std::string& document)
{
    std::vector<json_document::Member> members;
    std::string error;
    if (!json_document::split_object(document, members, &error)) {
        throw std::invalid_argument("a sample document is not valid: " + error);
    }
    std::vector<std::string> keys;
    bool common = true;
    for (const json_document::Member& member : members) {
        if (!common) {
            keys.push_back(member.key);
        }
        common = common && member.key != "uname";
    }
    return keys;
}

std::string described_table(const Set_Type& type, const Table& table)
{
    std::string text =
        "\nTable `" + std::string(table.name) + "`:\n\n| column | reaches a record by | what it is |\n|---|---|---|\n";
    for (const Column& column : table.columns) {
        if (column.only_for == nullptr || std::string_view(column.only_for) == type.id) {
            text +=
                "| `" + std::string(column.name) + "` | " + callback_of(column.kind) + " | " + column.meaning + " |\n";
        }
    }
    return text;
}

std::string described_type(const Set_Type& type, const std::string& sample)
{
    std::string text = "## " + std::string(type.id) + "\n\nClass `" + type.class_name + "`; `catalog_module` is \""
                       + type.catalog_module + "\".\n";
    if (*type.remark != '\0') {
        text += "\nRemark: " + std::string(type.remark) + ".\n";
    }
    for (const char* name : type.tables) {
        text += described_table(type, *find_table(name));
    }
    return text + "\nTyped keys of the document, in order: " + quoted_list(typed_keys(sample)) + ".\n";
}

} // namespace

std::string describe_sources(const std::function<std::string(const std::string& id)>& sample)
{
    std::string text;
    for (const Set_Type& type : set_types()) {
        text += (text.empty() ? "" : "\n") + described_type(type, sample(type.id));
    }
    return text;
}

} // namespace catalog
