#include "backup_set/common/k8s_backup_set.h"

K8S_Backup_Set::K8S_Backup_Set() : Backup_Set("kubernetes") {}

bool K8S_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "seq"_key << seq;
    gen << "channels"_key << channels;
    gen << "pvc_backup_type"_key << pvc_backup_type;
    gen << "backup_details"_key << backup_details;
    return true;
}
