#include "platform/text/string_template.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string expand(std::string_view text)
{
    String_Template expanded("", "{{", "}}", 0);
    expanded("b", "bset")("p", "pg")("", "empty")("long name", "x");
    return expanded(text).str();
}

} // namespace

TEST(String_Template, replaces_a_bound_placeholder)
{
    EXPECT_EQ(expand("{{b}}.uuid"), "bset.uuid");
    EXPECT_EQ(expand("{{long name}}"), "x");
}

TEST(String_Template, replaces_every_occurrence_and_every_name)
{
    EXPECT_EQ(expand("{{b}}.uuid={{p}}.set_uuid AND {{b}}.x"), "bset.uuid=pg.set_uuid AND bset.x");
    EXPECT_EQ(expand("{{b}}{{p}}{{b}}"), "bsetpgbset");
}

TEST(String_Template, text_without_placeholders_stays)
{
    EXPECT_EQ(expand(""), "");
    EXPECT_EQ(expand("plain } text {"), "plain } text {");
}

TEST(String_Template, unbound_placeholder_stays_as_it_is)
{
    EXPECT_EQ(expand("{{q}}.uuid and {{b}}"), "{{q}}.uuid and bset");
    EXPECT_EQ(expand("{{ b }}"), "{{ b }}");
    EXPECT_EQ(expand("{{B}}"), "{{B}}");
}

TEST(String_Template, prefix_without_suffix_stays_as_it_is)
{
    EXPECT_EQ(expand("a {{b"), "a {{b");
    EXPECT_EQ(expand("{{b}}.x {{"), "bset.x {{");
    EXPECT_EQ(expand("b}} {{"), "b}} {{");
}

TEST(String_Template, bound_placeholder_inside_an_unbound_one_is_replaced)
{
    EXPECT_EQ(expand("{{x {{b}}"), "{{x bset");
    EXPECT_EQ(expand("{{{b}}}"), "{bset}");
    EXPECT_EQ(expand("{{{{b}}}}"), "{{bset}}");
}

TEST(String_Template, empty_name_can_be_bound)
{
    EXPECT_EQ(expand("<{{}}>"), "<empty>");
}

TEST(String_Template, value_that_looks_like_a_placeholder_is_not_expanded_again)
{
    String_Template expanded("{{a}} {{b}}", "{{", "}}");
    EXPECT_EQ(expanded("a", "{{b}}")("b", "{{a}}").str(), "{{b}} {{a}}");
}

TEST(String_Template, binding_again_replaces_the_value)
{
    String_Template expanded("{{b}}", "{{", "}}");
    expanded("b", "one");
    EXPECT_EQ(expanded.str(), "one");
    expanded("b", "two");
    EXPECT_EQ(expanded.str(), "two");
}

TEST(String_Template, new_text_keeps_the_bindings)
{
    String_Template expanded("{{b}}.uuid", "{{", "}}", 0);
    expanded("b", "h");
    EXPECT_EQ(expanded.str(), "h.uuid");
    EXPECT_EQ(expanded("{{b}}.name").str(), "h.name");
}

TEST(String_Template, prefix_and_suffix_are_as_given)
{
    String_Template dollar("cost $name; or {{name}}", "$", ";");
    EXPECT_EQ(dollar("name", "5").str(), "cost 5 or {{name}}");
    String_Template same("%a% and %b%", "%", "%");
    EXPECT_EQ(same("a", "1")("b", "2").str(), "1 and 2");
}

TEST(String_Template, without_prefix_or_suffix_nothing_is_a_placeholder)
{
    EXPECT_EQ(String_Template("a b", "", "")("a", "x").str(), "a b");
    EXPECT_EQ(String_Template("a b}}", "", "}}")("a b", "x").str(), "a b}}");
    EXPECT_EQ(String_Template("{{a b", "{{", "")("a b", "x").str(), "{{a b");
}

TEST(String_Template, keeps_its_own_copies)
{
    std::string text = "{{b}}";
    std::string name = "b";
    std::string value = "bset";
    String_Template expanded(text, "{{", "}}");
    expanded(name, value);
    text = "xxxxx";
    name = "c";
    value = "yyyy";
    EXPECT_EQ(expanded.str(), "bset");
}

TEST(String_Template, zero_bytes_and_large_texts_pass)
{
    const std::string zero("\0{{b}}\0", 7);
    EXPECT_EQ(expand(zero), std::string("\0bset\0", 6));
    std::string many;
    std::string expected;
    for (int i = 0; i < 10000; ++i) {
        many += "{{b}},{";
        expected += "bset,{";
    }
    EXPECT_EQ(expand(many), expected);
}
