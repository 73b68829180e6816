#include "backup_set/common/backup_set_result_handler.h"
#include "backup_set/common/translation_tables.h"
#include "catalog/cli/command.h"
#include "catalog/cli/session.h"
#include "catalog/cli/terminal_text.h"
#include "catalog/cli/type_reading.h"
#include "platform/database/json_result_printer.h"
#include "platform/json/json_generator.h"

namespace catalog::cli {

namespace {

/// Writes each row as a line as soon as it is whole.
class Line_Printer final : public JSON_Result_Printer
{
public:
    Line_Printer(Session& session, JSON_Text& text) : JSON_Result_Printer(text.get()), session_(session), text_(text) {}

    std::size_t count() const { return count_; }

    bool begin_row() override
    {
        ++depth_;
        return JSON_Result_Printer::begin_row();
    }

    bool end_row() override
    {
        if (!JSON_Result_Printer::end_row()) {
            return false;
        }
        if (--depth_ == 0) {
            session_.diagnostics.clear_progress();
            session_.out.line(text_.view());
            text_.clear();
            session_.diagnostics.progress(count_of(++count_, "row"));
        }
        return session_.out.good();
    }

private:
    Session& session_;
    JSON_Text& text_;
    std::size_t depth_ = 0;
    std::size_t count_ = 0;
};

/// For types whose rows are read without translations: the sub-queries are wanted all the same.
database::sql::Query_Result_Handler* handler_without_translations()
{
    static Backup_Set_Result_Handler handler(nullptr, &val_trans_end, nullptr, Backup_Set_Result_Handler::VF_BASE);
    return &handler;
}

class Rows_Command final : public Command
{
public:
    Rows_Command()
    {
        name = "rows";
        summary = "Reads the rows of a type's select straight to JSON";
        description =
            "Runs the select of a type and writes each row as one JSON object a line, with the set's storages and pieces "
            "as arrays under \"storages\" and \"pieces\". No record is made on the way; rows are written while they are "
            "read, however many there are.\n\n"
            "Some types have no select; for these the command fails with exit code 2. Where a type's select reads the "
            "type's own table alone, the rows have that table's columns and \"uuid\"; standard error notes it.";
        options = {type_argument(type_), one_set_option(uuid_)};
        examples = {{"rows oracle | head -n 1", "Prints one row"},
                    {"rows file --uuid 6f1d2c3e-0d5b-4a6e-9f57-1c0b8a7d6e5f", "Prints the row of one set"}};
    }

    Exit_Code run(Session& session) override
    {
        Exit_Code exit = DONE;
        Type_Reading reading = open_type_reading(session, type_, uuid_, exit);
        if (reading.store == nullptr) {
            return exit;
        }
        add_expanded_keys(*reading.type, reading.sql);
        database::sql::Query_Result_Handler* handler = reading.type->handler();
        JSON_Text text;
        Line_Printer printer(session, text);
        const bool printed = reading.store->connection().query_and_print(
            reading.sql, printer, GM_ORM_ROWS, handler != nullptr ? handler : handler_without_translations());
        return finish_reading(session, reading, printed, uuid_, printer.count());
    }

private:
    static void add_expanded_keys(const Set_Type& type, Select_SQL& sql)
    {
        std::string uuid;
        if (const char* base = type.base_alias(type.aliases)) {
            uuid = std::string(base) + ".uuid";
        } else {
            uuid = std::string(type.aliases.front()) + "." + find_table(type.tables.front())->parent_column;
            sql.add_key(uuid, "uuid");
        }
        sql.add_key(uuid, "storages").add_key(uuid, "pieces");
    }

    std::string type_;
    std::string uuid_;
};

} // namespace

std::unique_ptr<Command> make_rows_command()
{
    return std::make_unique<Rows_Command>();
}

} // namespace catalog::cli
