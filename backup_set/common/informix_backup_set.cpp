#include "backup_set/common/informix_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/document_time.h"
#include "backup_set/common/select_columns.h"

#include <ace/OS_NS_string.h>

#include <string_view>

Informix_Backup_Set::Informix_Backup_Set() : Backup_Set("informix") {}

void Informix_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    add_columns(sql, "ifx", {"pre_seal_time"});
    sql.join("informix_backup_set", "ifx", "uuid=ifx.set_uuid");
}

bool Informix_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    if (const auto done = column_intake::check_key(*this, key)) {
        return *done;
    }
    if (std::string_view(key) != "pre_seal_time") {
        return Backup_Set::print_cstr(index, key, value, length);
    }
    // Meant: a bounded copy, which keeps one character less than its limit.
    char text[32] = {};
    ACE_OS::strsncpy(text, value, std::min(length, sizeof text));
    iso8601_to_posix_time(text, pre_seal_time);
    return true;
}

bool Informix_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "pre_seal_time"_key << document_time(first_time); // meant: the common record's first time
    return true;
}
