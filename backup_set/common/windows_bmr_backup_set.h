// The record of one bare-metal-recovery backup of a Windows system.
//
// Filled by the agent through its fields; it takes no text columns from queries at all, and selects nothing.
#pragma once

#include "backup_set/common/backup_set.h"

class BACKUP_SET_EXPORT Windows_BMR_Backup_Set : public Backup_Set
{
public:
    Windows_BMR_Backup_Set();

    /// Does nothing: these sets have no table of their own, and the statement stays as it is.
    void init_select_sql(Select_SQL& sql, const char* alias);

    /// Swallows every text column, those of the common record included; always true.
    bool print_cstr(int index, const char* key, const char* value, std::size_t length) override;

protected:
    /// Throws `json_spirit::Wrong_Type` when an element of `backup_files` is no object.
    bool generate_i(YAJL_Gen& gen) override;

public:
    std::string meta_file;
    std::string system_version;
    std::string arch;
    std::string firmware_type;
    std::string install_dir;
    json_spirit::Array backup_files; ///< one object per file; only its strings and integers are written
    bool is_valid_data = false;
    std::string app_data_dir;
    std::string extended_attrs; ///< a text of this type; the common record has an object of the same name beside it
    json_spirit::Object diskpart_set; ///< held, not written: the key of that name is composed of the fields below
    bool is_mbr_boot = false;
    std::string boot_code;
    std::string diskpart_info;
    std::string module_version; ///< of the module that made the backup
    ACE_INT32 action_type = 0;
};
