#include "backup_set/common/backup_set.h"

#include "backup_set/common/backup_set_result_handler.h"
#include "backup_set/common/column_intake.h"
#include "backup_set/common/document_time.h"
#include "backup_set/common/select_columns.h"
#include "platform/text/log.h"

namespace {

using namespace column_intake;

constexpr auto text_intake = text_columns<Backup_Set>({
    {"uuid", into<&Backup_Set::uuid>},
    {"name", into<&Backup_Set::name>},
    {"definition_uuid", into<&Backup_Set::def_uuid>},
    {"job_instance_uuid", into<&Backup_Set::activity_uuid>},
    {"uid", into<&Backup_Set::uid>},
    {"host_uuid", into<&Backup_Set::host_uuid>},
    {"agent", into<&Backup_Set::agent>},
    {"resource_uuid", into<&Backup_Set::resource_uuid>},
    {"minor_resource_id", into<&Backup_Set::minor_resource_id>},
    {"minor_resource_name", into<&Backup_Set::minor_resource_name>},
    {"incarnation", into<&Backup_Set::incarnation>},
    {"type", into<&Backup_Set::type>},
    {"first_time", into<&Backup_Set::first_time>},
    {"last_time", into<&Backup_Set::last_time>},
    {"backup_start_time", into<&Backup_Set::backup_start_time>},
    {"backup_end_time", into<&Backup_Set::backup_end_time>},
    {"uri", into<&Backup_Set::uri>},
    {"host", into<&Backup_Set::host>},
    {"instance", into<&Backup_Set::instance>},
    {"instance_version", into<&Backup_Set::instance_version>},
});

constexpr auto integer_intake = integer_columns<Backup_Set>({
    {"source_size", into<&Backup_Set::source_size>},
    {"size", into<&Backup_Set::size>},
    {"first_scn", into<&Backup_Set::first_scn>},
    {"last_scn", into<&Backup_Set::last_scn>},
});

constexpr auto json_intake = json_columns<Backup_Set>({
    {"extended_attrs", into<&Backup_Set::extended_attrs>},
    {"resource_tree", into<&Backup_Set::resource_tree>},
    {"uname", into<&Backup_Set::uname>},
    {"lsb", into<&Backup_Set::lsb>},
});

} // namespace

Backup_Set_Result_Handler Backup_Set::result_handler_(nullptr, nullptr, nullptr, Backup_Set_Result_Handler::VF_BASE);

Backup_Set::Backup_Set(const char* module) : catalog_module(module != nullptr ? module : "") {}
Backup_Set::Backup_Set(const Backup_Set& other) = default;
Backup_Set::Backup_Set(Backup_Set&& other) noexcept = default;
Backup_Set::~Backup_Set() = default;

database::sql::Query_Result_Handler* Backup_Set::result_handler()
{
    return &result_handler_;
}

void Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    String_Template column = column_template();
    column("b", alias);
    sql.table("backup_set", alias);
    add_columns(sql, column, "{{b}}",
                {
                    "uuid",
                    "name",
                    "job_instance_uuid",
                    "definition_uuid",
                    "uid",
                    "host_uuid",
                    "resource_uuid",
                    "minor_resource_id",
                    "minor_resource_name",
                    "agent",
                    "incarnation",
                    "type",
                    "first_time",
                    "last_time",
                    "backup_start_time",
                    "backup_end_time",
                    "source_size",
                    "size",
                    "uri",
                    "host",
                    "instance",
                    "instance_version",
                    "first_scn",
                    "last_scn",
                    "resource_tree",
                    "extended_attrs",
                    "uname",
                    "lsb",
                });
}

bool Backup_Set::print_cstr(int, const char* key, const char* value, std::size_t length)
{
    return text_intake.take(*this, key, value, length).value_or(true);
}

bool Backup_Set::print_int(int, const char* key, ACE_INT64 value)
{
    return integer_intake.take(*this, key, value).value_or(true);
}

