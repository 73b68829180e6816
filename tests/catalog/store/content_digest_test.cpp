#include "catalog/store/content_digest.h"

#include "catalog/store/piece_list.h"
#include "platform/json/document.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace catalog;

TEST(Content_Digest, is_shared_exactly_by_what_has_the_same_content)
{
    const std::vector<std::string> texts = {"1",
                                            "1.0",
                                            "10e-1",
                                            "1.5",
                                            "-1",
                                            "-1.0",
                                            "0",
                                            "-0",
                                            "-0.0",
                                            "0.0",
                                            "18446744073709551615",
                                            "18446744073709551616",
                                            "9223372036854775808",
                                            "-9223372036854775808",
                                            "1e300",
                                            "1.0e300",
                                            "true",
                                            "false",
                                            "null",
                                            "\"\"",
                                            "\"1\"",
                                            "\"true\"",
                                            R"("a")",
                                            R"("\u0061")",
                                            R"("\n")",
                                            "[]",
                                            "{}",
                                            "[1]",
                                            "[1,2]",
                                            "[2,1]",
                                            "[[1],2]",
                                            "[1,[2]]",
                                            "[12]",
                                            R"(["1","2"])",
                                            R"(["1,2"])",
                                            R"({"a":1})",
                                            R"({"a":1.0})",
                                            R"( { "a" : 1 } )",
                                            R"({"a":2})",
                                            R"({"b":1})",
                                            R"({"a":1,"b":2})",
                                            R"({"b":2,"a":1})",
                                            R"({"a":1,"a":2})",
                                            R"({"a":2,"a":1})",
                                            R"({"a":{}})",
                                            R"({"a":[]})",
                                            R"({"a":"k1:b"})",
                                            R"({"a":null})"};
    for (const std::string& one : texts) {
        for (const std::string& other : texts) {
            EXPECT_EQ(content_digest(one) == content_digest(other), json_document::same_content(one, other))
                << one << " and " << other;
        }
    }
    // Of canonical("null"), that is of "z": a digest that was made elsewhere.
    EXPECT_EQ(content_digest("null"), "594e519ae499312b29433b7dd8a97ff068defcba9755b6d5d00e84c524d67b06");
}

TEST(Content_Digest, texts_are_kept_apart)
{
    EXPECT_NE(short_digest({"ab", "c"}), short_digest({"a", "bc"}));
    EXPECT_NE(short_digest({"", "a"}), short_digest({"a", ""}));
    EXPECT_NE(short_digest({"a"}), short_digest({"a", ""}));
    EXPECT_EQ(short_digest({"a", "b"}), short_digest({"a", "b"}));
}

TEST(Piece_List, finds_and_replaces_the_pieces_of_a_document)
{
    EXPECT_EQ(pieces_of(R"({"a":[1],"pieces":[2],"pieces":[3]})"), "[2]");
    EXPECT_EQ(pieces_of(R"({"a":{"pieces":[2]}})"), "");
    EXPECT_EQ(pieces_of(R"({"pieces":null})"), "");
    EXPECT_EQ(with_pieces(R"({"a":1,"pieces":[2],"pieces":[3],"b":1})", "[7,8]"),
              R"({"a":1,"pieces":[7,8],"pieces":[3],"b":1})");
    EXPECT_EQ(with_pieces(R"({"pi\u0065ces":[2]})", "[]"), R"({"pi\u0065ces":[]})");
    EXPECT_EQ(with_pieces(R"({"a":"}"})", "[1]"), R"({"a":"}","pieces":[1]})");
    EXPECT_EQ(with_pieces(R"({"a":1})", "[]"), R"({"a":1})");
    EXPECT_EQ(with_pieces(R"({"pieces":null})", "[]"), R"({"pieces":null})");
    EXPECT_EQ(with_pieces(R"({"pieces":null,"b":1})", "[1]"), R"({"pieces":[1],"b":1})");
    EXPECT_EQ(with_pieces("{}", "[1]"), R"({"pieces":[1]})");
}

TEST(Piece_List, one_equal_in_path_object_size_and_attributes_counts_once)
{
    const std::string first = R"({"path":"p","object":"o","size":1,"extended_attrs":{"a":1,"b":2}})";
    Piece_List list;
    list.add("[" + first + "]");
    list.add("[" + first + R"(,{"size":1,"odd":true,"extended_attrs":{"b":2,"a":1},"object":"o","path":"\u0070"}])");
    EXPECT_EQ(list.array(), "[" + first + "]");
    for (const char* other : {R"({"path":"q","object":"o","size":1,"extended_attrs":{"a":1,"b":2}})",
                              R"({"path":"p","object":"q","size":1,"extended_attrs":{"a":1,"b":2}})",
                              R"({"path":"p","object":"o","size":2,"extended_attrs":{"a":1,"b":2}})",
                              R"({"path":"p","object":"o","size":1,"extended_attrs":{"a":1,"b":3}})",
                              R"({"path":"p","object":"o","size":1})"})
    {
        const std::size_t before = list.size();
        list.add("[" + std::string(other) + "]");
        EXPECT_EQ(list.size(), before + 1) << other;
    }
    list.add(R"([{"path":"p","object":"o","size":1,"extended_attrs":null}])");
    EXPECT_EQ(list.size(), 6U) << "null is as good as absent";
    EXPECT_EQ(Piece_List().array(), "[]");
}
