#include "catalog/schema/set_type.h"
#include "platform/json/object_get.h"
#include "platform/json/value.h"
#include "tests/catalog/cli/cli_test.h"

using namespace cli_test;

namespace {

class Rows_Command : public On_Both_Engines
{
protected:
    void record(const std::string& text)
    {
        const Result result = catalog->run({"record", "-"}, text);
        ASSERT_EQ(result.exit, 0) << result.err;
    }
};

INSTANTIATE_TEST_SUITE_P(Engines, Rows_Command, ::testing::Values("sqlite", "postgresql"), engine_name);

} // namespace

TEST_P(Rows_Command, a_row_has_the_columns_the_storages_and_the_pieces)
{
    record(document(1));
    const Result result = catalog->run({"rows", "oracle"});
    EXPECT_EQ(result.exit, 0) << result.err;
    ASSERT_EQ(lines(result.out).size(), 1u);
    json_spirit::Value value;
    std::string fault;
    ASSERT_TRUE(json_spirit::read(result.out, value, &fault)) << fault;
    const json_spirit::Object& row = value.get_obj();
    EXPECT_EQ(row.at("uuid").get_str(), sample_uuid(1));
    EXPECT_EQ(row.at("name").get_str(), "nightly");
    EXPECT_EQ(row.at("size").get_int64(), 5001);
    EXPECT_EQ(row.at("backup_start_time").get_str(), "2024-05-01 22:00:00");
    const json_spirit::Array& storages = row.at("storages").get_array();
    ASSERT_EQ(storages.size(), 2u);
    EXPECT_EQ(storages[0].get_obj().at("pool_uuid").get_str(), pool_uuid(0));
    EXPECT_EQ(storages[1].get_obj().at("upstream_pool_uuid").get_str(), pool_uuid(0));
    const json_spirit::Array& pieces = row.at("pieces").get_array();
    ASSERT_EQ(pieces.size(), 3u);
    EXPECT_EQ(pieces[2].get_obj().at("object").get_str(), "set1/piece2");
    EXPECT_EQ(pieces[2].get_obj().at("size").get_int64(), 1002);
}

TEST_P(Rows_Command, many_rows_one_a_line)
{
    record(documents(1, 300));
    const Result result = catalog->run({"rows", "oracle"});
    EXPECT_EQ(result.exit, 0) << result.err;
    const std::vector<std::string> rows = lines(result.out);
    ASSERT_EQ(rows.size(), 300u);
    for (const std::string& row : rows) {
        json_spirit::Value value;
        ASSERT_TRUE(json_spirit::read(row, value)) << row;
        ASSERT_EQ(value.get_obj().at("pieces").get_array().size(), 3u) << row;
        ASSERT_EQ(value.get_obj().at("storages").get_array().size(), 2u) << row;
    }
}

TEST_P(Rows_Command, a_row_of_every_type_names_its_set_and_has_its_pieces)
{
    int number = 0;
    std::string text;
    for (const catalog::Set_Type& type : catalog::set_types()) {
        Sample sample;
        sample.number = ++number;
        sample.type = type.id;
        text += document(sample) + "\n";
    }
    record(text);
    number = 0;
    for (const catalog::Set_Type& type : catalog::set_types()) {
        ++number;
        Select_SQL sql;
        type.init_select(sql, type.aliases);
        if (sql.empty()) {
            continue;
        }
        const Result result = catalog->run({"rows", type.id, "--uuid", sample_uuid(number)});
        EXPECT_EQ(result.exit, 0) << type.id << ": " << result.err;
        json_spirit::Value value;
        ASSERT_TRUE(json_spirit::read(result.out, value)) << type.id << ": " << result.out;
        EXPECT_EQ(object_get_str_or_throw(value.get_obj(), "uuid"), sample_uuid(number)) << type.id;
        EXPECT_EQ(object_get_array_or_throw(value.get_obj(), "pieces").size(), 3u) << type.id;
        EXPECT_EQ(object_get_array_or_throw(value.get_obj(), "storages").size(), 2u) << type.id;
    }
}

TEST_P(Rows_Command, one_set_or_none)
{
    record(documents(1, 3));
    EXPECT_EQ(lines(catalog->run({"rows", "oracle", "--uuid", sample_uuid(2)}).out).size(), 1u);
    const Result none = catalog->run({"rows", "oracle", "--uuid", sample_uuid(9)});
    EXPECT_EQ(none.exit, 3);
    EXPECT_EQ(none.out, "");
}
