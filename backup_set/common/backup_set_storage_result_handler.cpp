#include "backup_set/common/backup_set_storage_result_handler.h"

#include "backup_set/common/translation_tables.h"

namespace {

using namespace database::sql;

constexpr Val_Trans value_tb[] = {
    translate("set_uuid", VTT_UUID_STR),
    translate("pool_uuid", VTT_UUID_STR),
    translate("server_uuid", VTT_UUID_STR), // meant, although no storage column of that name is selected
    translate("upstream_pool_uuid", VTT_UUID_STR),
    translate("extended_attrs", VTT_JSON_VAL),
    val_trans_end,
};

} // namespace

Backup_Set_Storage_Result_Handler::Backup_Set_Storage_Result_Handler() : Query_Result_Handler(no_key_trans, value_tb) {}
