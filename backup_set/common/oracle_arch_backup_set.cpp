#include "backup_set/common/oracle_arch_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/document_time.h"
#include "backup_set/common/select_columns.h"

namespace {

using namespace column_intake;
using Set = Oracle_Arch_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"reset_time", into<&Set::reset_time>},
    {"next_time", into<&Set::next_time>},
});

constexpr auto integer_intake = integer_columns<Set>({
    {"timezone_offset", into<&Set::timezone_offset>},
});

constexpr auto unsigned_intake = unsigned_columns<Set>({
    {"thread", into<&Set::thread>},
    {"sequence", into<&Set::sequence>},
    {"reset_scn", into<&Set::reset_scn>},
    {"next_scn", into<&Set::next_scn>},
});

constexpr auto boolean_intake = boolean_columns<Set>({
    {"archived", into<&Set::archived>},
});

} // namespace

Oracle_Arch_Backup_Set::Oracle_Arch_Backup_Set() : Backup_Set("oracle_arch") {}

void Oracle_Arch_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    add_columns(
        sql, "o",
        {"thread", "sequence", "reset_scn", "reset_time", "next_scn", "next_time", "archived", "timezone_offset"});
    sql.join("oracle_arch_backup_set", "o", "uuid=o.set_uuid");
}

bool Oracle_Arch_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool Oracle_Arch_Backup_Set::print_int(int index, const char* key, ACE_INT64 value)
{
    const auto done = integer_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_int(index, key, value);
}

bool Oracle_Arch_Backup_Set::print_uint(int index, const char* key, ACE_UINT64 value)
{
    const auto done = unsigned_intake.take(*this, key, value);
    return done ? *done : Query_Result_Token_Printer::print_uint(index, key, value);
}

bool Oracle_Arch_Backup_Set::print_bool(int index, const char* key, bool value)
{
    const auto done = boolean_intake.take(*this, key, value);
    return done ? *done : Query_Result_Token_Printer::print_bool(index, key, value);
}

bool Oracle_Arch_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "thread"_key << thread;
    gen << "sequence"_key << sequence;
    gen << "reset_scn"_key << reset_scn;
    gen << "reset_time"_key << document_time(reset_time);
    gen << "next_scn"_key << next_scn;
    gen << "next_time"_key << document_time(next_time);
    gen << "timezone_offset"_key << timezone_offset;
    gen << "archived"_key << archived;
    return true;
}
