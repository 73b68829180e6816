// The record of one backup of a FusionCloud cloud server.
//
// Filled by the agent through its fields; it takes no typed columns from queries.
#pragma once

#include "backup_set/common/backup_set.h"

class BACKUP_SET_EXPORT FusionCloud_Backup_Set : public Backup_Set
{
public:
    FusionCloud_Backup_Set();

    /// The common columns under the fixed alias "b" and the type's own under `alias`. The two tables are not related: the caller's
    /// condition does that ("b.uuid=ALIAS.set_uuid").
    static void init_select_sql(Select_SQL& sql, const char* alias);

protected:
    bool generate_i(YAJL_Gen& gen) override;

public:
    std::string vm_id_;
    std::string vm_name_;
    std::string project_id_;
    std::string project_name_;
    json_spirit::Object vm_profile_; ///< this and the next four: the cloud's descriptions, kept as they are
    json_spirit::Object flavor_profile_;
    json_spirit::Array interfaces_profile_;
    json_spirit::Object image_profile_;
    json_spirit::Array volumes_profile_;
};
