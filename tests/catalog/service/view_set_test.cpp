#include "tests/catalog/service/view_test.h"

namespace {

using namespace catalog;
using namespace catalog::service;

class View_Set_Test : public View_Test
{
protected:
    static std::string piece(unsigned number)
    {
        return R"({"path":"/data/)" + std::to_string(number) + R"(","object":"o)" + std::to_string(number)
               + R"(","size":)" + std::to_string(number * 10) + R"(,"extended_attrs":{"n":)" + std::to_string(number)
               + "}}";
    }

    static std::string pieces(unsigned count)
    {
        std::string text = "[";
        for (unsigned i = 1; i <= count; ++i) {
            text += (i > 1 ? "," : "") + piece(i);
        }
        return text + "]";
    }

    /// A set with pieces in the middle of its document, some of them spelled in their own way.
    static std::string sample(unsigned number, unsigned count)
    {
        return small(uuid(number), R"("name":"Größe 備","pieces":)" + pieces(count)
                                       + R"(,"unknown":[1,1.0,"é\u00e9"],"name":"again","host":"h")");
    }

    static std::unique_ptr<View> document_view(const std::string& uuid, const View_Limits& limits = {})
    {
        Error error;
        return open_document(uuid, error, limits);
    }
};

} // namespace

CATALOG_TEST_ENGINES(View_Set_Test);

TEST_P(View_Set_Test, a_set_is_its_document_byte_for_byte)
{
    const std::string document = sample(1, 20);
    record(document);
    EXPECT_EQ(whole("set", {{"uuid", uuid(1)}}), R"({"rows":[)" + document + "]}");
    EXPECT_EQ(read(*document_view(uuid(1))), document);
    for (const std::size_t size : {1u, 2u, 77u, 1000u}) {
        EXPECT_EQ(read(*document_view(uuid(1), parts_of(size))), document) << size;
    }
}

TEST_P(View_Set_Test, sets_without_pieces_with_none_and_with_odd_ones)
{
    const std::vector<std::string> documents = {
        small(uuid(1)), small(uuid(2), R"("pieces":[])"), small(uuid(3), R"("pieces":null,"host":"x")"),
        small(uuid(4), R"("pieces":[{},{"size":1,"more":[]},{"path":"","object":"","size":0,"extended_attrs":{}}])")};
    for (unsigned i = 0; i < documents.size(); ++i) {
        record(documents[i]);
        EXPECT_EQ(whole("set", {{"uuid", uuid(i + 1)}}), R"({"rows":[)" + documents[i] + "]}");
    }
}

TEST_P(View_Set_Test, a_small_set_comes_in_one_part_and_a_large_one_in_many)
{
    record(sample(1, 5000));
    EXPECT_EQ(read(*document_view(uuid(1))), sample(1, 5000));
    EXPECT_EQ(parts, 1u);
    const View_Limits limits{.part = 10000, .document = 50000, .chain_sets = 1};
    const auto view = document_view(uuid(1), limits);
    std::string text;
    Error error;
    std::size_t longest = 0;
    std::size_t first = 0;
    for (parts = 0; !view->at_end(); ++parts) {
        const std::size_t before = text.size();
        ASSERT_TRUE(view->read(store(), text, error)) << error.message;
        (parts == 0 ? first : longest) = std::max(longest, text.size() - before);
    }
    EXPECT_EQ(text, sample(1, 5000));
    EXPECT_GE(first, 50000u);
    EXPECT_LT(first, 50200u);
    EXPECT_GE(longest, 10000u);
    EXPECT_LT(longest, 10200u) << "no part is much longer than was asked for";
    EXPECT_GT(parts, 20u);
}

TEST_P(View_Set_Test, a_document_larger_than_what_is_read_at_once)
{
    std::string tree = "{";
    for (int i = 0; i < 300000; ++i) {
        tree += (i > 0 ? R"(,"键)" : R"("键)") + std::to_string(i) + R"(":"ü")";
    }
    tree += "}";
    const std::string document =
        small(uuid(1), R"("resource_tree":)" + tree + R"(,"pieces":)" + pieces(3) + R"(,"extended_attrs":)" + tree);
    ASSERT_GT(document.size(), std::size_t{9} << 20);
    record(document);
    EXPECT_TRUE(read(*document_view(uuid(1))) == document);
    EXPECT_GT(parts, 1u);
}

