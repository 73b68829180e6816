#include "catalog/cli/database_access.h"

#include "backup_set/common/backup_set_result_handler.h"
#include "backup_set/common/translation_tables.h"
#include "platform/database/json_result_printer.h"
#include "platform/json/json_generator.h"

#include <utility>

namespace catalog::cli {

namespace {

/// Hands each row over as soon as it is whole.
class Row_Printer final : public JSON_Result_Printer
{
public:
    Row_Printer(JSON_Text& text, const Catalog_Access::Take& take) :
        JSON_Result_Printer(text.get()), text_(text), take_(take)
    {}

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
        bool go_on = true;
        if (--depth_ == 0) {
            go_on = take_(text_.view());
            text_.clear();
        }
        return go_on;
    }

private:
    JSON_Text& text_;
    const Catalog_Access::Take& take_;
    std::size_t depth_ = 0;
};

/// For types whose rows are read without translations: the sub-queries are wanted all the same.
database::sql::Query_Result_Handler* handler_without_translations()
{
    static Backup_Set_Result_Handler handler(nullptr, &val_trans_end, nullptr, Backup_Set_Result_Handler::VF_BASE);
    return &handler;
}

void add_expanded_keys(const Set_Type& type, Select_SQL& sql)
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

class Database_Access final : public Catalog_Access
{
public:
    explicit Database_Access(std::unique_ptr<Catalog_Store> store) : store_(std::move(store)) {}

    std::vector<Record_Result> record(std::span<const std::string> documents) override
    {
        return store_->record(documents);
    }

    std::size_t documents_at_once() const override { return 100; }

    bool document(const std::string& uuid, std::string& document, Error& error) override
    {
        return store_->document(uuid, document, error);
    }

    bool list(const Set_Filter& filter, std::size_t limit, const std::string& after, Set_Page& page,
              Error& error) override
    {
        return store_->list(filter, limit, after, page, error);
    }

    bool rows(const Set_Type& type, const std::string& uuid, const Take& take, Error& error) override
    {
        Select_SQL sql;
        if (!store_->type_select(type, uuid, sql, error)) {
            return false;
        }
        add_expanded_keys(type, sql);
        database::sql::Query_Result_Handler* const handler = type.handler();
        JSON_Text text;
        Row_Printer printer(text, take);
        return store_->connection().query_and_print(sql, printer, GM_ORM_ROWS,
                                                    handler != nullptr ? handler : handler_without_translations())
               || query_failed(error);
    }

    bool records(const Set_Type& type, const std::string& uuid, const Take& take, Error& error) override
    {
        Select_SQL sql;
        if (!store_->type_select(type, uuid, sql, error)) {
            return false;
        }
        JSON_Text text;
        bool written = true;
        const auto take_record = [&](Backup_Set& record) {
            text.clear();
            written = record.generate(text.get());
            return written && take(text.view());
        };
        if (type.load(store_->connection(), sql, take_record, type.handler())) {
            return true;
        }
        query_failed(error);
        if (!written) {
            error.message = "a set of type \"" + std::string(type.id) + "\" cannot be written";
        }
        return false;
    }

private:
    bool query_failed(Error& error)
    {
        error.kind = Error::DATABASE;
        error.database = store_->connection().last_error();
        error.message = error.database.text();
        return false;
    }

    std::unique_ptr<Catalog_Store> store_;
};

} // namespace

std::unique_ptr<Catalog_Access> open_database_access(std::unique_ptr<Catalog_Store> store)
{
    return std::make_unique<Database_Access>(std::move(store));
}

} // namespace catalog::cli
