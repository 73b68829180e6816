#include "backup_set/common/openstack_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/select_columns.h"
#include "platform/json/object_get.h"
#include "platform/text/log.h"

#include <algorithm>
#include <exception>

namespace {

using namespace column_intake;
using json_spirit::Const_Object_Throw_Extractor;
using Set = OpenStack_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"vm_id", into<&Set::vm_id_>},
    {"vm_name", into<&Set::vm_name_>},
    {"backup_uuid", into<&Set::backup_uuid_>},
    {"set_uuid", into<&Set::set_uuid_>},
    {"last_full_backup_uuid", into<&Set::last_full_backup_uuid_>},
    {"last_backup_uuid", into<&Set::last_backup_uuid_>},
});

constexpr auto json_intake = json_columns<Set>({
    {"profile", into<&Set::profile_>},
    {"volumes", into<&Set::volumes_>},
});

template <class Result, class List>
Result pieces_of(List& pieces, const std::string& object)
{
    Result found;
    for (auto& piece : pieces) {
        if (piece.object == object) {
            found.push_back(&piece);
        }
    }
    return found;
}

template <class List>
auto first_piece_of(List& pieces, const std::string& object) -> decltype(pieces.data())
{
    const auto found =
        std::find_if(pieces.begin(), pieces.end(), [&](const Backup_Piece& piece) { return piece.object == object; });
    return found != pieces.end() ? &*found : nullptr;
}

} // namespace

OpenStack_Backup_Set::OpenStack_Backup_Set() : Backup_Set("openstack") {}

void OpenStack_Backup_Set::init_select_sql(Select_SQL& sql, const char* openstack_backup_set_alias,
                                           const char* backup_set_alias)
{
    Backup_Set::init_select_sql(sql, backup_set_alias);
    String_Template column = column_template();
    column("b", backup_set_alias)("o", openstack_backup_set_alias);
    add_columns(sql, column, "{{o}}",
                {"set_uuid", "vm_id", "vm_name", "backup_uuid", "last_backup_uuid", "last_full_backup_uuid", "profile",
                 "volumes"});
    sql.join("openstack_backup_set", openstack_backup_set_alias, column("{{o}}.set_uuid={{b}}.uuid").str());
}

bool OpenStack_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    if (key == nullptr || *key == '\0') {
        return log_null_or_empty("key");
    }
    if (token().empty()) // meant: the current token, not the path
    {
        text_intake.store(*this, key, value, length);
    }
    return Backup_Set::print_cstr(index, key, value, length); // meant: also what was taken
}

bool OpenStack_Backup_Set::print_json(int index, const char* key, const json_spirit::Value& value)
{
    if (key == nullptr || *key == '\0') {
        log_null_or_empty("key");
        return true; // meant: unlike every other callback
    }
    if (token().empty()) {
        json_intake.store(*this, key, value);
    }
    return Backup_Set::print_json(index, key, value);
}

bool OpenStack_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "vm_id"_key << vm_id_;
    gen << "vm_name"_key << vm_name_;
    gen << "set_uuid"_key << set_uuid_;
    gen << "backup_uuid"_key << backup_uuid_;
    gen << "profile"_key << profile_;
    gen << "volumes"_key << volumes_;
    if (!last_backup_uuid_.empty()) {
        gen << "last_backup_uuid"_key << last_backup_uuid_;
    }
    if (!last_full_backup_uuid_.empty()) {
        gen << "last_full_backup_uuid"_key << last_full_backup_uuid_;
    }
    return true;
}