TEST_P(View_Set_Test, the_parts_may_be_read_from_different_stores)
{
    record(sample(1, 100));
    const auto other = open();
    const auto view = document_view(uuid(1), parts_of(500));
    std::string text;
    Error error;
    for (bool first = true; !view->at_end(); first = !first) {
        ASSERT_TRUE(view->read(first ? store() : *other, text, error)) << error.message;
    }
    EXPECT_EQ(text, sample(1, 100));
}

TEST_P(View_Set_Test, an_unknown_set_is_not_found_before_the_first_byte)
{
    record(sample(1, 1));
    const Error error = failure_of("backup_set", "set", {{"uuid", uuid(2)}});
    EXPECT_EQ(error.kind, Error::NOT_FOUND);
    EXPECT_EQ(error.message, "the catalog has no set " + uuid(2));
    EXPECT_EQ(error.key, "uuid");
    std::string text;
    Error bare;
    EXPECT_FALSE(document_view(uuid(2))->read(store(), text, bare));
    EXPECT_EQ(bare.kind, Error::NOT_FOUND);
    EXPECT_EQ(text, "");
}

TEST_P(View_Set_Test, a_uuid_may_be_spelled_in_any_way)
{
    record(small(uuid(0xabc)));
    for (const char* spelled : {"{00000ABC-AAAA-4BBB-8CCC-0123456789AB}", "00000abcaaaa4bbb8ccc0123456789ab",
                                "urn:uuid:00000abc-aaaa-4bbb-8ccc-0123456789ab"})
    {
        EXPECT_EQ(read("backup_set", "set", {{"uuid", spelled}}), R"({"rows":[)" + small(uuid(0xabc)) + "]}");
        EXPECT_EQ(read(*document_view(spelled)), small(uuid(0xabc)));
    }
    Error error;
    EXPECT_EQ(open_document("set 1", error), nullptr);
    EXPECT_EQ(error.kind, Error::REFUSED);
    EXPECT_EQ(error.key, "uuid");
    EXPECT_EQ(error.message, "\"set 1\" is no UUID of a set");
}

TEST_P(View_Set_Test, a_set_that_vanishes_between_two_parts_fails_the_rest)
{
    record(sample(1, 100));
    const Error error = failure_after([&] { run("DELETE FROM backup_set"); }, document_view(uuid(1), parts_of(500)));
    EXPECT_EQ(error.kind, Error::NOT_FOUND);
    EXPECT_EQ(error.message, "the catalog has no set " + uuid(1) + " any more: it was deleted while it was read");
}

TEST_P(View_Set_Test, a_set_that_is_replaced_between_two_parts_fails_the_rest)
{
    record(sample(1, 100));
    const Error error = failure_after(
        [&] {
            run("DELETE FROM backup_set");
            record(sample(1, 101));
        },
        document_view(uuid(1), parts_of(500)));
    EXPECT_EQ(error.kind, Error::CONFLICT);
    EXPECT_EQ(error.message, "set " + uuid(1) + " was changed while it was read; read it again");
}

TEST_P(View_Set_Test, a_set_that_is_updated_to_the_same_size_between_two_parts_fails_the_rest)
{
    const std::string document = sample(1, 100);
    std::string other = document;
    other.replace(other.find("again"), 5, "AGAIN");
    record(document);
    const Error error = failure_after(
        [&] {
            const Write_Request update{.operation = Write_Operation::UPDATE, .params = other};
            const std::vector<Write_Answer> answers = store().apply(std::span(&update, 1));
            EXPECT_EQ(answers.front().error.message, "");
        },
        document_view(uuid(1), parts_of(500)));
    EXPECT_EQ(error.kind, Error::CONFLICT);
    EXPECT_EQ(error.message, "set " + uuid(1) + " was changed while it was read; read it again");
}

TEST_P(View_Set_Test, damaged_pieces_fail)
{
    record(sample(1, 100));
    run("DELETE FROM backup_piece WHERE id = 50");
    Log_Capture log;
    const Error error = failure_of("backup_set", "set", {{"uuid", uuid(1)}});
    EXPECT_EQ(error.kind, Error::DATABASE);
    EXPECT_EQ(error.database.kind, Database_Error::CORRUPT);
    EXPECT_EQ(error.message, "the pieces of set " + uuid(1) + " are damaged");
}

TEST_P(View_Set_Test, a_view_at_its_end_gives_nothing_more)
{
    record(small(uuid(1)));
    const auto view = document_view(uuid(1));
    EXPECT_EQ(read(*view), small(uuid(1)));
    std::string text;
    Error error;
    EXPECT_FALSE(view->read(store(), text, error));
    EXPECT_EQ(error.message, "the view has nothing more to read");
    EXPECT_EQ(text, "");
}
