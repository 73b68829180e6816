#include "backup_set/common/backup_piece_result_handler.h"

#include "backup_set/common/translation_tables.h"

namespace {

using namespace database::sql;

constexpr Val_Trans value_tb[] = {
    translate("set_uuid", VTT_UUID_STR),
    translate("extended_attrs", VTT_JSON_VAL),
    val_trans_end,
};

} // namespace

Backup_Piece_Result_Handler::Backup_Piece_Result_Handler() : Query_Result_Handler(no_key_trans, value_tb) {}
