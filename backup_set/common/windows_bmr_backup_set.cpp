#include "backup_set/common/windows_bmr_backup_set.h"

namespace {

// Meant: members of other types are left out.
void write_file(const YAJL_Gen& gen, const json_spirit::Object& file)
{
    const YAJL_Map_Guard map(gen);
    for (const auto& [name, value] : file) {
        if (const std::string* text = value.if_str()) {
            gen << name << *text;
        } else if (value.type() == json_spirit::int_type) {
            gen << name << value; // unsigned stays unsigned
        }
    }
}

} // namespace

Windows_BMR_Backup_Set::Windows_BMR_Backup_Set() : Backup_Set("windows_bmr") {}

void Windows_BMR_Backup_Set::init_select_sql(Select_SQL&, const char*)
{
    // Nothing, on purpose: neither columns nor a table.
}

bool Windows_BMR_Backup_Set::print_cstr(int, const char*, const char*, std::size_t)
{
    return true; // meant: also for a key that is null or empty
}

bool Windows_BMR_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "diskpart_set"_key; // meant: not the member of that name
    {
        const YAJL_Map_Guard map(gen);
        gen << "diskpart_info"_key << diskpart_info;
        gen << "boot_code"_key << boot_code;
        gen << "module_version"_key << module_version;
        gen << "action_type"_key << action_type;
        gen << "is_mbr_boot"_key << is_mbr_boot;
    }
    gen << "meta_file"_key << meta_file;
    gen << "system_version"_key << system_version;
    gen << "firmware_type"_key << firmware_type;
    gen << "install_dir"_key << install_dir;
    gen << "is_valid_data"_key << is_valid_data;
    gen << "arch"_key << arch;
    gen << "app_data_dir"_key << app_data_dir;
    gen << "extended_attrs"_key << extended_attrs; // meant: the key stands twice, the common object came first
    gen << "backup_files"_key;
    const YAJL_Array_Guard array(gen);
    for (const json_spirit::Value& file : backup_files) {
        write_file(gen, file.get_obj());
    }
    return true;
}
