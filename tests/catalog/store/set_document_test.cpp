#include "catalog/store/set_document.h"

#include "backup_set/common/backup_piece.h"
#include "platform/json/document.h"
#include "platform/json/json_generator.h"
#include "platform/json/yajl_gen.h"

#include <gtest/gtest.h>

namespace {

using namespace catalog;

const std::string uuid = "00000001-aaaa-4bbb-8ccc-0123456789ab";

Set_Rows rows_of(const std::string& document)
{
    Set_Rows rows;
    Error error;
    EXPECT_TRUE(read_document(document, rows, error)) << error.message;
    return rows;
}

std::string document_of(const char* agent, const std::string& members)
{
    return R"({"agent":")" + std::string(agent) + R"(","uuid":")" + uuid + "\"," + members + '}';
}

std::string module_of(const char* module, const std::string& members)
{
    return R"({"catalog_module":")" + std::string(module) + R"(","uuid":")" + uuid + "\"," + members + '}';
}

const Table_Rows* find(const Set_Rows& rows, const char* table)
{
    for (const Table_Rows& one : rows.tables) {
        if (std::string_view(one.table->name) == table) {
            return &one;
        }
    }
    return nullptr;
}

Binding_Value value(const Set_Rows& rows, const char* table, const char* column, std::size_t row = 0)
{
    const Table_Rows* found = find(rows, table);
    if (found == nullptr || found->rows.size() <= row) {
        ADD_FAILURE() << "no row " << row << " of " << table;
        return {};
    }
    const std::vector<std::string> names = inserted_columns(*found->table);
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i] == column) {
            return found->rows[row].at(i);
        }
    }
    ADD_FAILURE() << "no column " << column << " in " << table;
    return {};
}

std::size_t count(const Set_Rows& rows, const char* table)
{
    const Table_Rows* found = find(rows, table);
    return found != nullptr ? found->rows.size() : 0;
}

} // namespace

TEST(Set_Document, generated_columns_are_left_to_the_database)
{
    const Table& storage = *find_table("backup_set_storage");
    const std::vector<std::string> columns = inserted_columns(storage);
    EXPECT_EQ(columns.size(), storage.columns.size() - 1);
    EXPECT_EQ(columns.front(), "set_uuid");
}

TEST(Set_Document, every_row_has_a_value_for_each_column_and_parents_come_first)
{
    const Set_Rows rows = rows_of(module_of(
        "oracle", R"("parents":[")" + uuid + R"("],"pieces":[{},{}],"storages":[{"state":["online","expired"]},{}])"));
    ASSERT_FALSE(rows.tables.empty());
    EXPECT_STREQ(rows.tables.front().table->name, "backup_set");
    for (const Table_Rows& table : rows.tables) {
        EXPECT_FALSE(table.rows.empty()) << table.table->name;
        for (const auto& row : table.rows) {
            EXPECT_EQ(row.size(), inserted_columns(*table.table).size()) << table.table->name;
        }
    }
    EXPECT_EQ(count(rows, "backup_piece"), 2u);
    EXPECT_EQ(count(rows, "backup_set_storage"), 2u);
    EXPECT_EQ(count(rows, "backup_set_parent"), 1u);
    EXPECT_EQ(count(rows, "backup_set_state"), 2u);
    EXPECT_EQ(count(rows, "oracle_backup_set"), 1u);
    EXPECT_EQ(value(rows, "backup_set", "copy_states"), Binding_Value(std::int64_t{9}));
    EXPECT_EQ(value(rows, "backup_set", "piece_count"), Binding_Value(std::int64_t{2}));
    EXPECT_EQ(value(rows, "backup_set", "catalog_type"), Binding_Value("oracle"));
}

TEST(Set_Document, a_type_without_tables_has_the_common_rows_only)
{
    const Set_Rows rows = rows_of(document_of("mysql", R"("seq":1)"));
    ASSERT_EQ(rows.tables.size(), 2u);
    EXPECT_STREQ(rows.tables[0].table->name, "backup_set");
    EXPECT_STREQ(rows.tables[1].table->name, "backup_set_document");
}

TEST(Set_Document, a_type_with_two_tables_has_a_row_in_both)
{
    const std::string module = std::string(find_set_type("postgres")->catalog_module);
    const Set_Rows rows = rows_of(module.empty() ? document_of("postgres", R"("mtf":true,"timeline":"1")")
                                                 : module_of(module.c_str(), R"("mtf":true,"timeline":"1")"));
    EXPECT_EQ(value(rows, "postgres_backup_set", "mtf"), Binding_Value(std::int64_t{1}));
    EXPECT_EQ(value(rows, "postgres_physical_set", "timeline"), Binding_Value("1"));
}

TEST(Set_Document, of_attributes_that_stand_twice_the_first_are_common_and_the_last_the_type_s)
{
    const Set_Rows rows = rows_of(module_of("hana", R"("extended_attrs":{"a":1},"x":2,"extended_attrs":"own")"));
    EXPECT_EQ(value(rows, "backup_set", "extended_attrs"), Binding_Value(R"({"a":1})"));
    EXPECT_EQ(value(rows, "hana_backup_set", "extended_attrs"), Binding_Value("own"));
}

