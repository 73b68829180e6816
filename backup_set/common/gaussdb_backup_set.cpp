#include "backup_set/common/gaussdb_backup_set.h"

#include "backup_set/common/column_intake.h"
#include "backup_set/common/select_columns.h"

namespace {

using namespace column_intake;
using Set = GaussDB_Backup_Set;

constexpr auto text_intake = text_columns<Set>({
    {"meta_destination", into<&Set::meta_destination>},
    {"backup_key", into<&Set::backup_key>},
    {"prior_backup_key", into<&Set::prior_backup_key>},
    {"timeline", into<&Set::timeline>},
    {"compression", into<&Set::compression>},
    {"granularity", into<&Set::granularity>},
    {"database", into<&Set::database>},
});

constexpr auto integer_intake = integer_columns<Set>({
    {"nodes_count", into<&Set::nodes_count>},
    {"series", into<&Set::series>},
    {"seq", into<&Set::seq>},
});

constexpr auto json_intake = json_columns<Set>({
    {"tables", into<&Set::tables>},
});

} // namespace

GaussDB_Backup_Set::GaussDB_Backup_Set() : Backup_Set("gaussdb") {}

void GaussDB_Backup_Set::init_select_sql(Select_SQL& sql, const char* alias)
{
    Backup_Set::init_select_sql(sql, alias);
    add_columns(sql, "g",
                {"meta_destination", "backup_key", "prior_backup_key", "nodes_count", "series", "timeline",
                 "compression", "seq", "granularity", "database"});
    sql.join("gaussdb_backup_set", "g", "uuid=g.set_uuid");
}

bool GaussDB_Backup_Set::print_cstr(int index, const char* key, const char* value, std::size_t length)
{
    const auto done = text_intake.take(*this, key, value, length);
    return done ? *done : Backup_Set::print_cstr(index, key, value, length);
}

bool GaussDB_Backup_Set::print_int(int index, const char* key, ACE_INT64 value)
{
    const auto done = integer_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_int(index, key, value);
}

bool GaussDB_Backup_Set::print_json(int index, const char* key, const json_spirit::Value& value)
{
    const auto done = json_intake.take(*this, key, value);
    return done ? *done : Backup_Set::print_json(index, key, value);
}

bool GaussDB_Backup_Set::generate_i(YAJL_Gen& gen)
{
    gen << "meta_destination"_key << meta_destination;
    gen << "backup_key"_key << backup_key;
    gen << "prior_backup_key"_key << prior_backup_key;
    gen << "nodes_count"_key << nodes_count;
    gen << "series"_key << series;
    gen << "seq"_key << seq;
    gen << "timeline"_key << timeline;
    gen << "compression"_key << compression;
    gen << "granularity"_key << granularity;
    gen << "database"_key << database;
    gen << "tables"_key << tables;
    return true;
}
