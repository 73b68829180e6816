#include "backup_set/common/fusioncloud_backup_set.h"

#include "backup_set/common/select_columns.h"

FusionCloud_Backup_Set::FusionCloud_Backup_Set() : Backup_Set("fusioncloud") {}

void FusionCloud_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, "b"); // meant: a fixed alias, and no join
    String_Template column = column_template();
    column("f", alias);
    sql.table("fusioncloud_backup_set", alias);
    add_columns(sql, column, "{{f}}",
                {"set_uuid", "vm_id", "vm_name", "project_id", "project_name", "vm_profile", "flavor_profile",
                 "interfaces_profile", "image_profile", "volumes_profile"});
}

bool FusionCloud_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "vm_id"_key << vm_id_;
    gen << "vm_name"_key << vm_name_;
    gen << "project_id"_key << project_id_;
    gen << "project_name"_key << project_name_;
    gen << "vm_profile"_key << vm_profile_;
    gen << "flavor_profile"_key << flavor_profile_;
    gen << "interfaces_profile"_key << interfaces_profile_;
    gen << "image_profile"_key << image_profile_;
    gen << "volumes_profile"_key << volumes_profile_;
    return true;
}
