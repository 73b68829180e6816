// The record of one Kubernetes backup. Its typed fields are written only: no column carries them.
#pragma once

#include "backup_set/common/backup_set.h"

class BACKUP_SET_EXPORT K8S_Backup_Set : public Backup_Set
{
public:
    K8S_Backup_Set();

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    ACE_INT64 seq = 0;
    std::string pvc_backup_type;
    ACE_INT64 channels = 0;
    json_spirit::Array backup_details;
};