bool Backup_Set::print_json(int, const char* key, const json_spirit::Value& value)
{
    return json_intake.take(*this, key, value).value_or(true);
}

bool Backup_Set::generate(yajl_gen_t* handle)
{
    if (handle == nullptr) {
        return log_null("gen");
    }
    YAJL_Gen gen(handle);
    const YAJL_Map_Guard map(gen);
    gen << "catalog_module"_key << catalog_module;
    gen << "uuid"_key << uuid;
    gen << "name"_key << name;
    gen << "job_instance_uuid"_key << activity_uuid;
    gen << "definition_uuid"_key << def_uuid;
    gen << "uid"_key << uid;
    gen << "host_uuid"_key << host_uuid;
    gen << "resource_uuid"_key << resource_uuid;
    gen << "minor_resource_id"_key << minor_resource_id;
    gen << "minor_resource_name"_key << minor_resource_name;
    gen << "agent"_key << agent;
    gen << "incarnation"_key << incarnation;
    gen << "type"_key << type;
    gen << "backup_start_time"_key << document_time(backup_start_time);
    gen << "uri"_key << uri;
    gen << "host"_key << host;
    gen << "instance"_key << instance;
    gen << "instance_version"_key << instance_version;
    gen << "first_scn"_key << first_scn;
    gen << "last_scn"_key << last_scn;
    if (first_time != 0) {
        gen << "first_time"_key << document_time(first_time);
    }
    if (last_time != 0) {
        gen << "last_time"_key << document_time(last_time);
    }
    if (backup_end_time != 0) {
        gen << "backup_end_time"_key << document_time(backup_end_time);
    }
    gen << "size"_key << size;
    gen << "source_size"_key << source_size;
    gen << "resource_tree"_key << resource_tree;
    gen << "extended_attrs"_key << extended_attrs;
    if (!parents.empty()) {
        gen << "parents"_key;
        const YAJL_Array_Guard array(gen);
        for (const std::string& parent : parents) {
            gen << parent;
        }
    }
    if (storages.size() == 1) {
        gen << "storage"_key;
        storages.front().generate(handle);
    } else if (!storages.empty()) {
        gen << "storages"_key;
        const YAJL_Array_Guard array(gen);
        for (Backup_Set_Storage& storage : storages) {
            storage.generate(handle);
        }
    }
    gen << "pieces"_key;
    {
        const YAJL_Array_Guard array(gen);
        for (Backup_Piece& piece : pieces) {
            piece.generate(handle);
        }
    }
    gen << "lsb"_key << lsb;
    gen << "uname"_key << uname;
    if (!generate_i(gen)) {
        log_at(LM_ERROR, "Failed to generate backup set with agent '%s'.\n", agent.c_str());
        return false;
    }
    return true;
}

bool Backup_Set::generate_i(YAJL_Gen&)
{
    return true;
}

void Backup_Set::add_piece(const std::string& path, ACE_UINT64 piece_size)
{
    Backup_Piece& piece = pieces.emplace_back();
    piece.path = path;
    piece.size = piece_size;
}

void Backup_Set::add_directory_piece(const std::string& path, ACE_UINT64 piece_size)
{
    add_piece(path, piece_size);
    pieces.back().object = "dir";
}

void Backup_Set::add_piece(const Backup_Piece& piece)
{
    pieces.push_back(piece);
}

void Backup_Set::add_storage(const Backup_Set_Storage& storage)
{
    storages.push_back(storage);
}

void Backup_Set::add_storage(const std::string& pool_uuid, ACE_INT64 storage_size)
{
    add_storage(pool_uuid, storage_size, {});
}

void Backup_Set::add_storage(const std::string& pool_uuid, ACE_INT64 storage_size,
                             const json_spirit::Object& storage_attrs)
{
    Backup_Set_Storage& storage = storages.emplace_back();
    storage.pool_uuid = pool_uuid;
    storage.size = storage_size;
    storage.extended_attrs = storage_attrs;
}
