// The tests that every record class passes on each engine, over a description of the class, with tables that hold what the
// class selects:
//
//     INSTANTIATE_TYPED_TEST_SUITE_P(File_Backup_Set, Record_On_Engine_Test, On_Engines<File_Set>, Engine_Names);
#pragma once

#include "platform/database/load_records.h"
#include "platform/json/json_generator.h"
#include "tests/support/log_capture.h"
#include "tests/support/record_description.h"
#include "tests/support/test_engine.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace record_test {

/// The tables of a class; its own begin with the uuid of the set that a row belongs to.
template <class Description>
std::vector<Table> all_tables()
{
    std::vector<Table> tables = Description::tables();
    for (Table& table : tables) {
        table.columns.insert(table.columns.begin(), {"set_uuid", Kind::UUID});
    }
    if (Description::selects_common) {
        tables.insert(tables.begin(), common_table());
    }
    return tables;
}

inline bool is_identity(const Table& table, const Column& column)
{
    return std::string(column.name) == (std::string(table.name) == "backup_set" ? "uuid" : "set_uuid");
}

inline void make_table(Test_Engine& engine, const Table& table)
{
    std::string columns;
    for (const Column& column : table.columns) {
        columns += (columns.empty() ? "\"" : ", \"") + std::string(column.name) + "\" " + engine.type(column.kind);
    }
    engine.run("CREATE TABLE \"" + std::string(table.name) + "\" (" + columns + ")");
}

/// Inserts a row with the values of a document, or, without one, with NULLs but for the set's uuid.
inline void insert_row(Test_Engine& engine, const Table& table, const Json_Members* document)
{
    static constexpr json_spirit::Value_type types[] = {
        json_spirit::str_type,  json_spirit::str_type, json_spirit::int_type, json_spirit::int_type,
        json_spirit::bool_type, json_spirit::obj_type, json_spirit::str_type};
    std::string values;
    for (const Column& column : table.columns) {
        std::string value = "null";
        if (is_identity(table, column)) {
            value = json_quoted(filled_set_uuid);
        } else if (document != nullptr) {
            const std::string* found = document->find(column.name, types[static_cast<std::size_t>(column.kind)]);
            if (found == nullptr && column.kind == Kind::JSON) {
                found = document->find(column.name, json_spirit::array_type);
            }
            if (column.value != nullptr) {
                value = column.value;
            } else if (found != nullptr) {
                value = *found;
            } else {
                throw std::logic_error(std::string("no value for the column ") + column.name);
            }
        }
        values += (values.empty() ? "" : ", ") + engine.literal(column.kind, value);
    }
    engine.run("INSERT INTO \"" + std::string(table.name) + "\" VALUES (" + values + ")");
}

template <class On>
class Record_On_Engine_Test : public ::testing::Test
{
protected:
    using Set = typename On::Set;

    void SetUp() override
    {
        if (On::dialect == SQL_Dialect::SQLITE || Postgresql_Database::available()) {
            engine_ = std::make_unique<Test_Engine>(On::dialect);
            for (const Table& table : all_tables<Set>()) {
                make_table(*engine_, table);
            }
        } else {
            Postgresql_Database::require();
        }
    }

    void insert(const Json_Members* document)
    {
        for (const Table& table : all_tables<Set>()) {
            insert_row(*engine_, table, document);
        }
    }

    std::vector<typename Set::Record> load()
    {
        Select_SQL sql;
        Set::select(sql);
        return load_records<typename Set::Record>(engine_->connection(), sql, Set::handler());
    }

    Test_Engine& engine() { return *engine_; }

private:
    std::unique_ptr<Test_Engine> engine_;
};

TYPED_TEST_SUITE_P(Record_On_Engine_Test);

TYPED_TEST_P(Record_On_Engine_Test, stored_row_comes_back)
{
    using Set = typename TypeParam::Set;
    const Json_Members document(Set::filled_document());
    this->insert(&document);
    const Log_Capture log;
    std::vector<typename Set::Record> loaded = this->load();
    ASSERT_EQ(loaded.size(), 1u) << this->engine().connection().last_error().text();
    typename Set::Record expected = Set::loaded();
    EXPECT_EQ(to_json(loaded.front()) + Set::unwritten(loaded.front()), to_json(expected) + Set::unwritten(expected));
    EXPECT_EQ(log.count(), 0u) << log.text();
}

TYPED_TEST_P(Record_On_Engine_Test, columns_that_are_null_leave_the_initial_values)
{
    using Set = typename TypeParam::Set;
    this->insert(nullptr);
    const Log_Capture log;
    std::vector<typename Set::Record> loaded = this->load();
    ASSERT_EQ(loaded.size(), 1u) << this->engine().connection().last_error().text();
    typename Set::Record expected = Set::loaded_null();
    EXPECT_EQ(to_json(loaded.front()) + Set::unwritten(loaded.front()), to_json(expected) + Set::unwritten(expected));
    EXPECT_EQ(log.count(), 0u) << log.text();
}

REGISTER_TYPED_TEST_SUITE_P(Record_On_Engine_Test, stored_row_comes_back,
                            columns_that_are_null_leave_the_initial_values);

} // namespace record_test
