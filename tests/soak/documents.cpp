#include "tests/soak/documents.h"

#include "backup_set/common/file_backup_set.h"
#include "catalog/schema/set_type.h"
#include "platform/json/json_generator.h"
#include "platform/json/yajl_gen.h"

#include <iterator>
#include <stdexcept>

namespace soak {

namespace {

/// With and without a table and a module name of their own, sharing a table, and without a select.
constexpr const char* types[] = {"file", "oracle", "mysql", "dmdb", "mongodb", "vmware", "oracle_arch", "mssql"};

const catalog::Set_Type& set_type(std::size_t type)
{
    return *catalog::find_set_type(types[type]);
}

std::string numbered_uuid(const char* family, unsigned number)
{
    char text[37];
    std::snprintf(text, sizeof text, "%s-0000-4000-8000-%012x", family, number);
    return text;
}

Backup_Piece make_piece(int number)
{
    Backup_Piece piece;
    piece.path = "/data/\u00e4 \"" + std::to_string(number) + "\"";
    piece.object = number % 7 == 0 ? "dir" : "object-" + std::to_string(number);
    piece.size = static_cast<ACE_UINT64>(number) * 4097;
    if (number % 3 == 0) {
        piece.extended_attrs["part"] = number;
        piece.extended_attrs["a"] = json_spirit::Value();
    }
    return piece;
}

json_spirit::Value read(const std::string& text)
{
    json_spirit::Value value;
    std::string error;
    if (!json_spirit::read(text, value, &error)) {
        throw std::logic_error(error);
    }
    return value;
}

std::string write(const json_spirit::Value& value)
{
    JSON_Text text;
    yajl_gen_value(text.get(), value);
    return text.take();
}

} // namespace

std::size_t type_count()
{
    return std::size(types);
}

const char* type_id(std::size_t type)
{
    return types[type];
}

std::string type_table(std::size_t type)
{
    const auto tables = set_type(type).tables;
    return tables.empty() ? "" : tables.front();
}

bool has_type_view(std::size_t type)
{
    Select_SQL select;
    set_type(type).init_select(select, set_type(type).aliases);
    return !select.empty();
}

std::unique_ptr<Backup_Set> make_record(const Subject& subject, const Content& content)
{
    auto set = set_type(subject.type).make();
    const std::string variant = std::to_string(content.variant);
    set->uuid = subject.uuid;
    set->name = "set \xe2\x82\xac " + variant;
    set->agent = type_id(subject.type);
    set->host = "host-" + std::to_string(subject.number % 5);
    set->host_uuid = numbered_uuid("0000beef", subject.number % 5);
    set->resource_uuid = numbered_uuid("0000cafe", subject.number % 9);
    set->minor_resource_id = std::to_string(subject.number % 4);
    set->type = subject.number % 2 == 0 ? "full" : "incremental";
    set->backup_start_time = 1'700'000'000 + static_cast<std::time_t>(subject.number) * 60;
    set->backup_end_time = set->backup_start_time + 30 + content.variant;
    set->size = content.variant * 1'000'003;
    set->resource_tree["variant"] = content.variant;
    set->extended_attrs["comment"] = "a/b\\c\n" + variant;
    for (std::size_t i = 0; i < storage_count(content.variant); ++i) {
        Backup_Set_Storage storage;
        storage.pool_uuid = numbered_uuid("00009001", static_cast<unsigned>(i));
        storage.size = set->size;
        storage.state = i == 0 ? Backup_Set_State::ONLINE_BIT : Backup_Set_State::REPLICATED_BIT;
        set->add_storage(storage);
    }
    if (content.variant % 4 == 1) {
        set->parents = {numbered_uuid("0000dad0", subject.number)};
    }
    if (auto* const file = dynamic_cast<File_Backup_Set*>(set.get())) {
        file->seq = static_cast<ACE_UINT32>(content.variant);
        file->hash_algorithm = "sha256";
    }
    for (const int number : content.pieces) {
        set->add_piece(make_piece(number));
    }
    return set;
}

json_spirit::Value make_value(const Subject& subject, const Content& content)
{
    return read(to_json(*make_record(subject, content)));
}

std::string document_text(const Subject& subject, int variant, Spelling spelling, const std::vector<Piece>& pieces)
{
    const Content bare{variant, {}};
    std::string text =
        spelling == Spelling::RECORD ? to_json(*make_record(subject, bare)) : write(make_value(subject, bare));
    constexpr std::string_view place = "\"pieces\":[";
    std::string list;
    for (const Piece& piece : pieces) {
        list += (list.empty() ? "" : ",") + piece_text(piece);
    }
    return text.insert(text.find(place) + place.size(), list);
}

std::string piece_text(const Piece& piece)
{
    Backup_Piece record = make_piece(piece.number);
    const std::string text = to_json(record);
    return piece.spelling == Spelling::RECORD ? text : write(read(text));
}

json_spirit::Array piece_values(const std::vector<int>& pieces)
{
    json_spirit::Array values;
    for (const int number : pieces) {
        values.push_back(read(piece_text({number, Spelling::RECORD})));
    }
    return values;
}

std::size_t storage_count(int variant)
{
    return static_cast<std::size_t>(variant % 3);
}

} // namespace soak
