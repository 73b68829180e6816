#include "backup_set/common/mssql_sets_result_handler.h"

#include "backup_set/common/backup_set_state.h"
#include "backup_set/common/translation_tables.h"
#include "platform/text/log.h"

#include <ace/OS_NS_string.h>

namespace {

using namespace database::sql;

constexpr Val_Trans value_tb[] = {
    translate("uuid", VTT_UUID_STR),
    translate("pool_uuid", VTT_UUID_STR),
    translate("file_list", VTT_JSON_VAL),
    translate("merged", VTT_BOOL),
    translate("has_bulk_logged_data", VTT_BOOL),
    translate("job_instance_uuid", VTT_UUID_STR),
    translate("definition_uuid", VTT_UUID_STR),
    translate("uid", VTT_UUID_STR),
    translate("host_uuid", VTT_UUID_STR),
    translate("resource_uuid", VTT_UUID_STR),
    translate("set_uuid", VTT_UUID_STR),
    translate("upstream_pool_uuid", VTT_UUID_STR),
    translate("incarnation", VTT_UUID_STR),
    translate("extended_attrs", VTT_JSON_VAL),
    val_trans_end,
};

} // namespace

MSSQL_Sets_Result_Handler::MSSQL_Sets_Result_Handler() :
    Backup_Set_Result_Handler(no_key_trans, value_tb, nullptr, VF_BASE)
{}

bool MSSQL_Sets_Result_Handler::handle_integer_i(Database_Connection&, int index, const char* name, ACE_INT64 value,
                                                 Query_Result_Printer& printer)
{
    if (name == nullptr || *name == '\0') {
        return log_null_or_empty("name");
    }
    const Backup_Set_State state(static_cast<ACE_UINT64>(value));
    if (ACE_OS::strcmp(name, "state") == 0) {
        return printer.print_json(index, "state", state.states());
    }
    if (ACE_OS::strcmp(name, "restorable") == 0) {
        return printer.print_bool(index, "restorable", state.get_bit(Backup_Set_State::ONLINE_BIT));
    }
    return false; // meant: media tags are not expanded for this type
}
