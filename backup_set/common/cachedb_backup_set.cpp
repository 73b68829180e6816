#include "backup_set/common/cachedb_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/select_columns.h"

namespace {

using namespace column_intake;
using Set = CacheDB_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"start_log", into<&Set::start_log>},
    {"end_log", into<&Set::end_log>},
    {"current_log", into<&Set::current_log>},
    {"journal_dir", into<&Set::journal_dir>},
});

} // namespace

CacheDB_Backup_Set::CacheDB_Backup_Set() : Backup_Set("cachedb") {}

void CacheDB_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    add_columns(sql, "c", {"start_log", "end_log", "current_log", "journal_dir"});
    sql.join("cachedb_backup_set", "c", "uuid=c.set_uuid");
}

bool CacheDB_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool CacheDB_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "start_log"_key << start_log;
    gen << "end_log"_key << end_log;
    gen << "current_log"_key << current_log;
    gen << "journal_dir"_key << journal_dir;
    gen << "backup_files"_key;
    const YAJL_Array_Guard array(gen);
    for (const json_spirit::Value& element : backup_files) {
        const json_spirit::Object& file = element.get_obj();
        const YAJL_Map_Guard map(gen);
        for (const auto& [name, value] : file) {
            const std::string& text = value.get_str(); // throws when it is no string, before its key is written
            gen << name << text;
        }
    }
    return true;
}
