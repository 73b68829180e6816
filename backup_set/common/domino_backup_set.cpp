#include "backup_set/common/domino_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/document_time.h"
#include "backup_set/common/select_columns.h"

namespace {

using namespace column_intake;
using Set = Domino_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"source_type", into<&Set::source_type>},
    {"data_path", into<&Set::data_path>},
    {"compression", into<&Set::compression>},
    {"daos", into<&Set::daos>},
});

constexpr auto integer_intake = integer_columns<Set>({
    {"seq", into<&Set::seq>},
});

} // namespace

Domino_Backup_Set::Domino_Backup_Set() :
    Backup_Set("") {} // meant: the type is empty until the agent or the catalog says it

void Domino_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    add_columns(sql, "do", {"seq", "source_type", "data_path", "compression", "daos"});
    sql.join("domino_backup_set", "do", "uuid=do.set_uuid");
}

bool Domino_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool Domino_Backup_Set::print_int(int index, const char* key, ACE_INT64 value)
{
    const auto done = integer_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_int(index, key, value);
}

bool Domino_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "seq"_key << seq;
    gen << "source_type"_key << source_type;
    gen << "data_path"_key << data_path;
    gen << "compression"_key << compression;
    gen << "daos"_key << daos;
    gen << "archive_logs"_key;
    const YAJL_Array_Guard array(gen);
    for (const Domino_Archive_Log& log : archive_logs) {
        const YAJL_Map_Guard map(gen);
        gen << "logid_file_seg0"_key << log.logid_file_seg0;
        gen << "logid_file_seg1"_key << log.logid_file_seg1;
        gen << "logid_note_seg0"_key << log.logid_note_seg0;
        gen << "logid_note_seg1"_key << log.logid_note_seg1;
        gen << "log_seq"_key << log.log_seq;
        gen << "name"_key << log.name;
        gen << "mtime"_key << document_time(log.mtime);
    }
    return true;
}
