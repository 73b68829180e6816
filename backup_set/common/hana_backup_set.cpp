#include "backup_set/common/hana_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/select_columns.h"

namespace {

using namespace column_intake;
using Set = HANA_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"lifeline", into_c_string<&Set::lifeline>},
    {"sid", into_c_string<&Set::sid>},
    {"system_version", into_c_string<&Set::system_version>},
    {"instance_name", into_c_string<&Set::instance_name>},
    {"extended_attrs", into_c_string<&Set::extended_attrs>},
    {"database", into_c_string<&Set::database>},
});

constexpr auto unsigned_intake = unsigned_columns<Set>({
    {"instance_num", into<&Set::instance_num>},
    {"database_backup_id", into<&Set::database_backup_id>},
});

} // namespace

HANA_Backup_Set::HANA_Backup_Set() : Backup_Set("hana") {}

void HANA_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    sql.join("hana_backup_set", "h", "uuid=h.set_uuid");
    // Meant: "extended_attrs" comes a second time; a text here, an object from the common table.
    add_columns(sql, "h",
                {"lifeline", "sid", "system_version", "instance_num", "instance_name", "extended_attrs", "database",
                 "database_backup_id"});
}

bool HANA_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool HANA_Backup_Set::print_uint(int index, const char* key, ACE_UINT64 value)
{
    const auto done = unsigned_intake.take(*this, key, value);
    return done ? *done : Query_Result_Token_Printer::print_uint(index, key, value);
}

bool HANA_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "lifeline"_key << lifeline;
    gen << "sid"_key << sid;
    gen << "system_version"_key << system_version;
    gen << "instance_num"_key << instance_num;
    gen << "instance_name"_key << instance_name;
    gen << "extended_attrs"_key << extended_attrs; // meant: the key stands twice, the common object came first
    gen << "database"_key << database;
    gen << "database_backup_id"_key << database_backup_id;
    gen << "files"_key;
    generate_files(gen, files);
    return true;
}

// Meant: its own copy of the list. NOLINTNEXTLINE(performance-unnecessary-value-param)
void HANA_Backup_Set::generate_files(YAJL_Gen& gen, Backup_Files list)
{
    const YAJL_Array_Guard array(gen);
    for (const Backup_File& file : list) {
        const YAJL_Map_Guard map(gen);
        gen << "extern_backup_id"_key << file.extern_backup_id;
        gen << "origin_path"_key << file.origin_path;
        gen << "filename"_key << file.filename;
        gen << "size"_key << file.size;
        gen << "source_type"_key << file.source_type;
        gen << "storage_path"_key << file.storage_path;
    }
}
