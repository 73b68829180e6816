// The record of one Exchange backup. Its typed fields are written only: no column carries them.
#pragma once

#include "backup_set/common/backup_set.h"

class BACKUP_SET_EXPORT Exchange_Backup_Set : public Backup_Set
{
public:
    Exchange_Backup_Set();

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    std::string device_uuid;
    std::string database;
    std::string backup_method;
    json_spirit::Array storages; ///< of this type; the common record has its own list of the same name beside it
    json_spirit::Array mailboxes;
    ACE_INT32 rev = 0;
    ACE_INT32 exchange_build = 0;
    ACE_INT32 channels = 1;
};
