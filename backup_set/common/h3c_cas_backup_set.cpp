#include "backup_set/common/h3c_cas_backup_set.h"

#include "backup_set/common/select_columns.h"

H3C_CAS_Backup_Set::H3C_CAS_Backup_Set() : Backup_Set("h3ccas") {}

void H3C_CAS_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    String_Template column = column_template();
    column("h", alias);
    sql.table("h3ccas_backup_set", alias);
    add_columns(sql, column, "{{h}}",
                {"set_uuid", "cvk_host_id", "cvk_host_name", "cvk_host_ip", "vm_id", "vm_title", "vm_name",
                 "vm_config_path", "cbt_name", "vm_disks", "cpu_count", "cpu_cores", "memory_mbytes"});
}

bool H3C_CAS_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "cvk_host_id"_key << cvk_host_id;
    gen << "cvk_host_name"_key << cvk_host_name;
    gen << "cvk_host_ip"_key << cvk_host_ip;
    gen << "vm_id"_key << vm_id;
    gen << "vm_title"_key << vm_title;
    gen << "vm_name"_key << vm_name;
    gen << "vm_config_path"_key << vm_config_path;
    gen << "cbt_name"_key << cbt_name;
    gen << "cpu_count"_key << cpu_count;
    gen << "cpu_cores"_key << cpu_cores;
    gen << "memory_mbytes"_key << memory_mbytes;
    gen << "vm_disks"_key << vm_disks;
    return true;
}
