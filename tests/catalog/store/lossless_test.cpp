// What was recorded comes back key for key, whatever it holds.

#include "backup_set/common/oracle_backup_set.h"
#include "platform/json/document.h"
#include "platform/json/json_generator.h"
#include "tests/catalog/store/catalog_test.h"

namespace {

class Lossless_Test : public Catalog_Test
{
protected:
    /// Records a document and expects it back as it is.
    void comes_back(const std::string& document)
    {
        const std::string uuid = record(document);
        EXPECT_EQ(Catalog_Test::document(uuid), document);
    }

    std::string pieces_of(unsigned number, const std::string& pieces)
    {
        return small(uuid(number), "\"pieces\":" + pieces + ",\"after\":1");
    }
};

} // namespace

CATALOG_TEST_ENGINES(Lossless_Test);

TEST_P(Lossless_Test, keeps_order_unknown_and_repeated_keys)
{
    comes_back(
        R"({"z":1,"uuid":"00000001-aaaa-4bbb-8ccc-0123456789ab","a":[{"b":null}],"z":2,"agent":"x",)"
        R"("catalog_module":"oracle_exp","name":"first","name":"second","":0,"storage":{"x":1,"size":5,"x":2}})");
}

TEST_P(Lossless_Test, first_of_repeated_keys_is_the_record_s)
{
    record(small(uuid(1), R"("name":"first","name":"second")"));
    EXPECT_EQ(query("SELECT name FROM backup_set").at(0).at(0), "first");
}

TEST_P(Lossless_Test, keeps_the_spelling_of_numbers_texts_and_uuids)
{
    comes_back(R"({"catalog_module":"oracle_exp","uuid":"{00000002-AAAA-4BBB-8CCC-0123456789AB}",)"
               R"("size":-0,"source_size":12,"x":1.50e+03,"y":1E5,"z":-0.0,"big":123456789012345678901234567890,)"
               R"("name":"\u0041\/\ud83d\ude00é","k\u0065y":"\u0000"})");
    EXPECT_EQ(query("SELECT name, size FROM backup_set").at(0), (std::vector<std::string>{"A/😀é", "0"}));
}

TEST_P(Lossless_Test, drops_white_space_between_tokens_only)
{
    const std::string id = record(" { \"catalog_module\" : \"oracle_exp\" ,\n\t\"uuid\":\"" + uuid(3)
                                  + "\", \"name\" : \" a \\\" b \",\r\n\"x\" : [ 1 , 2 ] } ");
    EXPECT_EQ(document(id),
              "{\"catalog_module\":\"oracle_exp\",\"uuid\":\"" + uuid(3) + "\",\"name\":\" a \\\" b \",\"x\":[1,2]}");
}

TEST_P(Lossless_Test, keeps_pieces_as_a_record_writes_them_in_their_columns_only)
{
    Oracle_Backup_Set set;
    set.uuid = uuid(4);
    set.add_piece("/a \"quoted\"/é\\ü\n", 10);
    set.add_directory_piece("", 0xffffffffffffffff); // written as -1
    Backup_Piece piece;
    piece.extended_attrs["k"] = json_spirit::Array{1, 2.5, "x"};
    set.add_piece(piece);
    const std::string text = to_json(set);
    comes_back(text);
    EXPECT_EQ(query("SELECT id, path, object, size, extended_attrs, document FROM backup_piece ORDER BY id"),
              (std::vector<std::vector<std::string>>{
                  {"1", "/a \"quoted\"/é\\ü\n", "", "10", "{}", "NULL"},
                  {"2", "", "dir", "-1", "{}", "NULL"},
                  {"3", "", "", "0", R"({"k":[1,2.5,"x"]})", "NULL"},
              }));
    EXPECT_EQ(query("SELECT document FROM backup_set_document").at(0).at(0).find("quoted"), std::string::npos);
}

TEST_P(Lossless_Test, keeps_pieces_that_are_written_in_another_way)
{
    comes_back(pieces_of(5, "[{}]"));
    comes_back(pieces_of(6, R"([{"path":"a","object":"b","size":1,"extended_attrs":{}}])"));
    comes_back(pieces_of(7, R"([{"object":"b","path":"a","size":1,"extended_attrs":{}}])"));
    comes_back(pieces_of(8, R"([{"path":"a","object":"b","size":1,"extended_attrs":{},"more":[]}])"));
    comes_back(pieces_of(9, R"([{"path":"a","path":"b","object":"","size":1,"extended_attrs":{}}])"));
    comes_back(pieces_of(10, R"([{"path":"\u0061","object":"b","size":1,"extended_attrs":{}}])"));
    comes_back(pieces_of(11, R"([{"path":null,"object":"b","size":true,"extended_attrs":null}])"));
    comes_back(pieces_of(12, R"([{"path":"a","object":"b","size":-0,"extended_attrs":{}}])"));
    comes_back(pieces_of(13, R"([{"path":"a","object":"b","size":1,"extended_attrs":{"a":1,"a":1.0}},{"path":"c"}])"));
    EXPECT_EQ(query("SELECT count(*) FROM backup_piece WHERE document IS NULL").at(0).at(0), "2");
}

TEST_P(Lossless_Test, keeps_empty_absent_and_null_pieces_apart)
{
    comes_back(pieces_of(14, "[]"));
    comes_back(pieces_of(15, "null"));
    comes_back(small(uuid(16)));
    EXPECT_EQ(count("backup_piece"), 0);
}

TEST_P(Lossless_Test, splices_the_first_of_several_arrays_of_pieces)
{
    comes_back(pieces_of(17, R"([{"path":"a"}],"pieces":[{"path":"other"}],"nested":{"pieces":[]})"));
    EXPECT_EQ(count("backup_piece"), 1);
}

TEST_P(Lossless_Test, keeps_both_forms_of_storages)
{
    comes_back(
        small(uuid(18), R"("storage":{"pool_uuid":"00000000000000000000000000000001","new":1,"state":["odd",7]})"));
    comes_back(small(uuid(19), R"("storages":[{"size":1},{"pool_uuid":"","state":["online","online"]}])"));
    comes_back(small(uuid(20), R"("storages":[])"));
    comes_back(small(uuid(21), R"("storages":null,"storage":null,"parents":null)"));
}

TEST_P(Lossless_Test, keeps_many_pieces_in_their_order)
{
    std::string pieces = "[";
    for (int i = 0; i < 20000; ++i) {
        pieces += (i > 0 ? "," : "") + std::string(R"({"path":"/data/file)") + std::to_string(i) + R"(","object":"o)"
                  + std::to_string(19999 - i) + R"(","size":)" + std::to_string(i) + R"(,"extended_attrs":{}})";
    }
    comes_back(pieces_of(22, pieces + "]"));
    EXPECT_EQ(count("backup_piece"), 20000);
    EXPECT_EQ(query("SELECT piece_count FROM backup_set").at(0).at(0), "20000");
}

TEST_P(Lossless_Test, keeps_what_lies_512_levels_deep)
{
    comes_back(small(uuid(23), "\"deep\":" + std::string(511, '[') + std::string(511, ']')));
    comes_back(small(uuid(24), "\"resource_tree\":{\"deep\":" + std::string(510, '[') + std::string(510, ']') + "}"));
}

TEST_P(Lossless_Test, keeps_a_large_document)
{
    const std::string large(std::size_t{5} << 20, 'x');
    comes_back(small(uuid(25), "\"resource_tree\":{\"a\":\"" + large + "\"},\"name\":\"" + large + "\""));
}
