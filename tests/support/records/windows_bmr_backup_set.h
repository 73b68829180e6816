// Windows_BMR_Backup_Set, described for tests.
#pragma once

#include "backup_set/common/windows_bmr_backup_set.h"
#include "tests/support/record_description.h"

namespace record_test {

struct Windows_BMR_Set : Set_Description<Windows_BMR_Set, Windows_BMR_Backup_Set>
{
    static constexpr const char* stem = "windows_bmr_backup_set";
    static constexpr const char* module = "windows_bmr";
    static constexpr bool selects_common = false;

    // Nothing is added to a statement.
    static void select(Select_SQL& sql)
    {
        sql.table("other", "o").add_key("o.a", "a");
        Windows_BMR_Backup_Set().init_select_sql(sql, "b");
    }
    static std::string selected() { return R"(SELECT "o"."a" AS "a" FROM "other" AS "o")"; }

    static constexpr const char* fresh =
        R"(,"diskpart_set":{"diskpart_info":"","boot_code":"","module_version":"","action_type":0,)"
        R"("is_mbr_boot":false},"meta_file":"","system_version":"","firmware_type":"","install_dir":"",)"
        R"("is_valid_data":false,"arch":"","app_data_dir":"","extended_attrs":"","backup_files":[])";

    static void fill(Windows_BMR_Backup_Set& set)
    {
        set.meta_file = "the meta file";
        set.system_version = "the system version";
        set.arch = "the arch";
        set.firmware_type = "the firmware type";
        set.install_dir = "C:\\Windows";
        set.backup_files = {json_spirit::Object{{"path", "first file"}, {"size", 18446744073709551601U}},
                            json_spirit::Object{{"path", "second file"}, {"size", -2}}};
        set.is_valid_data = true;
        set.app_data_dir = "C:\\ProgramData";
        set.extended_attrs = "the extended attrs";
        set.diskpart_set = {{"held", "not written"}};
        set.is_mbr_boot = true;
        set.boot_code = "the boot code";
        set.diskpart_info = "the diskpart info";
        set.module_version = "the module version";
        set.action_type = -2147483605;
    }
    static constexpr const char* filled =
        R"(,"diskpart_set":{"diskpart_info":"the diskpart info","boot_code":"the boot code",)"
        R"("module_version":"the module version","action_type":-2147483605,"is_mbr_boot":true},)"
        R"("meta_file":"the meta file","system_version":"the system version","firmware_type":"the firmware type",)"
        R"("install_dir":"C:\\Windows","is_valid_data":true,"arch":"the arch","app_data_dir":"C:\\ProgramData",)"
        R"("extended_attrs":"the extended attrs","backup_files":[{"path":"first file","size":18446744073709551601},)"
        R"({"path":"second file","size":-2}])";

    static std::vector<Intake> intake() { return {{PRINT_CSTR, TO_NOTHING, {}}}; }
    static Bad_Key on_bad_key(Callback callback)
    {
        return callback == PRINT_CSTR ? Bad_Key{true, false} : Bad_Key{false, true};
    }
};

} // namespace record_test
