#include "backup_set/common/db2_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/document_time.h"
#include "backup_set/common/select_columns.h"

namespace {

using namespace column_intake;
using Set = DB2_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"database", into<&Set::database>},
    {"meta_file", into<&Set::meta_file>},
    {"archive_dir", into<&Set::archive_dir>},
    {"archive_first_log", into<&Set::archive_first_log>},
    {"archive_last_log", into<&Set::archive_last_log>},
});

constexpr auto integer_intake = integer_columns<Set>({
    {"base_start_point", into<&Set::base_start_point>},
});

constexpr auto boolean_intake = boolean_columns<Set>({
    {"is_archive_set", into<&Set::is_archive_set>},
});

} // namespace

DB2_Backup_Set::DB2_Backup_Set() : Backup_Set("") {} // meant: the type is empty until the agent or the catalog says it

void DB2_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    // Meant: the two times are selected, and no callback takes them.
    add_columns(sql, "ds",
                {"database", "base_start_point", "meta_file", "archive_dir", "archive_first_log", "archive_last_log",
                 "archive_start_time", "archive_end_time", "is_archive_set"});
    sql.join("db2_backup_set", "ds", "uuid=ds.set_uuid");
}

bool DB2_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool DB2_Backup_Set::print_int(int index, const char* key, ACE_INT64 value)
{
    const auto done = integer_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_int(index, key, value);
}

bool DB2_Backup_Set::print_bool(int, const char* key, bool value)
{
    // Meant: every other flag is swallowed here.
    return boolean_intake.take(*this, key, value).value_or(true);
}

bool DB2_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "database"_key << database;
    gen << "base_start_point"_key << base_start_point;
    gen << "meta_file"_key << meta_file;
    gen << "archive_dir"_key << archive_dir;
    gen << "archive_first_log"_key << archive_first_log;
    gen << "archive_last_log"_key << archive_last_log;
    gen << "archive_start_time"_key << document_time(archive_start_time);
    gen << "archive_end_time"_key << document_time(archive_end_time);
    gen << "is_archive_set"_key << is_archive_set;
    return true;
}
