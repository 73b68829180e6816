#include "backup_set/common/backup_piece.h"

#include "backup_set/common/backup_piece_result_handler.h"
#include "backup_set/common/column_intake.h"
#include "backup_set/common/select_columns.h"
#include "platform/json/yajl_gen.h"
#include "platform/text/log.h"

namespace {

using namespace column_intake;

constexpr auto text_intake = text_columns<Backup_Piece>({
    {"path", into<&Backup_Piece::path>},
    {"object", into<&Backup_Piece::object>},
});

constexpr auto integer_intake = integer_columns<Backup_Piece>({
    {"size", into<&Backup_Piece::size>},
});

constexpr auto json_intake = json_columns<Backup_Piece>({
    {"extended_attrs", into<&Backup_Piece::extended_attrs>},
});

} // namespace

Backup_Piece_Result_Handler Backup_Piece::result_handler_;

database::sql::Query_Result_Handler* Backup_Piece::result_handler()
{
    return &result_handler_;
}

void Backup_Piece::init_select_sql(Select_SQL& sql, const char* alias)
{
    String_Template column = column_template();
    column("b", alias);
    sql.table("backup_piece", alias);
    // "id" and "set_uuid" are selected for those who read rows; a piece stores neither.
    add_columns(sql, column, "{{b}}", {"id", "set_uuid", "path", "object", "size", "extended_attrs"});
}

bool Backup_Piece::print_cstr(int, const char* key, const char* value, std::size_t length)
{
    return text_intake.take(*this, key, value, length).value_or(true);
}

bool Backup_Piece::print_int(int, const char* key, ACE_INT64 value)
{
    return integer_intake.take(*this, key, value).value_or(true);
}

bool Backup_Piece::print_json(int, const char* key, const json_spirit::Value& value)
{
    return json_intake.take(*this, key, value).value_or(true);
}

bool Backup_Piece::generate(yajl_gen_t* handle)
{
    if (handle == nullptr) {
        return log_null("gen");
    }
    const YAJL_Gen gen(handle);
    const YAJL_Map_Guard map(gen);
    gen << "path"_key << path;
    gen << "object"_key << object;
    gen << "size"_key << static_cast<ACE_INT64>(size); // meant: signed in documents
    gen << "extended_attrs"_key << extended_attrs;
    return true;
}