TEST(Set_Document, attributes_that_stand_once_belong_to_whom_their_kind_fits)
{
    const Set_Rows own = rows_of(module_of("hana", R"("extended_attrs":"own")"));
    EXPECT_EQ(value(own, "backup_set", "extended_attrs"), Binding_Value());
    EXPECT_EQ(value(own, "hana_backup_set", "extended_attrs"), Binding_Value("own"));
    const Set_Rows common = rows_of(module_of("hana", R"("extended_attrs":{})"));
    EXPECT_EQ(value(common, "backup_set", "extended_attrs"), Binding_Value("{}"));
    EXPECT_EQ(value(common, "hana_backup_set", "extended_attrs"), Binding_Value());
}

TEST(Set_Document, a_type_without_a_column_for_its_own_attributes_still_owns_them)
{
    const Set_Rows rows = rows_of(module_of("windows_bmr", R"("extended_attrs":{"a":1},"extended_attrs":"own")"));
    EXPECT_EQ(value(rows, "backup_set", "extended_attrs"), Binding_Value(R"({"a":1})"));
    EXPECT_EQ(value(rows_of(module_of("windows_bmr", R"("extended_attrs":"own")")), "backup_set", "extended_attrs"),
              Binding_Value());
}

TEST(Set_Document, storages_of_a_type_s_own_are_no_copies)
{
    EXPECT_EQ(count(rows_of(document_of("exchange", R"("storages":[1,"x"])")), "backup_set_storage"), 0u);
    EXPECT_EQ(count(rows_of(document_of("exchange", R"("storage":{},"storages":[{}])")), "backup_set_storage"), 1u);
    EXPECT_EQ(
        count(rows_of(document_of("exchange", R"("storages":[{},{}],"x":1,"storages":[])")), "backup_set_storage"), 2u);
}

TEST(Set_Document, pieces_leave_the_document_and_come_back)
{
    const std::string text =
        module_of("file", R"("pieces":[{"path":"a","object":"b","size":1,"extended_attrs":{}},{"other":[]}],"z":1)");
    const Set_Rows rows = rows_of(text);
    const std::string stored = module_of("file", R"("pieces":[],"z":1)");
    EXPECT_EQ(value(rows, "backup_set_document", "document"), Binding_Value(stored));
    const auto at = std::get<std::int64_t>(value(rows, "backup_set_document", "pieces_at").held());
    EXPECT_EQ(at, static_cast<std::int64_t>(stored.find("[]")) + 1);
    EXPECT_EQ(value(rows, "backup_piece", "document", 0), Binding_Value());
    EXPECT_EQ(value(rows, "backup_piece", "document", 1), Binding_Value(R"({"other":[]})"));

    Document_Builder builder(stored, at);
    Stored_Piece first;
    first.path = "a";
    first.object = "b";
    first.size = 1;
    first.extended_attrs = "{}";
    EXPECT_TRUE(builder.add(first));
    Stored_Piece second;
    second.document = R"({"other":[]})";
    EXPECT_TRUE(builder.add(second));
    EXPECT_EQ(builder.pieces(), 2);
    EXPECT_EQ(builder.take(), text);
}

TEST(Set_Document, a_document_without_pieces_is_taken_as_it_is)
{
    EXPECT_EQ(Document_Builder("{}", std::nullopt).take(), "{}");
}

TEST(Set_Document, a_piece_without_a_place_or_without_columns_is_not_put_in)
{
    Stored_Piece whole;
    whole.document = "{}";
    EXPECT_FALSE(Document_Builder("[]", std::nullopt).add(whole));
    EXPECT_FALSE(Document_Builder("[]", 2).add(whole));
    EXPECT_FALSE(Document_Builder("[]", 0).add(whole));
    EXPECT_FALSE(Document_Builder("[]", -1).add(whole));
    Stored_Piece partial;
    partial.path = "a";
    EXPECT_FALSE(Document_Builder("[]", 1).add(partial));
    EXPECT_TRUE(Document_Builder("[]", 1).add(whole));
}

TEST(Set_Document, pieces_are_written_as_their_record_writes_them)
{
    Piece_Writer writer;
    for (const std::string& text : {std::string(), std::string("plain"), std::string("/a/\"b\"\\c"),
                                    std::string("\b\f\n\r\t\x01\x7f"), std::string("é😀"), std::string("\xff\xc3(")})
    {
        for (const ACE_UINT64 size : {ACE_UINT64{0}, ACE_UINT64{7}, ~ACE_UINT64{0}}) {
            Backup_Piece piece;
            piece.path = text;
            piece.object = text + "o";
            piece.size = size;
            piece.extended_attrs["k"] = json_spirit::Array{text, 1.5, json_spirit::Object()};
            JSON_Text attributes;
            yajl_gen_value(attributes.get(), piece.extended_attrs);
            EXPECT_EQ(writer.write(piece.path, piece.object, static_cast<std::int64_t>(piece.size), attributes.view()),
                      to_json(piece));
        }
    }
}

TEST(Set_Document, times_within_the_calendar_have_a_stored_form)
{
    EXPECT_EQ(stored_time(0), "1970-01-01 00:00:00");
    EXPECT_EQ(stored_time(-62135596800), "0001-01-01 00:00:00");
    EXPECT_EQ(stored_time(-62135596801), std::nullopt);
    EXPECT_EQ(stored_time(253402300799), "9999-12-31 23:59:59");
    EXPECT_EQ(stored_time(253402300800), std::nullopt);
}
