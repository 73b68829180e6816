#include "backup_set/common/exchange_backup_set.h"

Exchange_Backup_Set::Exchange_Backup_Set() :
    Backup_Set("") {} // meant: the type is empty until the agent or the catalog says it

bool Exchange_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "device_uuid"_key << device_uuid;
    gen << "database"_key << database;
    gen << "backup_method"_key << backup_method;
    gen << "rev"_key << rev;
    gen << "exchange_build"_key << exchange_build;
    gen << "channels"_key << channels;
    gen << "storages"_key << storages;
    gen << "mailboxes"_key << mailboxes;
    return true;
}
