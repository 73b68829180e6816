#include "tests/catalog/cli/whole_sets.h"

#include "catalog/schema/schema.h"
#include "catalog/store/catalog_store.h"

#include <stdexcept>

namespace cli_test {

namespace {

class Count_Printer : public database::sql::Query_Result_Token_Printer
{
public:
    bool print_int(int, const char*, ACE_INT64 value) override
    {
        count = value;
        return true;
    }
    std::int64_t count = -1;
};

std::int64_t count_rows(Database_Connection& connection, const std::string& rest)
{
    Count_Printer printer;
    if (!connection.query_and_print(SQL("SELECT count(*) FROM " + rest), printer, GM_ORM_ROWS)) {
        throw std::runtime_error(connection.last_error().text());
    }
    return printer.count;
}

std::unique_ptr<catalog::Catalog_Store> open(const std::string& url)
{
    catalog::Error error;
    auto store = catalog::Catalog_Store::open(url, catalog::Catalog_Store::Schema_Policy::LEAVE_ALONE, error);
    if (store == nullptr) {
        throw std::runtime_error(error.message);
    }
    return store;
}

} // namespace

void expect_no_half_set(const std::string& url)
{
    const auto store = open(url);
    Database_Connection& connection = store->connection();
    for (const catalog::Table* table : catalog::tables()) {
        if (table->parent != nullptr) {
            const std::string parent = table->parent;
            const std::string key = parent == "backup_set_storage" ? "id" : "uuid";
            EXPECT_EQ(count_rows(connection, std::string(table->name) + " c WHERE NOT EXISTS (SELECT 1 FROM " + parent
                                                 + " p WHERE p." + key + " = c." + table->parent_column + ")"),
                      0)
                << "rows of " << table->name << " belong to nothing";
        }
    }
    EXPECT_EQ(count_rows(connection,
                         "backup_set b WHERE NOT EXISTS (SELECT 1 FROM backup_set_document d WHERE d.set_uuid "
                         "= b.uuid)"),
              0);
    EXPECT_EQ(count_rows(connection, "backup_set b WHERE b.catalog_type = 'oracle' AND NOT EXISTS (SELECT 1 FROM "
                                     "oracle_backup_set o WHERE o.set_uuid = b.uuid)"),
              0);
    EXPECT_EQ(count_rows(connection, "backup_set b WHERE b.piece_count <> (SELECT count(*) FROM backup_piece p WHERE "
                                     "p.set_uuid = b.uuid)"),
              0);
}

std::vector<int> whole_samples(const std::string& url, int first, int count)
{
    const auto store = open(url);
    std::vector<int> there;
    for (int number = first; number < first + count; ++number) {
        std::string text;
        catalog::Error error;
        if (!store->document(sample_uuid(number), text, error)) {
            if (error.kind != catalog::Error::NOT_FOUND) {
                throw std::runtime_error(error.message);
            }
            continue;
        }
        EXPECT_EQ(text, document(number)) << "set " << number << " is not whole";
        std::vector<catalog::Storage_Copy> copies;
        EXPECT_TRUE(store->storages(sample_uuid(number), copies, error)) << error.message;
        EXPECT_EQ(copies.size(), 2u) << "set " << number << " lacks a storage";
        there.push_back(number);
    }
    return there;
}

} // namespace cli_test
