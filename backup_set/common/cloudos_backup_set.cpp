#include "backup_set/common/cloudos_backup_set.h"

#include "backup_set/common/select_columns.h"

CloudOS_Backup_Set::CloudOS_Backup_Set() : Backup_Set("cloudos") {}

void CloudOS_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    String_Template column = column_template();
    column("c", alias);
    sql.table("cloudos_backup_set", alias);
    add_columns(sql, column, "{{c}}",
                {"set_uuid", "host_id", "host_name", "vm_id", "vm_name", "vm_disks", "vm_config", "snapshot_id"});
}

bool CloudOS_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "host_id"_key << host_id;
    gen << "host_name"_key << host_name;
    gen << "vm_id"_key << vm_id;
    gen << "vm_name"_key << vm_name;
    gen << "snapshot_id"_key << snapshot_id;
    gen << "vm_disks"_key << vm_disks;
    gen << "vm_config"_key << vm_config;
    return true;
}
