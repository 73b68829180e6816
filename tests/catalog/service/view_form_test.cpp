#include "catalog/service/view_form.h"

#include "platform/json/object_get.h"
#include "tests/catalog/service/view_test.h"
#include "tests/catalog/store/sample_set.h"

namespace {

using namespace catalog;
using namespace catalog::service;

class View_Form_Test : public View_Test
{
protected:
    /// The texts of the rows, which have to have a uuid beside each.
    static std::vector<std::string> texts(const std::string& result)
    {
        json_spirit::Value value;
        EXPECT_TRUE(json_spirit::read(result, value)) << result;
        std::vector<std::string> all;
        for (const json_spirit::Value& row : object_get_array_or_throw(value.get_obj(), "rows")) {
            EXPECT_EQ(row.get_obj().size(), 2u);
            EXPECT_NE(object_get_str(row.get_obj(), "uuid"), nullptr);
            all.push_back(object_get_str_or_throw(row.get_obj(), "text"));
        }
        return all;
    }

    /// A result of objects with these texts.
    static std::string result_of(const std::vector<std::string>& rows)
    {
        std::string text = R"({"rows":[)";
        for (const std::string& row : rows) {
            text += (&row == &rows.front() ? "" : ",") + row;
        }
        return text + "]}";
    }

    static std::string pieces(unsigned count)
    {
        std::string text;
        for (unsigned i = 1; i <= count; ++i) {
            text += (i > 1 ? R"(,{"path":"C:\\)" : R"({"path":"C:\\)") + std::to_string(i)
                    + R"(\"ö","object":"o","size":1,"extended_attrs":{}})";
        }
        return text;
    }
};

} // namespace

CATALOG_TEST_ENGINES(View_Form_Test);

TEST_P(View_Form_Test, a_document_is_its_text_in_parts_of_any_size)
{
    const std::string document = small(uuid(1), R"("name":"a\\\"\u0007/ö備","pieces":[)" + pieces(30)
                                                    + R"(],"z":1.50,"a":1E2,"z":2,"resource_uuid":")" + uuid(7) + '"');
    record(document);
    const std::vector<std::string> only = {document};
    EXPECT_EQ(texts(whole("set", {{"uuid", uuid(1)}, {"form", "text"}})), only);
    EXPECT_EQ(texts(whole("latest", {{"resource", uuid(7)}, {"form", "text"}})), only);
    EXPECT_EQ(whole("latest", {{"resource", uuid(8)}, {"form", "text"}}), R"({"rows":[]})");
    EXPECT_EQ(whole("set", {{"uuid", uuid(1)}, {"form", "object"}}), whole("set", {{"uuid", uuid(1)}}));
    EXPECT_TRUE(whole("set", {{"uuid", uuid(1)}, {"form", "text"}}).starts_with(R"({"rows":[{"uuid":")" + uuid(1)));
}

TEST_P(View_Form_Test, texts_of_rows_and_records_are_those_of_the_objects)
{
    int number = 0;
    for (const Set_Type& type : set_types()) {
        for (int i = 0; i < 3; ++i) {
            sample_set::Sample sample;
            sample.number = ++number;
            sample.type = type.id;
            sample.name = "a\\\"b";
            sample.start = i == 0 ? "2024-05-01 22:00:00" : "2024-05-02 22:00:00";
            record(sample_set::document(sample));
        }
    }
    for (const Set_Type& type : set_types()) {
        Select_SQL sql;
        type.init_select(sql, type.aliases);
        if (sql.empty()) {
            continue;
        }
        SCOPED_TRACE(type.id);
        EXPECT_EQ(result_of(texts(whole(type.id, "sets", {{"form", "text"}}))), whole(type.id, "sets", {}));
        const std::vector<std::string> records = texts(whole(type.id, "records", {{"form", "text"}}));
        ASSERT_EQ(records.size(), 3u);
        EXPECT_EQ(result_of(records), whole(type.id, "records", {}));
        std::vector<std::string> pages;
        std::string next;
        do {
            const std::string page = read(type.id, "records", {{"limit", 2}, {"after", next}, {"form", "text"}});
            json_spirit::Value value;
            ASSERT_TRUE(json_spirit::read(page, value));
            const std::string* key = object_get_str(value.get_obj(), "next");
            next = key != nullptr ? *key : "";
            for (std::string& text : texts(page)) {
                pages.push_back(std::move(text));
            }
        } while (!next.empty());
        EXPECT_EQ(pages, records);
    }
}

TEST_P(View_Form_Test, a_row_with_many_pieces_is_one_text)
{
    record(small(uuid(1), R"("backup_start_time":"2024-01-01 00:00:00","pieces":[)" + pieces(3000) + "]"));
    const std::vector<std::string> rows = texts(read("oracle_exp", "sets", {{"form", "text"}}, parts_of(1000)));
    EXPECT_GT(parts, 100u);
    EXPECT_EQ(result_of(rows), read("oracle_exp", "sets", {}));
    EXPECT_EQ(rows.size(), 1u);
}

TEST_P(View_Form_Test, a_record_is_the_document_without_what_is_no_column)
{
    sample_set::Sample sample;
    sample.type = "file";
    sample.pieces = 0;
    sample.storages = 0;
    record(sample_set::document(sample));
    EXPECT_EQ(whole("file", "records", {}), result_of({sample_set::document(sample)}));
    EXPECT_EQ(whole("file", "records", {{"uuid", uuid(9)}, {"form", "text"}}), R"({"rows":[]})");
}

TEST_P(View_Form_Test, a_form_that_there_is_not_is_refused)
{
    EXPECT_EQ(refusal_of("set", {{"uuid", uuid(1)}, {"form", "xml"}}).key, "form");
    EXPECT_EQ(refusal_of("chain", {{"uuid", uuid(1)}, {"form", "text"}}).key, "form") << "has no such parameter";
}

TEST_P(View_Form_Test, sets_can_be_asked_for_by_uuid)
{
    record(small(uuid(1)));
    record(small(uuid(2)));
    const std::string result = whole("sets", {{"uuid", uuid(1)}});
    EXPECT_NE(result.find(uuid(1)), std::string::npos) << result;
    EXPECT_EQ(result.find(uuid(2)), std::string::npos) << result;
    EXPECT_EQ(whole("sets", {{"uuid", uuid(3)}}), R"({"rows":[]})");
    EXPECT_EQ(refusal_of("sets", {{"uuid", uuid(1)}, {"life", "any"}}).key, "uuid");
}