bool OpenStack_Backup_Set::operator<<(const json_spirit::Object& json)
{
    try {
        const Const_Object_Throw_Extractor from(json);
        const std::string* first = nullptr;
        const std::string* last = nullptr;
        const std::string* start = nullptr;
        const std::string* end = nullptr;

        uuid = from.object_get_str_or_throw("uuid");
        name = from.object_get_str_or_throw("name");
        def_uuid = from.object_get_str_or_throw("definition_uuid");
        activity_uuid = from.object_get_str_or_throw("job_instance_uuid");
        uid = from.object_get_str_or_throw("uid");
        host_uuid = from.object_get_str_or_throw("host_uuid");
        resource_uuid = from.object_get_str_or_throw("resource_uuid");
        minor_resource_id = from.object_get_str_or_throw("minor_resource_id");
        minor_resource_name = from.object_get_str_or_throw("minor_resource_name");
        agent = from.object_get_str_or_throw("agent");
        incarnation = from.object_get_str_or_throw("incarnation");
        type = from.object_get_str_or_throw("type");
        first = from.object_get_str("first_time");
        last = from.object_get_str("last_time");
        start = &from.object_get_str_or_throw("backup_start_time");
        end = from.object_get_str("backup_end_time");
        source_size = from.object_get_int64_or_throw("source_size");
        size = from.object_get_int64_or_throw("size");
        uri = from.object_get_str_or_throw("uri");
        host = from.object_get_str_or_throw("host");
        instance = from.object_get_str_or_throw("instance");
        instance_version = from.object_get_str_or_throw("instance_version");
        first_scn = from.object_get_int64_or_throw("first_scn");
        last_scn = from.object_get_int64_or_throw("last_scn");
        resource_tree = from.object_get_object_or_throw("resource_tree");
        extended_attrs = from.object_get_object_or_throw("extended_attrs");
        const json_spirit::Array& storage_list = from.object_get_array_or_throw("storages");
        const json_spirit::Array& piece_list = from.object_get_array_or_throw("pieces");
        vm_id_ = from.object_get_str_or_throw("vm_id");
        vm_name_ = from.object_get_str_or_throw("vm_name");
        backup_uuid_ = from.object_get_str_or_throw("backup_uuid");
        set_uuid_ = from.object_get_str_or_throw("set_uuid");
        profile_ = from.object_get_object_or_throw("profile");
        volumes_ = from.object_get_array_or_throw("volumes");

        if ((first != nullptr && !convert_str_to_time(first, first_time))
            || (last != nullptr && !convert_str_to_time(last, last_time))
            || !convert_str_to_time(start, backup_start_time)
            || (end != nullptr && !convert_str_to_time(end, backup_end_time)))
        {
            log_at(LM_ERROR, "Failed to load OpenStack backup set, invalid time format.\n");
            return false;
        }
        load_pieces(piece_list);
        if (!load_storages(storage_list)) {
            return false;
        }
        if (const std::string* full = from.object_get_str("last_full_backup_uuid")) {
            last_full_backup_uuid_ = *full;
        }
        if (const std::string* previous = from.object_get_str("last_backup_uuid")) {
            last_backup_uuid_ = *previous;
        }
        return true;
    } catch (const std::exception& error) {
        log_at(LM_ERROR,
               "Failed to load OpenStack backup set, Unexpected exception occurred while load json str err %s\n",
               error.what());
        return false;
    }
}

void OpenStack_Backup_Set::load_pieces(const json_spirit::Array& elements)
{
    pieces.reserve(pieces.size() + elements.size());
    for (const json_spirit::Value& element : elements) {
        const Const_Object_Throw_Extractor from(element.get_obj());
        Backup_Piece piece;
        piece.path = from.object_get_str_or_throw("path");
        piece.size = from.object_get_uint64_or_throw("size");
        piece.object = from.object_get_str_or_throw("object");
        if (const json_spirit::Object* attrs = from.object_get_object("extended_attrs")) {
            piece.extended_attrs = *attrs;
        }
        add_piece(piece);
    }
}

bool OpenStack_Backup_Set::load_storages(const json_spirit::Array& elements)
{
    storages.reserve(storages.size() + elements.size());
    for (const json_spirit::Value& element : elements) {
        const Const_Object_Throw_Extractor from(element.get_obj());
        Backup_Set_Storage storage;
        storage.pool_uuid = from.object_get_str_or_throw("pool_uuid");
        size = from.object_get_int64_or_throw("size"); // meant: the set's own size, not the storage's
        std::vector<std::string> names;
        for (const json_spirit::Value& state_name : from.object_get_array_or_throw("state")) {
            const std::string* text = state_name.if_str();
            if (text == nullptr) {
                log_at(LM_EMERGENCY, "Unexpected error in %N:%l, j is not string!\n");
                return false;
            }
            names.push_back(*text);
        }
        storage.state = Backup_Set_State(names);
        add_storage(storage);
    }
    return true;
}

OpenStack_Backup_Set::Pieces OpenStack_Backup_Set::get_pieces(const std::string& object)
{
    return pieces_of<Pieces>(pieces, object);
}

OpenStack_Backup_Set::Const_Pieces OpenStack_Backup_Set::get_pieces(const std::string& object) const
{
    return pieces_of<Const_Pieces>(pieces, object);
}

Backup_Piece* OpenStack_Backup_Set::get_piece(const std::string& object)
{
    return first_piece_of(pieces, object);
}

const Backup_Piece* OpenStack_Backup_Set::get_piece(const std::string& object) const
{
    return first_piece_of(pieces, object);
}

bool convert_str_to_time(const std::string* time_str, std::time_t& target)
{
    if (time_str == nullptr || time_str->empty()) {
        log_at(LM_ERROR, "Failed to convert str to time, 'time_str' is empty.\n");
        return false;
    }
    return iso8601_to_posix_time(time_str->c_str(), target);
}
