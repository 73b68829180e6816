#include "catalog/schema/describe_sources.h"

#include "catalog/schema/set_type.h"
#include "platform/json/document.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace catalog {

namespace {

std::string content(const std::string& path)
{
    std::ifstream file(path);
    EXPECT_TRUE(file) << path;
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string sample(const std::string& id)
{
    return content(BACKUP_SET_SOURCE_DIR "/examples/documents/" + id + ".json");
}

/// The keys of a document, in order.
std::vector<std::string> keys(const std::string& document)
{
    std::vector<json_document::Member> members;
    std::string error;
    EXPECT_TRUE(json_document::split_object(document, members, &error)) << error;
    std::vector<std::string> names;
    for (const json_document::Member& member : members) {
        names.push_back(member.key);
    }
    return names;
}

} // namespace

TEST(Describe_Sources, page_in_the_documentation_is_the_present_one)
{
    const std::string page = content(BACKUP_SET_SOURCE_DIR "/docs/sources.md");
    const std::string begin = "<!-- sources: begin -->\n\n";
    const std::string end = "<!-- sources: end -->\n";
    const std::size_t from = page.find(begin);
    const std::size_t to = page.find(end);
    ASSERT_NE(from, std::string::npos);
    ASSERT_NE(to, std::string::npos);
    const std::string present = describe_sources(sample) + '\n';
    if (page.substr(from + begin.size(), to - from - begin.size()) != present) {
        std::ofstream("sources.md") << page.substr(0, from + begin.size()) << present << page.substr(to);
        FAIL()
            << "docs/sources.md is not what the registry says; the page as it should be was written to sources.md in "
               "the working directory";
    }
}

TEST(Describe_Sources, each_type_has_its_section)
{
    const std::string text = describe_sources(sample);
    for (const Set_Type& type : set_types()) {
        EXPECT_NE(text.find("## " + std::string(type.id) + "\n\nClass `" + type.class_name + "`"), std::string::npos)
            << type.id;
    }
}

TEST(Describe_Sources, sample_documents_hold_the_keys_of_a_fresh_record_in_order)
{
    for (const Set_Type& type : set_types()) {
        std::vector<std::string> fresh = keys(to_json(*type.make()));
        const std::vector<std::string> filled = keys(sample(type.id));
        auto next = fresh.begin();
        for (const std::string& key : filled) {
            if (next != fresh.end() && key == *next) {
                ++next;
            }
        }
        EXPECT_EQ(next, fresh.end()) << type.id << " lacks, at its place: " << (next != fresh.end() ? *next : "");
    }
}

TEST(Describe_Sources, sample_that_is_not_json_is_refused)
{
    EXPECT_THROW(describe_sources([](const std::string&) { return std::string("{"); }), std::invalid_argument);
}

} // namespace catalog
